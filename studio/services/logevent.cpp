#include "services/logevent.h"

#include "vorta/common/exceptions.h"

namespace VortaQt {

LogEvent::LogEvent(const Vorta::Log::Event& event) : LogEvent(event.getSeverity(), event.getMessage()) {}

LogEvent::LogEvent(Vorta::Log::Severity eventSeverity, const std::string& text)
    : severity(eventSeverity), message(QString::fromLocal8Bit(text.c_str())) {}

Vorta::Log::Severity severityFromString(const std::string& text) {
    using enum Vorta::Log::Severity;
    for (const auto severity : {Debug, Info, Warning, Error, Trace})
        if (text == Vorta::Log::toString(severity))
            return severity;
    throw Vorta::ArgumentInvalidException("Invalid log level", "severity", text);
}

} // namespace VortaQt
