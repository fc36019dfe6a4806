#include "vorta/common/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Vorta::LEDCurrents;
using Vorta::Settings;
using Vorta::SettingsInternal;

struct Row {
    std::string path;
    std::string name;
    std::string type;
    std::string defaultText;

    bool operator==(const Row&) const = default;
    friend void PrintTo(const Row& row, std::ostream* out) {
        *out << row.path << " | " << row.name << " | " << row.type << " | " << row.defaultText;
    }
};

// The whole catalogue by hand: path, leaf name, kind of value, default.
const std::vector<Row> publicRows{
    {"BlueBalance", "BlueBalance", "number", "1"},
    {"RedBalance", "RedBalance", "number", "1"},
    {"ExposureTime", "ExposureTime", "duration", "10000"},
    {"Iris", "Iris", "whole number", "31"},
    {"Brightness", "Brightness", "number", "1"},
    {"Bidirectional", "Bidirectional", "switch", "false"},
    {"Filters/Contrast/Threshold", "Threshold", "number", "5"},
    {"Filters/Outlier/Enabled", "Enabled", "switch", "true"},
    {"Filters/Outlier/Threshold", "Threshold", "number", "5"},
    {"Filters/Saturated/Enabled", "Enabled", "switch", "true"},
    {"Filters/Reflection/Enabled", "Enabled", "switch", "false"},
};

const std::vector<Row> internalRows{
    {"Measurement/CalibrationFile", "CalibrationFile", "text", ""},
    {"Measurement/ApplyCalibration", "ApplyCalibration", "switch", "true"},
    {"Measurement/AdvancedPattern", "AdvancedPattern", "choice", "Diamond"},
    {"Measurement/InversePatterns", "InversePatterns", "switch", "false"},
    {"Measurement/InvalidateBottom", "InvalidateBottom", "whole number", "0"},
    {"Measurement/InvalidateLeft", "InvalidateLeft", "whole number", "0"},
    {"Measurement/InvalidateRight", "InvalidateRight", "whole number", "0"},
    {"Measurement/InvalidateTop", "InvalidateTop", "whole number", "0"},
    {"Measurement/MinZ", "MinZ", "number", "0"},
    {"Measurement/MaxZ", "MaxZ", "number", "2000"},
    {"Camera/Driver", "Driver", "choice", "ToshibaTeli"},
    {"Camera/Group", "Group", "whole number", "0"},
    {"Camera/MeasurementFile", "MeasurementFile", "text", ""},
    {"Camera/BayerLayout", "BayerLayout", "choice", "BGGR"},
    {"Camera/ColorMode", "ColorMode", "choice", "Raw"},
    {"Camera/BlackLevel", "BlackLevel", "number", "4"},
    {"Camera/Gain", "Gain", "number", "1"},
    {"Camera/Gamma", "Gamma", "number", "1"},
    {"Camera/FrameRate", "FrameRate", "number", "20"},
    {"Camera/PixelClock", "PixelClock", "whole number", "120"},
    {"Camera/TriggerType", "TriggerType", "choice", "Hardware"},
    {"Camera/TriggerPolarity", "TriggerPolarity", "choice", "FallingEdge"},
    {"Camera/SaveImages", "SaveImages", "switch", "false"},
    {"Camera/SaveChildMeasurements", "SaveChildMeasurements", "switch", "false"},
    {"Projector/ToggleRGB", "ToggleRGB", "text", "RGB"},
    {"Projector/VirtualTemperature", "VirtualTemperature", "number", "25"},
    {"Projector/EnableTemperatureRegulator", "EnableTemperatureRegulator", "switch", "true"},
    {"Projector/MaxLEDCurrents", "MaxLEDCurrents", "three numbers", "90 90 90"},
    {"Projector/MaxTemperature", "MaxTemperature", "number", "80"},
    {"Calibration/Method", "Method", "choice", "ProjectorCameraMultiTemp"},
    {"Global/ProductRevision", "ProductRevision", "choice", "Rev3"},
    {"Global/Validate", "Validate", "switch", "true"},
    {"Global/DebugMessages", "DebugMessages", "switch", "false"},
    {"Lens/MaxIris", "MaxIris", "whole number", "63"},
};

