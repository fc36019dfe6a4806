#include "bareheads.h"

#include "vorta/virtual/objfile.h"

#include <gmock/gmock.h>

#include <array>
#include <variant>

namespace Vorta::Testing {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

TEST(SceneFile, ReadsEveryKey) {
    const Virtual::Scene scene = loadSceneText(R"(
frame: {position: [0, 0, 700], rotation: [0, 90, 0]}
ambient: {level: 0.1, colour: [1, 0.9, 0.8], from: [0, 0, 2]}
background: 0.25
materials:
  shiny:
    albedo: [0.1, 0.2, 0.3]
    texture: {kind: noise, size: 12, albedo: 0.5}
    specular: 0.04
    roughness: 0.1
    metal: true
objects:
  - sphere: {radius: 20}
    position: [10, 0, 5]
    material: shiny
  - box: {size: [2, 4, 6]}
  - plane: {size: [10, 20]}
    material: {albedo: 0.9}
)");
    EXPECT_EQ(scene.ambientLevel, 0.1);
    EXPECT_EQ(scene.ambientColour, (Virtual::Colour{1.0, 0.9, 0.8}));
    EXPECT_EQ(scene.background, (Virtual::Colour{0.25, 0.25, 0.25}));
    // A quarter turn about y carries z to x.
    ASSERT_TRUE(scene.ambientDirection.has_value());
    EXPECT_NEAR(scene.ambientDirection->x, 1.0, 1e-12);
    ASSERT_EQ(scene.objects.size(), 3U);
    const Virtual::Object& sphere = scene.objects[0];
    EXPECT_EQ(std::get<Virtual::Sphere>(sphere.shape).radiusMm, 20.0);
    EXPECT_NEAR(sphere.pose.position.x, 5.0, 1e-12); // (10, 0, 5) turned to (5, 0, -10)
    EXPECT_NEAR(sphere.pose.position.z, 690.0, 1e-12);
    EXPECT_EQ(sphere.material.albedo, (Virtual::Colour{0.1, 0.2, 0.3}));
    EXPECT_EQ(sphere.material.specular, 0.04);
    EXPECT_EQ(sphere.material.roughness, 0.1);
    EXPECT_TRUE(sphere.material.metal);
    ASSERT_TRUE(sphere.material.texture.has_value());
    EXPECT_EQ(sphere.material.texture->kind, Virtual::Texture::Kind::Noise);
    EXPECT_EQ(sphere.material.texture->sizeMm, 12.0);
    EXPECT_EQ(sphere.material.texture->albedo, (Virtual::Colour{0.5, 0.5, 0.5}));
    const auto& box = std::get<Virtual::Mesh>(scene.objects[1].shape);
    EXPECT_EQ(box.vertices.size(), 8U);
    EXPECT_EQ(box.triangles.size(), 12U);
    EXPECT_EQ(std::abs(box.vertices[0].x), 1.0);
    EXPECT_EQ(std::abs(box.vertices[0].y), 2.0);
    EXPECT_EQ(std::abs(box.vertices[0].z), 3.0);
    const auto& plane = std::get<Virtual::Mesh>(scene.objects[2].shape);
    EXPECT_EQ(plane.triangles.size(), 2U);
    EXPECT_EQ(std::abs(plane.vertices[0].x), 5.0);
    EXPECT_EQ(std::abs(plane.vertices[0].y), 10.0);
    EXPECT_EQ(scene.objects[2].material.albedo, (Virtual::Colour{0.9, 0.9, 0.9}));
}

TEST(SceneFile, ReadsAMotionInTheScenesFrame) {
    const Virtual::Scene scene = loadSceneText(R"(
frame: {position: [0, 0, 700], rotation: [0, 90, 0]}
motion: {turntable: {axis: [0, 0, 2], centre: [10, 0, 5], degreesPerCapture: -4.5}}
objects:
  - {sphere: {}, moving: true}
  - {sphere: {}, moving: false}
  - {sphere: {}}
)");
    ASSERT_TRUE(scene.turntable.has_value());
    EXPECT_NEAR(scene.turntable->axis.x, 1.0, 1e-12); // a quarter turn about y carries z to x
    EXPECT_NEAR(scene.turntable->centre.x, 5.0, 1e-12);
    EXPECT_NEAR(scene.turntable->centre.z, 690.0, 1e-12);
    EXPECT_EQ(scene.turntable->degreesPerCapture, -4.5);
    EXPECT_TRUE(scene.objects[0].moving);
    EXPECT_FALSE(scene.objects[1].moving);
    EXPECT_FALSE(scene.objects[2].moving);
    EXPECT_FALSE(loadSceneText("objects: [{sphere: {}}]\n").turntable.has_value());
}

TEST(SceneFile, AnEmptySceneIsAMapToo) {
    EXPECT_TRUE(loadSceneText("background: 0\n").objects.empty());
}

TEST(SceneFile, ReadsMeshesInlineAndFromFiles) {
    VirtualHeads folder;
    std::ofstream(folder.folder() / "quad.obj") << "# a unit square\nv 0 0 0\nv 1 0 0\nvn 0 0 1\nv 1 1 0\nv 0 1 0.5\n"
                                                   "o name\nf 1/1/1 2//1 3 -1\r\n";
    const Virtual::Scene scene = Virtual::loadScene(folder.plugText("scene", R"(
objects:
  - mesh: {file: quad.obj, scale: 10, smooth: true}
  - mesh:
      vertices: [[0, 0, 700], [100, 0, 700], [0, 100, 700]]
      triangles: [[0, 1, 2]]
)"));
    ASSERT_EQ(scene.objects.size(), 2U);
    const auto& quad = std::get<Virtual::Mesh>(scene.objects[0].shape);
    ASSERT_EQ(quad.vertices.size(), 4U);
    EXPECT_EQ(quad.vertices[3].y, 10.0);
    EXPECT_EQ(quad.vertices[3].z, 5.0);
    ASSERT_EQ(quad.triangles.size(), 2U);
    EXPECT_EQ(quad.triangles[0], (std::array<std::uint32_t, 3>{0, 1, 2}));
    EXPECT_EQ(quad.triangles[1], (std::array<std::uint32_t, 3>{0, 2, 3}));
    EXPECT_TRUE(quad.smooth);
    const auto& inlined = std::get<Virtual::Mesh>(scene.objects[1].shape);
    EXPECT_EQ(inlined.vertices[1].x, 100.0);
    EXPECT_FALSE(inlined.smooth);
}

struct Refusal {
    const char* text;
    int line;
    const char* words;
};

class SceneFileRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(SceneFileRefusal, NamesFileLineAndReason) {
    const Refusal& refusal = GetParam();
    EXPECT_THAT(wordsOf([&] { loadSceneText(refusal.text); }),
                AllOf(HasSubstr("scene.yml', line " + std::to_string(refusal.line) + ": "), EndsWith(refusal.words)));
}

INSTANTIATE_TEST_SUITE_P(
    Broken, SceneFileRefusal,
    ::testing::Values(
        Refusal{"objects:\n  - position: [0, 0, 1]\n", 2, "an object must be exactly one of sphere, box, plane, mesh."},
        Refusal{"objects:\n  - sphere: {radius: 1}\n    plane: {}\n", 2,
                "an object must be exactly one of sphere, box, plane, mesh."},
        Refusal{"objects:\n  - sphere: {radius: 0}\n", 2, "'radius' is 0 but must be between 0.001 and 100000."},
        Refusal{"objects:\n  - sphere: {radios: 5}\n", 2, "unknown key 'radios'; known here are radius."},
        Refusal{"objects: {sphere: {}}\n", 1, "'objects' must be a list."},
        Refusal{"objects:\n  - box: {size: [1, 2]}\n", 2, "'size' must be a list of 3 numbers."},
        Refusal{"objects:\n  - plane: {}\n    colour: red\n", 3,
                "unknown key 'colour'; known here are box, material, mesh, moving, plane, position, rotation, sphere."},
        Refusal{"objects:\n  - plane: {}\n    material: glass\n", 3, "there is no material 'glass' in this file."},
        Refusal{"objects:\n  - plane: {}\n    material: {albedo: 1.2}\n", 3,
                "'albedo' is 1.2 but must be between 0 and 1."},
        Refusal{"objects:\n  - plane: {}\n    material: {albedo: [1, 1]}\n", 3,
                "'albedo' must be a number or a list of 3 numbers."},
        Refusal{"materials:\n  m:\n    texture: {size: 3}\n", 3, "a texture needs a 'kind'."},
        Refusal{"materials:\n  m:\n    texture: {kind: tartan}\n", 3,
                "'kind' must be one of checker, stripes, dots, noise, wood, marble, not 'tartan'."},
        Refusal{"materials:\n  m: {roughness: 0}\n", 2, "'roughness' is 0 but must be between 0.02 and 1."},
        Refusal{"ambient: {from: [0, 0, 0]}\n", 1, "'from' must be a direction other than 0."},
        Refusal{"objects:\n  - mesh: {vertices: [[0, 0, 0]]}\n", 2, "'triangles' must be a list."},
        Refusal{"objects:\n  - mesh:\n      vertices: [[0, 0, 0]]\n      triangles: []\n", 4,
                "a mesh needs at least one triangle."},
        Refusal{"objects:\n  - mesh:\n      vertices: [[0, 0, 0]]\n      triangles: [[0, 0, 1]]\n", 4,
                "triangle 0 names a vertex that is not there; they count from 0 to 1 exclusive."},
        Refusal{"objects:\n  - mesh:\n      vertices: [[0, 0]]\n", 3,
                "each entry of 'vertices' must be a list of 3 numbers."},
        Refusal{"objects:\n  - plane: {}\n    moving: yes\n", 3, "'moving' must be true or false."},
        Refusal{"objects:\n  - plane: {}\n    moving: true\n", 2,
                "an object is 'moving' but the scene has no 'motion'."},
        Refusal{"motion: {turntable: {degreesPerCapture: 3}}\nobjects:\n  - plane: {}\n", 1,
                "nothing moves: no object is marked 'moving: true'."},
        Refusal{"motion: {}\n", 1, "a motion needs a 'turntable'."},
        Refusal{"motion: {slide: {}, turntable: {degreesPerCapture: 3}}\n", 1,
                "unknown key 'slide'; known here are turntable."},
        Refusal{"motion:\n  turntable: {axis: [0, 0, 1]}\n", 2, "a turntable needs 'degreesPerCapture'."},
        Refusal{"motion:\n  turntable: {axis: [0, 0, 0], degreesPerCapture: 3}\n", 2,
                "'axis' must be a direction other than 0."},
        Refusal{"motion:\n  turntable: {degreesPerCapture: 270}\n", 2,
                "'degreesPerCapture' is 270 but must be between -180 and 180."},
        Refusal{"motion:\n  turntable: {degreesPerCapture: 3, speed: 1}\n", 2,
                "unknown key 'speed'; known here are axis, centre, degreesPerCapture."},
        Refusal{"objects:\n  - mesh: {scale: 2, vertices: [], triangles: []}\n", 2,
                "'scale' belongs to a mesh from a file."}));

class ObjRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(ObjRefusal, NamesFileLineAndReason) {
    VirtualHeads folder;
    const std::filesystem::path file = folder.folder() / "m.obj";
    std::ofstream(file) << GetParam().text;
    EXPECT_EQ(wordsOf([&] { (void)Virtual::loadObj(file, 1.0); }),
              "'" + file.string() + "', line " + std::to_string(GetParam().line) + ": " + GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Broken, ObjRefusal,
    ::testing::Values(Refusal{"v 0 0\n", 1, "a vertex needs three numbers."},
                      Refusal{"v 0 0 0\nv 0 x 0\n", 2, "a vertex needs three numbers."},
                      Refusal{"v 0 0 nan\n", 1, "a vertex needs three numbers."},
                      Refusal{"v 0 0 0\nf 1 1\n", 2, "a face needs at least three vertices."},
                      Refusal{"v 0 0 0\nf 1 1 2\n", 2, "'2' is not one of the 1 vertices above."},
                      Refusal{"v 0 0 0\nf 1 1 0\n", 2, "'0' is not one of the 1 vertices above."},
                      Refusal{"v 0 0 0\nf 1 1 -2\n", 2, "'-2' is not one of the 1 vertices above."},
                      Refusal{"v 0 0 0\nf 1 1 1x\n", 2, "'1x' is not one of the 1 vertices above."},
                      Refusal{"v 0 0 0\n\n", 2, "there are no faces in this file."}));

TEST(ObjFile, SaysThatAFileCannotBeRead) {
    EXPECT_EQ(wordsOf([] { (void)Virtual::loadObj("/nowhere/m.obj", 1.0); }), "'/nowhere/m.obj' cannot be read.");
}

TEST(Texture, CheckersAlternateAndStripesRun) {
    const Virtual::Texture checker{.kind = Virtual::Texture::Kind::Checker, .sizeMm = 10.0};
    EXPECT_EQ(Virtual::textureWeight(checker, {5, 5, 0}), 0.0);
    EXPECT_EQ(Virtual::textureWeight(checker, {15, 5, 0}), 1.0);
    EXPECT_EQ(Virtual::textureWeight(checker, {15, 15, 0}), 0.0);
    EXPECT_EQ(Virtual::textureWeight(checker, {-5, 5, 0}), 1.0);
    const Virtual::Texture stripes{.kind = Virtual::Texture::Kind::Stripes, .sizeMm = 10.0};
    EXPECT_EQ(Virtual::textureWeight(stripes, {5, 99, 3}), 0.0);
    EXPECT_EQ(Virtual::textureWeight(stripes, {15, -7, 8}), 1.0);
    const Virtual::Texture dots{.kind = Virtual::Texture::Kind::Dots, .sizeMm = 10.0};
    EXPECT_EQ(Virtual::textureWeight(dots, {10, 20, -30}), 1.0);
    EXPECT_EQ(Virtual::textureWeight(dots, {15, 20, -30}), 0.0);
}

TEST(Texture, NaturalOnesStayWithinTheirRangeAndVary) {
    using Kind = Virtual::Texture::Kind;
    for (const Kind kind : {Kind::Noise, Kind::Wood, Kind::Marble}) {
        const Virtual::Texture texture{.kind = kind, .sizeMm = 10.0};
        double lowest = 1.0, highest = 0.0;
        for (int i = -2000; i < 2000; ++i) {
            const double weight = Virtual::textureWeight(texture, {i * 0.37, i * -0.61, i * 0.13});
            lowest = std::min(lowest, weight);
            highest = std::max(highest, weight);
        }
        EXPECT_GE(lowest, 0.0);
        EXPECT_LE(highest, 1.0);
        EXPECT_GT(highest - lowest, 0.4);
    }
}

TEST(Texture, BlendsTheMaterialIntoItsOwnColour) {
    const Virtual::Material material{
        .albedo = {0.2, 0.4, 0.6},
        .texture = Virtual::Texture{.kind = Virtual::Texture::Kind::Stripes, .sizeMm = 1.0, .albedo = {0.9, 0.8, 0.7}}};
    EXPECT_EQ(Virtual::albedoAt(material, {0.5, 0, 0}), (Virtual::Colour{0.2, 0.4, 0.6}));
    EXPECT_EQ(Virtual::albedoAt(material, {1.5, 0, 0}), (Virtual::Colour{0.9, 0.8, 0.7}));
}

} // namespace
} // namespace Vorta::Testing
