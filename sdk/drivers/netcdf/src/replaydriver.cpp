#include "replaydriver.h"

#include "replayhead.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <system_error>

namespace Vorta::Replay {

namespace {

constexpr const char* source = "VortaCamera/ReplayDriver";

} // namespace

void ReplayDriver::configure(const Vorta::Driver::DriverConfiguration& configuration) {
    const std::lock_guard lock(mutex_);
    if (configuration.measurementFile == path_)
        return;
    path_ = configuration.measurementFile;
    read_ = false;
    frame_ = {};
}

/// Reads the file if it is new or has changed; whether there is a measurement now.
bool ReplayDriver::refresh() {
    std::error_code missing;
    const auto time = std::filesystem::last_write_time(path_, missing);
    // Times may be as coarse as a second.
    std::error_code unknown;
    const auto size = std::filesystem::file_size(path_, unknown);
    if (!missing && read_ && time == time_ && size == size_)
        return !frame_.isNull();
    const bool wasMissing = read_ && frame_.isNull() && time_ == std::filesystem::file_time_type::min();
    frame_ = {};
    read_ = true;
    time_ = missing ? std::filesystem::file_time_type::min() : time;
    size_ = size;
    if (path_.empty() || (missing && wasMissing))
        return false;
    try {
        frame_ = Frame(path_, ComputeDevice());
    } catch (const std::exception& error) {
        Log::warning(source, __LINE__, "There is nothing to replay: %s", error.what());
    }
    return !frame_.isNull();
}

std::vector<Vorta::Driver::HeadIdentity> ReplayDriver::heads() {
    const std::lock_guard lock(mutex_);
    if (!refresh())
        return {};
    return {frame_.getImpl().info().head};
}

std::unique_ptr<Vorta::Driver::Head> ReplayDriver::open(const std::string& serialNumber) {
    const std::lock_guard lock(mutex_);
    if (!refresh() || frame_.getImpl().info().head.serialNumber != serialNumber)
        throw RuntimeException("The data file '" + path_ + "' holds no measurement of the head '" + serialNumber +
                               "'.");
    return std::make_unique<ReplayHead>(path_, frame_);
}

} // namespace Vorta::Replay
