#include "bareheads.h"

#include "vorta/virtual/motion.h"
#include "vorta/virtual/viewcache.h"
#include "vorta/virtual/viewtracer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace Vorta::Testing {
namespace {

using Virtual::Turntable;
using Virtual::Vec3;

void expectNear(Vec3 actual, Vec3 expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.z, expected.z, 1e-9);
}

TEST(Turntable, TurnsAboutItsAxis) {
    const Turntable table{.axis = {0.0, 1.0, 0.0}, .centre = {0.0, 0.0, 700.0}, .degreesPerCapture = 90.0};
    expectNear(table.pose(0).toOuter({50.0, 7.0, 700.0}), {50.0, 7.0, 700.0});
    expectNear(table.pose(1).toOuter({50.0, 7.0, 700.0}), {0.0, 7.0, 650.0});
    expectNear(table.pose(2).toOuter({50.0, 7.0, 700.0}), {-50.0, 7.0, 700.0});
    expectNear(table.pose(3).toOuter({50.0, 7.0, 700.0}), {0.0, 7.0, 750.0});
    // About the diagonal a third of a turn carries x to y to z.
    const double third = 1.0 / std::sqrt(3.0);
    const Turntable diagonal{.axis = {third, third, third}, .centre = {}, .degreesPerCapture = 120.0};
    expectNear(diagonal.pose(1).toOuter({1.0, 2.0, 3.0}), {3.0, 1.0, 2.0});
}

TEST(Turntable, ComesRound) {
    const auto period = [](double degrees) { return Turntable{.degreesPerCapture = degrees}.period(); };
    EXPECT_EQ(period(3.0), 120U);
    EXPECT_EQ(period(-7.0), 360U);
    EXPECT_EQ(period(22.5), 16U);
    EXPECT_EQ(period(0.0), 1U);
    EXPECT_EQ(period(0.1), 3600U);
    EXPECT_EQ(period(std::sqrt(2.0)), 0U);
    const Turntable table{.degreesPerCapture = 22.5};
    EXPECT_EQ(table.pose(1000016).rotation.m, table.pose(0).rotation.m);
    EXPECT_EQ(table.pose(21).rotation.m, table.pose(5).rotation.m);
}

TEST(SweptSpace, IsARoundOfEachMovingObject) {
    // A sphere of radius 10 that circles the y axis through (0, 0, 700) at 50 mm: with the margin of 1 a solid of
    // radius 61, from y = -11 to 11.
    const Virtual::Scene scene = loadSceneText(R"(
motion: {turntable: {axis: [0, 1, 0], centre: [0, 0, 700], degreesPerCapture: 5}}
objects:
  - {sphere: {radius: 10}, position: [50, 0, 700], moving: true}
  - {sphere: {radius: 300}, position: [0, 0, 2000]}
)");
    const Virtual::SweptSpace swept(scene, 1.0);
    EXPECT_TRUE(swept.meets({}, {0, 0, 1}));
    EXPECT_FALSE(swept.meets({}, {0, 0, 1}, 638.9)); // 700 - 61 = 639
    EXPECT_TRUE(swept.meets({}, {0, 0, 1}, 639.1));
    EXPECT_FALSE(swept.meets({}, {0, 0, -1}));
    EXPECT_FALSE(swept.meets({60.9, 11.1, 0}, {0, 0, 1}));
    EXPECT_FALSE(swept.meets({61.1, 0, 0}, {0, 0, 1}));
    EXPECT_TRUE(swept.meets({60.9, -10.9, 0}, {0, 0, 1}));
    EXPECT_TRUE(swept.meets({60.9, -500, 700}, {0, 1, 0})); // along the axis
    EXPECT_FALSE(swept.meets({61.1, -500, 700}, {0, 1, 0}));
    EXPECT_FALSE(swept.meets({60.9, -500, 700}, {0, 1, 0}, 488.9));
    EXPECT_TRUE(swept.meets({0, 0, 700}, {1, 0, 0}, 0.1)); // from within
    EXPECT_FALSE(Virtual::SweptSpace().meets({}, {0, 0, 1}));
}

constexpr const char* circlingBall = R"(
motion: {turntable: {axis: [0, 1, 0], centre: [0, 0, 700], degreesPerCapture: 90}}
objects:
  - {sphere: {radius: 10}, position: [50, 0, 700], moving: true}
)";

TEST(Motion, StepsOncePerCapture) {
    Virtual::Simulation simulation(bareHead(), loadSceneText(circlingBall), 1);
    const auto depthAt = [&](std::size_t column) { return simulation.view().truth.depthMm[pixel(column, centreRow)]; };
    Driver::ImageStack images;
    const auto capture = [&] { simulation.acquire(plainConfiguration(), flat(1.0F), images); };
    for (int round = 0; round < 2; ++round) {
        capture(); // at (50, 0, 700), seen 71.4 columns from the centre
        EXPECT_TRUE(std::isnan(depthAt(centreColumn)));
        EXPECT_NEAR(depthAt(centreColumn + 71), 690.0F, 0.2F);
        EXPECT_EQ(images.image(0)[centre], 0);
        capture(); // at (0, 0, 650)
        EXPECT_NEAR(depthAt(centreColumn), 640.0F, 1e-3F);
        EXPECT_TRUE(std::isnan(depthAt(centreColumn + 71)));
        EXPECT_GT(images.image(0)[centre], 100);
        capture(); // at (-50, 0, 700)
        EXPECT_NEAR(depthAt(centreColumn - 71), 690.0F, 0.2F);
        EXPECT_TRUE(std::isnan(depthAt(centreColumn)));
        capture(); // at (0, 0, 750)
        EXPECT_NEAR(depthAt(centreColumn), 740.0F, 1e-3F);
    }
}

