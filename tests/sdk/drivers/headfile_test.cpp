#include "bareheads.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

namespace Vorta::Testing {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr const char* minimal = "serialNumber: A\nscene: s.yml\n";

TEST(HeadFile, LeavesEverythingButSerialNumberAndSceneOpen) {
    const Virtual::HeadDescription head = loadHeadText(minimal);
    EXPECT_EQ(head.driver, "ToshibaTeli");
    EXPECT_EQ(head.identity.serialNumber, "A");
    EXPECT_EQ(head.identity.firmwareVersion, "VORTA 0.9.21");
    EXPECT_EQ(head.identity.productRevision, "Rev3");
    EXPECT_EQ(head.calibration.camera.width, 1944U);
    EXPECT_EQ(head.calibration.camera.height, 1200U);
    EXPECT_EQ(head.calibration.projector.width, 1024U);
    EXPECT_EQ(head.calibration.projector.height, 768U);
    EXPECT_EQ(head.bayerLayout, Driver::BayerLayout::BGGR);
    EXPECT_TRUE(head.sensor.noise);
    EXPECT_TRUE(head.temperatures.lens.has_value());
    EXPECT_FALSE(head.warmUp.has_value());
    EXPECT_FALSE(head.drift.has_value());
    EXPECT_TRUE(head.faults.connect.empty());
    EXPECT_TRUE(head.faults.capture.empty());
    EXPECT_TRUE(head.faults.update.empty());
    EXPECT_FALSE(head.faults.stopAfterImages.has_value());
    EXPECT_EQ(head.faults.delayS, 0.0);
}

TEST(HeadFile, ReadsEveryKey) {
    const Virtual::HeadDescription head = loadHeadText(R"(
driver: IDS
model: M 1
serialNumber: 007
firmware: VORTA 1.0.0-beta
productRevision: Rev1
scene: x/y.yml
seed: 18446744073709551615
sensor: {width: 64, height: 48, bayerLayout: GRBG, sensitivity: 900, response: [0.5, 1, 0.25], noise: false,
         fullWell: 12000, readNoise: 3, vignetting: 0.3, focus: 800, aperture: 5}
projector: {width: 512, height: 384, focus: 810, aperture: 1, softness: 0.5, vignetting: 0.2, contrast: 500}
calibration:
  camera: {focal: [101, 102], centre: [31, 23], distortion: [0.1, 0.2, 0.3, 0.4, 0.5]}
  projector: {focal: [201, 202], centre: [255, 191], distortion: [-0.1, -0.2, -0.3, -0.4, -0.5]}
  rotation: [0, -1, 0, 1, 0, 0, 0, 0, 1]
  translation: [1, 2, 3]
temperatures: {head: 40.5, led: 55, ambient: 21, timeConstant: 300}
drift:
  reference: 30
  camera: {focal: 8, centre: [0.01, -0.02]}
  projector: {focal: [-5, 6], centre: [0.03, 0.04]}
  translation: [0.001, 0.002, 0.003]
  rotation: [0.0001, 0.0002, 0.0003]
faults: {connect: no answer, capture: too hot, afterCaptures: 4, stopAfterImages: 5, timeout: 0.5, delay: 0.25,
         update: worn out}
)");
    EXPECT_EQ(head.driver, "IDS");
    EXPECT_EQ(head.identity.modelName, "M 1");
    EXPECT_EQ(head.identity.serialNumber, "007");
    EXPECT_EQ(head.identity.firmwareVersion, "VORTA 1.0.0-beta");
    EXPECT_EQ(head.identity.productRevision, "Rev1");
    EXPECT_EQ(head.sceneFile, head.file.parent_path() / "x/y.yml");
    EXPECT_EQ(head.seed, 18446744073709551615U);
    EXPECT_EQ(head.bayerLayout, Driver::BayerLayout::GRBG);
    EXPECT_EQ(head.sensor.sensitivity, 900.0);
    EXPECT_EQ(head.sensor.response, (std::array{0.5, 1.0, 0.25}));
    EXPECT_FALSE(head.sensor.noise);
    EXPECT_EQ(head.sensor.fullWellElectrons, 12000.0);
    EXPECT_EQ(head.sensor.readNoiseElectrons, 3.0);
    EXPECT_EQ(head.sensor.vignetting, 0.3);
    EXPECT_EQ(head.optics.cameraFocusMm, 800.0);
    EXPECT_EQ(head.optics.cameraApertureMm, 5.0);
    EXPECT_EQ(head.optics.projectorFocusMm, 810.0);
    EXPECT_EQ(head.optics.projectorApertureMm, 1.0);
    EXPECT_EQ(head.optics.projectorSoftness, 0.5);
    EXPECT_EQ(head.optics.projectorVignetting, 0.2);
    EXPECT_EQ(head.optics.projectorContrast, 500.0);
    const auto& camera = head.calibration.camera;
    EXPECT_EQ((std::array{camera.fx, camera.fy, camera.cx, camera.cy}), (std::array{101.0, 102.0, 31.0, 23.0}));
    EXPECT_EQ((std::array{camera.k1, camera.k2, camera.p1, camera.p2, camera.k3}),
              (std::array{0.1, 0.2, 0.3, 0.4, 0.5}));
    EXPECT_EQ(camera.width, 64U);
    EXPECT_EQ(camera.height, 48U);
    const auto& projector = head.calibration.projector;
    EXPECT_EQ((std::array{projector.fx, projector.fy, projector.cx, projector.cy}),
              (std::array{201.0, 202.0, 255.0, 191.0}));
    EXPECT_EQ((std::array{projector.k1, projector.k2, projector.p1, projector.p2, projector.k3}),
              (std::array{-0.1, -0.2, -0.3, -0.4, -0.5}));
    EXPECT_EQ(projector.width, 512U);
    EXPECT_EQ(head.calibration.rotation, (std::array<double, 9>{0, -1, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(head.calibration.translationMm, (std::array{1.0, 2.0, 3.0}));
    EXPECT_EQ(head.temperatures.head, 40.5);
    EXPECT_EQ(head.temperatures.led, 55.0);
    EXPECT_FALSE(head.temperatures.lens.has_value());
    EXPECT_FALSE(head.temperatures.pcb.has_value());
    EXPECT_FALSE(head.temperatures.dmd.has_value());
    ASSERT_TRUE(head.warmUp.has_value());
    EXPECT_EQ(head.warmUp->ambient, 21.0);
    EXPECT_EQ(head.warmUp->timeConstantS, 300.0);
    ASSERT_TRUE(head.drift.has_value());
    EXPECT_EQ(head.drift->reference, 30.0);
    EXPECT_EQ(head.drift->camera.focalPpm, (std::array{8.0, 8.0}));
    EXPECT_EQ(head.drift->camera.centrePixels, (std::array{0.01, -0.02}));
    EXPECT_EQ(head.drift->projector.focalPpm, (std::array{-5.0, 6.0}));
    EXPECT_EQ(head.drift->projector.centrePixels, (std::array{0.03, 0.04}));
    EXPECT_EQ(head.drift->translationMm, (std::array{0.001, 0.002, 0.003}));
    EXPECT_EQ(head.drift->rotationDegrees, (std::array{0.0001, 0.0002, 0.0003}));
    EXPECT_EQ(head.faults.connect, "no answer");
    EXPECT_EQ(head.faults.capture, "too hot");
    EXPECT_EQ(head.faults.afterCaptures, 4U);
    EXPECT_EQ(head.faults.stopAfterImages, 5U);
    EXPECT_EQ(head.faults.timeoutS, 0.5);
    EXPECT_EQ(head.faults.delayS, 0.25);
    EXPECT_EQ(head.faults.update, "worn out");
}

TEST(HeadFile, DefaultGeometryScalesWithTheSensor) {
    const Driver::Calibration whole = Virtual::defaultCalibration(1944, 1200, 1024, 768);
    const Driver::Calibration eighth = Virtual::defaultCalibration(243, 150, 1024, 768);
    // The same field of view; the image centre lies between the middle pixels.
    EXPECT_DOUBLE_EQ(whole.camera.fx, 2400.0);
    EXPECT_DOUBLE_EQ(eighth.camera.fx, 300.0);
    EXPECT_DOUBLE_EQ(whole.camera.cx, 971.5);
    EXPECT_DOUBLE_EQ(eighth.camera.cy, 74.5);
    // The projector stands at (200, 0, 0): there its own coordinates are 0.
    const auto& r = whole.rotation;
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(r[3 * i] * 200.0 + whole.translationMm[i], 0.0, 1e-12);
}

struct Refusal {
    const char* text;
    int line;
    const char* words;
};

class HeadFileRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(HeadFileRefusal, NamesFileLineAndReason) {
    const Refusal& refusal = GetParam();
    EXPECT_THAT(wordsOf([&] { loadHeadText(refusal.text); }),
                AllOf(HasSubstr("head.yml', line " + std::to_string(refusal.line) + ": "), EndsWith(refusal.words)));
}

INSTANTIATE_TEST_SUITE_P(
    Broken, HeadFileRefusal,
    ::testing::Values(
        Refusal{"", 0, "a map of 'key: value' lines is expected here."},
        Refusal{"- a\n- b\n", 1, "a map of 'key: value' lines is expected here."},
        Refusal{"serialNumber: A\nscene: [s\n", 3, "."},
        Refusal{"\nscene: s.yml\n", 2, "a head needs a 'serialNumber'."},
        Refusal{"serialNumber: A\n", 1, "a head needs a 'scene' file."},
        Refusal{"serialNumber: [A]\nscene: s\n", 1, "'serialNumber' must be a text."},
        Refusal{"serialNumber: A\nscene: s\nserialNumber: B\n", 3, "'serialNumber' stands here a second time."},
        Refusal{
            "serialNumber: A\nscene: s\ngian: 2\n", 3,
            "unknown key 'gian'; known here are calibration, drift, driver, faults, firmware, model, productRevision, "
            "projector, scene, seed, sensor, serialNumber, temperatures."},
        Refusal{"serialNumber: A\nscene: s\ndriver: Nobody\n", 3,
                "'driver' must be one of ToshibaTeli, IDS, PtGrey, not 'Nobody'."},
        Refusal{"serialNumber: A\nscene: s\ndriver: NetCDF\n", 3,
                "NetCDF replays data files and lists no virtual heads; 'driver' must be one of ToshibaTeli, IDS, "
                "PtGrey."},
        Refusal{"serialNumber: A\nscene: s\nproductRevision: Rev4\n", 3,
                "'productRevision' must be one of Rev0, Rev1, Rev2, Rev3, not 'Rev4'."},
        Refusal{"serialNumber: A\nscene: s\nseed: -1\n", 3,
                "'seed' must be a whole number between 0 and 18446744073709551615, not '-1'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  width: 15\n", 4,
                "'width' must be a whole number between 16 and 8192, not '15'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  width: 8193\n", 4,
                "'width' must be a whole number between 16 and 8192, not '8193'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  height: 20.5\n", 4,
                "'height' must be a whole number between 16 and 8192, not '20.5'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  bayerLayout: BGRG\n", 4,
                "'bayerLayout' must be one of GRBG, RGGB, BGGR, GBRG, not 'BGRG'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  noise: 1\n", 4, "'noise' must be true or false."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  response: [1, 1]\n", 4,
                "'response' must be a list of 3 numbers."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  vignetting: 1.5\n", 4,
                "'vignetting' is 1.5 but must be between 0 and 1."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  sensitivity: bright\n", 4,
                "'sensitivity' must be a number, not 'bright'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  sensitivity: .inf\n", 4,
                "'sensitivity' must be a number, not '.inf'."},
        Refusal{"serialNumber: A\nscene: s\nsensor:\n  sensitivity: 1e999\n", 4,
                "'sensitivity' must be a number, not '1e999'."},
        Refusal{"serialNumber: A\nscene: s\nsensor: 5\n", 3, "a map of 'key: value' lines is expected here."},
        Refusal{
            "serialNumber: A\nscene: s\nsensor:\n  width: 64\n  heigth: 48\n", 5,
            "unknown key 'heigth'; known here are aperture, bayerLayout, focus, fullWell, height, noise, readNoise, "
            "response, sensitivity, vignetting, width."},
        Refusal{"serialNumber: A\nscene: s\nprojector:\n  contrast: 0.5\n", 4,
                "'contrast' is 0.5 but must be between 1 and 1e+09."},
        Refusal{"serialNumber: A\nscene: s\ncalibration:\n  camera:\n    focal: 5\n", 5,
                "'focal' must be a list of 2 numbers."},
        Refusal{"serialNumber: A\nscene: s\ncalibration:\n  rotation: [1, 0, 0, 0, 1, 0, 0, 0, 2]\n", 4,
                "'rotation' is not a rotation matrix: its rows must be orthonormal and right-handed."},
        Refusal{"serialNumber: A\nscene: s\ncalibration:\n  rotation: [1, 0, 0, 0, 1, 0, 0, 0, -1]\n", 4,
                "'rotation' is not a rotation matrix: its rows must be orthonormal and right-handed."},
        Refusal{"serialNumber: A\nscene: s\ntemperatures: {lens: -300}\n", 3,
                "'lens' is -300 but must be between -100 and 200."},
        Refusal{"serialNumber: A\nscene: s\ntemperatures:\n  ambient: 20\n", 4,
                "'ambient' is where the head starts to warm up from; it needs a 'timeConstant'."},
        Refusal{"serialNumber: A\nscene: s\ntemperatures:\n  timeConstant: 0\n", 4,
                "'timeConstant' is 0 but must be between 0.001 and 1e+06."},
        Refusal{"serialNumber: A\nscene: s\ntemperatures:\n  lense: 1\n", 4,
                "unknown key 'lense'; known here are ambient, dmd, head, led, lens, pcb, timeConstant."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  camera:\n    focal: 2000\n", 5,
                "'focal' is 2000 but must be between -1000 and 1000."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  projector:\n    centre: 0.1\n", 5,
                "'centre' must be a list of 2 numbers."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  projector: {distortion: [0]}\n", 4,
                "unknown key 'distortion'; known here are centre, focal."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  translation: [0, 2, 0]\n", 4,
                "'translation' is 2 but must be between -1 and 1."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  rotation: [0, 0, -0.2]\n", 4,
                "'rotation' is -0.2 but must be between -0.1 and 0.1."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  reference: 500\n", 4,
                "'reference' is 500 but must be between -100 and 200."},
        Refusal{"serialNumber: A\nscene: s\ndrift:\n  scale: 1\n", 4,
                "unknown key 'scale'; known here are camera, projector, reference, rotation, translation."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  connect: [a]\n", 4, "'connect' must be a text."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  afterCaptures: 3\n", 4,
                "'afterCaptures' needs the 'capture' fault that sets in then."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  capture: hot\n  afterCaptures: -1\n", 5,
                "'afterCaptures' must be a whole number between 0 and 1000000, not '-1'."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  stopAfterImages: some\n", 4,
                "'stopAfterImages' must be a whole number between 0 and 1000000, not 'some'."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  timeout: 1\n", 4,
                "'timeout' needs the 'stopAfterImages' whose missing images are waited for."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  delay: -1\n", 4,
                "'delay' is -1 but must be between 0 and 1e+06."},
        Refusal{"serialNumber: A\nscene: s\nfaults:\n  break: now\n", 4,
                "unknown key 'break'; known here are afterCaptures, capture, connect, delay, stopAfterImages, "
                "timeout, update."}));

TEST(HeadFile, SaysThatAFileCannotBeRead) {
    EXPECT_EQ(wordsOf([] { (void)Virtual::loadHead("/nowhere/head.yml"); }), "'/nowhere/head.yml' cannot be read.");
}

// The n-th YAML block of the documentation.
std::string documented(std::size_t n) {
    std::ifstream stream(std::filesystem::path(VORTA_SOURCE_DIR) / "docs/virtual-head.md");
    std::string block;
    for (std::string line; std::getline(stream, line);)
        if (line == "```yaml" && n-- == 0)
            while (std::getline(stream, line) && line != "```")
                block += line + "\n";
    return block;
}

TEST(HeadFile, DocumentationShowsTheDefaults) {
    const Virtual::HeadDescription shown = loadHeadText(documented(0));
    const Virtual::HeadDescription defaults = loadHeadText(minimal);
    EXPECT_EQ(shown.driver, defaults.driver);
    EXPECT_EQ(shown.seed, defaults.seed);
    EXPECT_EQ(shown.bayerLayout, defaults.bayerLayout);
    EXPECT_EQ(shown.sensor.sensitivity, defaults.sensor.sensitivity);
    EXPECT_EQ(shown.sensor.response, defaults.sensor.response);
    EXPECT_EQ(shown.sensor.noise, defaults.sensor.noise);
    EXPECT_EQ(shown.sensor.fullWellElectrons, defaults.sensor.fullWellElectrons);
    EXPECT_EQ(shown.sensor.readNoiseElectrons, defaults.sensor.readNoiseElectrons);
    EXPECT_EQ(shown.sensor.vignetting, defaults.sensor.vignetting);
    EXPECT_EQ(shown.optics.cameraFocusMm, defaults.optics.cameraFocusMm);
    EXPECT_EQ(shown.optics.cameraApertureMm, defaults.optics.cameraApertureMm);
    EXPECT_EQ(shown.optics.projectorFocusMm, defaults.optics.projectorFocusMm);
    EXPECT_EQ(shown.optics.projectorApertureMm, defaults.optics.projectorApertureMm);
    EXPECT_EQ(shown.optics.projectorSoftness, defaults.optics.projectorSoftness);
    EXPECT_EQ(shown.optics.projectorVignetting, defaults.optics.projectorVignetting);
    EXPECT_EQ(shown.optics.projectorContrast, defaults.optics.projectorContrast);
    const auto lens = [](const Driver::PinholeModel& m) {
        return std::array{m.fx, m.fy, m.cx, m.cy, m.k1, m.k2, m.p1, m.p2, m.k3};
    };
    EXPECT_EQ(lens(shown.calibration.camera), lens(defaults.calibration.camera));
    EXPECT_EQ(lens(shown.calibration.projector), lens(defaults.calibration.projector));
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(shown.calibration.rotation[i], defaults.calibration.rotation[i], 1e-6);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(shown.calibration.translationMm[i], defaults.calibration.translationMm[i], 1e-3);
    EXPECT_EQ(shown.temperatures.head, defaults.temperatures.head);
    EXPECT_EQ(shown.temperatures.lens, defaults.temperatures.lens);
    EXPECT_EQ(shown.temperatures.led, defaults.temperatures.led);
    EXPECT_EQ(shown.temperatures.pcb, defaults.temperatures.pcb);
    EXPECT_EQ(shown.temperatures.dmd, defaults.temperatures.dmd);
}

TEST(SceneFile, DocumentationShowsAValidScene) {
    VirtualHeads folder;
    std::ofstream(folder.folder() / "duck.obj") << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_EQ(Virtual::loadScene(folder.plugText("scene", documented(2))).objects.size(), 5U);
}

TEST(HeadFile, DocumentationShowsWarmUpDriftAndFaults) {
    const Virtual::HeadDescription head = loadHeadText(documented(1));
    EXPECT_TRUE(head.warmUp.has_value());
    EXPECT_TRUE(head.drift.has_value());
    EXPECT_FALSE(head.faults.capture.empty());
}

TEST(HeadFile, ReadsTheHeadsThatAreShipped) {
    const std::filesystem::path heads = std::filesystem::path(VORTA_SOURCE_DIR) / "heads";
    std::size_t count = 0;
    for (const auto& folder : std::filesystem::directory_iterator(heads))
        for (const auto& file : std::filesystem::directory_iterator(folder))
            if (file.path().extension() == ".yml") {
                const Virtual::HeadDescription head = Virtual::loadHead(file.path());
                EXPECT_FALSE(Virtual::loadScene(head.sceneFile).objects.empty()) << file.path();
                ++count;
            }
    EXPECT_EQ(count, 7U);
}

} // namespace
} // namespace Vorta::Testing
