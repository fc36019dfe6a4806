#pragma once

#include "vorta/api/camera.h"
#include "vorta/api/export.h"
#include "vorta/common/log.h"
#include "vorta/common/settings.h"

#include <memory>
#include <string>
#include <vector>

namespace Vorta {

class ApplicationImpl;

/// The library's root object; make one before anything else of the library and keep it until the end.
///
///     Vorta::Application application;
///     application.getImpl().setCameraDriver("bin/VortaCameraToshibaTeli.dll", Vorta::Settings{});
///     for (Vorta::Camera& camera : application.cameras()) ...
class VORTA_API_EXPORT Application {
public:
    Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    ~Application();

    /// The cameras that the chosen driver finds now, ordered by serial number; none while no driver is chosen. The same
    /// head is the same camera in every list. Any thread.
    [[nodiscard]] std::vector<Camera> cameras();

    [[nodiscard]] ApplicationImpl& getImpl() noexcept { return *impl_; }

private:
    std::unique_ptr<ApplicationImpl> impl_;
};

/// The operations that only the library's own programs need.
class VORTA_API_EXPORT ApplicationImpl {
public:
    ApplicationImpl();
    ApplicationImpl(const ApplicationImpl&) = delete;
    ApplicationImpl& operator=(const ApplicationImpl&) = delete;
    ~ApplicationImpl();

    void setLogLevel(Log::Severity level);
    [[nodiscard]] Log::Severity logLevel() const;
    void setLogCallback(Log::Callback callback);

    /// Chooses the driver at `path` (narrow, in the system's encoding) and loads it unless that has been done; cameras
    /// that are found from now on start with `settings`. Cameras of an earlier driver go on working; plug-ins stay
    /// loaded until the program ends. Throws IOException when the file is missing, no driver, or built for another
    /// version of the interface; the earlier driver then stays chosen.
    void setCameraDriver(const std::string& path, const Settings& settings);

    [[nodiscard]] std::vector<Camera> cameras();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace Vorta