// Things that move before, in the light of, and mirrored by things that do not.
constexpr const char* busyScene = R"(
ambient: {level: 0.1, from: [0.2, -1, -0.3]}
motion: {turntable: {axis: [0, 1, 0.1], centre: [10, 5, 650], degreesPerCapture: 40}}
objects:
  - {plane: {}, position: [0, 0, 800], material: {texture: {kind: noise}}}
  - {sphere: {radius: 22}, position: [-45, -10, 690], material: {albedo: 0.3, specular: 0.9, roughness: 0.1}}
  - {box: {size: [20, 30, 14]}, position: [0, 0, 640], rotation: [10, 20, 30], moving: true,
     material: {texture: {kind: checker, size: 6}, specular: 0.3, roughness: 0.2}}
  - {sphere: {radius: 6}, position: [35, 12, 660], moving: true, material: {specular: 0.05}}
)";

void expectSame(const Virtual::View& a, const Virtual::View& b) {
    EXPECT_EQ(a.ambient, b.ambient);
    EXPECT_EQ(a.truth.visible, b.truth.visible);
    const auto sameBytes = [](const auto& x, const auto& y) {
        return x.size() == y.size() && (x.empty() || std::memcmp(x.data(), y.data(), x.size() * sizeof(x[0])) == 0);
    };
    EXPECT_TRUE(sameBytes(a.truth.depthMm, b.truth.depthMm)); // NaN where nothing is
    EXPECT_TRUE(sameBytes(a.direct, b.direct));
    for (std::size_t row = 0; row < a.height; ++row)
        ASSERT_TRUE(sameBytes(a.extra[row], b.extra[row])) << row;
}

TEST(Motion, OnlyWhatCanChangeIsTracedAgainAndNobodySeesIt) {
    const Virtual::HeadDescription head = bareHead(200.0);
    const Virtual::Scene scene = loadSceneText(busyScene);
    Virtual::ViewTracer turning(head, scene, 2);
    (void)turning.at(0);
    for (const std::uint64_t capture : {1U, 2U, 3U, 8U}) {
        Virtual::ViewTracer fresh(head, scene, 1);
        expectSame(turning.at(capture), fresh.at(capture));
    }
    // And from memory when the turntable comes round after nine captures.
    for (const std::uint64_t capture : {11U, 9U, 12U}) {
        Virtual::ViewTracer fresh(head, scene, 1);
        expectSame(turning.at(capture), fresh.at(capture % 9));
    }
}

TEST(Motion, ANewGeometryForgetsEarlierPoses) {
    Virtual::HeadDescription head = bareHead(200.0);
    const Virtual::Scene scene = loadSceneText(busyScene);
    Virtual::ViewTracer turning(head, scene, 1);
    (void)turning.at(0);
    (void)turning.at(1);
    head.calibration.camera.cx += 3.0;
    turning.invalidate();
    (void)turning.at(2);
    Virtual::ViewTracer fresh(head, scene, 1);
    expectSame(turning.at(1), fresh.at(1));
}

TEST(Motion, GivesUpWhenTheCheckpointSaysSoAndRecovers) {
    const Virtual::HeadDescription head = bareHead(200.0);
    const Virtual::Scene scene = loadSceneText(busyScene);
    Virtual::ViewTracer turning(head, scene, 1);
    const auto giveUp = [] { throw std::runtime_error("unplugged"); };
    EXPECT_THROW((void)turning.at(0, giveUp), std::runtime_error);
    (void)turning.at(0);
    EXPECT_THROW((void)turning.at(1, giveUp), std::runtime_error);
    Virtual::ViewTracer fresh(head, scene, 1);
    expectSame(turning.at(1), fresh.at(1));
}

TEST(ViewCache, KeepsTheFirstPosesThatFit) {
    Virtual::View view;
    view.height = 2;
    view.width = 2;
    view.ambient = {1.0F, 2.0F, 3.0F, 4.0F};
    view.direct.resize(4);
    view.extra.resize(2);
    view.extra[1] = {{.pixel = 1, .path = {.gain = 0.5F}}};
    view.truth = {.height = 2, .width = 2, .depthMm = {5.0F, 6.0F, 7.0F, 8.0F}, .visible = {1, 1, 1, 1}};
    // One pixel of 37 bytes, one extra path of 32 and two empty rows of 24 each: 117 bytes.
    Virtual::ViewCache cache({{}, {1}}, 250);
    cache.store(0, view);
    cache.store(1, view);
    cache.store(2, view);
    EXPECT_EQ(cache.poses(), 2U);
    view.ambient = {10.0F, 20.0F, 30.0F, 40.0F};
    view.truth.depthMm = {50.0F, 60.0F, 70.0F, 80.0F};
    view.extra[1].clear();
    EXPECT_FALSE(cache.restore(2, view));
    EXPECT_TRUE(view.extra[1].empty());
    ASSERT_TRUE(cache.restore(1, view));
    EXPECT_EQ(view.ambient, (std::vector<float>{10.0F, 20.0F, 30.0F, 4.0F})); // that pixel alone
    EXPECT_EQ(view.truth.depthMm, (std::vector<float>{50.0F, 60.0F, 70.0F, 8.0F}));
    ASSERT_EQ(view.extra[1].size(), 1U);
    EXPECT_EQ(view.extra[1][0].path.gain, 0.5F);
}

} // namespace
} // namespace Vorta::Testing