template <class T>
std::string kindOf(const T&) {
    if (std::is_enum_v<T>)
        return "choice";
    if (std::same_as<T, bool>)
        return "switch";
    if (std::same_as<T, double>)
        return "number";
    if (std::same_as<T, std::uint64_t>)
        return "whole number";
    if (std::same_as<T, std::chrono::microseconds>)
        return "duration";
    return std::same_as<T, LEDCurrents> ? "three numbers" : "text";
}

template <class Owner>
std::vector<Row> visited(const Owner& owner) {
    std::vector<Row> rows;
    owner.visit([&](const auto& setting) {
        rows.push_back(
            {std::string{setting.path}, std::string{setting.name}, kindOf(setting.value()), setting.toString()});
    });
    return rows;
}

template <class Owner>
std::vector<Row> described() {
    std::vector<Row> rows;
    for (const auto& each : Owner::catalogue())
        rows.push_back(
            {std::string{each.path}, std::string{each.name}, std::string{each.type}, std::string{each.defaultText}});
    return rows;
}

TEST(SettingsCatalogue, VisitsPublicSettingsInDeclarationOrder) {
    EXPECT_THAT(visited(Settings()), ElementsAreArray(publicRows));
}

TEST(SettingsCatalogue, VisitsAll34InternalSettingsInDeclarationOrder) {
    ASSERT_EQ(internalRows.size(), 34U);
    EXPECT_THAT(visited(SettingsInternal()), ElementsAreArray(internalRows));
    EXPECT_THAT(visited(Settings().getSettingsInternal()), ElementsAreArray(internalRows));
}

TEST(SettingsCatalogue, DescriptionsAgreeWithTheSettings) {
    EXPECT_THAT(described<Settings>(), ElementsAreArray(publicRows));
    EXPECT_THAT(described<SettingsInternal>(), ElementsAreArray(internalRows));
}

TEST(SettingsCatalogue, EveryDescriptionHasItsWords) {
    const auto check = [](const Vorta::SettingDescription& each) {
        EXPECT_TRUE(each.meaning.ends_with('.')) << each.path;
        EXPECT_EQ(each.meaning.find('\n'), std::string_view::npos) << each.path;
        EXPECT_FALSE(each.accepted.empty()) << each.path;
        EXPECT_EQ(each.choices.empty(), each.type != "choice") << each.path;
        EXPECT_NE(each.accepted.find(each.unit), std::string_view::npos) << each.path;
    };
    for (const auto& each : Settings::catalogue())
        check(each);
    for (const auto& each : SettingsInternal::catalogue())
        check(each);
}

TEST(SettingsCatalogue, DescriptionOfOneSetting) {
    const Vorta::SettingDescription& threshold = Settings::catalogue()[6];
    EXPECT_EQ(threshold.path, "Filters/Contrast/Threshold");
    EXPECT_EQ(threshold.unit, "grey levels");
    EXPECT_EQ(threshold.accepted, "a number from 0 to 127.5 grey levels");
    EXPECT_EQ(threshold.meaning, "Pattern modulation amplitude below which a point is removed.");
    const Vorta::SettingDescription& polarity = SettingsInternal::catalogue()[21];
    EXPECT_EQ(polarity.path, "Camera/TriggerPolarity");
    EXPECT_THAT(polarity.choices, ElementsAre("RisingEdge", "FallingEdge"));
}

TEST(SettingsCatalogue, Groups) {
    std::vector<std::string_view> paths;
    std::vector<std::string_view> names;
    for (const auto& group : Settings::groups()) {
        paths.push_back(group.path);
        names.push_back(group.name);
    }
    EXPECT_THAT(paths, ElementsAre("Filters", "Filters/Contrast", "Filters/Outlier", "Filters/Saturated",
                                   "Filters/Reflection"));
    EXPECT_THAT(names, ElementsAre("Filters", "Contrast", "Outlier", "Saturated", "Reflection"));
    paths.clear();
    for (const auto& group : SettingsInternal::groups())
        paths.push_back(group.path);
    EXPECT_THAT(paths, ElementsAre("Measurement", "Camera", "Projector", "Calibration", "Global", "Lens"));
}

