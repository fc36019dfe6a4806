// What stays loaded, as the dynamic linker of POSIX systems tells.

#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace Vorta {
namespace {

using Testing::driverPath;
using Testing::VirtualHeads;

TEST(Application, NeverUnloadsAPlugin) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    for (int i = 0; i < 3; ++i) {
        Application application;
        application.getImpl().setCameraDriver(driverPath(), Settings{});
        Camera camera = application.cameras().at(0);
        camera.connect();
        EXPECT_FALSE(camera.capture().isNull());
    }
    // The ray tracer that this plug-in brought along keeps threads: their code must still be there.
    void* library = dlopen(driverPath().c_str(), RTLD_LAZY | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    dlclose(library);
}

} // namespace
} // namespace Vorta
