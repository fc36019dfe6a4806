#include "bareheads.h"

#include "vorta/virtual/viewtracer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace Vorta::Testing {
namespace {

Virtual::View trace(const Virtual::HeadDescription& head, const std::string& scene, unsigned threads = 1) {
    const Virtual::Scene loaded = loadSceneText(scene);
    return Virtual::ViewTracer(head, loaded, threads).at(0);
}

TEST(View, DepthOfAPlane) {
    const Virtual::View view = trace(bareHead(), planeScene(700.0));
    ASSERT_EQ(view.truth.height, 150U);
    ASSERT_EQ(view.truth.width, 243U);
    ASSERT_EQ(view.truth.depthMm.size(), 243U * 150U);
    for (const float depth : view.truth.depthMm)
        ASSERT_NEAR(depth, 700.0F, 1e-4F);
    for (const std::uint8_t visible : view.truth.visible)
        ASSERT_EQ(visible, 1);
}

TEST(View, DepthOfASphere) {
    const Virtual::View view = trace(bareHead(), "objects: [{sphere: {radius: 50}, position: [0, 0, 700]}]");
    EXPECT_NEAR(view.truth.depthMm[centre], 650.0F, 1e-4F);
    // The ray (0.03, 0, 1): 1.0009 t^2 - 1400 t + 487500 = 0.
    EXPECT_NEAR(view.truth.depthMm[pixel(centreColumn + 30, centreRow)], 654.010F, 1e-3F);
    EXPECT_NEAR(view.truth.depthMm[pixel(centreColumn, centreRow - 30)], 654.010F, 1e-3F);
    // The ray (0.1, 0, 1) passes it.
    EXPECT_TRUE(std::isnan(view.truth.depthMm[pixel(centreColumn + 100, centreRow)]));
    EXPECT_EQ(view.truth.visible[pixel(centreColumn + 100, centreRow)], 0);
}

TEST(View, DepthOfABox) {
    const std::string box = "objects: [{box: {size: [100, 100, 100]}, position: [0, 0, 700], rotation: ";
    EXPECT_NEAR(trace(bareHead(), box + "[0, 0, 0]}]").truth.depthMm[centre], 650.0F, 1e-4F);
    // Turned by 45 degrees an edge points at the camera, 50 sqrt(2) before the middle.
    const Virtual::View turned = trace(bareHead(), box + "[0, 45, 0]}]");
    EXPECT_NEAR(turned.truth.depthMm[centre], 629.2893F, 1e-3F);
    // The face to the right is z = 629.2893 + x: the ray (0.02, 0, 1) meets it at 629.2893 / (1 - 0.02).
    EXPECT_NEAR(turned.truth.depthMm[pixel(centreColumn + 20, centreRow)], 642.1319F, 1e-3F);
}

TEST(View, DepthOfAMesh) {
    // A triangle in the plane z = 700 + x.
    const Virtual::View view = trace(bareHead(), "objects: [{mesh: {vertices: [[-200, -200, 500], [-200, 200, 500], "
                                                 "[200, 0, 900]], triangles: [[0, 1, 2]]}}]");
    EXPECT_NEAR(view.truth.depthMm[centre], 700.0F, 1e-4F);
    EXPECT_NEAR(view.truth.depthMm[pixel(centreColumn + 30, centreRow)], 721.6495F, 1e-3F); // 700 / (1 - 0.03)
}

TEST(View, LensDistortionMovesWhatIsSeen) {
    Virtual::HeadDescription head = bareHead();
    head.calibration.camera = {.width = 243,
                               .height = 150,
                               .fx = 600,
                               .fy = 600,
                               .cx = 121,
                               .cy = 75,
                               .k1 = -0.2,
                               .k2 = 0.1,
                               .p1 = 0.01,
                               .p2 = -0.02,
                               .k3 = 0.05};
    // x = 0.2, y = 0.1, r^2 = 0.05: radial 0.99025625, x' = 0.19585125, y' = 0.09892563, so pixel (238.51, 134.36).
    const Virtual::View view = trace(head, "objects: [{sphere: {radius: 2}, position: [140, 70, 700]}]");
    EXPECT_FALSE(std::isnan(view.truth.depthMm[pixel(239, 134)]));
    EXPECT_FALSE(std::isnan(view.truth.depthMm[pixel(238, 135)]));
    EXPECT_TRUE(std::isnan(view.truth.depthMm[pixel(241, 135)])); // where it would be without distortion
    EXPECT_TRUE(std::isnan(view.truth.depthMm[pixel(236, 134)]));
}

TEST(View, ProjectorCoordinatesFollowItsLens) {
    Virtual::HeadDescription head = bareHead(100.0);
    head.calibration.projector.k1 = -0.1;
    const Virtual::View view = trace(head, planeScene(700.0));
    // The point (0, 0, 700) is (-100, 0, 700) for the projector: 511.5 - 500 / 7 (1 - 0.1 / 49).
    EXPECT_NEAR(view.direct[centre].column, 440.2172F, 1e-3F);
    EXPECT_NEAR(view.direct[centre].row, 383.5F, 1e-3F);
}

TEST(View, ProjectorAndCameraShadowsAreReal) {
    Virtual::HeadDescription head = bareHead(200.0);
    head.calibration.camera.fx = head.calibration.camera.fy = 500.0;
    const Virtual::View view = trace(head, "objects:\n"
                                           "  - plane: {}\n    position: [0, 0, 1000]\n"
                                           "  - {sphere: {radius: 20}, position: [0, 0, 500]}\n");
    // From (200, 0, 0) past (0, 0, 500) the shadow falls on (-200, 0, 1000), seen at 500 (-0.2) = -100 pixels.
    const std::size_t shadow = pixel(centreColumn - 100, centreRow);
    EXPECT_NEAR(view.truth.depthMm[shadow], 1000.0F, 1e-3F);
    EXPECT_EQ(view.truth.visible[shadow], 0);
    EXPECT_EQ(view.direct[shadow].gain, 0.0F);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn + 50, centreRow)], 1);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn - 50, centreRow)], 1);
    EXPECT_EQ(view.truth.visible[centre], 1);
    EXPECT_NEAR(view.truth.depthMm[centre], 480.0F, 1e-3F);
    // The sphere's left limb is turned away from the projector: at (-19, 0, 500 - 6) the normal is (-0.95, 0, -0.31)
    // and the light comes from (219, 0, -494).
    const std::size_t limb = pixel(centreColumn - 19, centreRow);
    EXPECT_LT(view.truth.depthMm[limb], 500.0F);
    EXPECT_EQ(view.truth.visible[limb], 0);
}

