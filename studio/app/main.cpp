#include "app/metatypes.h"
#include "app/startup.h"
#include "services/singleinstance.h"

#include <exception>

int main(int argc, char** argv) {
    Vorta::registerMetaTypes();
    // Held to the very end: the next start is allowed once this one is gone.
    const VortaQt::SingleInstance guard{QStringLiteral("VortaStudioRunning")};
    if (!guard.isFirst()) {
        Vorta::showAlreadyRunning(argc, argv);
        return 0;
    }
    try {
        return Vorta::runStudio(argc, argv);
    } catch (const std::exception& exception) {
        Vorta::showFatalError(argc, argv, exception.what());
        return -1;
    }
}
