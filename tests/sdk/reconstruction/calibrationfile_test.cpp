#include "vorta/reconstruction/calibrationfile.h"

#include "simulatedhead.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace Vorta;
using Driver::HeadCalibration;
using Reconstruction::calibrationText;
using Reconstruction::loadCalibration;
using Reconstruction::parseCalibration;
using Reconstruction::saveCalibration;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

/// A folder of its own that goes with the test.
class CalibrationFile : public testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(testing::TempDir()) /
                  (std::string("vorta_calibration_") + testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    [[nodiscard]] std::string file(const char* name) const { return (folder_ / name).string(); }
    [[nodiscard]] std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
    }

private:
    fs::path folder_;
};

std::string readText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

HeadCalibration twoStages() {
    HeadCalibration calibration{.referenceTemperature = 1.0 / 3.0, .stages = {}};
    calibration.stages.push_back({.temperature = -7.1, .geometry = Simulation::smallHead(false)});
    calibration.stages.push_back({.temperature = 40.0 / 3.0, .geometry = Simulation::smallHead(true)});
    return calibration;
}

bool sameBits(const Driver::Calibration& a, const Driver::Calibration& b) {
    const auto bits = [](const Driver::Calibration& c) {
        std::vector<double> values(c.rotation.begin(), c.rotation.end());
        values.insert(values.end(), c.translationMm.begin(), c.translationMm.end());
        for (const Driver::PinholeModel& m : {c.camera, c.projector})
            for (const double value : {static_cast<double>(m.width), static_cast<double>(m.height), m.fx, m.fy, m.cx,
                                       m.cy, m.k1, m.k2, m.p1, m.p2, m.k3})
                values.push_back(value);
        return values;
    };
    return std::memcmp(bits(a).data(), bits(b).data(), bits(a).size() * sizeof(double)) == 0;
}

TEST_F(CalibrationFile, GivesEveryNumberBackToTheLastBit) {
    HeadCalibration calibration = twoStages();
    calibration.stages[0].geometry.camera.p1 = -0.0;
    calibration.stages[0].geometry.camera.k2 = 4.9406564584124654e-324; // the smallest number there is
    saveCalibration(calibration, file("calib_data.yml"));
    const HeadCalibration loaded = loadCalibration(file("calib_data.yml"));
    EXPECT_EQ(loaded.referenceTemperature, 1.0 / 3.0);
    ASSERT_EQ(loaded.stages.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(loaded.stages[i].temperature, calibration.stages[i].temperature);
        EXPECT_TRUE(sameBits(loaded.stages[i].geometry, calibration.stages[i].geometry)) << i;
    }
    EXPECT_EQ(readText(file("calib_data.yml")), calibrationText(calibration));
    EXPECT_EQ(calibrationText(loaded), calibrationText(calibration));
}

TEST_F(CalibrationFile, TheDocumentedExampleIsOne) {
    const std::string page = readText(fs::path(VORTA_SOURCE_DIR) / "docs/calibration-file.md");
    const std::size_t begin = page.find("```yaml\n") + 8;
    const HeadCalibration example = parseCalibration(page.substr(begin, page.find("```\n", begin) - begin), "example");
    EXPECT_EQ(example.referenceTemperature, 25.0);
    ASSERT_EQ(example.stages.size(), 2U);
    const Driver::CalibrationStage& stage = example.stages[1];
    EXPECT_EQ(stage.temperature, 45.0);
    EXPECT_EQ(stage.geometry.camera.width, 1944U);
    EXPECT_EQ(stage.geometry.camera.height, 1200U);
    EXPECT_EQ(stage.geometry.camera.fx, 2399.4);
    EXPECT_EQ(stage.geometry.camera.fy, 2399.7);
    EXPECT_EQ(stage.geometry.camera.cx, 971.6);
    EXPECT_EQ(stage.geometry.camera.cy, 599.5);
    EXPECT_EQ(stage.geometry.camera.k1, -0.08);
    EXPECT_EQ(stage.geometry.camera.k2, 0.05);
    EXPECT_EQ(stage.geometry.camera.p1, 0.0004);
    EXPECT_EQ(stage.geometry.camera.p2, -0.0003);
    EXPECT_EQ(stage.geometry.camera.k3, 0.0);
    EXPECT_EQ(stage.geometry.projector.width, 1024U);
    EXPECT_EQ(stage.geometry.projector.height, 768U);
    EXPECT_EQ(stage.geometry.projector.fx, 1129.5);
    EXPECT_EQ(stage.geometry.rotation[2], 0.28);
    EXPECT_EQ(stage.geometry.rotation[6], -0.28);
    EXPECT_EQ(stage.geometry.translationMm[1], 0.02);
}

