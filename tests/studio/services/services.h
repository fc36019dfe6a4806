#pragma once

#include "services/loghandler.h"
#include "vorta/api/application.h"

#include <QCoreApplication>
#include <QVector>

#include <array>

namespace Vorta::Testing {

/// The application object that event delivery and child processes need.
inline QCoreApplication& coreApplication() {
    static int argc = 1;
    static std::array<char, 5> name{"test"};
    static std::array<char*, 2> argv{name.data(), nullptr};
    static QCoreApplication application(argc, argv.data());
    return application;
}

/// The one log handler that a process may have.
inline VortaQt::LogHandler& logHandler() {
    static Application application;
    static VortaQt::LogHandler handler(application, "Tests");
    return handler;
}

/// Receives the handler's events, on the thread that posts them, while it lives. What was queued before is taken out
/// first.
class LogRecorder : public QObject {
public:
    LogRecorder() {
        const auto drain = connect(
            &logHandler(), &VortaQt::LogHandler::logEvent, this, [] {}, Qt::DirectConnection);
        logHandler().log(Log::Severity::Trace, "drained");
        disconnect(drain);
    }

    void start() {
        connect(
            &logHandler(), &VortaQt::LogHandler::logEvent, this,
            [this](const VortaQt::LogEvent& event) { events.push_back(event); }, Qt::DirectConnection);
    }

    [[nodiscard]] QStringList messages() const {
        QStringList texts;
        for (const VortaQt::LogEvent& event : events)
            texts += event.message;
        return texts;
    }

    QVector<VortaQt::LogEvent> events;
};

} // namespace Vorta::Testing
