#include "support/virtualhead.h"
#include "tools/firmwareupdater/runupdater.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Vorta::Testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A head's file with everything that an update must leave as it is.
std::string headText(const std::string& firmware, const std::string& serialNumber = "T-1") {
    return "# The head in the corner, firmware: unknown\r\nscene: s.yml\r\n\r\nfirmware:  " + firmware +
           "   # see the label\r\nmodel: VORTA Test\r\nserialNumber: " + serialNumber +
           "\r\ntemperatures: {head: 40} # warm";
}

/// What the program tells about a head that it updates.
std::string toldOf(const std::string& label, const std::string& present) {
    std::string text = label + ": updating '" + present + "' to 'VORTA 0.9.21'\n" + label + ": erasing 0 %\n";
    for (const char* percent : {"18", "26", "34", "42", "50", "58", "66", "74", "82", "90"})
        text += label + ": writing " + percent + " %\n";
    return text + label + ": verifying 90 %\n" + label + ": verifying 100 %\n";
}

std::vector<std::string> filesOf(const VirtualHeads& heads) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(heads.folder()))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

TEST(FirmwareUpdater, BringsAHeadToTheRequiredFirmwareAndChangesNothingElse) {
    VirtualHeads heads;
    const std::string file = heads.plugText("a", headText("VORTA 0.9.20")).string();
    const Result result = update();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, toldOf("VORTA Test: T-1", "VORTA 0.9.20"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.21"));
    EXPECT_THAT(filesOf(heads), ElementsAre("a.yml"));
}

TEST(FirmwareUpdater, HasNothingToDoTheSecondTime) {
    VirtualHeads heads;
    const std::string file = heads.plugText("a", headText("VORTA 0.9.20")).string();
    ASSERT_EQ(update().status, 0);
    const auto time = std::filesystem::last_write_time(file);
    const Result result = update();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "VORTA Test: T-1: VORTA 0.9.21 is up to date\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(std::filesystem::last_write_time(file), time);
}

TEST(FirmwareUpdater, LeavesAHeadAloneWhoseFileNamesNoFirmware) {
    VirtualHeads heads;
    const std::string text = "serialNumber: T-1\nscene: s.yml\n";
    const std::string file = heads.plugText("a", text).string();
    const Result result = update();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "VORTA Virtual: T-1: VORTA 0.9.21 is up to date\n");
    EXPECT_EQ(readFile(file), text);
}

class OtherFirmware : public ::testing::TestWithParam<const char*> {};

TEST_P(OtherFirmware, IsReplacedWhetherOlderNewerOrSpeltOtherwise) {
    VirtualHeads heads;
    const std::string firmware = GetParam();
    const std::string file = heads.plugText("a", headText(firmware)).string();
    EXPECT_EQ(update().status, 0);
    const bool quoted = firmware.front() == '\'';
    EXPECT_EQ(readFile(file), headText(quoted ? "'VORTA 0.9.21'" : "VORTA 0.9.21"));
}

INSTANTIATE_TEST_SUITE_P(Firmware, OtherFirmware,
                         ::testing::Values("VORTA 0.9.20", "VORTA 0.9.22", "VORTA 0.9.210", "vorta 0.9.21",
                                           "'VORTA 0.9.21 '", "1"));

TEST(FirmwareUpdater, UpdatesEveryHeadOfEveryDriverInTheOrderOfSerialNumbers) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "T-3", .driver = "PtGrey", .firmware = "VORTA 0.8.1"});
    heads.plug({.serialNumber = "T-2", .driver = "IDS"});
    heads.plug({.serialNumber = "T-1", .model = "VORTA Old", .firmware = "VORTA 0.9.20"});
    const Result result = update();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, toldOf("VORTA Old: T-1", "VORTA 0.9.20") + "VORTA Test: T-2: VORTA 0.9.21 is up to date\n" +
                              toldOf("VORTA Test: T-3", "VORTA 0.8.1"));
    EXPECT_EQ(update().out, "VORTA Old: T-1: VORTA 0.9.21 is up to date\n"
                            "VORTA Test: T-2: VORTA 0.9.21 is up to date\n"
                            "VORTA Test: T-3: VORTA 0.9.21 is up to date\n");
}

TEST(FirmwareUpdater, LeavesAFileAloneThatAnotherHidesAndWhatIsNoHeadFile) {
    VirtualHeads heads;
    heads.plugText("a", headText("VORTA 0.9.20"));
    const std::string hidden = heads.plugText("b", headText("VORTA 0.9.19")).string();
    const std::string backup = (heads.folder() / "a.yml~").string();
    writeFile(backup, headText("VORTA 0.9.18"));
    EXPECT_EQ(update().out, toldOf("VORTA Test: T-1", "VORTA 0.9.20"));
    EXPECT_EQ(readFile(hidden), headText("VORTA 0.9.19"));
    EXPECT_EQ(readFile(backup), headText("VORTA 0.9.18"));
}

