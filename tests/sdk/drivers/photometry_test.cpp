#include "bareheads.h"

#include "vorta/virtual/photometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Vorta::Testing {
namespace {

// What the centre pixel's red channel brings. Albedo and other values below are chosen for this channel alone.
Virtual::Sample centreSample(const Virtual::HeadDescription& head, const std::string& text, double x = 121.0) {
    const Virtual::Scene scene = loadSceneText(text);
    const Virtual::Tracer tracer(scene);
    return Virtual::Photometry(head, scene, tracer).sample(x, 75.0, 0);
}

std::string plane(double z, const std::string& material, const std::string& rotation = "[0, 0, 0]") {
    return "objects: [{plane: {}, position: [0, 0, " + std::to_string(z) + "], rotation: " + rotation +
           ", material: " + material + "}]";
}

TEST(Photometry, LightFallsWithTheSquareOfTheDistance) {
    const auto gain = [](double z) { return centreSample(bareHead(), plane(z, "{albedo: 0.5}")).direct.gain; };
    EXPECT_NEAR(gain(700.0), 0.5F, 1e-6F);
    EXPECT_NEAR(gain(1400.0), 0.125F, 1e-6F);
    EXPECT_NEAR(gain(350.0), 2.0F, 1e-5F);
}

TEST(Photometry, LightFallsWithTheCosineOfTheAngle) {
    const Virtual::Sample tilted = centreSample(bareHead(), plane(700.0, "{albedo: 0.5}", "[60, 0, 0]"));
    EXPECT_NEAR(tilted.direct.gain, 0.25F, 1e-6F);
}

TEST(Photometry, AScreenAcrossTheProjectorsAxisIsLitEvenly) {
    // Projector 300 mm to the side, axis parallel: no fall-off at the point, seen on the camera's axis, but the
    // vignetting: 511.5 - 500 * 300 / 700 is 214.286 columns from the axis; the corner is at 511.5^2 + 383.5^2.
    Virtual::HeadDescription head = bareHead(300.0);
    EXPECT_NEAR(centreSample(head, plane(700.0, "{albedo: 1}")).direct.gain, 1.0F, 1e-6F);
    head.optics.projectorVignetting = 0.5;
    EXPECT_NEAR(centreSample(head, plane(700.0, "{albedo: 1}")).direct.gain, 1.0F - 0.5F * 0.112351F, 1e-5F);
}

TEST(Photometry, TheCameraSeesLessOffItsAxis) {
    Virtual::HeadDescription head = bareHead();
    // 100 pixels at focal length 1000: cos^4 = 1 / 1.01^2.
    EXPECT_NEAR(centreSample(head, plane(700.0, "{albedo: 1}"), 221.0).direct.gain, 1.0F / 1.0201F, 1e-6F);
    head.sensor.vignetting = 0.2; // corner: 121^2 + 75^2 pixels
    EXPECT_NEAR(centreSample(head, plane(700.0, "{albedo: 1}"), 221.0).direct.gain,
                (1.0F - 0.2F * 10000.0F / 20266.0F) / 1.0201F, 1e-5F);
}

TEST(Photometry, ACoatReflectsTheProjector) {
    // Head-on, roughness 0.5: the lobe is 0.25 / 0.5^4 = 4, its share 0.04; 0.96 of the light reaches the paint.
    EXPECT_NEAR(centreSample(bareHead(), plane(700.0, "{albedo: 0.5, specular: 0.04, roughness: 0.5}")).direct.gain,
                0.5F * 0.96F + 0.04F * 4.0F, 1e-5F);
    // A metal has only the lobe, in its colour.
    EXPECT_NEAR(
        centreSample(bareHead(), plane(700.0, "{albedo: 0.5, specular: 0.8, roughness: 0.5, metal: true}")).direct.gain,
        0.5F * 0.8F * 4.0F, 1e-5F);
    // Tilted far from the mirror direction a smooth metal is dark.
    EXPECT_LT(
        centreSample(bareHead(), plane(700.0, "{albedo: 0.9, specular: 1, roughness: 0.1, metal: true}", "[30, 0, 0]"))
            .direct.gain,
        1e-3F);
}

TEST(Photometry, AMirrorShowsWhatThePatternDoesElsewhere) {
    // The ray along z meets the mirror at z = 500 and goes on along +x to the wall at x = 300. The projector at
    // (200, 0, 0) sees that point (100, 0, 500) at column 511.5 + 500 * 0.2.
    const Virtual::Sample sample =
        centreSample(bareHead(200.0), "objects:\n"
                                      "  - {plane: {size: [40, 40]}, position: [0, 0, 500], rotation: [0, -45, 0], "
                                      "material: {albedo: 1, specular: 1, roughness: 0.02, metal: true}}\n"
                                      "  - {box: {size: [20, 400, 400]}, position: [310, 0, 500], "
                                      "material: {albedo: 0.5}}\n");
    EXPECT_NEAR(sample.depthMm, 500.0, 1e-6);
    EXPECT_NEAR(sample.bounce.column, 611.5F, 1e-2F);
    EXPECT_NEAR(sample.bounce.row, 383.5F, 1e-2F);
    // Wall lit at cos = 100 / sqrt(260000), evenness (sqrt(260000) / 500)^3, distance 700^2 / 260000, albedo 0.5.
    EXPECT_NEAR(sample.bounce.gain, 0.5F * 1.884615F * 0.196116F * 1.060595F, 1e-4F);
}

TEST(Photometry, AmbientLightComesFromItsSide) {
    const auto ambient = [](const std::string& light) {
        return centreSample(bareHead(), light + plane(700.0, "{albedo: [0.5, 0.1, 0.1]}")).ambient;
    };
    EXPECT_NEAR(ambient("ambient: {level: 0.2, colour: [0.9, 1, 1]}\n"), 0.5 * 0.2 * 0.9, 1e-9);
    // The plane faces the camera: normal (0, 0, -1).
    EXPECT_NEAR(ambient("ambient: {level: 0.2, from: [0, 0, -1]}\n"), 0.1, 1e-9);
    EXPECT_NEAR(ambient("ambient: {level: 0.2, from: [0, 0, 1]}\n"), 0.0, 1e-9);
    EXPECT_NEAR(ambient("ambient: {level: 0.2, from: [0, 1, 0]}\n"), 0.05, 1e-9);
    EXPECT_NEAR(centreSample(bareHead(), "ambient: {level: 0.2}\nbackground: 0.25\n").ambient, 0.05, 1e-9);
}

TEST(Photometry, BlurGrowsAwayFromTheFocusAndWithTheIris) {
    Virtual::HeadDescription head = bareHead();
    head.optics.cameraFocusMm = 700.0;
    head.optics.cameraApertureMm = 8.0;
    const Virtual::LightPath sharp = centreSample(head, plane(700.0, "{albedo: 1}")).direct;
    EXPECT_NEAR(sharp.columnIrisVariance, 0.0F, 1e-9F);
    // One camera pixel covers 500 / 1000 of a projector pixel along each axis: variance of a box, 0.25 / 12.
    EXPECT_NEAR(sharp.columnVariance, 0.0208333F, 1e-6F);
    EXPECT_NEAR(sharp.rowVariance, 0.0208333F, 1e-6F);
    // At 900 mm the camera's disc is 8 * 200 / 700 mm wide; a quarter of that, times 500 / 900 columns per mm, is the
    // standard deviation: 0.317460.
    const Virtual::LightPath blurred = centreSample(head, plane(900.0, "{albedo: 1}")).direct;
    EXPECT_NEAR(blurred.columnIrisVariance, 0.100781F, 1e-5F);
    EXPECT_NEAR(blurred.columnVariance, 0.0208333F, 1e-6F);
    // The projector's own disc: 2 * 200 / 700 mm, a quarter, times 500 / 900: 0.0793651. Softness 0.3 adds 0.09.
    head.optics.projectorFocusMm = 700.0;
    head.optics.projectorApertureMm = 2.0;
    head.optics.projectorSoftness = 0.3;
    EXPECT_NEAR(centreSample(head, plane(900.0, "{albedo: 1}")).direct.columnVariance, 0.0208333F + 0.0062988F + 0.09F,
                1e-5F);
}

TEST(Photometry, ATiltedSurfaceStretchesThePixel) {
    // Turned by 45 degrees about y the plane is z = 700 - x: a pixel's step of 0.7 mm along x goes 0.7 mm nearer. For
    // the projector 200 mm to the right, x / z there is -200 / 700 and changes by (0.7 - 200 / 700 * 0.7) / 700.
    const Virtual::LightPath path = centreSample(bareHead(200.0), plane(700.0, "{albedo: 1}", "[0, 45, 0]")).direct;
    EXPECT_NEAR(std::sqrt(12.0F * path.columnVariance), 500.0F * 0.5F / 700.0F, 1e-5F);
}

} // namespace
} // namespace Vorta::Testing
