#pragma once

#include <QApplication>
#include <QString>

#include <string>

namespace VortaQt {
class AppSettings;
class LogHandler;
} // namespace VortaQt

namespace Vorta {

class Application;
class VortaInterface;

/// The application object. Owns the preferences store, the log handler and the camera controller, and reports
/// exceptions that escape an event handler. GUI thread.
class Studio : public QApplication {
    Q_OBJECT

public:
    /// `application` outlives this; `argc` and `argv` stay valid as QApplication asks.
    Studio(Application& application, int& argc, char** argv);
    ~Studio() override;

    /// Delivers an event; an exception that its handler lets through is shown in a box, and the event counts as
    /// handled.
    bool notify(QObject* receiver, QEvent* event) override;

    /// The one application object; null before and after it.
    [[nodiscard]] static Studio* instance() noexcept;

    [[nodiscard]] Application& application() noexcept { return application_; }
    [[nodiscard]] VortaInterface& controller() noexcept { return *controller_; }
    [[nodiscard]] VortaQt::AppSettings& settings() noexcept { return *settings_; }
    [[nodiscard]] VortaQt::LogHandler& logHandler() noexcept { return *logHandler_; }

private:
    /// Takes the log level from the preferences. A name that nobody knows any more does not keep the program from
    /// starting: why it was refused is returned.
    std::string applyLogThreshold();
    static void reportException(const QString& message);

    Application& application_;
    VortaInterface* controller_ = nullptr;
    VortaQt::AppSettings* settings_ = nullptr;
    VortaQt::LogHandler* logHandler_ = nullptr;
    bool hasConnected_ = false;
};

} // namespace Vorta