TEST(SettingsCatalogue, EverySettingStandsInADeclaredGroup) {
    const auto check = [](const auto& catalogue, const auto& groups) {
        for (const auto& each : catalogue) {
            const std::size_t slash = each.path.rfind('/');
            if (slash == std::string_view::npos)
                continue;
            const auto group = each.path.substr(0, slash);
            EXPECT_TRUE(std::ranges::count(groups, group, &Vorta::SettingGroupDescription::path) == 1) << each.path;
        }
    };
    check(Settings::catalogue(), Settings::groups());
    check(SettingsInternal::catalogue(), SettingsInternal::groups());
}

TEST(SettingsCatalogue, NamesAndPathsAreConstants) {
    static_assert(Settings::rootName() == "Settings");
    static_assert(Settings::Iris::path == "Iris" && Settings::Iris::name == "Iris");
    static_assert(Settings::Filters::path == "Filters" && Settings::Filters::name == "Filters");
    static_assert(Settings::Filters::Contrast::path == "Filters/Contrast");
    static_assert(Settings::Filters::Contrast::name == "Contrast");
    static_assert(Settings::Filters::Contrast::Threshold::path == "Filters/Contrast/Threshold");
    static_assert(Settings::Filters::Contrast::Threshold::name == "Threshold");
    static_assert(SettingsInternal::Lens::name == "Lens");
    static_assert(SettingsInternal::Lens::MaxIris::name == "MaxIris");
}

TEST(SettingsCatalogue, ValueTypes) {
    static_assert(std::same_as<Settings::BlueBalance::Value, double>);
    static_assert(std::same_as<Settings::RedBalance::Value, double>);
    static_assert(std::same_as<Settings::ExposureTime::Value, std::chrono::microseconds>);
    static_assert(std::same_as<Settings::Iris::Value, std::uint64_t>);
    static_assert(std::same_as<Settings::Brightness::Value, double>);
    static_assert(std::same_as<Settings::Bidirectional::Value, bool>);
    static_assert(std::same_as<SettingsInternal::Measurement::CalibrationFile::Value, std::string>);
    static_assert(std::same_as<SettingsInternal::Projector::MaxLEDCurrents::Value, LEDCurrents>);
}

template <class X>
concept HasRange = requires {
    X::range();
};

TEST(SettingsCatalogue, RangesOfNumbers) {
    using namespace std::chrono_literals;
    EXPECT_EQ(Settings::ExposureTime::range().minimum, 100us);
    EXPECT_EQ(Settings::ExposureTime::range().maximum, 200ms);
    EXPECT_EQ(Settings::Iris::range().minimum, 1U);
    EXPECT_EQ(Settings::Iris::range().maximum, 63U);
    EXPECT_EQ(Settings::Brightness::range().minimum, 0.0);
    EXPECT_EQ(Settings::Brightness::range().maximum, 1.0);
    EXPECT_TRUE(Settings::Iris::range().contains(1) && Settings::Iris::range().contains(63));
    EXPECT_FALSE(Settings::Iris::range().contains(0) || Settings::Iris::range().contains(64));
    static_assert(!HasRange<Settings::Bidirectional>);
    static_assert(!HasRange<SettingsInternal::Measurement::CalibrationFile>);
}

TEST(SettingsCatalogue, AllowedProductRevisionsAscend) {
    using Revision = SettingsInternal::Global::ProductRevision;
    EXPECT_THAT(Revision::range(), ElementsAre(Revision::Value::Rev0, Revision::Value::Rev1, Revision::Value::Rev2,
                                               Revision::Value::Rev3));
    EXPECT_EQ(static_cast<int>(Revision::Value::Rev0), 0);
    EXPECT_EQ(static_cast<int>(Revision::Value::Rev3), 3);
    EXPECT_LT(Revision::Value::Rev2, Revision::Value::Rev3);
}