TEST(View, NothingIsLitOutsideTheProjectorsImage) {
    Virtual::HeadDescription head = bareHead(0.0);
    head.calibration.projector = {.width = 100, .height = 100, .fx = 1000, .fy = 1000, .cx = 49.5, .cy = 49.5};
    const Virtual::View view = trace(head, planeScene(700.0));
    // Columns -0.5 to 99.5 are 50 camera pixels to either side.
    EXPECT_EQ(view.truth.visible[pixel(centreColumn + 49, centreRow)], 1);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn + 51, centreRow)], 0);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn - 49, centreRow)], 1);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn - 51, centreRow)], 0);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn, centreRow + 49)], 1);
    EXPECT_EQ(view.truth.visible[pixel(centreColumn, centreRow + 51)], 0);
}

TEST(View, EdgesMixNearAndFar) {
    // The pixel through the box's edge sees both surfaces, its neighbours only one.
    const Virtual::View view = trace(bareHead(), "objects:\n"
                                                 "  - plane: {}\n    position: [0, 0, 1000]\n"
                                                 "  - {box: {size: [100, 100, 2]}, position: [-50.05, 0, 501]}\n");
    // The edge at x = -0.05, z = 500 is seen at -0.1 pixels: of the five rays at -0.3 and 0.3 and in the centre the
    // left two meet the box and the others the plane.
    std::size_t nearby = 0;
    std::size_t far = 0;
    for (const Virtual::ExtraPath& extra : view.extra[centreRow])
        if (extra.pixel == centreColumn)
            ++(extra.path.gain > 0.2F * 0.8F ? nearby : far);
    EXPECT_EQ(nearby, 2U); // gain 0.8 (700 / 500)^2 / 5 = 0.31
    EXPECT_EQ(far, 2U);    // gain 0.8 (700 / 1000)^2 / 5 = 0.08
    EXPECT_NEAR(view.direct[centre].gain, 0.8F * 0.49F / 5.0F, 1e-3F);
    EXPECT_NEAR(view.direct[pixel(centreColumn + 10, centreRow)].gain, 0.8F * 0.49F, 1e-2F);
}

TEST(View, DoesNotDependOnTheNumberOfThreads) {
    const Virtual::HeadDescription head = bareHead(200.0);
    const std::string scene = "ambient: {level: 0.1}\n"
                              "objects:\n"
                              "  - {plane: {}, position: [0, 0, 800], material: {texture: {kind: noise}}}\n"
                              "  - {sphere: {radius: 30}, position: [10, 5, 600], material: {specular: 0.9, "
                              "roughness: 0.1}}\n";
    const Virtual::View one = trace(head, scene, 1);
    const Virtual::View three = trace(head, scene, 3);
    EXPECT_EQ(one.ambient, three.ambient);
    EXPECT_EQ(one.truth.visible, three.truth.visible);
    ASSERT_EQ(one.direct.size(), three.direct.size());
    EXPECT_EQ(std::memcmp(one.direct.data(), three.direct.data(), one.direct.size() * sizeof(Virtual::LightPath)), 0);
    std::size_t extras = 0;
    for (std::size_t row = 0; row < one.height; ++row) {
        ASSERT_EQ(one.extra[row].size(), three.extra[row].size());
        for (std::size_t i = 0; i < one.extra[row].size(); ++i, ++extras) {
            ASSERT_EQ(one.extra[row][i].pixel, three.extra[row][i].pixel);
            ASSERT_EQ(one.extra[row][i].path.gain, three.extra[row][i].path.gain);
        }
    }
    EXPECT_GT(extras, 1000U);
}

TEST(View, KnowsTheMosaicsColours) {
    using Driver::BayerLayout;
    const auto cell = [](BayerLayout layout) {
        std::string colours;
        for (const std::size_t row : {4U, 5U})
            for (const std::size_t column : {6U, 7U})
                colours += "RGB"[Virtual::bayerChannel(layout, row, column)];
        return colours;
    };
    EXPECT_EQ(cell(BayerLayout::GRBG), "GRBG");
    EXPECT_EQ(cell(BayerLayout::RGGB), "RGGB");
    EXPECT_EQ(cell(BayerLayout::BGGR), "BGGR");
    EXPECT_EQ(cell(BayerLayout::GBRG), "GBRG");
}

} // namespace
} // namespace Vorta::Testing
