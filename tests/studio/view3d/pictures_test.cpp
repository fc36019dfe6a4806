// What the view shows of a scene, compared with pictures that a person has looked at. To make them anew after a change
// that is meant to change them: VORTA_NEW_PICTURES=1 scripts/with-screen build/release/bin/test_view3d
// --gtest_filter='Pictures*', then look at what changed in tests/studio/view3d/pictures/.
#include "studio/view3d/input.h"
#include "studio/view3d/scene.h"
#include "support/imagecompare.h"

#include <QTest>

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <utility>
#include <vector>

namespace {

using Vorta::Point;
using Vorta::PointCloud;
using Vorta::Testing::drag;
using Vorta::Testing::Scene;
using Vorta::Testing::turnWheel;
using Vorta::Testing::waitFor;

/// Distance along the ray (u, v, 1) to the front of a ball.
std::optional<float> hit(float u, float v, float x, float y, float z, float radius) {
    const float a = u * u + v * v + 1.0F;
    const float b = u * x + v * y + z;
    const float c = x * x + y * y + z * z - radius * radius;
    const float root = b * b - a * c;
    return root < 0.0F ? std::nullopt : std::optional((b - std::sqrt(root)) / a);
}

/// As a camera at the origin sees them: a red and a blue ball before a leaning wall with a pattern of squares, which
/// has a round hole.
PointCloud makeStillLife() {
    PointCloud cloud(360, 480);
    for (std::size_t row = 0; row < cloud.height(); ++row) {
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            const float u = (static_cast<float>(column) - 239.5F) / 600.0F;
            const float v = (static_cast<float>(row) - 179.5F) / 600.0F;
            Point& p = cloud(row, column);
            const auto place = [&](float z, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
                p.x = u * z;
                p.y = v * z;
                p.z = z;
                p.red = red;
                p.green = green;
                p.blue = blue;
            };
            if (const auto z = hit(u, v, -70.0F, 10.0F, 480.0F, 60.0F)) {
                place(*z, 220, 60, 40);
            } else if (const auto other = hit(u, v, 90.0F, 40.0F, 430.0F, 35.0F)) {
                place(*other, 50, 90, 230);
            } else if (std::hypot(u - 0.12F, v + 0.15F) > 0.06F) {
                const float wall = 600.0F / (1.0F - 0.3F * v);
                const bool dark =
                    (static_cast<int>(std::floor(u * wall / 30.0F)) + static_cast<int>(std::floor(v * wall / 30.0F))) %
                        2 ==
                    0;
                place(wall, dark ? 90 : 220, dark ? 100 : 220, dark ? 90 : 200);
            }
        }
    }
    return cloud;
}

/// One button held down along a hand's way, as it was recorded.
void follow(QWidget& view, Qt::MouseButton button, const std::vector<QPoint>& way) {
    Vorta::Testing::press(view, way.front(), button, button);
    for (const QPoint& place : way)
        Vorta::Testing::move(view, place, button);
    Vorta::Testing::release(view, way.back(), button, Qt::NoButton);
}

class Pictures : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(view().initialise());
        view().loadPoints(makeStillLife(), true);
        view().render();
    }

    Vorta::DX11PointCloudWidget& view() { return scene_.view(); }

    /// Borders may fall a pixel to either side from one graphics driver to the next: the pictures are compared at a
    /// quarter of the size, and one block in a hundred may still differ.
    void expectPicture(const char* name) {
        const QString path =
            QStringLiteral(VORTA_SOURCE_DIR "/tests/studio/view3d/pictures/%1.png").arg(QLatin1String(name));
        const auto shown = [this] {
            return scene_.screen().scaled(150, 100, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        };
        if (qEnvironmentVariableIsSet("VORTA_NEW_PICTURES")) {
            QImage before;
            // At rest once nothing changes any more.
            ASSERT_TRUE(waitFor([&] { return std::exchange(before, shown()) == before; }));
            QTest::qWait(1000);
            ASSERT_TRUE(shown().save(path));
        }
        const QImage expected = QImage(path).convertToFormat(QImage::Format_RGB32);
        ASSERT_FALSE(expected.isNull()) << path.toStdString();
        constexpr Vorta::Testing::ImageTolerance tolerance{.channel = 12, .fraction = 0.01};
        waitFor([&] { return static_cast<bool>(sameImage(shown(), expected, QLatin1String(name), tolerance)); });
        EXPECT_TRUE(sameImage(shown(), expected, QLatin1String(name), tolerance));
    }

    Scene scene_;
};

TEST_F(Pictures, AsTheCameraSawIt) {
    expectPicture("initial");
}

TEST_F(Pictures, TurnedAlongAWay) {
    follow(view(), Qt::LeftButton,
           {{300, 200},
            {305, 201},
            {316, 199},
            {334, 196},
            {357, 190},
            {380, 181},
            {402, 170},
            {421, 161},
            {433, 154},
            {438, 150},
            {439, 149}});
    expectPicture("turned");
}

TEST_F(Pictures, MovedAndZoomed) {
    follow(view(), Qt::RightButton,
           {{180, 220}, {184, 221}, {200, 219}, {231, 214}, {262, 207}, {281, 203}, {290, 201}});
    for (int notch = 0; notch < 4; ++notch)
        turnWheel(view(), {290, 201}, {0, 120});
    follow(view(), Qt::MiddleButton, {{300, 200}, {300, 192}, {301, 180}, {301, 172}});
    expectPicture("zoomed");
}

TEST_F(Pictures, MeshFromTheSide) {
    view().enableMeshing(true);
    drag(view(), Qt::LeftButton, {300, 200}, {200, 230});
    expectPicture("mesh");
}

TEST_F(Pictures, LitMeshFromTheSide) {
    view().enableMeshing(true);
    view().enableColors(false);
    drag(view(), Qt::LeftButton, {300, 200}, {200, 230});
    expectPicture("lit");
}

TEST_F(Pictures, DepthColours) {
    view().enableColors(false);
    view().setBackgroundColor(QColor(250, 250, 250));
    view().render();
    expectPicture("depth");
}

} // namespace
