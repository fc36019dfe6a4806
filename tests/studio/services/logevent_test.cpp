#include "services/logevent.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

using namespace VortaQt;
using Vorta::Log::Severity;

namespace {

TEST(LogEvent, takesSeverityAndMessageFromTheLibrarysEvent) {
    const LogEvent event{Vorta::Log::Event(Severity::Warning, "VortaAPI/Camera", 12, "Too warm: 81")};
    EXPECT_EQ(event.severity, Severity::Warning);
    EXPECT_EQ(event.message, QStringLiteral("Too warm: 81"));
}

TEST(LogEvent, takesSeverityAndNarrowText) {
    const LogEvent event{Severity::Trace, "plain text"};
    EXPECT_EQ(event.severity, Severity::Trace);
    EXPECT_EQ(event.message, QStringLiteral("plain text"));
}

TEST(SeverityFromString, knowsTheFiveNames) {
    EXPECT_EQ(severityFromString("Error"), Severity::Error);
    EXPECT_EQ(severityFromString("Warning"), Severity::Warning);
    EXPECT_EQ(severityFromString("Info"), Severity::Info);
    EXPECT_EQ(severityFromString("Debug"), Severity::Debug);
    EXPECT_EQ(severityFromString("Trace"), Severity::Trace);
}

TEST(SeverityFromString, refusesEveryOtherText) {
    for (const char* text : {"", "error", "ERROR", "Info ", " Info", "Inf", "Information", "1", "Unknown"})
        EXPECT_THROW(static_cast<void>(severityFromString(text)), Vorta::ArgumentInvalidException) << text;
    try {
        static_cast<void>(severityFromString("Loud"));
        FAIL() << "accepted";
    } catch (const Vorta::ArgumentInvalidException& exception) {
        EXPECT_EQ(exception.parameter(), "severity");
        EXPECT_STREQ(exception.what(), "Invalid log level. Invalid parameter: severity = 'Loud'");
    }
}

} // namespace
