#include "vorta/virtual/plug.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/yaml/words.h"

#include <system_error>
#include <utility>

namespace Vorta::Virtual {

Plug::Plug(const HeadDescription& head)
    : file_(head.file),
      serialNumber_(head.identity.serialNumber),
      driver_(head.driver),
      state_{.faults = head.faults, .goneWords = {}} {}

// Brings the state up to date; returns what is wrong with the file, if it is a new version that cannot be used.
std::string Plug::look() const {
    if (!state_.goneWords.empty())
        return {};
    std::error_code failure; // a folder that cannot be read holds no head
    const auto time = std::filesystem::last_write_time(file_, failure);
    const auto size = failure ? 0 : std::filesystem::file_size(file_, failure);
    if (failure) {
        state_.goneWords = "its file " + inQuotes(file_.string()) + " is gone.";
        return {};
    }
    if (time == time_ && size == size_)
        return {};
    time_ = time;
    size_ = size;
    try {
        const HeadDescription head = loadHead(file_);
        if (head.identity.serialNumber == serialNumber_ && head.driver == driver_)
            state_.faults = head.faults;
        else
            state_.goneWords = "its file " + inQuotes(file_.string()) + " now describes the head " +
                               inQuotes(head.identity.serialNumber) + " of the driver " + head.driver + ".";
    } catch (const IOException& error) {
        return error.what();
    }
    return {};
}

Plug::State Plug::now() const {
    std::string complaint;
    State state;
    {
        const std::lock_guard lock(mutex_);
        complaint = look();
        state = state_;
    }
    // Unlocked: who listens to the log may ask for the head.
    if (!complaint.empty())
        Log::warning("VortaCamera/VirtualHead", __LINE__, "The open head '%s' goes on as it was: %s", serialNumber_,
                     complaint);
    return state;
}

bool Plug::isIn() const {
    return now().goneWords.empty();
}

void Plug::require() const {
    if (const std::string words = now().goneWords; !words.empty())
        throw RuntimeException("The head " + inQuotes(serialNumber_) + " is no longer plugged in: " + words);
}

Faults Plug::faults() const {
    return now().faults;
}

} // namespace Vorta::Virtual