TEST_F(CalibrationFile, SaysWithUnitsWhatItHolds) {
    const std::string text = calibrationText(twoStages());
    EXPECT_THAT(text, HasSubstr("version: 1\n"));
    EXPECT_THAT(text, HasSubstr("degrees Celsius.\nreferenceTemperature: 0.3333333333333333\n"));
    EXPECT_THAT(text, HasSubstr("pixels.\nsensor:\n  width: 243\n  height: 150\n"));
    EXPECT_THAT(text, HasSubstr("  - temperature: -7.1\n    camera:\n      focal: [300, 300.5]\n"));
    EXPECT_THAT(text, HasSubstr("translation (mm)"));
}

/// What reading says after `from` was replaced by `to` in a good text.
std::string refusal(const std::string& from, const std::string& to) {
    std::string text = calibrationText(twoStages());
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    text.replace(place, from.size(), to);
    try {
        (void)parseCalibration(text, "head.yml");
    } catch (const IOException& error) {
        return error.what();
    }
    return "nothing was refused";
}

// Lines: version 2, referenceTemperature 5, sensor 8, projector 13, stages 22, first stage 23 to 33, second from 34.
TEST_F(CalibrationFile, RefusalsNameFileLineAndKey) {
    EXPECT_EQ(refusal("# Calibration", "# calibration"), "nothing was refused");
    EXPECT_EQ(refusal("version: 1", "version: 2"),
              "'head.yml', line 2: 'version' is 2; this program reads calibrations up to 1.");
    EXPECT_THAT(refusal("version: 1", "version: x"), HasSubstr("'head.yml', line 2: 'version' must be a whole number"));
    EXPECT_EQ(refusal("version: 1", ""), "'head.yml', line 5: 'version' is missing.");
    EXPECT_THAT(refusal("version: 1", "version: 1\nversion: 1"), HasSubstr("'version' stands here a second time"));
    EXPECT_THAT(refusal("version: 1", "version: 1\nfocus: 1"), HasSubstr("line 3: unknown key 'focus'"));
    EXPECT_EQ(refusal("0.3333333333333333", "warm"),
              "'head.yml', line 5: 'referenceTemperature' must be a number, not 'warm'.");
    EXPECT_EQ(refusal("0.3333333333333333", "nan"),
              "'head.yml', line 5: 'referenceTemperature' must be a number, not 'nan'.");
    EXPECT_EQ(refusal("width: 243", "width: 0"),
              "'head.yml', line 9: 'width' must be a whole number between 1 and 65535, not '0'.");
    EXPECT_THAT(refusal("width: 243", "width: 65536"), HasSubstr("between 1 and 65535, not '65536'"));
    EXPECT_THAT(refusal("width: 1024", "width: -3"), HasSubstr("line 14: 'width' must be a whole number"));
    EXPECT_THAT(refusal("  height: 150\n", ""), HasSubstr("'height' is missing"));
    EXPECT_THAT(refusal("  height: 150\n", "  height: 150\n  depth: 8\n"), HasSubstr("line 11: unknown key 'depth'"));
    EXPECT_THAT(refusal("temperature: -7.1\n    ", "temperature: -7.1\n    gain: 1\n    "),
                HasSubstr("line 24: unknown key 'gain'"));
    EXPECT_EQ(refusal("[300, 300.5]", "[300]"), "'head.yml', line 25: 'focal' must be a list of 2 numbers.");
    EXPECT_EQ(refusal("[300, 300.5]", "[300, -300.5]"), "'head.yml', line 25: 'focal' must be two positive numbers.");
    EXPECT_EQ(refusal("[300, 300.5]", "[300, inf]"), "'head.yml', line 25: 'focal' must be a number, not 'inf'.");
    EXPECT_THAT(refusal("      distortion: [0, 0, 0, 0, 0]\n", ""), HasSubstr("'distortion' is missing"));
    EXPECT_THAT(refusal("temperature: -7.1", "temperature: 13.4"),
                HasSubstr("'temperature': The calibration's temperatures must rise from stage to stage."));
    EXPECT_EQ(refusal("rotation: [", "rotation: [1"),
              "'head.yml', line 32: 'rotation': The calibration's rotation is none: its rows must be orthonormal and "
              "right-handed.");
    EXPECT_THAT(refusal("translation: [-", "translation: [0, "), HasSubstr("line 33: 'translation' must be a list"));
    EXPECT_EQ(refusal("distortion: [0,", "distortion: [0, 0, 0, 0, 0]\n    projector:\n      focal: [1, 1]\n      "
                                         "centre: [0, 0]\n      distortion: [0,"),
              "'head.yml', line 32: 'projector' stands here a second time.");
    EXPECT_THAT(refusal("stages:", "stages: 5\nother:"), HasSubstr("'stages' must be a list."));
    EXPECT_THAT(refusal("stages:", "other:"), HasSubstr("'stages' is missing"));
}

