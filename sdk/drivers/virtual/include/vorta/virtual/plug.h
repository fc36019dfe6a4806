#pragma once

#include "vorta/virtual/headfile.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

namespace Vorta::Virtual {

/// The file of an open head: whether it is still there and still describes that head, and which faults it asks for now.
/// A head that is gone stays gone. Any thread.
class Plug {
public:
    explicit Plug(const HeadDescription& head);

    [[nodiscard]] bool isIn() const;

    /// Throws RuntimeException that says why when the head is no longer plugged in.
    void require() const;

    /// As the file states them now. A file that has become unusable is logged; the earlier ones then stay.
    [[nodiscard]] Faults faults() const;

private:
    struct State {
        Faults faults;
        std::string goneWords; // why the head is gone; empty while it is there
    };

    [[nodiscard]] State now() const;
    [[nodiscard]] std::string look() const;

    std::filesystem::path file_;
    std::string serialNumber_;
    std::string driver_;
    mutable std::mutex mutex_; // of what follows
    mutable std::filesystem::file_time_type time_;
    mutable std::uintmax_t size_ = 0; // no head's file is empty: the first look reads it
    mutable State state_;
};

} // namespace Vorta::Virtual
