#include "measurementsettings.h"

#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settingsinternal.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <string>
#include <utility>

namespace Vorta {
namespace {

Settings with(std::initializer_list<std::pair<const char*, const char*>> values) {
    Settings settings;
    for (const auto& [path, text] : values)
        settings.set(path, text);
    return settings;
}

/// What is refused in these settings; empty when nothing is.
std::string refusal(const Settings& settings) {
    try {
        validate(settings);
        return {};
    } catch (const RuntimeException& error) {
        return error.what();
    }
}

TEST(Validate, AcceptsTheDefaultsAndLimitsThatMeet) {
    EXPECT_EQ(refusal(Settings{}), "");
    EXPECT_EQ(refusal(with({{"Iris", "40"}, {"Lens/MaxIris", "40"}})), "");
    EXPECT_EQ(refusal(with({{"Measurement/MinZ", "650"}, {"Measurement/MaxZ", "650"}})), "");
}

TEST(Validate, NamesWhatContradictsWhat) {
    EXPECT_EQ(refusal(with({{"Iris", "41"}, {"Lens/MaxIris", "40"}})),
              "the setting Iris (41) lies above Lens/MaxIris (40); correct one, or switch Global/Validate off.");
    EXPECT_EQ(refusal(with({{"Measurement/MinZ", "650.5"}, {"Measurement/MaxZ", "650.25"}})),
              "the setting Measurement/MinZ (650.5) lies above Measurement/MaxZ (650.25); correct one, or switch "
              "Global/Validate off.");
}

TEST(Validate, RefusesNothingWhenItIsSwitchedOff) {
    EXPECT_EQ(refusal(with({{"Iris", "41"},
                            {"Lens/MaxIris", "40"},
                            {"Measurement/MinZ", "700"},
                            {"Measurement/MaxZ", "600"},
                            {"Global/Validate", "false"}})),
              "");
}

TEST(Validate, IsAskedBeforeEachCapture) {
    const Testing::VirtualHeads heads({.serialNumber = "T-1"});
    Application application;
    application.getImpl().setCameraDriver(Testing::driverPath(), Settings{});
    Camera camera = application.cameras().at(0);
    camera.connect();
    Settings settings = with({{"Iris", "63"}, {"Lens/MaxIris", "31"}});
    camera.setSettings(settings);
    try {
        static_cast<void>(camera.capture());
        ADD_FAILURE() << "captured with settings that contradict each other";
    } catch (const RuntimeException& error) {
        EXPECT_STREQ(error.what(), "Camera 'T-1' cannot capture: the setting Iris (63) lies above Lens/MaxIris (31); "
                                   "correct one, or switch Global/Validate off.");
    }
    settings.set("Global/Validate", "false");
    camera.setSettings(settings);
    EXPECT_EQ(camera.capture().settings().get<Settings::Iris>().value(), 63U);
}

TEST(HeadConfiguration, OpensTheIrisNoFartherThanItGoes) {
    const auto iris = [](const char* wanted, const char* most) {
        const Driver::HeadConfiguration head = headConfiguration(with({{"Iris", wanted}, {"Lens/MaxIris", most}}));
        return std::pair(head.iris, head.maxIris);
    };
    EXPECT_EQ(iris("30", "31"), std::pair(std::uint64_t{30}, std::uint64_t{31}));
    EXPECT_EQ(iris("31", "31"), std::pair(std::uint64_t{31}, std::uint64_t{31}));
    EXPECT_EQ(iris("32", "31"), std::pair(std::uint64_t{31}, std::uint64_t{31}));
    EXPECT_EQ(iris("63", "1"), std::pair(std::uint64_t{1}, std::uint64_t{1}));
}

TEST(HeadConfiguration, TakesEachSetting) {
    const Driver::HeadConfiguration head = headConfiguration(with({{"ExposureTime", "12345"},
                                                                   {"Brightness", "0.75"},
                                                                   {"Camera/Gain", "2.5"},
                                                                   {"Camera/Gamma", "1.5"},
                                                                   {"Camera/BlackLevel", "7"},
                                                                   {"Projector/ToggleRGB", "RB"},
                                                                   {"Projector/MaxLEDCurrents", "10 20 30"}}));
    EXPECT_EQ(head.exposureTimeUs, 12'345);
    EXPECT_EQ(head.brightness, 0.75);
    EXPECT_EQ(head.gain, 2.5);
    EXPECT_EQ(head.gamma, 1.5);
    EXPECT_EQ(head.blackLevel, 7.0);
    EXPECT_EQ(head.ledEnabled, (std::array{true, false, true}));
    EXPECT_EQ(head.ledCurrentPercent, (std::array{10.0, 20.0, 30.0}));
}

TEST(SequenceOptions, FollowThePattern) {
    using Code = Reconstruction::SequenceOptions::Code;
    using Driver::Lattice;
    struct Row {
        const char* pattern;
        Lattice lattice;
        Code code;
        bool inverse;
    };
    for (const Row& row :
         {Row{"Diamond", Lattice::Diamond, Code::Gray, false}, Row{"Plain", Lattice::Plain, Code::Gray, false},
          Row{"Inverse", Lattice::Plain, Code::Gray, true},
          Row{"ErrorCorrecting", Lattice::Plain, Code::ErrorCorrecting, false}}) {
        const Reconstruction::SequenceOptions options =
            sequenceOptions(with({{"Measurement/AdvancedPattern", row.pattern},
                                  {"Measurement/InversePatterns", "false"},
                                  {"Bidirectional", "false"}}));
        EXPECT_EQ(options.lattice, row.lattice) << row.pattern;
        EXPECT_EQ(options.code, row.code) << row.pattern;
        EXPECT_EQ(options.inverse, row.inverse) << row.pattern;
        EXPECT_FALSE(options.rows) << row.pattern;
    }
    const Reconstruction::SequenceOptions options = sequenceOptions(with({{"Measurement/AdvancedPattern", "Diamond"},
                                                                          {"Measurement/InversePatterns", "true"},
                                                                          {"Bidirectional", "true"}}));
    EXPECT_EQ(options.lattice, Lattice::Diamond);
    EXPECT_TRUE(options.inverse);
    EXPECT_TRUE(options.rows);
}

TEST(ReconstructorOptions, TheHeadKnowsItsMosaicBest) {
    const Settings settings = with({{"Camera/BayerLayout", "GRBG"}});
    EXPECT_EQ(reconstructorOptions(settings, std::nullopt).bayerLayout, Driver::BayerLayout::GRBG);
    EXPECT_EQ(reconstructorOptions(settings, Driver::BayerLayout::GBRG).bayerLayout, Driver::BayerLayout::GBRG);
}

/// Another text than the default's that this setting accepts.
std::string otherText(const SettingDescription& description) {
    for (const char* text : {"true", "false", "2", "0.5", "70", "12345", "Plain", "GRBG", "G", "10 20 30", "IDS",
                             "Gray", "Polynomial", "Rev1", "Software", "RisingEdge"}) {
        Settings settings;
        try {
            settings.set(std::string(description.path), text);
        } catch (const ArgumentException&) {
            continue; // of another kind
        }
        if (settings.getString(std::string(description.path)) != description.defaultText)
            return text;
    }
    ADD_FAILURE() << "no text for " << description.path;
    return std::string(description.defaultText);
}

TEST(ExposuresOf, WhatARecordingFixesAreItsPatternsLightAndSensor) {
    const std::set<std::string> fixed{"ExposureTime",
                                      "Iris",
                                      "Brightness",
                                      "Bidirectional",
                                      "Measurement/AdvancedPattern",
                                      "Measurement/InversePatterns",
                                      "Camera/BayerLayout",
                                      "Camera/BlackLevel",
                                      "Camera/Gain",
                                      "Camera/Gamma",
                                      "Projector/ToggleRGB",
                                      "Projector/MaxLEDCurrents",
                                      "Lens/MaxIris"};
    Settings recorded;
    std::set<std::string> paths;
    for (const auto catalogue : {Settings::catalogue(), SettingsInternal::catalogue()})
        for (const SettingDescription& description : catalogue) {
            recorded.set(std::string(description.path), otherText(description));
            paths.emplace(description.path);
        }
    const Settings current;
    const Settings replayed = withExposuresOf(recorded, current);
    for (const std::string& path : paths)
        EXPECT_EQ(replayed.getString(path), (fixed.contains(path) ? recorded : current).getString(path)) << path;
    for (const std::string& path : fixed)
        EXPECT_TRUE(paths.contains(path)) << path;
}

} // namespace
} // namespace Vorta
