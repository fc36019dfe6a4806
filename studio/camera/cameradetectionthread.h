#pragma once

#include <QThread>

#include <chrono>
#include <condition_variable>
#include <mutex>

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
    /// Waits for the next search; true when there is to be none.
    bool stopsWithin(std::chrono::milliseconds time);

    Application& application_;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stopRequested_ = false;
};

} // namespace Vorta
