#include "replayhead.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"
#include "vorta/reconstruction/calibrationfile.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

namespace Vorta::Replay {

ReplayHead::ReplayHead(std::filesystem::path file, Frame frame) : file_(std::move(file)), frame_(std::move(frame)) {}

Driver::HeadIdentity ReplayHead::identity() const {
    return frame_.getImpl().info().head;
}

Driver::HeadDimensions ReplayHead::dimensions() const {
    return frame_.getImpl().info().raw.dimensions;
}

std::optional<Driver::HeadCalibration> ReplayHead::calibration() const {
    const std::string& text = frame_.getImpl().info().calibrationText;
    if (text.empty())
        return std::nullopt;
    return Reconstruction::parseCalibration(text, file_.string());
}

std::optional<Driver::BayerLayout> ReplayHead::bayerLayout() const {
    const RawImages& raw = frame_.getImpl().info().raw;
    return raw.images ? std::optional(raw.bayerLayout) : std::nullopt;
}

Driver::Temperatures ReplayHead::temperatures() const {
    return frame_.getImpl().info().temperatures;
}

bool ReplayHead::isPresent() const {
    std::error_code unreadable; // a folder that cannot be read holds no file
    return std::filesystem::exists(file_, unreadable);
}

void ReplayHead::acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) {
    if (!isPresent())
        throw RuntimeException("The data file '" + file_.string() + "' is gone.");
    const auto& stored = frame_.getImpl().info().raw.images;
    if (!stored)
        throw RuntimeException("The data file '" + file_.string() + "' holds no raw images.");
    if (stored->count() != sequence.patterns.size())
        throw RuntimeException("The data file '" + file_.string() + "' holds " + std::to_string(stored->count()) +
                               " raw images where its settings ask for " + std::to_string(sequence.patterns.size()) +
                               ".");
    images.resize(stored->count(), stored->height(), stored->width());
    for (std::size_t i = 0; i < stored->count(); ++i)
        std::ranges::copy(stored->image(i), images.image(i).begin());
}

std::optional<Driver::Recording> ReplayHead::recording() const {
    const FrameImpl& frame = frame_.getImpl();
    Driver::Recording recording{.settings = frame.settings(), .time = frame.info().time, .cloud = {}};
    if (!frame.info().raw.images)
        recording.cloud = frame.cloud();
    return recording;
}

} // namespace Vorta::Replay
