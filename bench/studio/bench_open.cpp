// From the command to open a data file of 1944 x 1200 points to all views drawn, beside CloudCompare's loading the same
// points as PLY without drawing them, where CloudCompare is installed. Needs a screen.
#include "app/metatypes.h"
#include "app/studio.h"
#include "camera/vortainterface.h"
#include "export/pointcloudwriters.h"
#include "mainwindow/mainwindow.h"
#include "vorta/api/application.h"
#include "vorta/viewer/vortaviewer.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <vector>

namespace {

constexpr int runs = 5;

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void waitUntil(const std::function<bool()>& condition) {
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < 20'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
}

/// Milliseconds until the window shows the file.
double openMs(MainWindow& window, const QString& file) {
    QElapsedTimer clock;
    clock.start();
    window.openFile(file);
    QCoreApplication::processEvents();
    window.screen()->grabWindow(window.winId(), 0, 0, 1, 1); // waits for the X server
    return static_cast<double>(clock.nsecsElapsed()) * 1e-6;
}

double processMs(const QString& program, const QString& file) {
    QElapsedTimer clock;
    clock.start();
    QProcess process;
    process.start(program, {QStringLiteral("-SILENT"), QStringLiteral("-AUTO_SAVE"), QStringLiteral("OFF"),
                            QStringLiteral("-O"), file});
    if (!process.waitForFinished(120'000) || process.exitCode() != 0)
        throw std::runtime_error("the other program cannot open the file");
    return static_cast<double>(clock.nsecsElapsed()) * 1e-6;
}

void compare(int argc, char** argv) {
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    qputenv("VORTA_VIRTUAL_HEADS", VORTA_SOURCE_DIR "/heads/demo");
    Vorta::Application library;
    Vorta::VortaViewer::setDefaultSurfaceFormat();
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    Vorta::registerMetaTypes();
    Vorta::Studio studio(library, argc, argv);
    Vorta::VortaInterface& controller = studio.controller();
    MainWindow window(controller);
    window.show();
    waitUntil([&] { return controller.status().connected; });
    controller.measure({.exposureTime = std::chrono::microseconds{10'000}, .iris = 31});
    const QString dataFile = folder.filePath(QStringLiteral("scene.vdf"));
    const QString plyFile = folder.filePath(QStringLiteral("scene.ply"));
    const QString smallFile = folder.filePath(QStringLiteral("small.ply"));
    controller.saveDataFile(dataFile);
    const Vorta::PointCloud cloud = controller.record()->pointCloud();
    Vorta::PointCloud small(2, 2);
    std::copy_n(&cloud(cloud.height() / 2, cloud.width() / 2), 4, small.points().begin());
    if (!Vorta::Export::writePly(plyFile.toStdString(), cloud, false) ||
        !Vorta::Export::writePly(smallFile.toStdString(), small, false))
        throw std::runtime_error("the point clouds cannot be written");

    std::vector<double> ours(runs);
    for (double& milliseconds : ours)
        milliseconds = openMs(window, dataFile);
    std::printf("opening %zu x %zu points to all views drawn: %.0f ms\n", cloud.width(), cloud.height(), median(ours));
    const QString other = QStandardPaths::findExecutable(QStringLiteral("CloudCompare"));
    if (other.isEmpty()) {
        std::printf("CloudCompare is not installed\n");
        return;
    }
    std::vector<double> theirs;
    std::vector<double> start;
    for (int run = 0; run < runs; ++run) {
        theirs.push_back(processMs(other, plyFile));
        start.push_back(processMs(other, smallFile));
    }
    const double load = median(theirs) - median(start);
    std::printf("CloudCompare loading them as PLY, its start taken off: %.0f ms\n", load);
    std::printf("figure: opening / CloudCompare loading: %.2f (at most 1.0)\n", median(ours) / load);
}

} // namespace

int main(int argc, char** argv) {
    try {
        compare(argc, argv);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_open: %s\n", error.what());
        return 1;
    }
}
