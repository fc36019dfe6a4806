#include "vorta/reconstruction/headcalibration.h"

#include "simulatedhead.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace {

using namespace Vorta;
using Driver::HeadCalibration;
using Reconstruction::calibrationAt;

constexpr double degree = std::numbers::pi / 180.0;

/// Rx(30 degrees) * Rz(angle), multiplied out.
std::array<double, 9> turned(double angle) {
    const double c = std::cos(30.0 * degree), s = std::sin(30.0 * degree);
    return {std::cos(angle),     -std::sin(angle),    0.0, c * std::sin(angle), c * std::cos(angle), -s,
            s * std::sin(angle), s * std::cos(angle), c};
}

/// Stages at 10, 20 and 40 degrees Celsius, turned by 1, 2 and 6 degrees.
HeadCalibration threeStages() {
    HeadCalibration calibration;
    Driver::Calibration geometry = Simulation::smallHead(true);
    const auto add = [&](double temperature, double angle) {
        geometry.rotation = turned(angle);
        calibration.stages.push_back({.temperature = temperature, .geometry = geometry});
    };
    add(10.0, 1.0 * degree);
    geometry.camera.fx = 301.0;
    geometry.projector.k2 = 0.06;
    geometry.translationMm = {-200.0, 1.0, 50.0};
    add(20.0, 2.0 * degree);
    geometry.camera.fx = 305.0;
    geometry.camera.cy = 75.0;
    geometry.translationMm = {-204.0, 1.0, 52.0};
    add(40.0, 6.0 * degree);
    return calibration;
}

void expectRotation(const HeadCalibration& calibration, double temperature, double angle) {
    const std::array<double, 9> r = calibrationAt(calibration, temperature).rotation;
    const std::array<double, 9> expected = turned(angle);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(r[i], expected[i], 1e-13) << temperature << " element " << i;
}

double largestSkew(const std::array<double, 9>& r) {
    double largest = 0.0;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            largest = std::max(largest, std::abs(r[3 * i] * r[3 * j] + r[3 * i + 1] * r[3 * j + 1] +
                                                 r[3 * i + 2] * r[3 * j + 2] - (i == j ? 1.0 : 0.0)));
    return largest;
}

// A quarter of the way from 20 to 40 degrees Celsius.
TEST(HeadCalibration, ParametersAreInterpolatedLinearly) {
    const Driver::Calibration geometry = calibrationAt(threeStages(), 25.0);
    EXPECT_EQ(geometry.camera.width, 243U);
    EXPECT_EQ(geometry.projector.height, 768U);
    EXPECT_DOUBLE_EQ(geometry.camera.fx, 302.0);
    EXPECT_DOUBLE_EQ(geometry.camera.fy, 300.5);
    EXPECT_DOUBLE_EQ(geometry.camera.cy, 74.4);
    EXPECT_DOUBLE_EQ(geometry.camera.k1, -0.12);
    EXPECT_DOUBLE_EQ(geometry.projector.k2, 0.06);
    EXPECT_DOUBLE_EQ(geometry.translationMm[0], -201.0);
    EXPECT_DOUBLE_EQ(geometry.translationMm[1], 1.0);
    EXPECT_DOUBLE_EQ(geometry.translationMm[2], 50.5);
    EXPECT_DOUBLE_EQ(calibrationAt(threeStages(), 12.5).camera.fx, 300.25);
    EXPECT_DOUBLE_EQ(calibrationAt(threeStages(), 12.5).projector.k2, 0.0525);
}

TEST(HeadCalibration, TheRotationTurnsEvenlyAndStaysOrthonormal) {
    const HeadCalibration calibration = threeStages();
    expectRotation(calibration, 10.0, 1.0 * degree);
    expectRotation(calibration, 15.0, 1.5 * degree);
    expectRotation(calibration, 20.0, 2.0 * degree);
    expectRotation(calibration, 25.0, 3.0 * degree);
    expectRotation(calibration, 45.0, 7.0 * degree);
    for (int step = 0; step < 80; ++step)
        EXPECT_LT(largestSkew(calibrationAt(calibration, -40.0 + 1.7 * step).rotation), 1e-12);
}

// 200 degrees apart the shorter way, of 160 degrees, is taken; 180 degrees have two.
TEST(HeadCalibration, LargeTurnsTakeTheShorterWay) {
    HeadCalibration calibration = threeStages();
    calibration.stages.resize(2);
    calibration.stages[1].geometry.rotation = turned(201.0 * degree);
    expectRotation(calibration, 15.0, -79.0 * degree);
    calibration.stages[1].geometry.rotation = turned(180.9 * degree);
    expectRotation(calibration, 15.0, 90.95 * degree);
    calibration.stages[0].geometry.rotation = turned(0.0);
    calibration.stages[1].geometry.rotation = turned(180.0 * degree);
    EXPECT_LT(largestSkew(calibrationAt(calibration, 15.0).rotation), 1e-12);
}

