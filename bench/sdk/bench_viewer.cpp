// Frames of the 3D view at 1280 x 800 pixels with a cloud of 1944 x 1200 points, at rest and in motion, beside one bare
// draw call of the same points in the same window; and taking a cloud in, beside copying it. Needs a screen.
#include "ratio.h"
#include "sdk/baredraw.h"
#include "viewgeometry.h"
#include "vorta/viewer/vortaviewer.h"
#include "vorta/viewer/vtrackball.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMatrix4x4>
#include <QWindow>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace Vorta;

/// A wavy surface half a metre away; one point in 50 is invalid.
PointCloud makeSurface() {
    PointCloud cloud(1200, 1944);
    for (std::size_t row = 0; row < cloud.height(); ++row) {
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            Point& p = cloud(row, column);
            if ((row * 7919 + column * 104729) % 50 == 0)
                continue;
            p.x = 0.2F * (static_cast<float>(column) - 971.5F);
            p.y = 0.2F * (static_cast<float>(row) - 599.5F);
            p.z = 600.0F + 15.0F * std::sin(0.04F * p.x) * std::cos(0.05F * p.y);
            p.red = static_cast<std::uint8_t>(column % 256);
            p.green = static_cast<std::uint8_t>(row % 256);
            p.blue = 128;
        }
    }
    return cloud;
}

/// The view that the viewer shows, for drawing the same by other means.
std::array<float, 16> clipMatrix(const VTrackBall& view) {
    const QMatrix4x4 projection =
        QMatrix4x4(projectionMatrix({.nearest = 100.0, .farthest = 2000.0}, view).data()).transposed();
    const QMatrix4x4 matrix = projection * QMatrix4x4(eyeMatrix(view).data()).transposed();
    std::array<float, 16> columns{};
    std::memcpy(columns.data(), matrix.constData(), sizeof(columns));
    return columns;
}

void mustDraw(VortaViewer& viewer) {
    if (!viewer.render())
        throw std::runtime_error("the viewer drew nothing: " + viewer.errorText());
}

void waitUntilExposed(const QWindow& window) {
    QElapsedTimer clock;
    clock.start();
    while (!window.isExposed() && clock.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char** argv) {
    VortaViewer::setDefaultSurfaceFormat();
    const QGuiApplication application(argc, argv);
    QWindow window;
    window.setSurfaceType(QSurface::RasterGLSurface);
    window.setFormat(QSurfaceFormat::defaultFormat());
    window.resize(1280, 800);
    window.show();
    waitUntilExposed(window);

    const auto ball = std::make_shared<VTrackBall>();
    VortaViewer viewer;
    viewer.setTrackBall(ball);
    if (!viewer.initialize(window.winId()) || !viewer.resize(1280, 800)) {
        std::fprintf(stderr, "%s\n", viewer.errorText().c_str());
        return 1;
    }
    std::printf("%s\n", viewer.computeDevice().name().c_str());
    const PointCloud cloud = makeSurface();
    viewer.loadPoints(cloud);
    viewer.initializeView();
    using VortaBench::BareDraw;
    BareDraw barePoints(window, cloud, clipMatrix(*ball), BareDraw::What::Points);
    BareDraw bareMesh(window, cloud, clipMatrix(*ball), BareDraw::What::Triangles);

    // Another background makes the frame another one: an unchanged frame is not drawn twice.
    float shade = 0.0F;
    const auto rest = [&](bool meshed) {
        return [&, meshed] {
            shade = 0.2F - shade;
            viewer.setBackgroundColor({shade, shade, shade, 0.0F});
            viewer.enableMeshing(meshed);
            mustDraw(viewer);
        };
    };
    float x = 640.0F;
    ball->MouseAction({.x = x, .y = 400.0F, .wheelDelta = 0, .action = VMouseAction::LeftPressed});
    const auto motion = [&](bool meshed) {
        return [&, meshed] {
            x = 1281.0F - x;
            ball->MouseAction({.x = x, .y = 400.0F, .wheelDelta = 0, .action = VMouseAction::Move});
            viewer.enableMeshing(meshed);
            mustDraw(viewer);
        };
    };
    const auto drawPoints = [&] { barePoints.draw(); };
    const auto drawMesh = [&] { bareMesh.draw(); };
    VortaBench::compare("points at rest / bare draw", rest(false), drawPoints, 0, 1.1)->Iterations(10);
    VortaBench::compare("points in motion / bare draw", motion(false), drawPoints, 0)->Iterations(30);
    VortaBench::compare("mesh at rest / bare draw", rest(true), drawMesh, 0, 1.1)->Iterations(10);
    VortaBench::compare("mesh in motion / bare draw", motion(true), drawMesh, 0)->Iterations(30);
    // Last, because clouds in quick succession are drawn as moving ones.
    PointCloud copy = cloud.clone();
    VortaBench::compare(
        "taking a cloud in / copying it", [&] { viewer.loadPoints(cloud); },
        [&] {
            std::memcpy(copy.data(), cloud.data(), cloud.points().size_bytes());
            benchmark::ClobberMemory();
        },
        0)
        ->Iterations(10);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
