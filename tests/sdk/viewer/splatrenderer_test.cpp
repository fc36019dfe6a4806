// The two ways of drawing a cloud make the same picture.
#include "glrenderer.h"
#include "splatrenderer.h"
#include "vorta/common/pointcloud.h"

#include <QScreen>
#include <QWindow>
#include <QtTest>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using namespace Vorta;

/// A wavy surface with a step in it, and its view from somewhat aside.
class Renderers : public testing::Test {
protected:
    Renderers() {
        PointCloud cloud(150, 200);
        for (std::size_t row = 0; row < cloud.height(); ++row) {
            for (std::size_t column = 0; column < cloud.width(); ++column) {
                if ((row * 31 + column * 17) % 20 == 0)
                    continue;
                Point& p = cloud(row, column);
                p.x = 2.0F * (static_cast<float>(column) - 99.5F);
                p.y = 2.0F * (static_cast<float>(row) - 74.5F);
                p.z = (column < 80 ? 500.0F : 650.0F) + 15.0F * std::sin(0.04F * p.x) * std::cos(0.05F * p.y);
                p.red = static_cast<std::uint8_t>(column);
                p.green = static_cast<std::uint8_t>(row);
                p.blue = 128;
            }
        }
        grid_.assign(cloud.points(), cloud.width());
        view_.setViewport(400, 300);
        view_.setView({0.0, 0.0, 575.0}, 600.0);
        view_.MouseAction({.x = 200, .y = 150, .wheelDelta = 0, .action = VMouseAction::LeftPressed});
        view_.MouseAction({.x = 260, .y = 120, .wheelDelta = 0, .action = VMouseAction::Move});
        frame_.eye = eyeMatrix(view_);
        frame_.projection = projectionMatrix({.nearest = 200.0, .farthest = 1500.0}, view_);
        frame_.pointScale = static_cast<float>(2.5 * view_.focalLength());
        frame_.nearestZ = 480.0F;
        frame_.farthestZ = 670.0F;
        frame_.background = {0.1F, 0.2F, 0.3F, 0.0F};
        window_.setSurfaceType(QSurface::RasterGLSurface);
        window_.resize(400, 300);
        window_.show();
    }

    /// Share of the pixels that differ by more than rounding.
    static double difference(const QImage& a, const QImage& b) {
        int different = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                const QRgb p = a.pixel(x, y);
                const QRgb q = b.pixel(x, y);
                const int off = std::max(
                    {std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))});
                different += off > 2 ? 1 : 0;
            }
        }
        return static_cast<double>(different) / (a.width() * a.height());
    }

    CloudGrid grid_;
    VTrackBall view_;
    FrameSettings frame_;
    QWindow window_;
};

TEST_F(Renderers, DrawTheSamePicture) {
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window_));
    std::string error;
    const auto gl = GlRenderer::create(window_, error);
    ASSERT_TRUE(gl) << error;
    ASSERT_TRUE(gl->uploadPoints(CloudDetail::Full, grid_.vertices()));
    SplatRenderer splats(window_);
    for (const bool colored : {true, false}) {
        frame_.colored = colored;
        QImage expected;
        ASSERT_TRUE(gl->drawToImage(frame_, {400, 300}, expected));
        const QImage picture = splats.drawToImage(grid_.vertices(), frame_, {400, 300});
        ASSERT_EQ(picture.size(), expected.size());
        EXPECT_GT(difference(picture, QImage(400, 300, QImage::Format_RGB32)), 0.5) << "there is something to see";
        // At the edges of the squares, where rounding decides.
        EXPECT_LT(difference(picture, expected), 0.005);
    }
}

TEST_F(Renderers, SplatsShowInTheWindow) {
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window_));
    SplatRenderer splats(window_);
    splats.drawToWindow(grid_.vertices(), frame_);
    const QImage expected = splats.drawToImage(grid_.vertices(), frame_, window_.size() * window_.devicePixelRatio());
    const auto shown = [&] {
        return window_.screen()->grabWindow(window_.winId()).toImage().convertToFormat(QImage::Format_RGB32);
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown() == expected; }));
}

} // namespace
