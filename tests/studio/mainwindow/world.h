#pragma once

#include "camera/vortainterface.h"
#include "services/appsettings.h"
#include "services/loghandler.h"
#include "vorta/api/application.h"

#include <memory>

namespace Vorta::Testing {

/// What the application object owns. There is one log handler in a process, so there is one world.
struct World {
    Application application;
    VortaQt::AppSettings preferences{nullptr};
    VortaQt::LogHandler logHandler{application, "Tests", nullptr};

    static World& instance() {
        static World world;
        return world;
    }
};

} // namespace Vorta::Testing
