#pragma once

#include "vorta/common/export.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

/// The library's log: one per process, usable from any thread.
///
///     Vorta::Log::info("VortaAPI/Camera", __LINE__, "Connected to '%s' after %d ms", serialNumber, elapsedMs);
namespace Vorta::Log {

/// From most to least urgent. A message is delivered when its severity is at most the level.
enum class Severity : std::int32_t { Error = 0, Warning = 1, Info = 2, Debug = 3, Trace = 4 };

/// "Error", "Warning", "Info", "Debug" or "Trace".
[[nodiscard]] VORTA_COMMON_EXPORT std::string toString(Severity severity);

/// One delivered message.
class VORTA_COMMON_EXPORT Event {
public:
    Event(Severity severity, std::string source, int line, std::string message);

    [[nodiscard]] Severity getSeverity() const noexcept { return severity_; }
    /// The text with its placeholders filled in, without source and line.
    [[nodiscard]] const std::string& getMessage() const noexcept { return message_; }
    /// The source file's tag, for instance "VortaStudio/VortaInterface".
    [[nodiscard]] const std::string& getSource() const noexcept { return source_; }
    [[nodiscard]] int getLine() const noexcept { return line_; }

private:
    Severity severity_;
    int line_;
    std::string source_;
    std::string message_;
};

using Callback = std::function<void(const Event&)>;

/// Messages less urgent than the level are dropped before they are formatted. Initially Info.
VORTA_COMMON_EXPORT void setLevel(Severity level) noexcept;
[[nodiscard]] VORTA_COMMON_EXPORT Severity level() noexcept;

/// Sends every message from now on to `callback`, on the thread that logs; an empty callback drops them. Several
/// threads may be in the callback at once, and it may log itself. Once this returns, the earlier callback is not
/// running and never runs again; only when a callback calls this itself does it not wait for those that still run.
VORTA_COMMON_EXPORT void setCallback(Callback callback);

using Argument = std::variant<std::int64_t, std::uint64_t, double, std::string>;

/// Delivers a message whatever the level. Formats as boost::format does ("%d", "%s", "%1%", "%.1f"), with a decimal
/// point whatever the locale; surplus or missing arguments are no error.
VORTA_COMMON_EXPORT void write(Severity severity, std::string_view source, int line, std::string_view format,
                               const std::vector<Argument>& arguments);

template <class T>
[[nodiscard]] Argument toArgument(const T& value) {
    if constexpr (std::is_enum_v<T>)
        return toArgument(static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::is_same_v<T, char>)
        return std::string(1, value);
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<double>(value);
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return static_cast<std::int64_t>(value);
    else if constexpr (std::is_integral_v<T>)
        return static_cast<std::uint64_t>(value);
    else
        return std::string{value};
}

/// `source` tags the source file; `format` is a boost::format text.
template <class... Arguments>
void log(Severity severity, std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    if (severity <= level())
        write(severity, source, line, format, {toArgument(arguments)...});
}

template <class... Arguments>
void error(std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    log(Severity::Error, source, line, format, arguments...);
}

template <class... Arguments>
void warning(std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    log(Severity::Warning, source, line, format, arguments...);
}

template <class... Arguments>
void info(std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    log(Severity::Info, source, line, format, arguments...);
}

template <class... Arguments>
void debug(std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    log(Severity::Debug, source, line, format, arguments...);
}

template <class... Arguments>
void trace(std::string_view source, int line, std::string_view format, const Arguments&... arguments) {
    log(Severity::Trace, source, line, format, arguments...);
}

} // namespace Vorta::Log
