#include "services/loghandler.h"

#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"

#include <utility>

namespace VortaQt {

namespace {

// Stays set when the handler goes: a second one in the same process would be a mistake.
LogHandler* theHandler = nullptr;

} // namespace

LogHandler::LogHandler(Vorta::Application& application, std::string name, QObject* parent)
    : QObject(parent), application_(application), name_(std::move(name)) {
    if (theHandler != nullptr)
        throw Vorta::RuntimeException("LogHandler is singleton. A log handler exists already.");
    theHandler = this;
    application_.getImpl().setLogCallback([this](const Vorta::Log::Event& event) { post(LogEvent(event)); });
}

LogHandler::~LogHandler() {
    // Once this returns no thread is in post() any more.
    application_.getImpl().setLogCallback({});
}

LogHandler& LogHandler::instance() {
    if (theHandler == nullptr)
        throw Vorta::RuntimeException("LogHandler == nullptr");
    return *theHandler;
}

void LogHandler::log(Vorta::Log::Severity severity, const std::string& text) {
    post(LogEvent(severity, text));
}

void LogHandler::post(const LogEvent& event) {
    const std::scoped_lock lock{mutex_};
    queue_.push_back(event);
    // receivers() takes Qt's connection lock; isSignalConnected() would not, and this may be any thread.
    if (receivers(SIGNAL(logEvent(VortaQt::LogEvent))) == 0)
        return;
    for (const LogEvent& queued : queue_)
        Q_EMIT logEvent(queued);
    queue_.clear();
}

} // namespace VortaQt