TEST(SettingsCatalogue, EnumeratedTextsKeepTheirOrder) {
    using Internal = SettingsInternal;
    EXPECT_THAT(Internal::Measurement::AdvancedPattern::texts(),
                ElementsAre("Diamond", "Plain", "ErrorCorrecting", "Inverse"));
    EXPECT_THAT(Internal::Camera::Driver::texts(), ElementsAre("ToshibaTeli", "IDS", "PtGrey", "NetCDF"));
    EXPECT_THAT(Internal::Camera::BayerLayout::texts(), ElementsAre("GRBG", "RGGB", "BGGR", "GBRG"));
    EXPECT_THAT(Internal::Camera::ColorMode::texts(), ElementsAre("Gray", "Color", "Raw"));
    EXPECT_THAT(Internal::Camera::TriggerType::texts(), ElementsAre("Hardware", "Software", "NoTrigger"));
    EXPECT_THAT(Internal::Camera::TriggerPolarity::texts(), ElementsAre("RisingEdge", "FallingEdge"));
    EXPECT_THAT(Internal::Calibration::Method::texts(),
                ElementsAre("ProjectorCamera", "Polynomial", "ProjectorCameraMultiTemp"));
    EXPECT_THAT(Internal::Global::ProductRevision::texts(), ElementsAre("Rev0", "Rev1", "Rev2", "Rev3"));
}

TEST(SettingsCatalogue, EnumeratorsAndTextsAgree) {
    using Internal = SettingsInternal;
    using Pattern = Internal::Measurement::AdvancedPattern;
    EXPECT_EQ(Pattern(Pattern::Value::Diamond).toString(), "Diamond");
    EXPECT_EQ(Pattern(Pattern::Value::Plain).toString(), "Plain");
    EXPECT_EQ(Pattern(Pattern::Value::ErrorCorrecting).toString(), "ErrorCorrecting");
    EXPECT_EQ(Pattern(Pattern::Value::Inverse).toString(), "Inverse");
    using Driver = Internal::Camera::Driver;
    EXPECT_EQ(Driver(Driver::Value::ToshibaTeli).toString(), "ToshibaTeli");
    EXPECT_EQ(Driver(Driver::Value::IDS).toString(), "IDS");
    EXPECT_EQ(Driver(Driver::Value::PtGrey).toString(), "PtGrey");
    EXPECT_EQ(Driver(Driver::Value::NetCDF).toString(), "NetCDF");
    using Bayer = Internal::Camera::BayerLayout;
    EXPECT_EQ(Bayer(Bayer::Value::GRBG).toString(), "GRBG");
    EXPECT_EQ(Bayer(Bayer::Value::RGGB).toString(), "RGGB");
    EXPECT_EQ(Bayer(Bayer::Value::BGGR).toString(), "BGGR");
    EXPECT_EQ(Bayer(Bayer::Value::GBRG).toString(), "GBRG");
    using Color = Internal::Camera::ColorMode;
    EXPECT_EQ(Color(Color::Value::Gray).toString(), "Gray");
    EXPECT_EQ(Color(Color::Value::Color).toString(), "Color");
    EXPECT_EQ(Color(Color::Value::Raw).toString(), "Raw");
    using Trigger = Internal::Camera::TriggerType;
    EXPECT_EQ(Trigger(Trigger::Value::Hardware).toString(), "Hardware");
    EXPECT_EQ(Trigger(Trigger::Value::Software).toString(), "Software");
    EXPECT_EQ(Trigger(Trigger::Value::NoTrigger).toString(), "NoTrigger");
    using Polarity = Internal::Camera::TriggerPolarity;
    EXPECT_EQ(Polarity(Polarity::Value::RisingEdge).toString(), "RisingEdge");
    EXPECT_EQ(Polarity(Polarity::Value::FallingEdge).toString(), "FallingEdge");
    using Method = Internal::Calibration::Method;
    EXPECT_EQ(Method(Method::Value::ProjectorCamera).toString(), "ProjectorCamera");
    EXPECT_EQ(Method(Method::Value::Polynomial).toString(), "Polynomial");
    EXPECT_EQ(Method(Method::Value::ProjectorCameraMultiTemp).toString(), "ProjectorCameraMultiTemp");
    using Revision = Internal::Global::ProductRevision;
    EXPECT_EQ(Revision(Revision::Value::Rev0).toString(), "Rev0");
    EXPECT_EQ(Revision(Revision::Value::Rev1).toString(), "Rev1");
    EXPECT_EQ(Revision(Revision::Value::Rev2).toString(), "Rev2");
    EXPECT_EQ(Revision(Revision::Value::Rev3).toString(), "Rev3");
}

