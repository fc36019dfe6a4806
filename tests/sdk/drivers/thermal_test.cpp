#include "bareheads.h"

#include "vorta/virtual/thermal.h"
#include "vorta/virtual/virtualhead.h"

#include <chrono>
#include <cmath>
#include <memory>

namespace Vorta::Testing {
namespace {

using Virtual::Drift;
using Virtual::WarmUp;

TEST(Temperatures, ApproachTheirSettledValues) {
    const Driver::Temperatures settled{.head = 35.0, .lens = {}, .led = 45.0, .pcb = 15.0, .dmd = {}};
    const WarmUp warmUp{.ambient = 25.0, .timeConstantS = 100.0};
    const Driver::Temperatures cold = Virtual::temperaturesAfter(0.0, settled, warmUp);
    EXPECT_EQ(cold.head, 25.0);
    EXPECT_EQ(cold.led, 25.0);
    // After one time constant 1 / e = 0.367879 of the way is left.
    const Driver::Temperatures warm = Virtual::temperaturesAfter(100.0, settled, warmUp);
    EXPECT_NEAR(warm.head, 31.32121, 1e-5);
    EXPECT_NEAR(*warm.led, 37.64241, 1e-5);
    EXPECT_NEAR(*warm.pcb, 18.67879, 1e-5);
    EXPECT_FALSE(warm.lens.has_value());
    EXPECT_FALSE(warm.dmd.has_value());
    EXPECT_EQ(Virtual::temperaturesAfter(50.0, settled, std::nullopt).head, 35.0);
}

TEST(Temperatures, TheHeadStandsInForALensWithoutSensor) {
    EXPECT_EQ(Virtual::opticsTemperature({.head = 35.0, .lens = 33.0, .led = {}, .pcb = {}, .dmd = {}}), 33.0);
    EXPECT_EQ(Virtual::opticsTemperature({.head = 35.0, .lens = {}, .led = 50.0, .pcb = {}, .dmd = {}}), 35.0);
}

Driver::Calibration straight() {
    Driver::Calibration calibration;
    calibration.camera = {.width = 200, .height = 100, .fx = 2000, .fy = 1000, .cx = 100, .cy = 50, .k1 = -0.1};
    calibration.projector = {.width = 400, .height = 300, .fx = 500, .fy = 400, .cx = 200, .cy = 150};
    calibration.translationMm = {-200, 1, 2};
    return calibration;
}

const Drift drift{.reference = 30.0,
                  .camera = {.focalPpm = {10.0, -20.0}, .centrePixels = {0.01, -0.02}},
                  .projector = {.focalPpm = {-30.0, 40.0}, .centrePixels = {0.03, 0.04}},
                  .translationMm = {0.001, -0.002, 0.003},
                  .rotationDegrees = {0.0, 0.001, 0.0}};

TEST(Drift, ChangesEachParameterByItsRate) {
    const Driver::Calibration g = Virtual::geometryAt(50.0, straight(), drift); // 20 K
    EXPECT_NEAR(g.camera.fx, 2000.4, 1e-9);
    EXPECT_NEAR(g.camera.fy, 999.6, 1e-9);
    EXPECT_NEAR(g.camera.cx, 100.2, 1e-12);
    EXPECT_NEAR(g.camera.cy, 49.6, 1e-12);
    EXPECT_EQ(g.camera.k1, -0.1);
    EXPECT_EQ(g.camera.width, 200U);
    EXPECT_NEAR(g.projector.fx, 499.7, 1e-9);
    EXPECT_NEAR(g.projector.fy, 400.32, 1e-9);
    EXPECT_NEAR(g.projector.cx, 200.6, 1e-12);
    EXPECT_NEAR(g.projector.cy, 150.8, 1e-12);
    EXPECT_NEAR(g.translationMm[0], -199.98, 1e-12);
    EXPECT_NEAR(g.translationMm[1], 0.96, 1e-12);
    EXPECT_NEAR(g.translationMm[2], 2.06, 1e-12);
    // 0.02 degrees about y: the sine is 3.490658e-4.
    EXPECT_NEAR(g.rotation[2], 3.490658e-4, 1e-9);
    EXPECT_NEAR(g.rotation[6], -3.490658e-4, 1e-9);
    EXPECT_NEAR(g.rotation[4], 1.0, 1e-12);
    EXPECT_EQ(Virtual::geometryAt(50.0, straight(), std::nullopt).camera.fx, 2000.0);
    EXPECT_EQ(Virtual::geometryAt(30.0, straight(), drift).camera.fx, 2000.0);
}

TEST(Drift, IsWhatACalibrationFindsAtThreeTemperatures) {
    const Driver::HeadCalibration found = Virtual::trueCalibration(straight(), drift);
    EXPECT_EQ(found.referenceTemperature, 30.0);
    ASSERT_EQ(found.stages.size(), 3U);
    EXPECT_EQ(found.stages[0].temperature, 10.0);
    EXPECT_NEAR(found.stages[0].geometry.camera.fx, 1999.6, 1e-9);
    EXPECT_EQ(found.stages[1].temperature, 30.0);
    EXPECT_EQ(found.stages[1].geometry.camera.fx, 2000.0);
    EXPECT_EQ(found.stages[2].temperature, 50.0);
    EXPECT_NEAR(found.stages[2].geometry.camera.fx, 2000.4, 1e-9);
    const Driver::HeadCalibration rigid = Virtual::trueCalibration(straight(), std::nullopt);
    ASSERT_EQ(rigid.stages.size(), 1U);
    EXPECT_EQ(rigid.stages[0].temperature, rigid.referenceTemperature);
    EXPECT_EQ(rigid.stages[0].geometry.camera.fx, 2000.0);
}

// An open head whose clock the test turns. The camera's image moves by one pixel to the right with each kelvin.
class WarmingHead : public ::testing::Test {
protected:
    void open(const std::string& temperatures) {
        heads_.plug({.serialNumber = "A",
                     .scene = "objects: [{plane: {size: [100, 100]}, position: [0, 0, 700]}]\n",
                     .more = "temperatures: {" + temperatures +
                             ", ambient: 25, timeConstant: 100}\n"
                             "drift: {reference: 25, camera: {centre: [1, 0]}}\n"});
        const Virtual::HeadDescription description = Virtual::loadHead(heads_.folder() / "A.yml");
        head_ = std::make_unique<Virtual::VirtualHead>(description, std::make_shared<const Virtual::Plug>(description),
                                                       1, [this] { return now_; });
    }