TEST(FirmwareUpdater, UpdatesOnlyTheHeadThatIsAskedFor) {
    VirtualHeads heads;
    const std::string other = heads.plugText("a", headText("VORTA 0.9.20", "T-1")).string();
    const std::string wanted = heads.plugText("b", headText("VORTA 0.9.19", "T-2")).string();
    heads.plugText("c", "serialNumber: [\n");
    const Result result = update({"--serial", "T-2"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, toldOf("VORTA Test: T-2", "VORTA 0.9.19"));
    EXPECT_EQ(result.err, "") << "another head's broken file is of no interest";
    EXPECT_EQ(readFile(other), headText("VORTA 0.9.20", "T-1"));
    EXPECT_EQ(readFile(wanted), headText("VORTA 0.9.21", "T-2"));
}

TEST(FirmwareUpdater, SaysThatNoHeadIsPluggedIn) {
    VirtualHeads heads;
    const Result empty = update();
    EXPECT_EQ(empty.status, 3);
    EXPECT_EQ(empty.out, "");
    EXPECT_EQ(empty.err, "VortaFirmwareUpdater: no head was found in the folder '" + heads.folder().string() +
                             "'; plug it in by putting its file (*.yml) there.\n");

    heads.plugText("a", headText("VORTA 0.9.20"));
    const Result another = update({"--serial", "T-9"});
    EXPECT_EQ(another.status, 3);
    EXPECT_EQ(another.err, "VortaFirmwareUpdater: no head with the serial number 'T-9' was found in the folder '" +
                               heads.folder().string() + "'; plug it in by putting its file (*.yml) there.\n");
    EXPECT_EQ(readFile((heads.folder() / "a.yml").string()), headText("VORTA 0.9.20"));
}

TEST(FirmwareUpdater, SaysThatThereIsNoFolderOfHeads) {
    const VirtualHeads heads;
    std::filesystem::remove(heads.folder());
    const Result missing = update();
    EXPECT_EQ(missing.status, 3);
    EXPECT_THAT(missing.err,
                AllOf(StartsWith("VortaFirmwareUpdater: no head was found. The folder '" + heads.folder().string() +
                                 "' of virtual heads (VORTA_VIRTUAL_HEADS) cannot be read: "),
                      HasSubstr(". Name one that can be read.\n")));
    boost::this_process::environment().reset("VORTA_VIRTUAL_HEADS");
    const Result unnamed = update();
    EXPECT_EQ(unnamed.status, 3);
    EXPECT_EQ(unnamed.err, "VortaFirmwareUpdater: no head was found. VORTA_VIRTUAL_HEADS names no folder of virtual "
                           "heads; set it to one.\n");
}

TEST(FirmwareUpdater, SaysWhichFileCannotBeUsedAndUpdatesTheOthers) {
    VirtualHeads heads;
    const std::string broken = heads.plugText("a", "serialNumber: T-0\n").string();
    const std::string file = heads.plugText("b", headText("VORTA 0.9.20")).string();
    const Result result = update();
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.out, toldOf("VORTA Test: T-1", "VORTA 0.9.20"));
    EXPECT_EQ(result.err, "VortaFirmwareUpdater: a head's file cannot be used; correct or remove it: '" + broken +
                              "', line 1: a head needs a 'scene' file.\n");
    EXPECT_EQ(readFile(broken), "serialNumber: T-0\n");
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.21"));
}

TEST(FirmwareUpdater, HeadThatIsAskedForMayBeTheOneThatCannotBeRead) {
    VirtualHeads heads;
    heads.plugText("a", "serialNumber: [T-1\n");
    const Result result = update({"--serial", "T-1"});
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.err, AllOf(HasSubstr("a head's file cannot be used"), HasSubstr("serial number 'T-1'")));
}

TEST(FirmwareUpdater, SaysThatAFileCannotBeWrittenAndUpdatesTheOthers) {
    VirtualHeads heads;
    const auto locked = heads.plugText("a", headText("VORTA 0.9.20", "T-1"));
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read);
    const std::string file = heads.plugText("b", headText("VORTA 0.9.20", "T-2")).string();
    const Result result = update();
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.out, "VORTA Test: T-1: updating 'VORTA 0.9.20' to 'VORTA 0.9.21'\nVORTA Test: T-1: erasing 0 %\n" +
                              toldOf("VORTA Test: T-2", "VORTA 0.9.20"));
    EXPECT_EQ(result.err, "VortaFirmwareUpdater: VORTA Test: T-1: the firmware was not written: File '" +
                              locked.string() + "' cannot be written: it is write-protected; allow writing to it.\n");
    EXPECT_EQ(readFile(locked.string()), headText("VORTA 0.9.20", "T-1"));
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.21", "T-2"));
    EXPECT_THAT(filesOf(heads), ElementsAre("a.yml", "b.yml"));
}

