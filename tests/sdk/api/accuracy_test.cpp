#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"
#include "vorta/api/hdr.h"
#include "vorta/reconstruction/calibrationfile.h"
#include "vorta/reconstruction/projection.h"

#include <boost/process/environment.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <iomanip>
#include <iostream>
#include <numbers>

namespace Vorta {
namespace {

using Testing::VirtualHead;
using Testing::VirtualHeads;

constexpr double fullWellElectrons = 30'000.0;
constexpr double readNoiseElectrons = 8.0;
constexpr double blackLevel = 4.0;
constexpr double periodColumns = 8.0;

/// A capture of a virtual head with all that is known about it.
struct Capture {
    PointCloud cloud;
    Driver::GroundTruth truth;
    std::shared_ptr<const Driver::ImageStack> images;
    Driver::Calibration geometry;
};

Capture captureWith(const Settings& wanted, const std::string& serialNumber) {
    Settings settings = wanted;
    settings.set("Camera/SaveImages", "true");
    Application application;
    application.getImpl().setCameraDriver(Testing::driverPath(), settings);
    const std::vector<Camera> cameras = application.cameras();
    const auto found = std::ranges::find(cameras, SerialNumber(serialNumber), &Camera::serialNumber);
    if (found == cameras.end())
        throw std::runtime_error("There is no head " + serialNumber);
    Camera camera = *found;
    camera.connect();
    const Frame frame = camera.capture();
    const FrameInfo& info = frame.getImpl().info();
    const auto calibration = Reconstruction::parseCalibration(info.calibrationText, "the frame's calibration");
    return {.cloud = frame.getPointCloud(),
            .truth = camera.getImpl().groundTruth().value(),
            .images = info.raw.images,
            .geometry = calibration.stages.front().geometry};
}

/// The least standard deviation that the depth of a pixel can have (Cramer-Rao), in mm.
class NoiseBound {
public:
    explicit NoiseBound(const Driver::Calibration& geometry) : geometry_(geometry) {}

    /// `levels` are the pixel's noise-free grey levels in the four phase images.
    [[nodiscard]] double depthMm(const std::array<double, 4>& levels, double x, double y, double depth) const {
        return columnBound(levels) / std::abs(columnSlope(x, y, depth));
    }

private:
    /// Standard deviation of one reading: shot noise, read noise and rounding.
    static double variance(double level) {
        constexpr double levelsPerElectron = 255.0 / fullWellElectrons;
        const double shot = std::max(level - blackLevel, 0.0) * levelsPerElectron;
        const double read = readNoiseElectrons * levelsPerElectron;
        return shot + read * read + 1.0 / 12.0;
    }

    /// From the Fisher information of I_k = B + A cos(phase + k pi / 2) about B, A and the phase.
    static double columnBound(const std::array<double, 4>& level) {
        const double cosine = 0.5 * (level[0] - level[2]);
        const double sine = 0.5 * (level[3] - level[1]);
        std::array<std::array<double, 3>, 3> j{};
        const double a = std::hypot(cosine, sine);
        const double phase = std::atan2(sine, cosine);
        for (std::size_t k = 0; k < 4; ++k) {
            const double angle = phase + 0.5 * std::numbers::pi * static_cast<double>(k);
            const std::array<double, 3> gradient{1.0, std::cos(angle), -a * std::sin(angle)};
            for (std::size_t r = 0; r < 3; ++r)
                for (std::size_t c = 0; c < 3; ++c)
                    j[r][c] += gradient[r] * gradient[c] / variance(level[k]);
        }
        // The phase's entry of the inverse is a cofactor over the determinant.
        const double cofactor = j[0][0] * j[1][1] - j[0][1] * j[1][0];
        const double determinant = j[2][2] * cofactor - j[2][1] * (j[0][0] * j[1][2] - j[0][2] * j[1][0]) +
                                   j[2][0] * (j[0][1] * j[1][2] - j[0][2] * j[1][1]);
        return std::sqrt(cofactor / determinant) * periodColumns / (2.0 * std::numbers::pi);
    }

    [[nodiscard]] double columnAt(Reconstruction::ImagePoint ray, double depth) const {
        const std::array<double, 3> p{ray.x * depth, ray.y * depth, depth};
        std::array<double, 3> q = geometry_.translationMm;
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                q[r] += geometry_.rotation[3 * r + c] * p[c];
        return Reconstruction::project(geometry_.projector, {.x = q[0] / q[2], .y = q[1] / q[2]}).x;
    }