TEST(HeadCalibration, RotationsOfFewDigitsBecomeOrthonormal) {
    HeadCalibration calibration = threeStages();
    for (Driver::CalibrationStage& stage : calibration.stages)
        for (double& element : stage.geometry.rotation)
            element = std::round(element * 1e7) / 1e7;
    Reconstruction::check(calibration);
    for (const double temperature : {10.0, 17.0, 20.0, 40.0, 50.0})
        EXPECT_LT(largestSkew(calibrationAt(calibration, temperature).rotation), 1e-12);
}

// Outside the stages by no more than the nearest two are apart: 10 and 20 degrees.
TEST(HeadCalibration, ExtrapolatesByOneStageInterval) {
    const HeadCalibration calibration = threeStages();
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, 5.0).camera.fx, 299.5);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, 0.0).camera.fx, 299.0);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, -1.0).camera.fx, 299.0);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, -1e9).camera.fx, 299.0);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, 50.0).camera.fx, 307.0);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, 60.0).camera.fx, 309.0);
    EXPECT_DOUBLE_EQ(calibrationAt(calibration, 61.0).camera.fx, 309.0);
    expectRotation(calibration, 0.0, 0.0);
    expectRotation(calibration, 70.0, 10.0 * degree);
}

TEST(HeadCalibration, OneStageServesAllTemperatures) {
    HeadCalibration calibration = threeStages();
    calibration.stages.resize(1);
    for (const double temperature : {-20.0, 10.0, 90.0}) {
        EXPECT_EQ(calibrationAt(calibration, temperature).camera.fx, 300.0);
        EXPECT_EQ(calibrationAt(calibration, temperature).rotation, turned(1.0 * degree));
    }
}

TEST(HeadCalibration, RefusesTemperaturesThatAreNone) {
    for (const double temperature : {std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_THROW((void)calibrationAt(threeStages(), temperature), ArgumentInvalidException);
}

/// The message of `check` after a change.
std::string refusal(const std::function<void(HeadCalibration&)>& change) {
    HeadCalibration calibration = threeStages();
    change(calibration);
    try {
        Reconstruction::check(calibration);
    } catch (const ArgumentInvalidException& error) {
        return error.what();
    }
    return "nothing was refused";
}

TEST(HeadCalibration, CheckTellsWhatCannotBeUsed) {
    EXPECT_EQ(refusal([](auto&) {}), "nothing was refused");
    EXPECT_EQ(refusal([](auto& c) { c.stages.clear(); }),
              "The calibration holds no geometry. Invalid parameter: stages");
    EXPECT_EQ(refusal([](auto& c) { c.referenceTemperature = std::nan(""); }),
              "The calibration's temperature is no number. Invalid parameter: referenceTemperature");
    EXPECT_EQ(refusal([](auto& c) { c.stages[1].temperature = std::nan(""); }),
              "A calibration's temperature is no number. Invalid parameter: stages[1].temperature");
    for (const double temperature : {10.0, 9.0})
        EXPECT_EQ(refusal([&](auto& c) { c.stages[1].temperature = temperature; }),
                  "The calibration's temperatures must rise from stage to stage. Invalid parameter: "
                  "stages[1].temperature");
    EXPECT_EQ(refusal([](auto& c) { c.stages[2].geometry.camera.height = 151; }),
              "The calibration's stages have different sensor sizes. Invalid parameter: stages[2].geometry.camera");
    EXPECT_EQ(refusal([](auto& c) { c.stages[1].geometry.projector.width = 1000; }),
              "The calibration's stages have different projector sizes. Invalid parameter: "
              "stages[1].geometry.projector");
    EXPECT_EQ(refusal([](auto& c) { c.stages[2].geometry.camera.fx = -1.0; }),
              "The calibration has a focal length that is not positive. Invalid parameter: stages[2].geometry.camera");
    EXPECT_EQ(refusal([](auto& c) { c.stages[2].geometry.translationMm[0] = 0.0; }),
              "The calibration has no baseline across the projector's columns. Invalid parameter: "
              "stages[2].geometry.translationMm");
    EXPECT_EQ(refusal([](auto& c) { c.stages[0].geometry.projector.k1 = -60.0; }),
              "The projector's lens model cannot be inverted over its area. Invalid parameter: "
              "stages[0].geometry.projector");
    EXPECT_EQ(refusal([](auto& c) {
                  for (auto& stage : c.stages)
                      stage.geometry.camera.width = 65536;
              }),
              "The calibration has a device of more than 65535 pixels a side. Invalid parameter: "
              "stages[0].geometry.camera");
    const std::string noRotation = "The calibration's rotation is none: its rows must be orthonormal and right-handed. "
                                   "Invalid parameter: stages[0].geometry.rotation";
    EXPECT_EQ(refusal([](auto& c) { c.stages[0].geometry.rotation[0] += 1e-5; }), noRotation);
    EXPECT_EQ(refusal([](auto& c) {
                  for (double& element : c.stages[0].geometry.rotation)
                      element = -element;
              }),
              noRotation);
}

TEST(HeadCalibration, InterpolationRefusesStagesThatAreNone) {
    HeadCalibration calibration = threeStages();
    calibration.stages[1].temperature = 10.0;
    EXPECT_THROW((void)calibrationAt(calibration, 15.0), ArgumentInvalidException);
    calibration.stages.clear();
    EXPECT_THROW((void)calibrationAt(calibration, 15.0), ArgumentInvalidException);
}

} // namespace
