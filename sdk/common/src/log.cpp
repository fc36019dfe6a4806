#include "vorta/common/log.h"

#include <atomic>
#include <boost/format.hpp>
#include <condition_variable>
#include <locale>
#include <memory>
#include <mutex>
#include <utility>

namespace Vorta::Log {

namespace {

std::atomic<Severity> currentLevel{Severity::Info};

/// A callback and how many threads are in it.
struct Receiver {
    Callback callback;
    unsigned running = 0;
};

struct Registry {
    std::mutex mutex;
    std::condition_variable returned;
    std::shared_ptr<Receiver> receiver;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

/// How many callbacks this thread is in; a callback that logs is entered again.
thread_local unsigned depth = 0;

/// Holds the receiver for one delivery, outside the registry's lock: callbacks may take as long as they like, log, and
/// wait for threads that log.
class Delivery {
public:
    Delivery() : receiver_(enter()) {}
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() {
        if (!receiver_)
            return;
        const std::lock_guard lock{registry().mutex};
        --depth;
        if (--receiver_->running == 0)
            registry().returned.notify_all();
    }

    [[nodiscard]] const Callback* callback() const noexcept { return receiver_ ? &receiver_->callback : nullptr; }

private:
    static std::shared_ptr<Receiver> enter() {
        const std::lock_guard lock{registry().mutex};
        const std::shared_ptr<Receiver>& receiver = registry().receiver;
        if (receiver) {
            ++receiver->running;
            ++depth;
        }
        return receiver;
    }

    std::shared_ptr<Receiver> receiver_;
};

std::string compose(std::string_view format, const std::vector<Argument>& arguments) {
    boost::format formatter{"", std::locale::classic()};
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
    auto receiver = callback ? std::make_shared<Receiver>(Receiver{.callback = std::move(callback)}) : nullptr;
    std::unique_lock lock{registry().mutex};
    receiver.swap(registry().receiver);
    // From now on `receiver` is the earlier one. A callback that replaces itself cannot wait for its own return.
    if (receiver && depth == 0)
        registry().returned.wait(lock, [&] { return receiver->running == 0; });
}

void write(Severity severity, std::string_view source, int line, std::string_view format,
           const std::vector<Argument>& arguments) {
    const Delivery delivery;
    if (const Callback* const callback = delivery.callback())
        (*callback)({severity, std::string{source}, line, compose(format, arguments)});
}

} // namespace Vorta::Log