    [[nodiscard]] double columnSlope(double x, double y, double depth) const {
        const Reconstruction::ImagePoint ray = Reconstruction::unproject(geometry_.camera, {.x = x, .y = y});
        return 5.0 * (columnAt(ray, depth + 0.1) - columnAt(ray, depth - 0.1));
    }

    Driver::Calibration geometry_;
};

/// How a measurement compares with what was really there.
struct Accuracy {
    double rmsMm = 0.0;          ///< of the depth error, over the valid points on unbroken surface
    double boundMm = 0.0;        ///< the same of the Cramer-Rao bound
    double validOfVisible = 0.0; ///< share of the visible, unsaturated pixels that gave a point
    double grosslyWrong = 0.0; ///< share of the valid points farther than 1 mm from all surface in and around the pixel
};

/// Smallest and largest true depth among a pixel and its neighbours; nothing counts as infinitely far.
struct Surroundings {
    double nearMm = 0.0;
    double farMm = 0.0;
};

Surroundings surroundings(const Driver::GroundTruth& truth, std::size_t row, std::size_t column) {
    Surroundings around{.nearMm = 1e9, .farMm = 0.0};
    for (std::size_t r = row > 0 ? row - 1 : 0; r <= std::min(row + 1, truth.height - 1); ++r)
        for (std::size_t c = column > 0 ? column - 1 : 0; c <= std::min(column + 1, truth.width - 1); ++c) {
            const double depth = truth.depthMm[r * truth.width + c];
            const double known = std::isnan(depth) ? 1e9 : depth;
            around.nearMm = std::min(around.nearMm, known);
            around.farMm = std::max(around.farMm, known);
        }
    return around;
}

double share(std::size_t part, std::size_t whole) {
    return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

Accuracy assess(const Capture& noisy, const Capture& clean) {
    constexpr double unbrokenMm = 3.0;
    const NoiseBound bound(noisy.geometry);
    std::size_t valid = 0;
    std::size_t seen = 0;
    std::size_t validSeen = 0;
    std::size_t wrong = 0;
    std::size_t compared = 0;
    double squares = 0.0;
    double boundSquares = 0.0;
    for (std::size_t row = 0; row < noisy.cloud.height(); ++row)
        for (std::size_t column = 0; column < noisy.cloud.width(); ++column) {
            const std::size_t i = row * noisy.cloud.width() + column;
            const Point& point = noisy.cloud[i];
            std::array<double, 4> levels{};
            bool saturated = false;
            for (std::size_t k = 0; k < 4; ++k) {
                levels[k] = clean.images->image(k)[i];
                saturated = saturated || noisy.images->image(k)[i] == 255;
            }
            const bool isSeen = noisy.truth.visible[i] != 0 && !saturated;
            seen += isSeen ? 1 : 0;
            if (!point.isValid())
                continue;
            ++valid;
            validSeen += isSeen ? 1 : 0;
            const Surroundings around = surroundings(noisy.truth, row, column);
            const double z = point.z;
            wrong += z < around.nearMm - 1.0 || z > around.farMm + 1.0 ? 1 : 0;
            if (!isSeen || around.farMm - around.nearMm > unbrokenMm)
                continue;
            const double error = z - double{noisy.truth.depthMm[i]};
            const double least =
                bound.depthMm(levels, static_cast<double>(column), static_cast<double>(row), noisy.truth.depthMm[i]);
            ++compared;
            squares += error * error;
            boundSquares += least * least;
        }
    const auto count = static_cast<double>(compared);
    return {.rmsMm = std::sqrt(squares / count),
            .boundMm = std::sqrt(boundSquares / count),
            .validOfVisible = share(validSeen, seen),
            .grosslyWrong = share(wrong, valid)};
}

void print(const std::string& name, const Accuracy& a) {
    std::cout << std::fixed << std::setprecision(4) << std::left << std::setw(36) << name << " RMS " << a.rmsMm
              << " mm, bound " << a.boundMm << " mm, ratio " << std::setprecision(2) << a.rmsMm / a.boundMm
              << std::setprecision(3) << "; valid " << 100.0 * a.validOfVisible << " %; wrong by over 1 mm "
              << 100.0 * a.grosslyWrong << " %\n";
}

/// Half the full sensor before a scene; with and without noise.
Accuracy accuracyOf(const std::string& name, const std::string& scene, const Settings& settings,
                    const std::string& more = {}) {
    VirtualHead head{.serialNumber = "T-1", .width = 972, .height = 600, .scene = scene, .more = more};
    VirtualHeads heads(head);
    const Capture noisy = captureWith(settings, "T-1");
    head.noise = false;
    heads.plug(head);
    const Capture clean = captureWith(settings, "T-1");
    const Accuracy accuracy = assess(noisy, clean);
    print(name, accuracy);
    return accuracy;
}

Settings with(const std::string& path, const std::string& value) {
    Settings settings;
    settings.set(path, value);
    return settings;
}

const std::string sphere = "objects:\n"
                           "  - sphere: {radius: 80}\n    position: [0, 0, 720]\n"
                           "  - plane: {}\n    position: [0, 0, 800]\n";
const std::string step = "objects:\n"
                         "  - box: {size: [160, 500, 100]}\n    position: [-100, 0, 720]\n"
                         "  - box: {size: [160, 500, 100]}\n    position: [100, 0, 740]\n"
                         "  - plane: {}\n    position: [0, 0, 760]\n";
const std::string textured = "objects:\n  - plane: {}\n    position: [0, 0, 700]\n    rotation: [0, 15, 0]\n"
                             "    material: {albedo: 0.9, texture: {kind: marble, size: 40, albedo: 0.3}}\n";
const std::string glossy = "objects:\n"
                           "  - sphere: {radius: 70}\n    position: [-60, 0, 700]\n"
                           "    material: {albedo: 0.5, specular: 0.05, roughness: 0.25}\n"
                           "  - plane: {}\n    position: [0, 0, 780]\n"
                           "    material: {albedo: 0.6, specular: 0.04, roughness: 0.35}\n";

TEST(Accuracy, OfTheFullSensorBeforeAPlaneAt700Mm) {
    boost::this_process::environment().set("VORTA_VIRTUAL_HEADS", VORTA_SOURCE_DIR "/heads/plane");
    const Capture capture = captureWith(Settings{}, "VP-0700");
    ASSERT_EQ(capture.cloud.width(), 1944U);
    ASSERT_EQ(capture.cloud.height(), 1200U);
    // Its own images serve for the bound: noise of a grey level changes that by less than a percent.
    const Accuracy accuracy = assess(capture, capture);
    print("plane, full sensor", accuracy);
    EXPECT_LE(accuracy.rmsMm, 0.05);
    EXPECT_LE(accuracy.rmsMm, 1.5 * accuracy.boundMm);
    EXPECT_GE(accuracy.validOfVisible, 0.99);
    EXPECT_LE(accuracy.grosslyWrong, 0.0001);
}

TEST(Accuracy, OfDefaultSettingsOnManySurfaces) {
    for (const auto& [name, scene] :
         std::initializer_list<std::pair<const char*, std::string>>{{"plane", Testing::planeScene()},
                                                                    {"sphere", sphere},
                                                                    {"step", step},
                                                                    {"textured", textured},
                                                                    {"glossy", glossy}}) {
        SCOPED_TRACE(name);
        const Accuracy accuracy = accuracyOf(name, scene, Settings{});
        EXPECT_LE(accuracy.rmsMm, 1.5 * accuracy.boundMm);
        EXPECT_GE(accuracy.validOfVisible, 0.99);
        EXPECT_LE(accuracy.grosslyWrong, 0.0001);
    }
}

TEST(Accuracy, OfEveryPatternBeforeAPlane) {
    for (const char* pattern : {"Diamond", "Plain", "Inverse", "ErrorCorrecting"}) {
        SCOPED_TRACE(pattern);
        const Accuracy accuracy = accuracyOf(std::string("plane, ") + pattern, Testing::planeScene(),
                                             with("Measurement/AdvancedPattern", pattern));
        EXPECT_LE(accuracy.rmsMm, 1.5 * accuracy.boundMm);
        EXPECT_GE(accuracy.validOfVisible, 0.99);
        EXPECT_LE(accuracy.grosslyWrong, 0.0001);
    }
}

TEST(Accuracy, OfTheOtherCalibrationMethods) {
    for (const char* method : {"ProjectorCamera", "Polynomial"}) {
        SCOPED_TRACE(method);
        const Accuracy accuracy =
            accuracyOf(std::string("sphere, ") + method, sphere, with("Calibration/Method", method));
        EXPECT_LE(accuracy.rmsMm, 1.5 * accuracy.boundMm);
        EXPECT_GE(accuracy.validOfVisible, 0.99);
    }
}

// The projector stands 200 mm away to the right and below, turned towards the point 721 mm before the camera.
const std::string diagonal = "calibration:\n"
                             "  camera: {focal: [1200, 1200], centre: [485.5, 299.5]}\n"
                             "  projector: {focal: [1130, 1130], centre: [511.5, 383.5]}\n"
                             "  rotation: [0.9819833038, -0.0363639493, 0.1854358495, 0, 0.9813097738, 0.1924347367, "
                             "-0.1889676985, -0.1889676985, 0.9636298137]\n"
                             "  translation: [-133.7308, -138.7782, 53.4481]\n";

struct OneAxisAndBoth {
    Accuracy columns;
    Accuracy both; ///< its bound is that of the columns alone
};

OneAxisAndBoth accuracyOfAxes(const std::string& name, const std::string& scene, const std::string& more = {}) {
    const OneAxisAndBoth result{
        .columns = accuracyOf(name + ", columns", scene, Settings{}, more),
        .both = accuracyOf(name + ", columns and rows", scene, with("Bidirectional", "true"), more)};
    std::cout << name << ": RMS " << std::setprecision(4) << result.columns.rmsMm << " mm from columns, "
              << result.both.rmsMm << " mm with rows\n";
    return result;
}

// There the rows measure depth as well as the columns do: half the variance, 0.71 of the error, remains.
TEST(Accuracy, RowsOfADiagonalHeadAddToIt) {
    for (const auto& [name, scene] : std::initializer_list<std::pair<const char*, std::string>>{
             {"sphere, diagonal", sphere}, {"textured, diagonal", textured}}) {
        SCOPED_TRACE(name);
        const auto [columns, both] = accuracyOfAxes(name, scene, diagonal);
        EXPECT_LE(both.rmsMm, 0.78 * columns.rmsMm);
        EXPECT_GE(both.validOfVisible, 0.99);
        EXPECT_LE(both.grosslyWrong, columns.grosslyWrong);
    }
}

// A polished floor mirrors the wall, whose light is brighter than its own: columns alone show the wall's depth there.
TEST(Accuracy, RowsTellAMirrorImageFromTheSurface) {
    const auto [columns, both] =
        accuracyOfAxes("polished floor", "objects:\n"
                                         "  - plane: {}\n    position: [0, 100, 700]\n    rotation: [70, 0, 0]\n"
                                         "    material: {albedo: 0.15, specular: 0.5, roughness: 0.05}\n"
                                         "  - plane: {}\n    position: [0, 0, 800]\n");
    EXPECT_GE(columns.grosslyWrong, 0.3);
    EXPECT_LE(both.grosslyWrong, 0.0001);
    EXPECT_LE(both.rmsMm, 0.01 * columns.rmsMm);
    EXPECT_LE(both.rmsMm, 1.5 * both.boundMm);
}

std::size_t validPoints(const Frame& frame) {
    const PointCloud cloud = frame.getPointCloud();
    return static_cast<std::size_t>(std::ranges::count_if(cloud.points(), &Point::isValid));
}

TEST(Accuracy, HdrCoversMoreThanTheBestSingleCapture) {
    boost::this_process::environment().set("VORTA_VIRTUAL_HEADS", VORTA_SOURCE_DIR "/heads/contrast");
    Application application;
    application.getImpl().setCameraDriver(Testing::driverPath(), Settings{});
    Camera camera = application.cameras().at(0);
    camera.connect();
    const auto captureAt = [&](std::uint64_t iris) {
        camera.setSettings(with("Iris", std::to_string(iris)));
        return camera.capture();
    };
    std::size_t best = 0;
    for (const std::uint64_t iris : {10U, 20U, 25U, 31U, 40U, 50U})
        best = std::max(best, validPoints(captureAt(iris)));
    const Frame dark = captureAt(14);
    const Frame middle = captureAt(31);
    const Frame bright = captureAt(63);
    const std::size_t combined = validPoints(HDR::Detail::combineFrames({dark, middle, bright}));
    std::cout << "HDR of three irises covers " << combined << " pixels, the best single capture " << best << ": "
              << std::fixed << std::setprecision(1) << 100.0 * (share(combined, best) - 1.0) << " % more\n";
    EXPECT_GE(static_cast<double>(combined), 1.15 * static_cast<double>(best));
}

} // namespace
} // namespace Vorta
