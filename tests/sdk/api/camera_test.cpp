#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <thread>

namespace Vorta {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using Testing::driverPath;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Testing::VirtualHeads;

constexpr double unknown = -300.0;

/// A small head before a plane at 700 mm.
class CameraTest : public ::testing::Test {
protected:
    CameraTest() {
        heads.plug({.serialNumber = "T-1", .more = "temperatures: {head: 38.5, led: 41, dmd: 39.5}\n"});
        application.getImpl().setCameraDriver(driverPath(), Settings{});
        camera = application.cameras().at(0);
    }

    /// Mean contrast of a capture with these settings.
    double contrastWith(const Settings& settings) {
        camera.setSettings(settings);
        const PointCloud cloud = camera.capture().getPointCloud();
        double sum = 0.0;
        for (const Point& point : cloud.points())
            sum += double{point.contrast};
        return sum / static_cast<double>(cloud.size());
    }

    VirtualHeads heads;
    Application application;
    Camera camera;
};

/// The message of the E that `action` throws.
template <class E, class Action>
std::string messageOf(Action&& action) {
    try {
        action();
    } catch (const E& error) {
        return error.what();
    }
    return "no exception";
}

TEST(Camera, DefaultHandleRefersToNone) {
    Camera none;
    EXPECT_TRUE(none.isNull());
    const CameraState state = none.state();
    EXPECT_FALSE(state.opened);
    EXPECT_FALSE(state.connected);
    EXPECT_FALSE(state.live);
    EXPECT_EQ(state.headTemperature, 0.0);
    EXPECT_EQ(state.lensTemperature, unknown);
    EXPECT_EQ(state.ledTemperature, unknown);
    EXPECT_EQ(state.pcbTemperature, unknown);
    EXPECT_EQ(state.dmdTemperature, unknown);
    EXPECT_THROW(none.connect(), LogicException);
    EXPECT_THROW(none.disconnect(), LogicException);
    EXPECT_THROW(static_cast<void>(none.capture()), LogicException);
    EXPECT_THROW(none.startLive(), LogicException);
    EXPECT_THROW(none.stopLive(), LogicException);
    EXPECT_THROW(static_cast<void>(none.settings()), LogicException);
    EXPECT_THROW(none.setSettings(Settings{}), LogicException);
    EXPECT_THROW(none.setFrameCallback({}), LogicException);
    EXPECT_THROW(static_cast<void>(none.modelName()), LogicException);
}

TEST_F(CameraTest, IsKnownBeforeItIsConnected) {
    EXPECT_EQ(camera.modelName(), "VORTA Test");
    EXPECT_EQ(camera.serialNumber().toString(), "T-1");
    EXPECT_EQ(camera.firmwareVersion(), "VORTA 0.9.21");
    EXPECT_FALSE(camera.state().opened);
    EXPECT_FALSE(camera.state().connected);
    EXPECT_EQ(camera.state().ledTemperature, unknown);
    EXPECT_EQ(messageOf<LogicException>([this] { static_cast<void>(camera.capture()); }),
              "Camera 'T-1' is not connected.");
    EXPECT_EQ(messageOf<LogicException>([this] { camera.startLive(); }), "Camera 'T-1' is not connected.");
    camera.stopLive();
    camera.disconnect();
    EXPECT_FALSE(camera.getImpl().groundTruth().has_value());
}

TEST_F(CameraTest, TellsItsStateOnceConnected) {
    camera.connect();
    camera.connect(); // no effect
    const CameraState state = camera.state();
    EXPECT_TRUE(state.opened);
    EXPECT_TRUE(state.connected);
    EXPECT_FALSE(state.live);
    EXPECT_EQ(state.headTemperature, 38.5);
    EXPECT_EQ(state.ledTemperature, 41.0);
    EXPECT_EQ(state.dmdTemperature, 39.5);
    EXPECT_EQ(state.lensTemperature, unknown);
    EXPECT_EQ(state.pcbTemperature, unknown);
    camera.disconnect();
    EXPECT_FALSE(camera.state().opened);
    EXPECT_FALSE(camera.state().connected);
    EXPECT_EQ(camera.state().ledTemperature, unknown);
}

TEST_F(CameraTest, KeepsItsSettingsWithoutAConnection) {
    Settings settings;
    settings.set(Settings::Iris(12));
    camera.setSettings(settings);
    EXPECT_EQ(camera.settings(), settings);
    camera.connect();
    camera.disconnect();
    EXPECT_EQ(camera.settings(), settings);
}

TEST_F(CameraTest, MeasuresThePlane) {
    Settings settings;
    settings.set("Camera/Group", "9"); // anything but the default, to be found in the frame again
    camera.setSettings(settings);
    camera.setComputeDevice(ComputeDevice("Renderer"));
    camera.connect();
    const auto before = std::chrono::system_clock::now();
    const Frame frame = camera.capture();
    const auto after = std::chrono::system_clock::now();

    const PointCloud cloud = frame.getPointCloud();
    ASSERT_EQ(cloud.width(), 243U);
    ASSERT_EQ(cloud.height(), 150U);
    EXPECT_NEAR(double{cloud(75, 121).z}, 700.0, 1.0);
    const auto valid = std::ranges::count_if(cloud.points(), &Point::isValid);
    EXPECT_GT(valid, 243 * 150 * 9 / 10);
    EXPECT_EQ(frame.settings(), settings);
    EXPECT_EQ(frame.deviceCloud().device().name(), "Renderer");
    const FrameInfo& info = frame.getImpl().info();
    EXPECT_EQ(info.head.serialNumber, "T-1");
    EXPECT_EQ(info.head.modelName, "VORTA Test");
    EXPECT_GE(info.time, std::chrono::floor<std::chrono::microseconds>(before));
    EXPECT_LE(info.time, after);
    EXPECT_EQ(info.temperatures.led, 41.0);
    EXPECT_EQ(info.temperatures.lens, std::nullopt);
}

TEST_F(CameraTest, KnowsTheTruthOfAVirtualScene) {
    camera.connect();
    static_cast<void>(camera.capture());
    const auto truth = camera.getImpl().groundTruth();
    ASSERT_TRUE(truth.has_value());
    EXPECT_EQ(truth->width, 243U);
    EXPECT_EQ(truth->height, 150U);
    ASSERT_EQ(truth->depthMm.size(), 243U * 150U);
    EXPECT_NEAR(double{truth->depthMm[75 * 243 + 121]}, 700.0, 1e-3);
    camera.disconnect();
    EXPECT_FALSE(camera.getImpl().groundTruth().has_value());
}

TEST_F(CameraTest, FramesAreIndependentOfLaterOnes) {
    camera.connect();
    const Frame first = camera.capture();
    const PointCloud copy = first.getPointCloud().clone();
    const Frame second = camera.capture();
    EXPECT_FALSE(second.getPointCloud().sharesDataWith(first.getPointCloud()));
    EXPECT_EQ(std::memcmp(copy.data(), first.getPointCloud().data(), copy.size() * sizeof(Point)), 0);
}

TEST_F(CameraTest, ContrastFollowsExposureBrightnessGainIrisAndLeds) {
    camera.connect();
    Settings base;
    base.set("ExposureTime", "4000");
    const double reference = contrastWith(base);
    ASSERT_GT(reference, 5.0);
    const auto ratio = [&](const char* path, const char* text) {
        Settings changed = base;
        changed.set(path, text);
        return contrastWith(changed) / reference;
    };
    EXPECT_NEAR(ratio("ExposureTime", "2000"), 0.5, 0.05);
    EXPECT_NEAR(ratio("Brightness", "0.5"), 0.5, 0.05);
    EXPECT_NEAR(ratio("Camera/Gain", "1.5"), 1.5, 0.1);
    EXPECT_NEAR(ratio("Projector/MaxLEDCurrents", "45 45 45"), 0.5, 0.05);
    EXPECT_LT(ratio("Projector/ToggleRGB", "G"), 0.8);
    EXPECT_LT(ratio("Iris", "15"), 0.6);
    EXPECT_GT(ratio("Lens/MaxIris", "40"), 1.2);
}

TEST_F(CameraTest, ColourFollowsTheBalance) {
    camera.connect();
    const auto meanColour = [this](const char* red, const char* blue) {
        Settings settings;
        settings.set("ExposureTime", "2000");
        settings.set("RedBalance", red);
        settings.set("BlueBalance", blue);
        camera.setSettings(settings);
        const PointCloud cloud = camera.capture().getPointCloud();
        std::array<double, 3> sum{};
        for (const Point& point : cloud.points()) {
            sum[0] += point.red;
            sum[1] += point.green;
            sum[2] += point.blue;
        }
        return sum;
    };
    const auto plain = meanColour("1", "1");
    ASSERT_GT(plain[1], 0.0);
    const auto balanced = meanColour("0.5", "2");
    EXPECT_NEAR(balanced[0] / plain[0], 0.5, 0.05);
    EXPECT_NEAR(balanced[1] / plain[1], 1.0, 0.05);
    EXPECT_NEAR(balanced[2] / plain[2], 2.0, 0.1);
}

TEST_F(CameraTest, SaturatedPointsStayOnlyWithoutTheFilter) {
    camera.connect();
    Settings settings;
    settings.set("ExposureTime", "20000");
    const auto validWith = [&](const char* enabled) {
        settings.set("Filters/Saturated/Enabled", enabled);
        camera.setSettings(settings);
        return std::ranges::count_if(camera.capture().getPointCloud().points(), &Point::isValid);
    };
    const auto filtered = validWith("true");
    EXPECT_LT(filtered, 243 * 150 / 2) << "the exposure is too short for this test";
    EXPECT_GT(validWith("false"), filtered + 243 * 150 / 4);
}

TEST_F(CameraTest, PointsBelowTheContrastThresholdAreInvalid) {
    camera.connect();
    Settings settings;
    camera.setSettings(settings);
    std::vector<float> contrasts;
    const PointCloud before = camera.capture().getPointCloud();
    for (const Point& point : before.points())
        contrasts.push_back(point.contrast);
    const auto middle = contrasts.begin() + std::ssize(contrasts) / 2;
    std::ranges::nth_element(contrasts, middle);
    const auto median = double{*middle};
    ASSERT_GT(median, 5.0);
    settings.set(Settings::Filters::Contrast::Threshold(median));
    camera.setSettings(settings);
    std::size_t valid = 0;
    const PointCloud after = camera.capture().getPointCloud();
    for (const Point& point : after.points()) {
        if (!point.isValid())
            continue;
        EXPECT_GE(point.contrast, static_cast<float>(median));
        ++valid;
    }
    EXPECT_GT(valid, 243U * 150U / 4U);
    EXPECT_LT(valid, 243U * 150U * 3U / 4U);
}

// With a threshold of 0 noise alone parts every point from its neighbours.
TEST_F(CameraTest, OutliersStayOnlyWithoutTheFilter) {
    camera.connect();
    Settings settings;
    const auto validWith = [&](const char* enabled, const char* threshold) {
        settings.set("Filters/Outlier/Enabled", enabled);
        settings.set("Filters/Outlier/Threshold", threshold);
        camera.setSettings(settings);
        return std::ranges::count_if(camera.capture().getPointCloud().points(), &Point::isValid);
    };
    EXPECT_GT(validWith("true", "5"), 243 * 150 * 9 / 10);
    EXPECT_LT(validWith("true", "0"), 243 * 150 / 100);
    EXPECT_GT(validWith("false", "0"), 243 * 150 * 9 / 10);
}

TEST_F(CameraTest, RefusesToCaptureWhenTheLightIsTooHot) {
    camera.connect();
    Settings settings;
    settings.set("Projector/MaxTemperature", "40.5");
    camera.setSettings(settings);
    EXPECT_EQ(
        messageOf<RuntimeException>([this] { static_cast<void>(camera.capture()); }),
        "Camera 'T-1' cannot capture: its LED has 41.0 °C and Projector/MaxTemperature allows 40.5 °C; let it cool "
        "down.");
    settings.set("Projector/MaxTemperature", "41");
    camera.setSettings(settings);
    EXPECT_FALSE(camera.capture().isNull());
}

TEST_F(CameraTest, LogsItsStepsOnRequest) {
    camera.connect();
    std::vector<std::string> messages;
    application.getImpl().setLogCallback([&](const Log::Event& event) { messages.push_back(event.getMessage()); });
    static_cast<void>(camera.capture());
    EXPECT_TRUE(messages.empty());
    Settings settings;
    settings.set("Global/DebugMessages", "true");
    camera.setSettings(settings);
    static_cast<void>(camera.capture());
    application.getImpl().setLogCallback({});
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_THAT(messages.front(), AllOf(HasSubstr("Camera 'T-1': "), HasSubstr(" images in ")));
}

TEST_F(CameraTest, CannotConnectToAHeadThatIsGone) {
    heads.unplug("T-1");
    EXPECT_THAT(messageOf<RuntimeException>([this] { camera.connect(); }),
                HasSubstr("Camera 'T-1' cannot be connected: "));
    EXPECT_FALSE(camera.state().opened);
}

TEST_F(CameraTest, NoticesThatItsHeadHasVanished) {
    camera.connect();
    static_cast<void>(camera.capture());
    heads.unplug("T-1");
    EXPECT_FALSE(camera.state().connected);
    EXPECT_TRUE(camera.state().opened);
    EXPECT_THAT(messageOf<RuntimeException>([this] { static_cast<void>(camera.capture()); }),
                HasSubstr("Camera 'T-1' has vanished: "));
    EXPECT_TRUE(camera.state().opened);
    camera.disconnect();
    EXPECT_FALSE(camera.state().opened);

    heads.plug({.serialNumber = "T-1"});
    camera.connect();
    EXPECT_TRUE(camera.state().connected);
    EXPECT_FALSE(camera.capture().isNull());
}

TEST_F(CameraTest, ConnectsAgainToAHeadThatCameBack) {
    camera.connect();
    heads.unplug("T-1");
    EXPECT_FALSE(camera.state().connected);
    heads.plug({.serialNumber = "T-1"});
    camera.connect();
    EXPECT_TRUE(camera.state().connected);
    EXPECT_FALSE(camera.capture().isNull());
}

TEST_F(CameraTest, VanishesInTheMiddleOfACapture) {
    heads.plug({.serialNumber = "T-2", .width = 972, .height = 600});
    const std::vector<Camera> cameras = application.cameras();
    ASSERT_EQ(cameras.size(), 2U);
    Camera large = cameras.at(1);
    large.connect();
    std::jthread unplug([this] { heads.unplug("T-2"); });
    // However far the first capture comes before the head goes, one of these is the first without it.
    EXPECT_THAT(messageOf<RuntimeException>([&] {
                    for (int i = 0; i < 1000; ++i)
                        static_cast<void>(large.capture());
                }),
                HasSubstr("Camera 'T-2' has vanished: "));
}

TEST_F(CameraTest, DisconnectingEndsACaptureThatWouldTakeForEver) {
    heads.plug({.serialNumber = "T-1", .faults = "delay: 100000"});
    camera.connect();
    // Whether the capture has begun by then or not, it ends.
    auto ended = std::async(std::launch::async,
                            [this] { return messageOf<Exception>([this] { static_cast<void>(camera.capture()); }); });
    camera.disconnect();
    EXPECT_THAT(ended.get(), AnyOf(HasSubstr("The head 'T-1' is being closed."), HasSubstr("is not connected.")));
    EXPECT_FALSE(camera.state().opened);

    heads.plug({.serialNumber = "T-1"});
    camera.connect();
    EXPECT_FALSE(camera.capture().isNull());
}

TEST_F(CameraTest, DisconnectingEndsLiveThatWouldTakeForEver) {
    heads.plug({.serialNumber = "T-1", .faults = "delay: 100000"});
    camera.connect();
    camera.startLive();
    EXPECT_TRUE(camera.state().live);
    std::vector<std::string> errors;
    application.getImpl().setLogCallback([&](const Log::Event& event) {
        if (event.getSeverity() == Log::Severity::Error)
            errors.push_back(event.getMessage());
    });
    camera.disconnect();
    application.getImpl().setLogCallback({});
    EXPECT_THAT(errors, IsEmpty()) << "it ended because it was asked to";
    EXPECT_FALSE(camera.state().live);
}

TEST_F(CameraTest, MayBeUsedFromManyThreads) {
    camera.connect();
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([this] {
            for (int i = 0; i < 3; ++i) {
                Settings settings = camera.settings();
                settings.set(Settings::Iris(20));
                camera.setSettings(settings);
                EXPECT_FALSE(camera.capture().isNull());
                EXPECT_TRUE(camera.state().connected);
            }
        });
    threads.clear();
    EXPECT_EQ(camera.settings().get<Settings::Iris>().value(), 20U);
}

} // namespace
} // namespace Vorta
