#include "camera/camerainitializerthread.h"

#include "camera/vortainterface.h"

namespace Vorta {

VortaCameraInitializerThread::VortaCameraInitializerThread(VortaInterface& controller)
    : QThread(&controller), controller_(controller) {}

void VortaCameraInitializerThread::run() {
    QString errorMessage;
    if (controller_.initializeCamera(errorMessage))
        Q_EMIT initialized();
    else
        Q_EMIT initializationFailed(errorMessage);
}

} // namespace Vorta
