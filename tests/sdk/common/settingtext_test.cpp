#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <locale>
#include <string>
#include <string_view>

namespace {

using Vorta::ArgumentInvalidException;
using Vorta::ArgumentOutOfRangeException;
using Vorta::Settings;
using Vorta::SettingsInternal;

struct Text {
    const char* path;
    const char* given;
    const char* kept;
};

class AcceptedTexts : public testing::TestWithParam<Text> {};

TEST_P(AcceptedTexts, AreReadAndWritten) {
    const auto& [path, given, kept] = GetParam();
    Settings settings;
    settings.set(path, given);
    EXPECT_EQ(settings.getString(path), kept);
    Settings again;
    again.set(path, settings.getString(path));
    EXPECT_EQ(again, settings);
}

INSTANTIATE_TEST_SUITE_P(
    SettingText, AcceptedTexts,
    testing::Values(Text{"Iris", "1", "1"}, Text{"Iris", "63", "63"}, Text{"Iris", "007", "7"},
                    Text{"ExposureTime", "100", "100"}, Text{"ExposureTime", "200000", "200000"},
                    Text{"Brightness", "0", "0"}, Text{"Brightness", "1", "1"}, Text{"Brightness", "1.0", "1"},
                    Text{"Brightness", "-0", "0"}, Text{"Brightness", ".5", "0.5"}, Text{"Brightness", "5e-1", "0.5"},
                    Text{"Brightness", "0.1", "0.1"}, Text{"Brightness", "1e-7", "1e-07"},
                    Text{"Brightness", "0.30000000000000004", "0.30000000000000004"},
                    Text{"Filters/Contrast/Threshold", "3.5", "3.5"},
                    Text{"Filters/Contrast/Threshold", "127.5", "127.5"}, Text{"Measurement/MaxZ", "1E5", "100000"},
                    Text{"Projector/VirtualTemperature", "-40", "-40"}, Text{"Bidirectional", "true", "true"},
                    Text{"Filters/Outlier/Enabled", "false", "false"}, Text{"Camera/Driver", "NetCDF", "NetCDF"},
                    Text{"Camera/BayerLayout", "GRBG", "GRBG"}, Text{"Global/ProductRevision", "Rev0", "Rev0"},
                    Text{"Projector/MaxLEDCurrents", "90 90 90", "90 90 90"},
                    Text{"Projector/MaxLEDCurrents", "0 100 12.5", "0 100 12.5"},
                    Text{"Projector/MaxLEDCurrents", "90.0 9e1 -0", "90 90 0"}, Text{"Projector/ToggleRGB", "", ""},
                    Text{"Projector/ToggleRGB", "B", "B"}, Text{"Projector/ToggleRGB", "GR", "GR"},
                    Text{"Projector/ToggleRGB", "RGB", "RGB"}, Text{"Measurement/CalibrationFile", "", ""},
                    Text{"Measurement/CalibrationFile", " a \n\"b\" ", " a \n\"b\" "}));

struct Refused {
    const char* path;
    const char* text;
    const char* message;
};

constexpr const char* iris = "Expected a whole number from 1 to 63 steps. Invalid parameter: Iris = ";
constexpr const char* brightness = "Expected a number from 0 to 1. Invalid parameter: Brightness = ";
constexpr const char* exposure = "Expected a whole number from 100 to 200000 µs. Invalid parameter: ExposureTime = ";
constexpr const char* driver =
    R"(Expected "ToshibaTeli", "IDS", "PtGrey" or "NetCDF". Invalid parameter: Camera/Driver = )";
constexpr const char* flag = R"(Expected "true" or "false". Invalid parameter: Bidirectional = )";
constexpr const char* currents = "Expected three numbers from 0 to 100 percent, separated by single blanks. "
                                 "Invalid parameter: Projector/MaxLEDCurrents = ";
constexpr const char* leds = "Expected a text with each of the letters RGB at most once. "
                             "Invalid parameter: Projector/ToggleRGB = ";

template <class Exception>
void expectRefused(const Refused& refused, const std::string& message) {
    Settings settings;
    settings.set(Settings::Iris(17));
    const Settings before = settings;
    try {
        settings.set(refused.path, refused.text);
        FAIL() << refused.path << " took '" << refused.text << "'";
    } catch (const Exception& error) {
        EXPECT_EQ(error.what(), message + '\'' + refused.text + '\'');
    }
    EXPECT_EQ(settings, before);
}

class UnreadableTexts : public testing::TestWithParam<Refused> {};

TEST_P(UnreadableTexts, AreRefusedInWords) {
    expectRefused<ArgumentInvalidException>(GetParam(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    SettingText, UnreadableTexts,
    testing::Values(
        Refused{"Iris", "", iris}, Refused{"Iris", "abc", iris}, Refused{"Iris", "31x", iris},
        Refused{"Iris", " 31", iris}, Refused{"Iris", "31 ", iris}, Refused{"Iris", "31\n", iris},
        Refused{"Iris", "+31", iris}, Refused{"Iris", "31.0", iris}, Refused{"Iris", "3e1", iris},
        Refused{"Iris", "0x1f", iris}, Refused{"Iris", "-", iris}, Refused{"Iris", "1,000", iris},
        Refused{"ExposureTime", "10ms", exposure}, Refused{"ExposureTime", "1e4", exposure},
        Refused{"ExposureTime", "", exposure}, Refused{"Brightness", "", brightness},
        Refused{"Brightness", "bright", brightness}, Refused{"Brightness", "nan", brightness},
        Refused{"Brightness", "NaN", brightness}, Refused{"Brightness", "inf", brightness},
        Refused{"Brightness", "-infinity", brightness}, Refused{"Brightness", "0,5", brightness},
        Refused{"Brightness", " 0.5", brightness}, Refused{"Brightness", "0.5 ", brightness},
        Refused{"Brightness", "0.5.5", brightness}, Refused{"Brightness", "+0.5", brightness},
        Refused{"Brightness", "0x1p-1", brightness}, Refused{"Brightness", ".", brightness},
        Refused{"Brightness", "--1", brightness}, Refused{"Brightness", "1e", brightness},
        Refused{"Bidirectional", "", flag}, Refused{"Bidirectional", "True", flag}, Refused{"Bidirectional", "1", flag},
        Refused{"Bidirectional", "yes", flag}, Refused{"Bidirectional", "true ", flag},
        Refused{"Camera/Driver", "", driver}, Refused{"Camera/Driver", "netcdf", driver},
        Refused{"Camera/Driver", "NetCDF ", driver}, Refused{"Camera/Driver", "0", driver},
        Refused{"Camera/Driver", "Tosh", driver}, Refused{"Projector/MaxLEDCurrents", "", currents},
        Refused{"Projector/MaxLEDCurrents", "90", currents}, Refused{"Projector/MaxLEDCurrents", "90 90", currents},
        Refused{"Projector/MaxLEDCurrents", "90 90 90 90", currents},
        Refused{"Projector/MaxLEDCurrents", "90  90 90", currents},
        Refused{"Projector/MaxLEDCurrents", " 90 90 90", currents},
        Refused{"Projector/MaxLEDCurrents", "90 90 90 ", currents},
        Refused{"Projector/MaxLEDCurrents", "90\t90\t90", currents},
        Refused{"Projector/MaxLEDCurrents", "90,90,90", currents},
        Refused{"Projector/MaxLEDCurrents", "90 nan 90", currents}, Refused{"Projector/ToggleRGB", "RGBR", leds},
        Refused{"Projector/ToggleRGB", "rgb", leds}, Refused{"Projector/ToggleRGB", "R G", leds}));

class TextsOutOfRange : public testing::TestWithParam<Refused> {};

TEST_P(TextsOutOfRange, AreRefusedInWords) {
    const std::string message = GetParam().message;
    expectRefused<ArgumentOutOfRangeException>(GetParam(), "The value is out of range; e" + message.substr(1));
}

INSTANTIATE_TEST_SUITE_P(
    SettingText, TextsOutOfRange,
    testing::Values(Refused{"Iris", "0", iris}, Refused{"Iris", "64", iris}, Refused{"Iris", "-1", iris},
                    Refused{"Iris", "18446744073709551616", iris}, Refused{"Iris", "18446744073709551647", iris},
                    Refused{"ExposureTime", "99", exposure}, Refused{"ExposureTime", "200001", exposure},
                    Refused{"ExposureTime", "-10000", exposure},
                    Refused{"ExposureTime", "9223372036854775808", exposure},
                    Refused{"Brightness", "1.0000000000000002", brightness},
                    Refused{"Brightness", "-0.001", brightness}, Refused{"Brightness", "1e999", brightness},
                    Refused{"Brightness", "-1e999", brightness},
                    Refused{"Projector/MaxLEDCurrents", "90 100.5 90", currents},
                    Refused{"Projector/MaxLEDCurrents", "90 90 -1", currents},
                    Refused{"Projector/MaxLEDCurrents", "1e999 90 90", currents}));

TEST(SettingText, EnforcesTheLimitsOfEveryNumber) {
    const auto check = [](const auto& setting) {
        using X = std::remove_cvref_t<decltype(setting)>;
        using T = typename X::Value;
        if constexpr (std::is_same_v<T, double>) {
            const auto [minimum, maximum] = X::range();
            EXPECT_EQ(X(minimum).value(), minimum) << X::path;
            EXPECT_EQ(X(maximum).value(), maximum) << X::path;
            EXPECT_THROW(X(std::nextafter(minimum, -1e9)), ArgumentOutOfRangeException) << X::path;
            EXPECT_THROW(X(std::nextafter(maximum, 1e9)), ArgumentOutOfRangeException) << X::path;
            EXPECT_THROW(X{std::numeric_limits<double>::quiet_NaN()}, ArgumentOutOfRangeException) << X::path;
            EXPECT_THROW(X{std::numeric_limits<double>::infinity()}, ArgumentOutOfRangeException) << X::path;
        } else if constexpr (requires { X::range().maximum; }) {
            const auto [minimum, maximum] = X::range();
            EXPECT_EQ(X(minimum).value(), minimum) << X::path;
            EXPECT_EQ(X(maximum).value(), maximum) << X::path;
            EXPECT_THROW(X(maximum + T{1}), ArgumentOutOfRangeException) << X::path;
            // One below 0 is the largest number there is when T has no sign.
            EXPECT_THROW(X(minimum - T{1}), ArgumentOutOfRangeException) << X::path;
        }
    };
    Settings().visit(check);
    SettingsInternal().visit(check);
}

TEST(SettingText, TypedValuesOutOfRangeAreRefusedInWords) {
    try {
        const Settings::Iris tooWide(64);
        FAIL() << tooWide.value();
    } catch (const ArgumentOutOfRangeException& error) {
        EXPECT_STREQ(error.what(), "The value is out of range; expected a whole number from 1 to 63 steps. "
                                   "Invalid parameter: Iris = '64'");
    }
    using Driver = SettingsInternal::Camera::Driver;
    EXPECT_THROW(Driver(static_cast<Driver::Value>(4)), ArgumentOutOfRangeException);
    EXPECT_THROW(SettingsInternal::Camera::ColorMode(static_cast<SettingsInternal::Camera::ColorMode::Value>(3)),
                 ArgumentOutOfRangeException);
    EXPECT_THROW(SettingsInternal::Projector::MaxLEDCurrents({90.0, 90.0, 100.5}), ArgumentOutOfRangeException);
    EXPECT_THROW(SettingsInternal::Projector::ToggleRGB("W"), ArgumentInvalidException);
}

TEST(SettingText, NegativeZeroIsZero) {
    EXPECT_FALSE(std::signbit(Settings::Brightness(-0.0).value()));
    EXPECT_EQ(Settings::Brightness(-0.0).toString(), "0");
}

TEST(SettingText, NumbersDoNotFollowTheLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    Settings settings;
    settings.set("ExposureTime", "123456");
    settings.set("Brightness", "0.25");
    const std::string texts = settings.getString("ExposureTime") + ' ' + settings.getString("Brightness");
    std::locale::global(before);
    EXPECT_EQ(texts, "123456 0.25");
}

struct UnknownPath {
    const char* path;
    const char* reason;
};

class UnknownPaths : public testing::TestWithParam<UnknownPath> {};

TEST_P(UnknownPaths, AreRefusedInWords) {
    const char* const path = GetParam().path;
    const std::string message = std::string{GetParam().reason} + ". Invalid parameter: path = '" + path + "'";
    const Settings defaults;
    Settings settings;
    const auto expect = [&](auto&& operation) {
        try {
            operation();
            FAIL() << path << " was found";
        } catch (const ArgumentInvalidException& error) {
            EXPECT_EQ(error.what(), message);
            EXPECT_EQ(error.parameter(), "path");
        }
    };
    expect([&] { settings.set(path, "true"); });
    expect([&] { static_cast<void>(settings.getString(path)); });
    EXPECT_EQ(settings, defaults);
}

constexpr const char* unknown = "No setting has this path";
constexpr const char* group = "This path is a group of settings and has no value";

INSTANTIATE_TEST_SUITE_P(
    SettingText, UnknownPaths,
    testing::Values(
        UnknownPath{"Filters/Contrast/Enabled", unknown}, UnknownPath{"Filters/Saturated/Threshold", unknown},
        UnknownPath{"Filters/Reflection/Threshold", unknown}, UnknownPath{"", unknown}, UnknownPath{"/", unknown},
        UnknownPath{"/Iris", unknown}, UnknownPath{" Iris", unknown}, UnknownPath{"Threshold", unknown},
        UnknownPath{"Camera/Nonexistent", unknown}, UnknownPath{"Settings/Iris", unknown},
        UnknownPath{"Internal/Camera/Driver", unknown}, UnknownPath{"Camera\\Driver", unknown},
        UnknownPath{"Calibration/", unknown}, UnknownPath{"iris", "No setting has this path, but 'Iris' is one"},
        UnknownPath{"Iris/", "No setting has this path, but 'Iris' is one"},
        UnknownPath{"filters/contrast/threshold", "No setting has this path, but 'Filters/Contrast/Threshold' is one"},
        UnknownPath{"Camera/driver/", "No setting has this path, but 'Camera/Driver' is one"},
        UnknownPath{"Filters", group}, UnknownPath{"Filters/Contrast", group}, UnknownPath{"Camera", group},
        UnknownPath{"Lens", group}));

TEST(SettingText, InternalSettingsAreReachedThroughBothObjects) {
    Settings settings;
    settings.set("Camera/Driver", "IDS");
    using Driver = SettingsInternal::Camera::Driver;
    EXPECT_EQ(settings.getSettingsInternal().get<Driver>().value(), Driver::Value::IDS);
    settings.getSettingsInternal().set("Camera/Driver", "PtGrey");
    EXPECT_EQ(settings.getString("Camera/Driver"), "PtGrey");
    EXPECT_EQ(settings.getSettingsInternal().getString("Camera/Driver"), "PtGrey");
}

TEST(SettingText, InternalObjectKnowsNoPublicPath) {
    SettingsInternal internal;
    EXPECT_THROW(internal.set("Iris", "31"), ArgumentInvalidException);
    EXPECT_THROW(static_cast<void>(internal.getString("Iris")), ArgumentInvalidException);
    EXPECT_THROW(internal.set("Calibration/", "Polynomial"), ArgumentInvalidException);
    EXPECT_EQ(internal, SettingsInternal());
}

TEST(SettingText, EmbeddedZeroIsPartOfTheText) {
    Settings settings;
    EXPECT_THROW(settings.set("Iris", std::string_view("31\0", 3)), ArgumentInvalidException);
    EXPECT_THROW(settings.set(std::string_view("Iris\0", 5), "31"), ArgumentInvalidException);
    settings.set("Measurement/CalibrationFile", std::string_view("a\0b", 3));
    EXPECT_EQ(settings.getString("Measurement/CalibrationFile"), std::string("a\0b", 3));
}

TEST(SettingText, EveryValueReadsBackFromItsText) {
    const auto check = [](const auto& setting) {
        using X = std::remove_cvref_t<decltype(setting)>;
        EXPECT_EQ(X::fromString(setting.toString()), setting) << X::path;
        if constexpr (requires { X::range().maximum; }) {
            EXPECT_EQ(X::fromString(X(X::range().minimum).toString()).value(), X::range().minimum) << X::path;
            EXPECT_EQ(X::fromString(X(X::range().maximum).toString()).value(), X::range().maximum) << X::path;
        }
    };
    Settings().visit(check);
    SettingsInternal().visit(check);
}

} // namespace
