#pragma once

#include "vorta/common/log.h"

#include <QMetaType>
#include <QString>

#include <string>

namespace VortaQt {

/// A log message on its way to the GUI; travels through queued connections.
struct LogEvent {
    Vorta::Log::Severity severity = Vorta::Log::Severity::Info;
    QString message;

    LogEvent() = default;
    explicit LogEvent(const Vorta::Log::Event& event);
    /// `text` is in the local 8-bit encoding.
    LogEvent(Vorta::Log::Severity severity, const std::string& text);
};

/// The severity of that name, exactly as Vorta::Log::toString() writes it. Throws ArgumentInvalidException for any
/// other text.
[[nodiscard]] Vorta::Log::Severity severityFromString(const std::string& text);

} // namespace VortaQt

Q_DECLARE_METATYPE(VortaQt::LogEvent)
