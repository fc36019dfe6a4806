// Tells the thread sanitizer what Qt, which was built without it, synchronises by its event queue: what a thread did
// before it emitted a signal happens before what follows in the slots that the application's thread runs. Linking it is
// enough.
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QThread>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

// As Qt's own test library declares it: a set of functions to be called around signals and slots.
struct QSignalSpyCallbackSet {
    using Begin = void (*)(QObject* object, int method, void** arguments);
    using End = void (*)(QObject* object, int method);
    Begin signalBegin;
    Begin slotBegin;
    End signalEnd;
    End slotEnd;
};
Q_CORE_EXPORT void qt_register_signal_spy_callbacks(QSignalSpyCallbackSet* callbacks);

namespace {

char queue; // its address stands for the application's event queue

class EventWatch : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* /*watched*/, QEvent* /*event*/) override {
        __tsan_acquire(&queue);
        return false;
    }
};

void signalBegins(QObject* /*object*/, int /*method*/, void** /*arguments*/) {
    __tsan_release(&queue);
}

void watch() {
    static QSignalSpyCallbackSet callbacks{signalBegins, nullptr, nullptr, nullptr};
    qt_register_signal_spy_callbacks(&callbacks);
    auto* application = QCoreApplication::instance();
    application->installEventFilter(new EventWatch(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)

/// Stands before Qt's own: a thread emits `finished` last, so that what it did happens before what follows the wait.
bool QThread::wait(QDeadlineTimer deadline) {
    using Wait = bool (*)(QThread*, QDeadlineTimer);
    static const auto wait = reinterpret_cast<Wait>(dlsym(RTLD_NEXT, "_ZN7QThread4waitE14QDeadlineTimer"));
    const bool ended = wait(this, deadline);
    if (ended)
        __tsan_acquire(&queue);
    return ended;
}
