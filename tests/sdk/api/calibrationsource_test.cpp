#include "sdk/api/testtools.h"

#include "calibrationsource.h"

#include "vorta/common/exceptions.h"
#include "vorta/reconstruction/calibrationfile.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Vorta {
namespace {

/// A file for a sensor of 40 x 30 and a projector of 32 x `projectorHeight` pixels.
std::string fileText(int projectorHeight, int referenceTemperature) {
    return "version: 1\nreferenceTemperature: " + std::to_string(referenceTemperature) +
           "\nsensor: {width: 40, height: 30}\nprojector: {width: 32, height: " + std::to_string(projectorHeight) +
           "}" +
           R"(
stages:
  - temperature: 20
    camera: {focal: [50, 50], centre: [20, 15], distortion: [0, 0, 0, 0, 0]}
    projector: {focal: [40, 40], centre: [16, 12], distortion: [0, 0, 0, 0, 0]}
    rotation: [1, 0, 0, 0, 1, 0, 0, 0, 1]
    translation: [-200, 0, 0]
)";
}

class CalibrationOf : public ::testing::Test {
protected:
    CalibrationOf() { settings_.set("Measurement/CalibrationFile", path_); }

    void write(const std::string& text, std::chrono::seconds later = {}) const {
        Testing::writeFile(path_, text);
        std::filesystem::last_write_time(path_, written_ + later);
    }
    double referenceTemperature() { return source_.choose(settings_)->calibration.referenceTemperature; }

    static inline const Driver::HeadDimensions head{
        .sensorWidth = 40, .sensorHeight = 30, .projectorWidth = 32, .projectorHeight = 24};

    Testing::TemporaryFolder folder_;
    std::string path_ = folder_.file("calib_data.yml");
    std::filesystem::file_time_type written_ = std::filesystem::file_time_type::clock::now();
    Settings settings_;
    CalibrationSource source_{Reconstruction::parseCalibration(fileText(24, 33), "the head"), head};
};

TEST_F(CalibrationOf, AFileReplacesWhatTheHeadStores) {
    write(fileText(24, 21));
    EXPECT_EQ(referenceTemperature(), 21.0);
    settings_.set("Measurement/CalibrationFile", "");
    EXPECT_EQ(referenceTemperature(), 33.0);
}

TEST_F(CalibrationOf, AFileIsReadAgainWhenItHasChanged) {
    write(fileText(24, 21));
    EXPECT_EQ(referenceTemperature(), 21.0);
    write("not read as long as it seems to be the same");
    EXPECT_EQ(referenceTemperature(), 21.0);
    write(fileText(24, 22), std::chrono::seconds(2));
    EXPECT_EQ(referenceTemperature(), 22.0);
    std::filesystem::remove(path_);
    EXPECT_THROW(referenceTemperature(), IOException);
}

TEST_F(CalibrationOf, AnotherHeadIsRefusedByItsSizes) {
    write(fileText(25, 21));
    try {
        referenceTemperature();
        FAIL() << "was taken";
    } catch (const RuntimeException& refusal) {
        EXPECT_EQ(std::string(refusal.what()), "the calibration file '" + path_ +
                                                   "' is made for a sensor of 40 x 30 and a projector of 32 x 25 "
                                                   "pixels, but the head has 40 x 30 and 32 x 24.");
    }
}

TEST_F(CalibrationOf, AHeadBeforeRev3IsItsFilesAlone) {
    settings_.set("Global/ProductRevision", "Rev2");
    write(fileText(24, 21));
    EXPECT_EQ(referenceTemperature(), 21.0);
    settings_.set("Measurement/CalibrationFile", "");
    EXPECT_EQ(source_.choose(settings_), nullptr);
}

TEST_F(CalibrationOf, AHeadThatStoresNoneIsItsFilesAlone) {
    CalibrationSource bare({}, head);
    settings_.set("Measurement/CalibrationFile", "");
    EXPECT_EQ(bare.choose(settings_), nullptr);
}

} // namespace
} // namespace Vorta
