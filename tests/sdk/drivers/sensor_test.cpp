#include "bareheads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <stdexcept>

namespace Vorta::Testing {
namespace {

using Driver::BayerLayout;

// A plane of albedo 0.48 on the axis of camera and projector: 1000 * 0.48 at full light, 120 with the iris half open.
const std::string greyPlane = planeScene(700.0, 0.48);

std::uint8_t centreGrey(const Driver::HeadConfiguration& configuration,
                        const Virtual::HeadDescription& head = bareHead(), const std::string& scene = greyPlane) {
    return whiteImage(head, scene, configuration)[centre];
}

TEST(Sensor, IsLinearInExposureIrisBrightnessAndCurrent) {
    Driver::HeadConfiguration c = plainConfiguration();
    EXPECT_EQ(centreGrey(c), 120);
    c.exposureTimeUs = 5'000;
    EXPECT_EQ(centreGrey(c), 60);
    c.exposureTimeUs = 20'000;
    EXPECT_EQ(centreGrey(c), 240);
    c = plainConfiguration();
    c.maxIris = 4; // a quarter open: a sixteenth of the light
    EXPECT_EQ(centreGrey(c), 30);
    c.iris = 0;
    EXPECT_EQ(centreGrey(c), 0);
    c = plainConfiguration();
    c.brightness = 0.25;
    EXPECT_EQ(centreGrey(c), 30);
    c = plainConfiguration();
    c.ledCurrentPercent = {75.0, 75.0, 75.0};
    EXPECT_EQ(centreGrey(c), 90);
    c = plainConfiguration();
    c.gain = 2.0;
    EXPECT_EQ(centreGrey(c), 240);
}

TEST(Sensor, Saturates) {
    Driver::HeadConfiguration c = plainConfiguration();
    c.exposureTimeUs = 200'000;
    EXPECT_EQ(centreGrey(c), 255);
    c = plainConfiguration();
    c.gain = 2.2;
    EXPECT_EQ(centreGrey(c), 255);
}

TEST(Sensor, AddsTheBlackLevel) {
    Driver::HeadConfiguration c = plainConfiguration();
    c.blackLevel = 7.4;
    EXPECT_EQ(centreGrey(c), 127);
    c.brightness = 0.0;
    EXPECT_EQ(centreGrey(c), 7);
    c.blackLevel = 255.0;
    EXPECT_EQ(centreGrey(c), 255);
}

TEST(Sensor, BendsTheCurveByGamma) {
    Driver::HeadConfiguration c = plainConfiguration();
    c.gamma = 2.0; // 255 sqrt(120 / 255) = 174.93
    EXPECT_EQ(centreGrey(c), 175);
    c.blackLevel = 4.0;
    EXPECT_EQ(centreGrey(c), 179);
    c.gamma = 0.5; // 255 (120 / 255)^2 = 56.47
    EXPECT_EQ(centreGrey(c), 60);
}

TEST(Sensor, AmbientLightNeedsNoProjector) {
    Driver::HeadConfiguration c = plainConfiguration();
    c.brightness = 0.0;
    EXPECT_EQ(centreGrey(c, bareHead(), "ambient: {level: 0.5}\n" + greyPlane), 60);
    c.exposureTimeUs = 5'000;
    EXPECT_EQ(centreGrey(c, bareHead(), "ambient: {level: 0.5}\n" + greyPlane), 30);
}

TEST(Sensor, EachPixelSeesItsOwnColour) {
    // Red 200, green 100, blue 50 at a quarter of the light.
    const std::string scene = "objects: [{plane: {}, position: [0, 0, 700], material: {albedo: [0.8, 0.4, 0.2]}}]";
    const auto cell = [&](BayerLayout layout, const Driver::HeadConfiguration& c) {
        Virtual::HeadDescription head = bareHead();
        head.bayerLayout = layout;
        const std::vector<std::uint8_t> image = whiteImage(head, scene, c);
        return std::array<int, 4>{image[pixel(120, 74)], image[pixel(121, 74)], image[pixel(120, 75)],
                                  image[pixel(121, 75)]};
    };
    EXPECT_EQ(cell(BayerLayout::BGGR, plainConfiguration()), (std::array{50, 100, 100, 200}));
    EXPECT_EQ(cell(BayerLayout::RGGB, plainConfiguration()), (std::array{200, 100, 100, 50}));
    EXPECT_EQ(cell(BayerLayout::GRBG, plainConfiguration()), (std::array{100, 200, 50, 100}));
    EXPECT_EQ(cell(BayerLayout::GBRG, plainConfiguration()), (std::array{100, 50, 200, 100}));
    Driver::HeadConfiguration c = plainConfiguration();
    c.ledEnabled = {false, true, true};
    c.ledCurrentPercent = {100.0, 50.0, 100.0};
    EXPECT_EQ(cell(BayerLayout::BGGR, c), (std::array{50, 50, 50, 0}));
}

TEST(Sensor, AWhitePlaneIsWellExposedByDefault) {
    // The default head at an eighth of its size, with the settings that the library starts with.
    Virtual::HeadDescription head;
    head.calibration = Virtual::defaultCalibration(243, 150, 1024, 768);
    head.sensor.noise = false;
    const Driver::HeadConfiguration c{
        .iris = 31, .maxIris = 63, .blackLevel = 4.0, .ledCurrentPercent = {90.0, 90.0, 90.0}};
    const std::vector<std::uint8_t> image = whiteImage(head, planeScene(700.0), c);
    for (const std::size_t p : {pixel(120, 74), pixel(121, 74), pixel(120, 75), pixel(121, 75)}) {
        EXPECT_GE(image[p], 200);
        EXPECT_LE(image[p], 220);
        EXPECT_NEAR(image[p], image[centre], 3); // white is white
    }
}

TEST(Sensor, ShowsThePatternWhereItFalls) {
    // The projector is parallel, at the camera's place: pixel x sees column 511.5 + 0.5 (x - 121).
    Driver::PatternSequence sequence = flat(0.0F);
    for (std::size_t column = 500; column < 520; ++column)
        sequence.patterns[0].levels[column] = 1.0F;
    sequence.patterns.push_back({.axis = Driver::Axis::Rows, .levels = std::vector<float>(768, 0.0F)});
    for (std::size_t row = 380; row < 400; ++row)
        sequence.patterns[1].levels[row] = 1.0F;
    Virtual::Simulation simulation(bareHead(), loadSceneText(greyPlane), 1);
    Driver::ImageStack images;
    simulation.acquire(plainConfiguration(), sequence, images);
    ASSERT_EQ(images.count(), 2U);
    ASSERT_EQ(images.height(), 150U);
    ASSERT_EQ(images.width(), 243U);
    // Columns 499.5 to 519.5 are pixels 97 to 137, rows 379.5 to 399.5 are pixels 67 to 107.
    const auto columns = images.row(0, 75);
    EXPECT_EQ(columns[95], 0);
    EXPECT_NEAR(columns[97], 60, 1);
    EXPECT_NEAR(columns[99], 120, 1);
    EXPECT_NEAR(columns[135], 120, 1);
    EXPECT_NEAR(columns[137], 60, 1);
    EXPECT_EQ(columns[139], 0);
    EXPECT_EQ(images.row(1, 65)[121], 0);
    EXPECT_NEAR(images.row(1, 67)[121], 60, 1);
    EXPECT_NEAR(images.row(1, 69)[121], 120, 1);
    EXPECT_NEAR(images.row(1, 105)[121], 120, 1);
    EXPECT_EQ(images.row(1, 109)[121], 0);
}

TEST(Sensor, AWideIrisBlursThePatternAwayFromTheFocus) {
    Driver::PatternSequence sequence = flat(0.0F);
    for (std::size_t column = 0; column < 1024; ++column)
        sequence.patterns[0].levels[column] = column % 2 == 0 ? 1.0F : 0.0F;
    const auto contrast = [&](double z, std::uint64_t iris) {
        Virtual::Simulation simulation(bareHead(), loadSceneText(planeScene(z, 0.48)), 1);
        Driver::ImageStack images;
        Driver::HeadConfiguration c{.iris = iris, .maxIris = 4};
        c.exposureTimeUs = 160'000 / static_cast<std::int64_t>(iris * iris); // the same light at every opening
        c.brightness = 0.25;
        simulation.acquire(c, sequence, images);
        const auto row = images.row(0, 75).subspan(100, 40);
        return *std::ranges::max_element(row) - *std::ranges::min_element(row);
    };
    // In focus a column's 0.95955 of 120 beside its neighbour's 0.04045, as the level table has them.
    EXPECT_NEAR(contrast(700.0, 4), 110, 1);
    EXPECT_GT(contrast(1000.0, 1), contrast(1000.0, 2) + 2);
    EXPECT_GT(contrast(1000.0, 2), contrast(1000.0, 4) + 10);
}

// An evenly lit image: a camera that sees a patch of 8 mm.
Virtual::HeadDescription noisyHead(std::uint64_t seed) {
    Virtual::HeadDescription head = bareHead();
    head.calibration.camera.fx = head.calibration.camera.fy = 20'000.0;
    head.sensor.noise = true;
    head.sensor.fullWellElectrons = 10'000.0;
    head.sensor.readNoiseElectrons = 20.0;
    head.seed = seed;
    return head;
}

struct Moments {
    double mean = 0.0;
    double variance = 0.0;
};

Moments momentsOf(std::span<const std::uint8_t> image) {
    Moments m;
    for (const std::uint8_t grey : image)
        m.mean += grey;
    m.mean /= static_cast<double>(image.size());
    for (const std::uint8_t grey : image)
        m.variance += (grey - m.mean) * (grey - m.mean);
    m.variance /= static_cast<double>(image.size());
    return m;
}

TEST(Noise, HasTheVarianceOfItsElectrons) {
    // 36450 pixels at 120: shot 120 * 255 / 10000 = 3.06, read (20 * 255 / 10000)^2 = 0.2601, rounding 1 / 12.
    const Moments m = momentsOf(whiteImage(noisyHead(1), greyPlane));
    EXPECT_NEAR(m.mean, 120.0, 0.05);
    EXPECT_NEAR(m.variance, 3.4034, 0.12);
    // In the dark only read noise and rounding, around the black level.
    Driver::HeadConfiguration dark = plainConfiguration();
    dark.brightness = 0.0;
    dark.blackLevel = 10.0;
    const Moments d = momentsOf(whiteImage(noisyHead(1), greyPlane, dark));
    EXPECT_NEAR(d.mean, 10.0, 0.02);
    EXPECT_NEAR(d.variance, 0.3434, 0.02);
    // Gain multiplies signal and noise alike: 4 * (60 * 0.0255 + 0.2601) + 1 / 12.
    Driver::HeadConfiguration gained = plainConfiguration();
    gained.gain = 2.0;
    gained.exposureTimeUs = 5'000;
    const Moments g = momentsOf(whiteImage(noisyHead(1), greyPlane, gained));
    EXPECT_NEAR(g.mean, 120.0, 0.06);
    EXPECT_NEAR(g.variance, 7.2437, 0.25);
}

double correlation(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    const Moments ma = momentsOf(a);
    const Moments mb = momentsOf(b);
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - ma.mean) * (b[i] - mb.mean);
    return sum / static_cast<double>(a.size()) / std::sqrt(ma.variance * mb.variance);
}

TEST(Noise, IsIndependentFromImageToImageAndCaptureToCapture) {
    Virtual::Simulation simulation(noisyHead(1), loadSceneText(greyPlane), 1);
    Driver::PatternSequence twice = flat(1.0F);
    twice.patterns.push_back(twice.patterns[0]);
    Driver::ImageStack first;
    Driver::ImageStack second;
    simulation.acquire(plainConfiguration(), twice, first);
    simulation.acquire(plainConfiguration(), twice, second);
    // Five standard deviations of chance: 5 / sqrt(36450).
    EXPECT_LT(std::abs(correlation(first.image(0), first.image(1))), 0.026);
    EXPECT_LT(std::abs(correlation(first.image(0), second.image(0))), 0.026);
    const auto image = first.image(0);
    EXPECT_LT(std::abs(correlation(image.first(image.size() - 1), image.subspan(1))), 0.026); // neighbours
    EXPECT_LT(std::abs(correlation(image.first(image.size() - 243), image.subspan(243))), 0.026);
}

TEST(Noise, IsTheSameForTheSameSeedOnAnyNumberOfThreads) {
    const Virtual::Scene scene = loadSceneText(greyPlane);
    const auto captures = [&](std::uint64_t seed, unsigned threads) {
        Virtual::Simulation simulation(noisyHead(seed), scene, threads);
        std::vector<std::uint8_t> all;
        Driver::ImageStack images;
        for (int capture = 0; capture < 2; ++capture) {
            simulation.acquire(plainConfiguration(), flat(1.0F), images);
            all.insert(all.end(), images.image(0).begin(), images.image(0).end());
        }
        return all;
    };
    const std::vector<std::uint8_t> reference = captures(5, 1);
    EXPECT_EQ(captures(5, 1), reference);
    EXPECT_EQ(captures(5, 3), reference);
    EXPECT_NE(captures(6, 1), reference);
}

TEST(Simulation, RefusesPatternsThatDoNotFitTheProjector) {
    using Driver::Axis;
    using Driver::Lattice;
    Virtual::Simulation simulation(bareHead(), loadSceneText(greyPlane), 1);
    Driver::ImageStack images;
    const auto refusal = [&](Lattice lattice, Axis axis, std::size_t levels) -> std::string {
        const Driver::PatternSequence sequence{
            .lattice = lattice, .patterns = {{.axis = axis, .levels = std::vector<float>(levels, 1.0F)}}};
        try {
            simulation.acquire(plainConfiguration(), sequence, images);
        } catch (const ArgumentInvalidException& error) {
            return error.what();
        }
        return {};
    };
    EXPECT_EQ(refusal(Lattice::Plain, Axis::Columns, 1023),
              "A pattern needs one level for each of the 1024 projector columns. Invalid parameter: levels = '1023'");
    EXPECT_EQ(refusal(Lattice::Diamond, Axis::Columns, 1024),
              "A pattern needs one level for each of the 2048 projector half columns. Invalid parameter: levels = "
              "'1024'");
    EXPECT_EQ(refusal(Lattice::Diamond, Axis::Rows, 1536),
              "A pattern needs one level for each of the 768 projector rows. Invalid parameter: levels = '1536'");
    EXPECT_EQ(images.count(), 0U);
    EXPECT_EQ(refusal(Lattice::Diamond, Axis::Columns, 2048), "");
    EXPECT_EQ(refusal(Lattice::Diamond, Axis::Rows, 768), "");
}

TEST(Simulation, HalfColumnsFallBetweenColumns) {
    // Pixel x sees column 511.5 + 0.5 (x - 121) = c, which is half column 2 c + 0.5 = x + 902.5. Levels grow by 0.001
    // from half column 900 on; 480 is full light, a quarter of it with the iris half open.
    Driver::PatternSequence sequence{
        .lattice = Driver::Lattice::Diamond,
        .patterns = {{.axis = Driver::Axis::Columns, .levels = std::vector<float>(2048, 0.0F)}}};
    for (std::size_t half = 900; half < 1900; ++half)
        sequence.patterns[0].levels[half] = static_cast<float>(half - 900) * 0.001F;
    Virtual::Simulation simulation(bareHead(), loadSceneText(greyPlane), 1);
    Driver::ImageStack images;
    Driver::HeadConfiguration c = plainConfiguration();
    c.exposureTimeUs = 40'000;
    simulation.acquire(c, sequence, images);
    EXPECT_NEAR(images.row(0, 75)[121], 480.0 * 0.1235, 0.6);
    EXPECT_NEAR(images.row(0, 75)[221], 480.0 * 0.2235 / 1.0201, 0.6); // 1.0201: cos^4 at 100 pixels
}

TEST(Simulation, GivesUpWhenTheCheckpointSaysSo) {
    Virtual::Simulation simulation(bareHead(), loadSceneText(greyPlane), 2);
    Driver::ImageStack images;
    EXPECT_THROW(
        simulation.acquire(plainConfiguration(), flat(1.0F), images, [] { throw std::runtime_error("unplugged"); }),
        std::runtime_error);
    simulation.acquire(plainConfiguration(), flat(1.0F), images);
    EXPECT_EQ(images.image(0)[centre], 120);
}

TEST(Simulation, TakesAnotherSequenceAfterTheFirst) {
    Virtual::Simulation simulation(bareHead(), loadSceneText(greyPlane), 1);
    Driver::ImageStack images;
    simulation.acquire(plainConfiguration(), flat(1.0F), images);
    EXPECT_EQ(images.image(0)[centre], 120);
    simulation.acquire(plainConfiguration(), flat(0.5F), images);
    EXPECT_EQ(images.image(0)[centre], 60);
    simulation.acquire(plainConfiguration(), {}, images);
    EXPECT_EQ(images.count(), 0U);
}

} // namespace
} // namespace Vorta::Testing
