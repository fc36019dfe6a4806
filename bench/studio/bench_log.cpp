// Log messages from four threads into the visible log: whether all become rows, and how long the window does not answer
// meanwhile. "steady" posts 10,000 messages a second, "burst" as many at once. Needs a screen.

#include "services/loghandler.h"
#include "services/logwidget.h"
#include "vorta/api/application.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTableWidget>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int threadCount = 4;
constexpr double gapLimitMs = 50.0;

VortaQt::LogHandler& handler() {
    static Vorta::Application application;
    static VortaQt::LogHandler handler(application, "Benchmark");
    return handler;
}

/// Posts every `pause`, never catching up by leaving messages out.
void post(int thread, int messages, std::chrono::microseconds pause) {
    auto next = Clock::now();
    for (int i = 0; i < messages; ++i, next += pause) {
        if (pause.count() > 0)
            std::this_thread::sleep_until(next);
        handler().log(Vorta::Log::Severity::Info,
                      "thread " + std::to_string(thread) + " says that its message " + std::to_string(i) + " is out");
    }
}

/// The longest time between two events of a timer on the GUI thread.
class GapMeter : public QObject {
public:
    GapMeter() {
        connect(&timer_, &QTimer::timeout, this, [this] {
            longestMs_ = std::max(longestMs_, static_cast<double>(clock_.nsecsElapsed()) * 1e-6);
            clock_.restart();
        });
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.start(1);
        clock_.start();
    }
    [[nodiscard]] double longestMs() const { return longestMs_; }

private:
    QTimer timer_;
    QElapsedTimer clock_;
    double longestMs_ = 0.0;
};

/// Until the events have been handled that the last rows caused, and those that these caused in turn.
void drain() {
    for (int turn = 0; turn < 3; ++turn) {
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

void logMessages(benchmark::State& state, int messagesPerThread, std::chrono::microseconds pause) {
    for ([[maybe_unused]] auto iteration : state) {
        VortaQt::LogWidget widget;
        widget.resize(900, 300);
        widget.show();
        QObject::connect(&handler(), &VortaQt::LogHandler::logEvent, &widget, &VortaQt::LogWidget::addToLog,
                         Qt::QueuedConnection);
        const auto* table = widget.findChild<QTableWidget*>();
        QApplication::processEvents();

        const int wanted = threadCount * messagesPerThread;
        const std::clock_t cpu = std::clock();
        const auto start = Clock::now();
        std::vector<std::thread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread)
            threads.emplace_back(post, thread, messagesPerThread, pause);
        GapMeter meter;
        while (table->rowCount() < wanted)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        drain();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        const double cpuSeconds = static_cast<double>(std::clock() - cpu) / static_cast<double>(CLOCKS_PER_SEC);
        for (std::thread& thread : threads)
            thread.join();
        state.SetIterationTime(seconds);
        state.counters["rows"] = wanted;
        state.counters["rows_per_s"] = wanted / seconds;
        state.counters["cpu_us_per_row"] = cpuSeconds * 1e6 / wanted;
        state.counters["longest_gap_ms"] = meter.longestMs();
        state.counters["longest_gap_ms_at_most"] = gapLimitMs;
    }
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    qRegisterMetaType<VortaQt::LogEvent>("VortaQt::LogEvent");
    benchmark::Initialize(&argc, argv);
    const auto add = [](const char* name, int messages, std::chrono::microseconds pause) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { logMessages(state, messages, pause); })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(3)
            ->Unit(benchmark::kMillisecond);
    };
    add("log/steady, 10000 messages a second for 5 s", 12'500, std::chrono::microseconds(400));
    add("log/burst, 10000 messages at once", 2'500, std::chrono::microseconds(0));
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