TEST_F(CalibrationFile, RefusesTextsThatAreNone) {
    for (const char* text : {"", ",", ", a", "- 1", "{", "version: \"1", "version: 1\n---\nversion: 1\n"})
        EXPECT_THROW((void)parseCalibration(text, "head.yml"), IOException) << text;
    try {
        (void)parseCalibration("version: 1\nreferenceTemperature: 25\nsensor: {width: 9, height: 9}\n"
                               "projector: {width: 9, height: 9}\nstages: []\n",
                               "head.yml");
        FAIL() << "a calibration without stages";
    } catch (const IOException& error) {
        EXPECT_STREQ(error.what(), "'head.yml', line 5: 'stages': The calibration holds no geometry.");
    }
}

TEST_F(CalibrationFile, RefusesFilesThatAreMissingOrTooLarge) {
    EXPECT_THROW((void)loadCalibration(file("none.yml")), IOException);
    EXPECT_THROW((void)loadCalibration(file(".")), IOException);
    std::ofstream(file("large.yml")) << calibrationText(twoStages()) << '#' << std::string(1U << 20U, ' ') << '\n';
    EXPECT_THROW((void)loadCalibration(file("large.yml")), IOException);
}

TEST_F(CalibrationFile, ReplacesOnlyWhenItCan) {
    HeadCalibration calibration = twoStages();
    saveCalibration(calibration, file("a.yml"));
    const std::string earlier = readText(file("a.yml"));
    calibration.stages.pop_back();
    saveCalibration(calibration, file("a.yml"));
    EXPECT_NE(readText(file("a.yml")), earlier);
    const std::string later = readText(file("a.yml"));
    calibration.stages.clear();
    EXPECT_THROW(saveCalibration(calibration, file("a.yml")), ArgumentInvalidException);
    EXPECT_THROW((void)calibrationText(calibration), ArgumentInvalidException);
    EXPECT_EQ(readText(file("a.yml")), later);
    EXPECT_THROW(saveCalibration(twoStages(), file("none/a.yml")), IOException);
    EXPECT_EQ(fileCount(), 1U);
}

} // namespace
