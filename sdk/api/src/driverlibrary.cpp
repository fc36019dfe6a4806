#include "driverlibrary.h"

#include "vorta/common/exceptions.h"

#include <boost/dll/shared_library.hpp>
#include <map>
#include <mutex>

namespace Vorta {

namespace {

constexpr const char* entryPoint = "vortaCreateDriver";

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& reason) {
    throw IOException("Camera driver '" + path.string() + "' cannot be loaded: " + reason);
}

boost::dll::shared_library load(const std::filesystem::path& path) {
    boost::dll::shared_library library;
    std::error_code error;
    library.load(path, boost::dll::load_mode::default_mode, error);
    if (error)
        fail(path, "it is not a library that this system can load (" + error.message() + ").");
    if (!library.has(entryPoint))
        fail(path, std::string("it is a library without the entry point '") + entryPoint + "'.");
    return library;
}

/// The library of that file, loaded when it is first asked for and never unloaded: what a plug-in brings along may keep
/// threads of its own (the scheduler of a ray tracer does), whose code must not vanish under them.
const boost::dll::shared_library& resident(const std::filesystem::path& path) {
    using Libraries = std::map<std::filesystem::path, boost::dll::shared_library>;
    static std::mutex mutex;
    static Libraries& libraries = *std::make_unique<Libraries>().release(); // outlives even the static objects
    const std::lock_guard lock(mutex);
    const auto known = libraries.find(path);
    return known != libraries.end() ? known->second : libraries.emplace(path, load(path)).first->second;
}

std::unique_ptr<Driver::Driver> create(const std::filesystem::path& path, const boost::dll::shared_library& library) {
    const auto& entry = library.get<Driver::Driver*(std::uint32_t)>(entryPoint);
    std::unique_ptr<Driver::Driver> driver;
    try {
        driver.reset(entry(Driver::interfaceVersion));
    } catch (const std::exception& error) {
        fail(path, std::string("it failed to start: ") + error.what());
    }
    if (!driver)
        fail(path, "it was built for another version of the driver interface than " +
                       std::to_string(Driver::interfaceVersion) + ".");
    return driver;
}

} // namespace

DriverLibrary::DriverLibrary(const std::filesystem::path& path) {
    std::error_code error;
    path_ = std::filesystem::canonical(path, error);
    if (error)
        fail(path, error.message() + ".");
    if (!std::filesystem::is_regular_file(path_))
        fail(path, "it is not a file.");
    driver_ = create(path_, resident(path_));
}

std::vector<Driver::HeadIdentity> DriverLibrary::heads() {
    return driver_->heads();
}

std::unique_ptr<Driver::Head> DriverLibrary::open(const std::string& serialNumber) {
    return driver_->open(serialNumber);
}

} // namespace Vorta
