#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Vorta::IOException;
using Vorta::Settings;
using Vorta::SettingsInternal;

class SettingsFile : public testing::Test {
protected:
    SettingsFile() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::temp_directory_path() / (std::string{"vorta-settings-"} + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        file_ = (folder_ / "camera.yml").string();
    }
    ~SettingsFile() override { fs::remove_all(folder_); }

    void write(std::string_view content) const {
        std::ofstream out(file_, std::ios::binary);
        out << content;
        ASSERT_TRUE(out.flush());
    }

    [[nodiscard]] std::string content() const {
        std::ifstream in(file_, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    [[nodiscard]] static std::string messageOf(auto&& operation) {
        try {
            operation();
        } catch (const IOException& error) {
            return error.what();
        }
        return "(no exception)";
    }

    /// Why loading `content` is refused, without the part that names the file.
    [[nodiscard]] std::string refusal(std::string_view content) const {
        write(content);
        const std::string message = messageOf([&] { const Settings settings(file_); });
        const std::string start = "Cannot read the settings file '" + file_ + "': ";
        EXPECT_THAT(message, StartsWith(start));
        return message.starts_with(start) ? message.substr(start.size()) : message;
    }

    [[nodiscard]] std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename().string());
        return names;
    }

    fs::path folder_;
    std::string file_;
};

Settings changedSettings() {
    Settings settings;
    settings.set("BlueBalance", "1.125");
    settings.set("RedBalance", "0.1");
    settings.set("ExposureTime", "12345");
    settings.set("Iris", "7");
    settings.set("Brightness", "0.30000000000000004");
    settings.set("Bidirectional", "true");
    settings.set("Filters/Contrast/Threshold", "0.5");
    settings.set("Filters/Outlier/Enabled", "false");
    settings.set("Filters/Outlier/Threshold", "1.5");
    settings.set("Filters/Saturated/Enabled", "false");
    settings.set("Filters/Reflection/Enabled", "true");
    settings.set("Measurement/CalibrationFile", "/data/calib_data.yml");
    settings.set("Measurement/ApplyCalibration", "false");
    settings.set("Measurement/AdvancedPattern", "ErrorCorrecting");
    settings.set("Measurement/InvalidateTop", "3");
    settings.set("Measurement/MinZ", "12.5");
    settings.set("Camera/Driver", "NetCDF");
    settings.set("Camera/MeasurementFile", "scan 1.vdf");
    settings.set("Projector/ToggleRGB", "");
    settings.set("Projector/MaxLEDCurrents", "10 20.5 30");
    settings.set("Calibration/Method", "Polynomial");
    settings.set("Global/ProductRevision", "Rev1");
    settings.set("Lens/MaxIris", "40");
    return settings;
}

TEST_F(SettingsFile, RoundTripsDefaults) {
    Settings().save(file_);
    EXPECT_EQ(Settings(file_), Settings());
}

TEST_F(SettingsFile, RoundTripsChangedSettings) {
    const Settings settings = changedSettings();
    settings.save(file_);
    EXPECT_EQ(Settings(file_), settings);
    EXPECT_NE(Settings(file_), Settings());
}

TEST_F(SettingsFile, IsACommentedTreeOfThePaths) {
    Settings settings;
    settings.set(Settings::Iris(12));
    settings.save(file_);
    const std::string text = content();
    EXPECT_THAT(text, StartsWith("# Camera settings of Vorta Studio. A setting that is left out has its default.\n\n"
                                 "# Gain of the colour image's blue channel; green has gain 1.\n"
                                 "# A number from 0 to 100; default 1.\n"
                                 "BlueBalance: 1\n"));
    EXPECT_THAT(text, HasSubstr("\n# A whole number from 1 to 63 steps; default 31.\nIris: 12\n"));
    EXPECT_THAT(text, HasSubstr("\n# Which points are removed from a measurement.\n"
                                "Filters:\n"
                                "  # Points that saw too little of the pattern.\n"
                                "  Contrast:\n"
                                "    # Pattern modulation amplitude below which a point is removed.\n"
                                "    # A number from 0 to 127.5 grey levels; default 5.\n"
                                "    Threshold: 5\n"));
    EXPECT_THAT(text, HasSubstr("\n# Expert settings.\n"
                                "Internal:\n"
                                "  # How raw images become points.\n"
                                "  Measurement:\n"));
    EXPECT_THAT(text, HasSubstr("\n    # \"RisingEdge\" or \"FallingEdge\"; default \"FallingEdge\".\n"
                                "    TriggerPolarity: FallingEdge\n"));
    EXPECT_THAT(text, HasSubstr("\n    CalibrationFile: \"\"\n"));
    EXPECT_THAT(text, HasSubstr("\n    MaxLEDCurrents: 90 90 90\n"));
    EXPECT_THAT(text, EndsWith("\n    MaxIris: 63\n"));
}