    // Turns the clock to where the optics, which settle 20 K above the start, are so much warmer than then.
    void warmBy(double kelvin) {
        const std::chrono::duration<double> open(-100.0 * std::log(1.0 - kelvin / 20.0));
        now_ = start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(open);
    }

    // First column of the centre row that sees the plane.
    std::size_t edge() {
        head_->acquire(flat(1.0F), images_);
        const std::vector<float> depth = head_->groundTruth().value().depthMm;
        std::size_t column = 0;
        while (std::isnan(depth[pixel(column, centreRow)]))
            ++column;
        return column;
    }

    const std::chrono::steady_clock::time_point start_{std::chrono::hours(5)};
    std::chrono::steady_clock::time_point now_ = start_;
    VirtualHeads heads_;
    Driver::ImageStack images_;
    std::unique_ptr<Virtual::VirtualHead> head_;
};

TEST_F(WarmingHead, DriftsWithItsLens) {
    open("head: 35, lens: 45");
    EXPECT_EQ(head_->calibration().value().stages.size(), 3U);
    EXPECT_NEAR(head_->temperatures().lens.value(), 25.0, 1e-6);
    const std::size_t cold = edge();
    warmBy(10.0);
    EXPECT_NEAR(head_->temperatures().lens.value(), 25.0, 1e-6); // that of the latest images ...
    EXPECT_NEAR(head_->temperatures().head, 30.0, 1e-6);         // ... and of now
    EXPECT_EQ(edge(), cold + 10);
    EXPECT_NEAR(head_->temperatures().lens.value(), 35.0, 1e-6);
}

TEST_F(WarmingHead, ImagesAndTemperatureAgreeBetweenTracings) {
    open("head: 35, lens: 45");
    warmBy(4.0);
    const std::size_t before = edge();
    // The centre row's first pixel with the plane is the same for a while; what is reported stays with the images.
    warmBy(4.04);
    EXPECT_EQ(edge(), before);
    EXPECT_NEAR(head_->temperatures().lens.value(), 29.0, 1e-6);
    warmBy(4.06);
    (void)edge();
    EXPECT_NEAR(head_->temperatures().lens.value(), 29.06, 1e-6);
}

TEST_F(WarmingHead, DriftsWithItsHeadWhenTheLensHasNoSensor) {
    open("head: 45");
    const std::size_t cold = edge();
    EXPECT_NEAR(head_->temperatures().head, 25.0, 1e-6);
    warmBy(15.0);
    EXPECT_EQ(edge(), cold + 15);
    EXPECT_NEAR(head_->temperatures().head, 40.0, 1e-6);
    EXPECT_FALSE(head_->temperatures().lens.has_value());
}

TEST(VirtualHead, DoesNotTellItsOpticsBeforeRev3) {
    for (const char* revision : {"Rev0", "Rev1", "Rev2", "Rev3"}) {
        VirtualHeads heads({.serialNumber = "A", .productRevision = revision});
        const Virtual::HeadDescription description = Virtual::loadHead(heads.folder() / "A.yml");
        const Virtual::VirtualHead head(description, std::make_shared<const Virtual::Plug>(description), 1);
        const bool tells = std::string(revision) == "Rev3";
        EXPECT_EQ(head.calibration().has_value(), tells) << revision;
        EXPECT_EQ(head.bayerLayout().has_value(), tells) << revision;
        EXPECT_EQ(head.dimensions().sensorWidth, 243U) << revision;
        EXPECT_EQ(head.identity().productRevision, revision);
    }
}

} // namespace
} // namespace Vorta::Testing
