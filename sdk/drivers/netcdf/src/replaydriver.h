#pragma once

#include "vorta/api/frame.h"
#include "vorta/driver/driver.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

namespace Vorta::Replay {

/// Lists one head: the one that took the measurement of the configured data file. Removing the file unplugs it. Any
/// thread.
class ReplayDriver : public Driver::Driver {
public:
    void configure(const Vorta::Driver::DriverConfiguration& configuration) override;

    /// Empty without a file; a file that cannot be read is logged as a warning, once for each state of the file.
    [[nodiscard]] std::vector<Vorta::Driver::HeadIdentity> heads() override;

    [[nodiscard]] std::unique_ptr<Vorta::Driver::Head> open(const std::string& serialNumber) override;

private:
    [[nodiscard]] bool refresh();

    std::mutex mutex_; // guards the rest
    std::string path_;
    std::filesystem::file_time_type time_; ///< of the file when `frame_` was read
    std::uintmax_t size_ = 0;              ///< the same
    bool read_ = false;                    ///< whether that has been tried
    Frame frame_;
};

} // namespace Vorta::Replay
