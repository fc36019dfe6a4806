#pragma once

#include "vorta/driver/driver.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Vorta {

/// A loaded driver plug-in together with its driver. The plug-in stays loaded for as long as this lives, so whoever
/// holds a head keeps a share in it. Thread safe as far as `Driver::Driver` is.
class DriverLibrary {
public:
    /// Throws IOException when the file is missing, no driver, or built for another version of the interface.
    explicit DriverLibrary(const std::filesystem::path& path);
    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;
    ~DriverLibrary();

    /// Absolute, without symbolic links.
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    [[nodiscard]] std::vector<Driver::HeadIdentity> heads();
    [[nodiscard]] std::unique_ptr<Driver::Head> open(const std::string& serialNumber);

private:
    struct Module;
    std::filesystem::path path_;
    std::unique_ptr<Module> module_; // outlives the driver, whose code it is
    std::unique_ptr<Driver::Driver> driver_;
};

} // namespace Vorta
