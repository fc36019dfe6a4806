#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Vorta::Virtual {

class Plug;

/// The virtual heads whose files lie in the folder that the environment variable VORTA_VIRTUAL_HEADS names (`*.yml`,
/// not in folders below it) and name this driver. Without the variable there are none.
///
/// The folder is looked at again with each call. A file that cannot be used is logged as a warning, once for each
/// version of it, and hides no other head.
class VirtualDriver : public Driver::Driver {
public:
    /// `threads` for each head's simulation, 0: one per processor.
    explicit VirtualDriver(std::string name, unsigned threads = 0);
    ~VirtualDriver() override;

    [[nodiscard]] std::vector<Vorta::Driver::HeadIdentity> heads() override;
    [[nodiscard]] std::unique_ptr<Vorta::Driver::Head> open(const std::string& serialNumber) override;

private:
    // A file as it was last read; without a description it was refused.
    struct Known {
        std::filesystem::file_time_type time;
        std::uintmax_t size = 0;
        std::optional<HeadDescription> description;
    };

    [[nodiscard]] std::vector<HeadDescription> plugged();
    [[nodiscard]] std::vector<std::filesystem::path> files();
    [[nodiscard]] const std::optional<HeadDescription>& read(const std::filesystem::path& file);
    void warnOnce(const std::string& message);

    std::string name_;
    unsigned threads_;
    std::mutex mutex_;
    std::map<std::filesystem::path, Known> known_;
    std::map<std::string, std::weak_ptr<const Plug>> open_; // by serial number
    std::string lastWarning_;                               // about the folder as a whole
};

} // namespace Vorta::Virtual