TEST(Settings, IsAValue) {
    static_assert(std::is_copy_constructible_v<Settings> && std::is_copy_assignable_v<Settings>);
    static_assert(std::is_nothrow_move_constructible_v<Settings> && std::is_nothrow_move_assignable_v<Settings>);
    Settings settings;
    settings.set(Settings::Iris(5));
    Settings copy = settings;
    EXPECT_EQ(copy, settings);
    copy.getSettingsInternal().set(SettingsInternal::Lens::MaxIris(40));
    EXPECT_NE(copy, settings);
    EXPECT_EQ(settings.getSettingsInternal(), SettingsInternal());
    settings = std::move(copy);
    EXPECT_EQ(settings.get<Settings::Iris>().value(), 5U);
    EXPECT_EQ(settings.getSettingsInternal().get<SettingsInternal::Lens::MaxIris>().value(), 40U);
}

TEST(Settings, TypedSetAndGet) {
    using namespace std::chrono_literals;
    Settings settings;
    settings.set(Settings::BlueBalance(1.25));
    settings.set(Settings::RedBalance(0.75));
    settings.set(Settings::ExposureTime(2500us));
    settings.set(Settings::Iris(63));
    settings.set(Settings::Brightness(0.5));
    settings.set(Settings::Bidirectional(true));
    settings.set(Settings::Filters::Contrast::Threshold(2.5));
    settings.set(Settings::Filters::Outlier::Enabled(false));
    settings.set(Settings::Filters::Outlier::Threshold(0.25));
    settings.set(Settings::Filters::Saturated::Enabled(false));
    settings.set(Settings::Filters::Reflection::Enabled(true));
    EXPECT_EQ(settings.get<Settings::BlueBalance>().value(), 1.25);
    EXPECT_EQ(settings.get<Settings::RedBalance>().value(), 0.75);
    EXPECT_EQ(settings.get<Settings::ExposureTime>().value(), 2500us);
    EXPECT_EQ(settings.get<Settings::Iris>().value(), 63U);
    EXPECT_EQ(settings.get<Settings::Brightness>().value(), 0.5);
    EXPECT_TRUE(settings.get<Settings::Bidirectional>().value());
    EXPECT_EQ(settings.get<Settings::Filters::Contrast::Threshold>().value(), 2.5);
    EXPECT_FALSE(settings.get<Settings::Filters::Outlier::Enabled>().value());
    EXPECT_EQ(settings.get<Settings::Filters::Outlier::Threshold>().value(), 0.25);
    EXPECT_FALSE(settings.get<Settings::Filters::Saturated::Enabled>().value());
    EXPECT_TRUE(settings.get<Settings::Filters::Reflection::Enabled>().value());
    EXPECT_EQ(settings.getSettingsInternal(), SettingsInternal());
}

TEST(Settings, CalibrationFileFromText) {
    SettingsInternal internal;
    internal.set(SettingsInternal::Measurement::CalibrationFile("C:/data/calib_data.yml"));
    EXPECT_EQ(internal.getString("Measurement/CalibrationFile"), "C:/data/calib_data.yml");
    EXPECT_EQ(internal.get<SettingsInternal::Measurement::CalibrationFile>().value(), "C:/data/calib_data.yml");
}

} // namespace