TEST_F(SettingsFile, HoldsEverySetting) {
    Settings().save(file_);
    const std::string text = content();
    std::size_t lines = 0;
    const auto countLines = [&](const auto& setting) {
        EXPECT_THAT(text, HasSubstr(std::string{setting.name} + ": "));
        ++lines;
    };
    Settings().visit(countLines);
    SettingsInternal().visit(countLines);
    EXPECT_EQ(lines, 45U);
    std::istringstream in(text);
    std::size_t values = 0;
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line.find('#') == std::string::npos && line.find(": ") != std::string::npos)
            ++values;
    EXPECT_EQ(values, 45U);
}

TEST_F(SettingsFile, LeftOutSettingsHaveTheirDefaults) {
    write("Filters: {Contrast: {Threshold: 2}}\nInternal:\n  Lens:\n    MaxIris: 20\n");
    Settings expected;
    expected.set("Filters/Contrast/Threshold", "2");
    expected.set("Lens/MaxIris", "20");
    EXPECT_EQ(Settings(file_), expected);
}

TEST_F(SettingsFile, ReadsWhatOtherProgramsWrite) {
    // Other order, quotes, Windows line ends, a byte-order mark and a document start are all still YAML.
    write("\xEF\xBB\xBF---\r\nIris: \"5\"\r\nBrightness: '0.5'\r\nInternal: {Camera: {Driver: 'IDS'}}\r\n"
          "Bidirectional: !!bool true\r\n...\r\n");
    Settings expected;
    expected.set("Iris", "5");
    expected.set("Brightness", "0.5");
    expected.set("Camera/Driver", "IDS");
    expected.set("Bidirectional", "true");
    EXPECT_EQ(Settings(file_), expected);
}

TEST_F(SettingsFile, EmptyTreeIsAllDefaults) {
    write("{}\n");
    EXPECT_EQ(Settings(file_), Settings());
}

