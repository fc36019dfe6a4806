#pragma once

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include <atomic>

namespace Vorta {

class Application;

/// Asks the library for cameras twice a second until there is one, then says so once and ends.
///
/// The object lives on the GUI thread; `run` on its own. Destruction stops the search and waits for it.
class VortaCameraDetectionThread : public QThread {
    Q_OBJECT

public:
    /// `application` outlives the thread.
    VortaCameraDetectionThread(Application& application, QObject* parent);
    ~VortaCameraDetectionThread() override;

    /// Ends the search soon, without a signal; any thread.
    void requestStop();

Q_SIGNALS:
    void cameraAvailable();

protected:
    void run() override;

private:
    Application& application_;
    std::atomic<bool> stopRequested_{false};
    QMutex mutex_;
    QWaitCondition stopping_;
};

} // namespace Vorta
