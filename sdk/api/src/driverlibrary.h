#pragma once

#include "vorta/driver/driver.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Vorta {

/// The driver of a plug-in. Whoever holds one of its heads keeps a share in it. The plug-in itself stays loaded until
/// the program ends. Thread safe as far as `Driver::Driver` is.
class DriverLibrary {
public:
    /// Throws IOException when the file is missing, no driver, or built for another version of the interface.
    explicit DriverLibrary(const std::filesystem::path& path);
    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;
    ~DriverLibrary() = default;

    /// Absolute, without symbolic links.
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    void configure(const Driver::DriverConfiguration& configuration) { driver_->configure(configuration); }
    [[nodiscard]] std::vector<Driver::HeadIdentity> heads();
    [[nodiscard]] std::unique_ptr<Driver::Head> open(const std::string& serialNumber);

private:
    std::filesystem::path path_;
    std::unique_ptr<Driver::Driver> driver_;
};

} // namespace Vorta
