#include "app/studio.h"

#include "camera/vortainterface.h"
#include "resources/applicationicon.h"
#include "services/appsettings.h"
#include "services/loghandler.h"
#include "services/messagebox.h"
#include "services/platform/platform.h"
#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/common/serialization.h"

#include <cstdlib>
#include <exception>
#include <sstream>
#include <utility>

namespace Vorta {

namespace {

Studio* theStudio = nullptr;

/// The toolkit ends the program amid everything when the screen goes away. Other threads still run then: nothing that
/// they use may be taken apart.
void endAmidEverything() {
    if (theStudio != nullptr)
        std::_Exit(EXIT_FAILURE);
}

QString describe(const std::exception& exception) {
    using Serialization::operator<<;
    std::ostringstream text;
    text << exception;
    return QString::fromLocal8Bit(text.str().c_str());
}

} // namespace

Studio::Studio(Application& application, int& argc, char** argv) : QApplication(argc, argv), application_(application) {
    theStudio = this;
    setOrganizationName(QStringLiteral("Vorta Labs"));
    setOrganizationDomain(QStringLiteral("vorta-labs.example"));
    setApplicationName(QStringLiteral("Vorta Studio"));
    setApplicationVersion(QStringLiteral(VORTA_VERSION));
    setWindowIcon(applicationIcon());

    // The store goes by the names above. NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer)
    settings_ = new VortaQt::AppSettings(this);
    const std::string refusal = applyLogThreshold();
    logHandler_ = new VortaQt::LogHandler(application_, "Vorta Studio", this);
    if (!refusal.empty())
        logHandler_->log(Log::Severity::Warning, "The stored log threshold is ignored: " + refusal);
    if (settings_->isDamaged())
        logHandler_->log(Log::Severity::Warning, "The preferences of '" +
                                                     settings_->fileName().toLocal8Bit().toStdString() +
                                                     "' are damaged: what cannot be read has its default.");
    if (!settings_->isWritable())
        logHandler_->log(Log::Severity::Warning, "Preferences are not kept: '" +
                                                     settings_->fileName().toLocal8Bit().toStdString() +
                                                     "' cannot be written.");
    controller_ = new VortaInterface(application_, this);
    std::atexit(endAmidEverything);
    // The latest comes first: once more before what the driver brought along.
    connect(controller_, &VortaInterface::statusChanged, this, [this](const CameraStatus& status) {
        if (status.connected && !std::exchange(hasConnected_, true))
            std::atexit(endAmidEverything);
    });
    VortaQt::Platform::onRequestToEnd(*this, [] {
        closeAllWindows(); // each keeps what it keeps when it is closed by hand
        quit();            // also when a question stays open
    });
}

Studio::~Studio() {
    theStudio = nullptr;
    // The controller logs and reads preferences until its last moment, so it goes first.
    delete controller_;
    delete logHandler_;
    delete settings_;
}

Studio* Studio::instance() noexcept {
    return theStudio;
}

std::string Studio::applyLogThreshold() {
    const QString threshold = settings_->getString("GUI/LogThreshold", QString());
    if (threshold.isEmpty())
        return {};
    try {
        application_.getImpl().setLogLevel(VortaQt::severityFromString(threshold.toStdString()));
        return {};
    } catch (const ArgumentException& e) {
        return e.what();
    }
}

bool Studio::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& exception) {
        reportException(describe(exception));
    } catch (...) {
        reportException(QStringLiteral("Unknown exception"));
    }
    return true;
}

void Studio::reportException(const QString& message) {
    VortaQt::showMessage(QMessageBox::Warning, QApplication::activeWindow(), QStringLiteral("An exception occurred"),
                         message);
}

} // namespace Vorta
