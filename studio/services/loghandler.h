#pragma once

#include "services/logevent.h"

#include <QObject>

#include <deque>
#include <mutex>
#include <string>

namespace Vorta {
class Application;
} // namespace Vorta

namespace VortaQt {

/// Brings the messages of the camera library and of the program itself to whoever connects to `logEvent`.
///
/// One per process, living as long as the program. Messages may come from any thread; those that come before anybody
/// has connected wait and go out, in order, ahead of the first message afterwards.
class LogHandler : public QObject {
    Q_OBJECT

public:
    /// Takes over the library's log callback. `application` outlives this; `name` tells whose log it is. Throws
    /// RuntimeException if a handler was ever made before, which then goes on working.
    LogHandler(Vorta::Application& application, std::string name, QObject* parent = nullptr);
    LogHandler(const LogHandler&) = delete;
    LogHandler& operator=(const LogHandler&) = delete;
    /// Gives the callback back. There is no second handler after the first, nor may instance() be called any more.
    ~LogHandler() override;

    /// Throws RuntimeException when no handler has been made yet.
    [[nodiscard]] static LogHandler& instance();

    /// Posts a message of the program's own; `text` is in the local 8-bit encoding. Any thread.
    void log(Vorta::Log::Severity severity, const std::string& text);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }

Q_SIGNALS:
    /// Emitted for every message in order, on the thread that posted it and with the handler locked: a receiver that
    /// may log itself must be connected with Qt::QueuedConnection.
    void logEvent(VortaQt::LogEvent event);

private:
    void post(const LogEvent& event);

    Vorta::Application& application_;
    std::string name_;
    std::mutex mutex_;
    std::deque<LogEvent> queue_;
};

} // namespace VortaQt
