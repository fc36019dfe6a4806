#include "vorta/api/application.h"

#include "driverlibrary.h"
#include "measurementsettings.h"

#include "vorta/api/cameraimpl.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <utility>

namespace Vorta {

struct ApplicationImpl::State {
    /// One driver file with the cameras that were made from it. Weak, so that the user's handles alone decide how long
    /// a driver that is no longer chosen lives.
    struct Plugin {
        std::weak_ptr<DriverLibrary> driver;
        std::map<std::string, std::weak_ptr<CameraImpl>> cameras; ///< by serial number
    };

    std::mutex mutex;
    std::shared_ptr<DriverLibrary> chosen;
    Settings settings;
    std::map<std::filesystem::path, Plugin> plugins;

    Camera cameraFor(const Driver::HeadIdentity& identity);
};

Camera ApplicationImpl::State::cameraFor(const Driver::HeadIdentity& identity) {
    auto& known = plugins[chosen->path()].cameras[identity.serialNumber];
    std::shared_ptr<CameraImpl> camera = known.lock();
    if (camera) {
        camera->setIdentity(identity);
    } else {
        camera = std::make_shared<CameraImpl>(chosen, identity, settings);
        known = camera;
    }
    return Camera(std::move(camera));
}

ApplicationImpl::ApplicationImpl() : state_(std::make_unique<State>()) {}

ApplicationImpl::~ApplicationImpl() = default;

void ApplicationImpl::setLogLevel(Log::Severity level) {
    Log::setLevel(level);
}

Log::Severity ApplicationImpl::logLevel() const {
    return Log::level();
}

void ApplicationImpl::setLogCallback(Log::Callback callback) {
    Log::setCallback(std::move(callback));
}

void ApplicationImpl::setCameraDriver(const std::string& path, const Settings& settings) {
    std::shared_ptr<DriverLibrary> earlier; // ends without the lock, if this was its last user
    const std::lock_guard lock(state_->mutex);
    std::error_code error; // a file that is not there is reported by the loading below
    const std::filesystem::path whole = std::filesystem::canonical(path, error);
    const auto known = state_->plugins.find(whole);
    std::shared_ptr<DriverLibrary> library = known != state_->plugins.end() ? known->second.driver.lock() : nullptr;
    if (!library) {
        library = std::make_shared<DriverLibrary>(path);
        state_->plugins[library->path()] = {.driver = library, .cameras = {}};
    }
    library->configure(driverConfiguration(settings));
    state_->settings = settings;
    earlier = std::exchange(state_->chosen, std::move(library));
}

std::vector<Camera> ApplicationImpl::cameras() {
    std::shared_ptr<DriverLibrary> driver;
    {
        const std::lock_guard lock(state_->mutex);
        driver = state_->chosen;
    }
    if (!driver)
        return {};
    std::vector<Driver::HeadIdentity> heads = driver->heads(); // may take a while, so not under the lock
    std::ranges::sort(heads, {}, &Driver::HeadIdentity::serialNumber);
    std::vector<Camera> cameras;
    const std::lock_guard lock(state_->mutex);
    if (state_->chosen != driver)
        return {}; // another driver was chosen meanwhile: these are no longer its heads
    cameras.reserve(heads.size());
    for (const Driver::HeadIdentity& head : heads)
        cameras.push_back(state_->cameraFor(head));
    return cameras;
}

Application::Application() : impl_(std::make_unique<ApplicationImpl>()) {}

Application::~Application() = default;

std::vector<Camera> Application::cameras() {
    return impl_->cameras();
}

} // namespace Vorta