TEST_F(SettingsFile, TextsRoundTrip) {
    const std::vector<std::string> texts{
        "",
        " leading and trailing ",
        "\ttab",
        R"(C:\Data\calib "1".yml)",
        "it's",
        "two\nlines\r\n",
        "yes",
        "null",
        "~",
        "true",
        "1e3",
        "0x10",
        "# no comment",
        "key: value",
        "- item",
        "[1, 2]",
        "{a: b}",
        "&anchor",
        "*alias",
        "!tag",
        "%directive",
        "@at",
        "`tick`",
        "|",
        ">",
        "?",
        "---",
        "...",
        "<<",
        "/Messungen/Gerät/キャリブ/📷.yml",
        "\x7F\x01\x1B",
        "\xC2\x85\xE2\x80\xA8\xEF\xBB\xBF", // next line, line separator, byte-order mark
        std::string("a\0b", 3),
        std::string(5'000, 'x'),
        "Ger\xE4t.yml",                                    // Latin-1, no UTF-8
        "\xC0\x80 \xED\xA0\x80 \xF5\x80\x80\x80 \xE2\x82", // overlong, surrogate, beyond Unicode, cut off
    };
    for (const std::string& text : texts) {
        Settings settings;
        settings.getSettingsInternal().set(SettingsInternal::Measurement::CalibrationFile(text));
        settings.getSettingsInternal().set(SettingsInternal::Camera::MeasurementFile(text));
        settings.save(file_);
        EXPECT_EQ(Settings(file_), settings) << text;
    }
}

TEST_F(SettingsFile, NonAsciiFileNames) {
    const std::string path = (folder_ / "Gerät 'ä' \"1\" キ.yml").string();
    changedSettings().save(path);
    EXPECT_EQ(Settings(path), changedSettings());
}

TEST_F(SettingsFile, UnreadableFiles) {
    const std::string missing = (folder_ / "missing.yml").string();
    EXPECT_EQ(messageOf([&] { const Settings settings(missing); }),
              "Cannot read the settings file '" + missing + "': No such file or directory.");
    EXPECT_EQ(messageOf([&] { const Settings settings(folder_.string()); }),
              "Cannot read the settings file '" + folder_.string() + "': it is a folder.");
    EXPECT_EQ(messageOf([] { const Settings settings(""); }),
              "Cannot read the settings file '': No such file or directory.");
}

TEST_F(SettingsFile, FilesThatAreNoTreeOfSettings) {
    EXPECT_EQ(refusal(""), "it holds no settings.");
    EXPECT_EQ(refusal("# only a comment\n"), "it holds no settings.");
    EXPECT_EQ(refusal("~\n"), "it holds no settings.");
    EXPECT_EQ(refusal(",Iris: 3\n"), "it holds no settings.");
    EXPECT_EQ(refusal("just text\n"), "line 1: it does not hold named settings.");
    EXPECT_EQ(refusal("\n- Iris\n"), "line 2: it does not hold named settings.");
    EXPECT_EQ(refusal("Iris: 3\n---\nIris: 4\n"), "it holds more than one YAML document.");
    EXPECT_EQ(refusal("? [1, 2]\n: 3\n"), "line 1: a name is not a text.");
    EXPECT_EQ(refusal(std::string(1'100'000, '#')), "it is too large for a settings file.");
}

TEST_F(SettingsFile, FilesThatAreNoYaml) {
    EXPECT_THAT(refusal("Iris: 3\nBrightness: [1, 2\n"), StartsWith("line 3: it is not YAML: "));
    EXPECT_THAT(refusal("Iris: 3\n  Brightness: 1\n"), StartsWith("line 2: it is not YAML: "));
    EXPECT_THAT(refusal("Internal: {Camera: {MeasurementFile: \"3\n"), StartsWith("line 2: it is not YAML: "));
    EXPECT_THAT(refusal("Internal: {Camera: {MeasurementFile: '3"), StartsWith("line 2: it is not YAML: "));
    EXPECT_THAT(refusal("Iris: *nowhere\n"), StartsWith("line 1: it is not YAML: "));
    EXPECT_THAT(refusal("Iris: " + std::string(100'000, '[')), HasSubstr(": it is not YAML: "));
    EXPECT_THAT(refusal(std::string("\x89HDF\r\n\x1A\n\0\0\0\0\x02\x08\x08", 15)), Not(testing::IsEmpty()));
}

TEST_F(SettingsFile, RefusedSettingsAreNamedWithLineAndPath) {
    EXPECT_EQ(refusal("Iris: 3\n\n# comment\nColour: red\n"), "line 4: 'Colour' is no setting.");
    EXPECT_EQ(refusal("Filters:\n  Contrast:\n    Enabled: true\n"),
              "line 3: 'Filters/Contrast/Enabled' is no setting.");
    EXPECT_EQ(refusal("iris: 3\n"), "line 1: 'iris' is no setting.");
    EXPECT_EQ(refusal("Filters/Contrast/Threshold: 3\n"), "line 1: 'Filters/Contrast/Threshold' is no setting.");
    EXPECT_EQ(refusal("Filters/Contrast: {Threshold: 3}\n"), "line 1: 'Filters/Contrast' is no setting.");
    EXPECT_EQ(refusal("Camera:\n  Driver: IDS\n"), "line 1: 'Camera' is no setting.");
    EXPECT_EQ(refusal("Internal:\n  Iris: 3\n"), "line 2: 'Internal/Iris' is no setting.");
    EXPECT_EQ(refusal("Internal:\n  Internal:\n    Lens: {}\n"), "line 2: 'Internal/Internal' is no setting.");
    EXPECT_EQ(refusal("\"\": 3\n"), "line 1: '' is no setting.");
}

TEST_F(SettingsFile, DuplicatesAreRefused) {
    EXPECT_EQ(refusal("Iris: 3\nBrightness: 1\nIris: 3\n"), "line 3: 'Iris' is given twice.");
    EXPECT_EQ(refusal("Filters: {Outlier: {Enabled: true}}\nFilters: {Saturated: {Enabled: true}}\n"),
              "line 2: 'Filters' is given twice.");
    EXPECT_EQ(refusal("Internal:\n  Lens:\n    MaxIris: 3\n    MaxIris: 4\n"),
              "line 4: 'Internal/Lens/MaxIris' is given twice.");
}

TEST_F(SettingsFile, WrongKindsOfNodesAreRefused) {
    EXPECT_EQ(refusal("Brightness: 1\nIris: [3]\n"),
              "line 2: 'Iris' needs a single value: a whole number from 1 to 63 steps.");
    EXPECT_EQ(refusal("Iris: {a: 3}\n"), "line 1: 'Iris' needs a single value: a whole number from 1 to 63 steps.");
    EXPECT_EQ(refusal("Iris:\n"), "line 1: 'Iris' needs a single value: a whole number from 1 to 63 steps.");
    EXPECT_EQ(refusal("Internal: {Measurement: {CalibrationFile: null}}\n"),
              "line 1: 'Internal/Measurement/CalibrationFile' needs a single value: any text.");
    EXPECT_EQ(refusal("Filters: 3\n"), "line 1: 'Filters' is a group and needs settings below it.");
    EXPECT_EQ(refusal("Internal: [1]\n"), "line 1: 'Internal' is a group and needs settings below it.");
    EXPECT_THAT(refusal("Filters:\n"), EndsWith("'Filters' is a group and needs settings below it."));
}

TEST_F(SettingsFile, WrongValuesAreRefused) {
    EXPECT_EQ(refusal("Brightness: 1\nIris: many\n"),
              "line 2: 'Iris': Expected a whole number from 1 to 63 steps. Invalid parameter: Iris = 'many'.");
    EXPECT_EQ(refusal("Iris: 64\n"), "line 1: 'Iris': The value is out of range; expected a whole number from 1 to 63 "
                                     "steps. Invalid parameter: Iris = '64'.");
    EXPECT_EQ(refusal("Bidirectional: yes\n"),
              "line 1: 'Bidirectional': Expected \"true\" or \"false\". Invalid parameter: Bidirectional = 'yes'.");
    EXPECT_EQ(refusal("Internal:\n  Lens:\n    MaxIris: 0\n"),
              "line 3: 'Internal/Lens/MaxIris': The value is out of range; expected a whole number from 1 to 63 steps. "
              "Invalid parameter: Lens/MaxIris = '0'.");
}

TEST_F(SettingsFile, RefusedLoadChangesNothing) {
    Settings settings = changedSettings();
    write("Iris: 5\nBrightness: 2\n");
    EXPECT_THROW(settings = Settings(file_), IOException);
    EXPECT_EQ(settings, changedSettings());
}

TEST_F(SettingsFile, SavingReplacesTheEarlierFileAndLeavesNothingElse) {
    write("something else");
    changedSettings().save(file_);
    EXPECT_EQ(Settings(file_), changedSettings());
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("camera.yml"));
}

TEST_F(SettingsFile, SavingKeepsPermissions) {
    write("something else");
    const fs::perms ownerOnly = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(file_, ownerOnly);
    Settings().save(file_);
    EXPECT_EQ(fs::status(file_).permissions(), ownerOnly);
}

TEST_F(SettingsFile, SavingFollowsALink) {
    const fs::path link = folder_ / "link.yml";
    write("something else");
    fs::create_symlink(file_, link);
    changedSettings().save(link.string());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(Settings(file_), changedSettings());
}

TEST_F(SettingsFile, FailedSavesNameTheFileAndTheReason) {
    const std::string nowhere = (folder_ / "no folder" / "camera.yml").string();
    EXPECT_EQ(messageOf([&] { Settings().save(nowhere); }),
              "Cannot write the settings file '" + nowhere + "': No such file or directory.");
    EXPECT_EQ(messageOf([&] { Settings().save(folder_.string()); }),
              "Cannot write the settings file '" + folder_.string() + "': it is a folder.");
    EXPECT_THAT(filesInFolder(), testing::IsEmpty());
    EXPECT_EQ(messageOf([] { Settings().save(""); }), "Cannot write the settings file '': No such file or directory.");
}

TEST_F(SettingsFile, WriteProtectedFileStaysWhole) {
    write("something else");
    fs::permissions(file_, fs::perms::owner_read);
    EXPECT_EQ(messageOf([&] { Settings().save(file_); }),
              "Cannot write the settings file '" + file_ + "': it is write-protected.");
    EXPECT_EQ(content(), "something else");
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("camera.yml"));
}

} // namespace
