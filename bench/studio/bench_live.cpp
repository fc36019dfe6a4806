// The whole program in live acquisition with heads that deliver as fast as they can: frames per second, and how long
// the events of the GUI thread take meanwhile (bar: none over 50 ms). The simulated heads keep all cores busy; the
// replayed one leaves them to the program, as a real one does. Needs a screen.
#include "app/metatypes.h"
#include "app/studio.h"
#include "camera/vortainterface.h"
#include "mainwindow/mainwindow.h"
#include "vorta/api/application.h"
#include "vorta/viewer/vortaviewer.h"

#include <QAction>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int warmUpMs = 2000;
constexpr int measuredMs = 10'000;

/// The program's application object, which also times each event that comes from the event loop.
class TimedStudio : public Vorta::Studio {
public:
    using Vorta::Studio::Studio;

    bool notify(QObject* receiver, QEvent* event) override {
        if (inside_)
            return Studio::notify(receiver, event); // a part of the event around it
        inside_ = true;
        QElapsedTimer clock;
        clock.start();
        const bool handled = Studio::notify(receiver, event);
        eventMs.push_back(static_cast<double>(clock.nsecsElapsed()) * 1e-6);
        inside_ = false;
        return handled;
    }

    std::vector<double> eventMs;

private:
    bool inside_ = false;
};

void waitUntil(const std::function<bool()>& condition, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
}

double quantile(std::vector<double>& values, double part) {
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, at);
    return *at;
}

/// Measures with the head of that name, which leaves a measurement in `file`, or without one with the replay of `file`.
int measureLive(int& argc, char** argv, const QString& head, const QString& file) {
    const QTemporaryDir preferences;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, preferences.path());
    Vorta::Application library;
    Vorta::VortaViewer::setDefaultSurfaceFormat();
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    Vorta::registerMetaTypes();
    TimedStudio studio(library, argc, argv);
    Vorta::VortaInterface& controller = studio.controller();
    Vorta::Settings settings = controller.settings();
    settings.set("Camera/FrameRate", "1000");
    if (head.isEmpty()) {
        settings.set("Camera/Driver", "NetCDF");
        settings.set("Camera/MeasurementFile", file.toStdString());
    }
    controller.setSettings(settings);
    MainWindow window(controller);
    window.show();
    waitUntil([&] { return controller.status().connected; }, 20'000);
    if (!controller.status().connected)
        throw std::runtime_error("no head is connected");

    std::atomic<int> frames{0};
    QObject::connect(
        &controller, &Vorta::VortaInterface::measurementUpdated, &controller, [&] { ++frames; }, Qt::DirectConnection);
    QTimer tick; // so that waiting ends when it should
    tick.start(20);
    window.findChild<QAction*>(QStringLiteral("actionLive"))->trigger();
    const auto never = [] { return false; };
    waitUntil(never, warmUpMs);
    frames = 0;
    studio.eventMs.clear();
    QElapsedTimer clock;
    clock.start();
    waitUntil(never, measuredMs);
    const double seconds = static_cast<double>(clock.elapsed()) * 1e-3;
    std::vector<double> events = studio.eventMs;
    const Vorta::PointCloud cloud = controller.record()->pointCloud();
    const std::string name = head.isEmpty() ? "replay" : head.toStdString();
    std::printf(
        "live %s, %zu x %zu points: %.1f frames/s; events of the GUI thread: median %.2f ms, 99.9 %% within %.1f ms\n",
        name.c_str(), cloud.width(), cloud.height(), frames / seconds, quantile(events, 0.5), quantile(events, 0.999));
    std::printf("figure: live %s, longest event of the GUI thread: %.1f ms (at most 50)\n", name.c_str(),
                quantile(events, 1.0));
    std::fflush(stdout);
    controller.stopLive();
    if (!head.isEmpty()) {
        settings.set("Camera/SaveImages", "true"); // so that the replay has points to compute for each frame
        controller.setSettings(settings);
        controller.measure({.exposureTime = std::chrono::microseconds{10'000}, .iris = 31});
        controller.saveDataFile(file);
    }
    window.close();
    return 0;
}

/// A process a head: a program has one log and one preferences store.
int measureHeads(const QString& program) {
    const QTemporaryDir folder;
    for (const char* head : {"turntable", "demo", ""}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("VORTA_VIRTUAL_HEADS"),
                           QStringLiteral(VORTA_SOURCE_DIR "/heads/") + QLatin1String(head));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(program, {QLatin1String(head), folder.filePath(QStringLiteral("live.vdf"))});
        if (!process.waitForFinished(120'000) || process.exitCode() != 0)
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return argc == 3 ? measureLive(argc, argv, QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]))
                         : measureHeads(QString::fromLocal8Bit(argv[0]));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_live: %s\n", error.what());
        return 1;
    }
}
