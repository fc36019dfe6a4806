#include "vorta/common/log.h"

#include <atomic>
#include <boost/format.hpp>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace Vorta::Log {

namespace {

std::atomic<Severity> currentLevel{Severity::Info};

struct Sink {
    // Recursive deliveries are legal (a callback may log), exclusive ownership only for replacing the callback.
    std::shared_mutex mutex;
    Callback callback;
};

Sink& sink() {
    static Sink instance;
    return instance;
}

// Set while this thread delivers, so that a message logged by the callback does not lock a second time.
thread_local bool delivering = false;

std::string compose(std::string_view format, const std::vector<Argument>& arguments) {
    if (arguments.empty() && format.find('%') == std::string_view::npos)
        return std::string{format};
    boost::format formatter;
    formatter.exceptions(boost::io::no_error_bits);
    formatter.parse(std::string{format});
    for (const Argument& argument : arguments)
        std::visit([&](const auto& value) { formatter % value; }, argument);
    return formatter.str();
}

} // namespace

std::string toString(Severity severity) {
    switch (severity) {
    case Severity::Error:
        return "Error";
    case Severity::Warning:
        return "Warning";
    case Severity::Info:
        return "Info";
    case Severity::Debug:
        return "Debug";
    case Severity::Trace:
        return "Trace";
    }
    return "Unknown";
}

Event::Event(Severity severity, std::string source, int line, std::string message)
    : severity_(severity), line_(line), source_(std::move(source)), message_(std::move(message)) {}

void setLevel(Severity level) noexcept {
    currentLevel.store(level, std::memory_order_relaxed);
}

Severity level() noexcept {
    return currentLevel.load(std::memory_order_relaxed);
}

void setCallback(Callback callback) {
    const std::unique_lock lock{sink().mutex};
    sink().callback = std::move(callback);
}

void write(Severity severity, std::string_view source, int line, std::string_view format,
           const std::vector<Argument>& arguments) {
    const Event event{severity, std::string{source}, line, compose(format, arguments)};
    if (delivering) {
        if (sink().callback)
            sink().callback(event);
        return;
    }
    const std::shared_lock lock{sink().mutex};
    if (!sink().callback)
        return;
    struct Mark {
        Mark() { delivering = true; }
        ~Mark() { delivering = false; }
        Mark(const Mark&) = delete;
        Mark& operator=(const Mark&) = delete;
    } const mark;
    sink().callback(event);
}

} // namespace Vorta::Log