TEST(FirmwareUpdater, SaysThatNoFileCanBeMadeBesideTheHeads) {
    VirtualHeads heads;
    // No room is left for the letters that make the temporary name of it.
    const std::string name(245, 'a');
    const std::string file = heads.plugText(name, headText("VORTA 0.9.20")).string();
    const Result result = update();
    EXPECT_EQ(result.status, 5);
    EXPECT_THAT(result.err,
                AllOf(StartsWith("VortaFirmwareUpdater: VORTA Test: T-1: the firmware was not written: File '"),
                      HasSubstr(file + "' cannot be written: ")));
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.20"));
}

TEST(FirmwareUpdater, SaysThatAFirmwareStandsWhereItCannotBeReplaced) {
    VirtualHeads heads;
    const std::string text = "serialNumber: T-1\nscene: s.yml\nfirmware: >-\n  VORTA 0.9.20\n";
    const std::string file = heads.plugText("a", text).string();
    const Result result = update();
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.err, "VortaFirmwareUpdater: VORTA Virtual: T-1: the firmware was not written: '" + file +
                              "', line 3: 'firmware' cannot be replaced where it stands: write it as one line "
                              "'firmware: VORTA 0.9.20'.\n");
    EXPECT_EQ(readFile(file), text);
}

TEST(FirmwareUpdater, SaysThatAHeadDoesNotRunWhatWasWritten) {
    VirtualHeads heads;
    const std::string text = headText("VORTA 0.9.20") + "\nfaults: {update: flash memory worn out}\n";
    const std::string file = heads.plugText("a", text).string();
    const Result result = update();
    EXPECT_EQ(result.status, 6);
    const std::string told = toldOf("VORTA Test: T-1", "VORTA 0.9.20");
    EXPECT_EQ(result.out, told.substr(0, told.rfind("VORTA Test: T-1: verifying 100 %\n")));
    EXPECT_EQ(result.err, "VortaFirmwareUpdater: VORTA Test: T-1: the head still runs 'VORTA 0.9.20' after 'VORTA "
                          "0.9.21' was written into '" +
                              file + "' (flash memory worn out); unplug the head, plug it in and update it again.\n");
    EXPECT_EQ(readFile(file), text);
}

TEST(FirmwareUpdater, WorstFailureDecidesHowItEnds) {
    VirtualHeads heads;
    heads.plugText("a", headText("VORTA 0.9.20", "T-1") + "\nfaults: {update: worn out}\n");
    const auto locked = heads.plugText("b", headText("VORTA 0.9.20", "T-2"));
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read);
    heads.plugText("c", "serialNumber: [\n");
    const Result result = update();
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 3) << result.err;
}

TEST(FirmwareUpdater, RefusesACommandLineThatCannotBeMeant) {
    VirtualHeads heads;
    const std::string file = heads.plugText("a", headText("VORTA 0.9.20")).string();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--force"}, {"T-1"}, {"--serial"}, {"--serial", "T-1", "T-2"}}) {
        const Result result = update(arguments);
        EXPECT_EQ(result.status, 2) << arguments.back();
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, AllOf(StartsWith("VortaFirmwareUpdater: "), HasSubstr(arguments.back()),
                                      HasSubstr("(\"VortaFirmwareUpdater --help\" lists what there is)\n")));
    }
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.20"));
}

TEST(FirmwareUpdater, NoticesThatItsOutputCannotBeWritten) {
    VirtualHeads heads;
    const std::string file = heads.plugText("a", headText("VORTA 0.9.20")).string();
    const Result result = runProgram("sh", {"-c", "exec " VORTA_BIN_DIR "/VortaFirmwareUpdater.exe > /dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "VortaFirmwareUpdater: the output cannot be written.\n");
    EXPECT_EQ(readFile(file), headText("VORTA 0.9.21"));
}

TEST(FirmwareUpdater, TellsWhatItIs) {
    const VirtualHeads heads;
    const Result help = update({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("VORTA 0.9.21"), HasSubstr("--serial SERIAL"), HasSubstr("Ends with 0")));
    EXPECT_EQ(help.err, "");
    const Result version = update({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, StartsWith("VortaFirmwareUpdater 1."));
}

} // namespace
} // namespace Vorta::Testing
