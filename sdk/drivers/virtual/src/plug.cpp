#include "vorta/virtual/plug.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/yaml/words.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace Vorta::Virtual {

Plug::Plug(const HeadDescription& head)
    : file_(head.file), serialNumber_(head.identity.serialNumber), driver_(head.driver), faults_(head.faults) {}

void Plug::look() const {
    if (!goneWords_.empty())
        return;
    std::error_code failure; // a folder that cannot be read holds no head
    const auto time = std::filesystem::last_write_time(file_, failure);
    const auto size = failure ? 0 : std::filesystem::file_size(file_, failure);
    if (failure) {
        goneWords_ = "its file " + inQuotes(file_.string()) + " is gone.";
        return;
    }
    if (time == time_ && size == size_)
        return;
    time_ = time;
    size_ = size;
    try {
        const HeadDescription head = loadHead(file_);
        if (head.identity.serialNumber == serialNumber_ && head.driver == driver_)
            faults_ = head.faults;
        else
            goneWords_ = "its file " + inQuotes(file_.string()) + " now describes the head " +
                         inQuotes(head.identity.serialNumber) + " of the driver " + head.driver + ".";
    } catch (const IOException& error) {
        Log::warning("VortaCamera/VirtualHead", __LINE__, "The open head '%s' goes on as it was: %s", serialNumber_,
                     error.what());
    }
}

bool Plug::isIn() const {
    const std::lock_guard lock(mutex_);
    look();
    return goneWords_.empty();
}

void Plug::require() const {
    const std::lock_guard lock(mutex_);
    look();
    if (!goneWords_.empty())
        throw RuntimeException("The head " + inQuotes(serialNumber_) + " is no longer plugged in: " + goneWords_);
}

Faults Plug::faults() const {
    const std::lock_guard lock(mutex_);
    look();
    return faults_;
}

void Plug::wait(double seconds) const {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    for (require(); Clock::now() < end; require())
        std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::milliseconds(10)));
}

} // namespace Vorta::Virtual
