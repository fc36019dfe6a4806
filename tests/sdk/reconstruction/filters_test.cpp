// Which points the reflection filter and the margins take away.

#include "simulatedhead.h"
#include "support/allocations.h"

#include "vorta/reconstruction/reconstructor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace Vorta;
using Driver::Lattice;
using Reconstruction::Parameters;
using Reconstruction::Reconstructor;
using Reconstruction::SequenceOptions;
using Simulation::Light;
using enum Reconstruction::SequenceOptions::Code;

/// One capture of a plane, from which to make points in several ways.
class Shot {
public:
    Shot(const SequenceOptions& options, const Light& light)
        : images_(Simulation::render(head_, Simulation::sequenceFor(head_, options), {}, light)),
          reconstructor_(head_, Simulation::sequenceFor(head_, options)) {}

    [[nodiscard]] PointCloud points(const Parameters& parameters) {
        PointCloud cloud;
        reconstructor_.reconstruct(images_, parameters, cloud);
        return cloud;
    }

private:
    Driver::Calibration head_ = Simulation::smallHead(false);
    Driver::ImageStack images_;
    Reconstructor reconstructor_;
};

std::ptrdiff_t validPoints(const PointCloud& cloud) {
    return std::ranges::count_if(cloud.points(), &Point::isValid);
}

std::vector<SequenceOptions> everyCode() {
    return {{},
            {.inverse = true},
            {.lattice = Lattice::Diamond},
            {.code = ErrorCorrecting},
            {.code = ErrorCorrecting, .inverse = true},
            {.code = ErrorCorrecting, .rows = true}};
}

/// What filters take: coordinates. The rest must stay.
void expectSameBesideCoordinates(const PointCloud& filtered, const PointCloud& all) {
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!filtered[i].isValid()) {
            ASSERT_TRUE(std::isnan(filtered[i].x) && std::isnan(filtered[i].y));
        } else {
            ASSERT_EQ(filtered[i].z, all[i].z);
        }
        ASSERT_EQ(filtered[i].contrast, all[i].contrast);
        ASSERT_EQ(filtered[i].blue, all[i].blue);
        ASSERT_EQ(filtered[i].green, all[i].green);
        ASSERT_EQ(filtered[i].red, all[i].red);
        ASSERT_EQ(filtered[i].alpha, all[i].alpha);
    }
}

// Blurred edges alone are no reflections: at most one point in a thousand is lost.
TEST(ReflectionFilter, KeepsDirectLight) {
    for (const SequenceOptions& options : everyCode()) {
        for (const double blur : {0.6, 1.1}) {
            Shot shot(options, {.noise = 1.5, .blurPixels = blur});
            const std::ptrdiff_t all = validPoints(shot.points({}));
            EXPECT_GT(all, 20'000);
            EXPECT_GT(validPoints(shot.points({.rejectReflections = true})), all * 999 / 1000);
        }
    }
}

// The light of a second path, 0.7 times as strong as the direct one, comes from 208 columns farther right, which differ
// in many bits. Points whose other place the projector does not reach are no reflections.
TEST(ReflectionFilter, RemovesASecondPath) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Light light{.white = 90.0, .noise = 1.0, .blurPixels = 0.6, .echo = {.share = 0.7, .columns = 208.0}};
    for (const SequenceOptions& options : everyCode()) {
        Shot shot(options, light);
        const PointCloud all = shot.points({.rejectOutliers = false});
        const PointCloud filtered = shot.points({.rejectOutliers = false, .rejectReflections = true});
        std::size_t reflected = 0;
        std::size_t left = 0;
        for (std::size_t row = 0; row < all.height(); ++row)
            for (std::size_t column = 0; column < all.width(); ++column) {
                if (!(Simulation::see(head, {}, row, column).value().projectorColumn < 800.0))
                    continue;
                reflected += all(row, column).isValid() ? 1U : 0U;
                left += filtered(row, column).isValid() ? 1U : 0U;
            }
        EXPECT_GT(reflected, 15'000U);
        EXPECT_LT(left, reflected / 100);
        expectSameBesideCoordinates(filtered, all);
    }
}

TEST(ReflectionFilter, LeavesWeakSecondPaths) {
    const Light light{.white = 90.0, .noise = 1.0, .blurPixels = 0.6, .echo = {.share = 0.1, .columns = 208.0}};
    for (const SequenceOptions& options : everyCode()) {
        Shot shot(options, light);
        const std::ptrdiff_t all = validPoints(shot.points({}));
        EXPECT_GT(validPoints(shot.points({.rejectReflections = true})), all * 99 / 100);
    }
}

TEST(Margins, TakeTheirPointsAway) {
    Shot shot({}, {});
    const PointCloud all = shot.points({});
    const PointCloud filtered =
        shot.points({.invalidTop = 40, .invalidBottom = 33, .invalidLeft = 70, .invalidRight = 61});
    expectSameBesideCoordinates(filtered, all);
    for (std::size_t row = 0; row < 150; ++row)
        for (std::size_t column = 0; column < 243; ++column) {
            const bool isInside = row >= 40 && row < 150 - 33 && column >= 70 && column < 243 - 61;
            ASSERT_EQ(filtered(row, column).isValid(), isInside && all(row, column).isValid()) << row << ' ' << column;
        }
    EXPECT_TRUE(filtered(40, 70).isValid());
    EXPECT_TRUE(filtered(150 - 33 - 1, 243 - 61 - 1).isValid());
}

TEST(Margins, ThatCoverEverythingLeaveNoPoints) {
    Shot shot({}, {});
    const PointCloud all = shot.points({});
    for (const Parameters& parameters :
         {Parameters{.invalidTop = 150}, Parameters{.invalidBottom = 150}, Parameters{.invalidLeft = 243},
          Parameters{.invalidRight = 243}, Parameters{.invalidTop = 75, .invalidBottom = 75},
          Parameters{.invalidLeft = 200, .invalidRight = 200},
          Parameters{
              .invalidTop = SIZE_MAX, .invalidBottom = SIZE_MAX, .invalidLeft = SIZE_MAX, .invalidRight = SIZE_MAX}}) {
        const PointCloud none = shot.points(parameters);
        EXPECT_EQ(validPoints(none), 0);
        expectSameBesideCoordinates(none, all);
    }
}

// What a margin leaves of a surface is a patch of its own, here of 3 x 3 points, too few.
TEST(Margins, CountForPatches) {
    const Parameters parameters{.invalidTop = 60, .invalidBottom = 87, .invalidLeft = 120, .invalidRight = 120};
    Shot shot({}, {});
    EXPECT_EQ(validPoints(shot.points(parameters)), 0);
    Parameters lenient = parameters;
    lenient.rejectOutliers = false;
    EXPECT_EQ(validPoints(shot.points(lenient)), 9);
}

TEST(Filters, AllocateNothing) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Parameters parameters{.rejectReflections = true,
                                .invalidTop = 3,
                                .invalidLeft = 3,
                                .gamma = 2.2,
                                .colourMode = Parameters::ColourMode::Gray};
    for (const SequenceOptions& options : everyCode()) {
        const Reconstruction::SequenceLayout layout = Simulation::sequenceFor(head, options);
        const Driver::ImageStack images = Simulation::render(head, layout, {}, {});
        Reconstructor reconstructor(head, layout, {.threads = 2});
        PointCloud cloud;
        reconstructor.reconstruct(images, parameters, cloud);
        const std::size_t count = allocationCount();
        reconstructor.reconstruct(images, parameters, cloud);
        EXPECT_EQ(allocationCount() - count, 0U);
    }
}

} // namespace
