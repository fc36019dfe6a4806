#include "vorta/virtual/headfirmware.h"

#include "bareheads.h"
#include "vorta/common/requiredfirmware.h"
#include "vorta/virtual/headfolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Vorta::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Virtual::loadHead;
using Virtual::writeFirmware;

constexpr const char* text = "# mine\r\nserialNumber: A\r\nscene: s.yml\r\nfirmware: VORTA 0.9.20 # old\r\nseed: 3\r\n";

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> names(const VirtualHeads& heads) {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(heads.folder()))
        result.push_back(entry.path().filename().string());
    std::ranges::sort(result);
    return result;
}

TEST(HeadFirmware, IsReplacedInTheHeadsFileAndNothingElse) {
    VirtualHeads heads;
    const auto file = heads.plugText("a", text);
    std::vector<unsigned> told;
    writeFirmware(loadHead(file), "VORTA 1.2.3", [&](unsigned percent) { told.push_back(percent); });
    EXPECT_EQ(contents(file),
              "# mine\r\nserialNumber: A\r\nscene: s.yml\r\nfirmware: VORTA 1.2.3 # old\r\nseed: 3\r\n");
    EXPECT_EQ(loadHead(file).identity.firmwareVersion, "VORTA 1.2.3");
    EXPECT_THAT(told, ElementsAre(10, 20, 30, 40, 50, 60, 70, 80, 90, 100));
    EXPECT_THAT(names(heads), ElementsAre("a.yml")) << "nothing is left over";
}

TEST(HeadFirmware, TheFileKeepsItsPermissionsAndALinkStaysALink) {
    using std::filesystem::perms;
    VirtualHeads heads;
    const auto elsewhere = heads.folder() / "elsewhere";
    std::filesystem::rename(heads.plugText("a", text), elsewhere);
    constexpr perms own = perms::owner_read | perms::owner_write;
    std::filesystem::permissions(elsewhere, own);
    const auto link = heads.folder() / "a.yml";
    std::filesystem::create_symlink(elsewhere, link);
    writeFirmware(loadHead(link), "VORTA 1.2.3", [](unsigned) {});
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::filesystem::status(link).permissions(), own);
    EXPECT_EQ(loadHead(elsewhere).identity.firmwareVersion, "VORTA 1.2.3");
}

TEST(HeadFirmware, IsNotWrittenIntoAProtectedFile) {
    VirtualHeads heads;
    const auto file = heads.plugText("a", text);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const std::string words = wordsOf([&] { writeFirmware(loadHead(file), "VORTA 1.2.3", [](unsigned) {}); });
    EXPECT_EQ(words, "File '" + file.string() + "' cannot be written: it is write-protected; allow writing to it.");
    EXPECT_EQ(contents(file), text);
}

TEST(HeadFirmware, IsNotWrittenOverAFileThatSomebodyElseChangesMeanwhile) {
    VirtualHeads heads;
    const auto file = heads.plugText("a", text);
    const std::string theirs = "serialNumber: A\nscene: s.yml\nfirmware: VORTA 0.9.20\nfaults: {capture: hot}\n";
    const std::string words = wordsOf([&] {
        writeFirmware(loadHead(file), "VORTA 1.2.3", [&](unsigned percent) {
            if (percent == 50)
                heads.plugText("a", theirs);
        });
    });
    EXPECT_EQ(words,
              "File '" + file.string() + "' cannot be written: it was changed meanwhile; update the head again.");
    EXPECT_EQ(contents(file), theirs);
    EXPECT_THAT(names(heads), ElementsAre("a.yml"));
}

TEST(HeadFirmware, DoesNotComeBackWithAHeadThatIsUnpluggedMeanwhile) {
    VirtualHeads heads;
    const auto file = heads.plugText("a", text);
    const std::string words = wordsOf([&] {
        writeFirmware(loadHead(file), "VORTA 1.2.3", [&](unsigned percent) {
            if (percent == 100)
                heads.unplug("a");
        });
    });
    EXPECT_EQ(words, "File '" + file.string() + "' cannot be read.");
    EXPECT_TRUE(names(heads).empty());
}

TEST(HeadFirmware, IsRefusedWhereTheFileHasNoPlaceForIt) {
    VirtualHeads heads;
    const std::string several = "serialNumber: A\nscene: s.yml\nfirmware: VORTA\n  0.9.20\n";
    const auto file = heads.plugText("a", several);
    ASSERT_EQ(loadHead(file).identity.firmwareVersion, "VORTA 0.9.20");
    EXPECT_THAT(wordsOf([&] { writeFirmware(loadHead(file), "VORTA 1.2.3", [](unsigned) {}); }),
                HasSubstr("a.yml', line 3: 'firmware' cannot be replaced where it stands: write it as one line "
                          "'firmware: VORTA 0.9.20'."));
    EXPECT_EQ(contents(file), several);
}

TEST(HeadFirmware, StaysAsItWasWithTheFaultThatKeepsIt) {
    VirtualHeads heads;
    const std::string worn = std::string(text) + "faults: {update: worn out}\r\n";
    const auto file = heads.plugText("a", worn);
    std::vector<unsigned> told;
    writeFirmware(loadHead(file), "VORTA 1.2.3", [&](unsigned percent) { told.push_back(percent); });
    EXPECT_EQ(told.back(), 100U) << "the head takes everything";
    EXPECT_EQ(contents(file), worn);
    EXPECT_THAT(names(heads), ElementsAre("a.yml"));
}

TEST(HeadFirmware, IsTheRequiredOneUnlessTheFileSaysOtherwise) {
    EXPECT_EQ(loadHeadText("serialNumber: A\nscene: s.yml\n").identity.firmwareVersion, requiredFirmware);
}

TEST(HeadFolder, ListsTheHeadFilesByName) {
    VirtualHeads heads;
    heads.plugText("b", "");
    heads.plugText("a", "");
    std::filesystem::create_directory(heads.folder() / "scenes");
    std::filesystem::rename(heads.plugText("c", ""), heads.folder() / "c.txt");
    const Virtual::HeadFolder folder = Virtual::lookIntoHeadFolder();
    EXPECT_EQ(folder.path, heads.folder());
    EXPECT_EQ(folder.failure, "");
    EXPECT_THAT(folder.files, ElementsAre(heads.folder() / "a.yml", heads.folder() / "b.yml"));
}

TEST(HeadFolder, SaysWhyItCannotBeRead) {
    const VirtualHeads heads;
    std::filesystem::remove(heads.folder());
    const Virtual::HeadFolder folder = Virtual::lookIntoHeadFolder();
    EXPECT_THAT(folder.failure, HasSubstr("The folder '" + heads.folder().string() +
                                          "' of virtual heads (VORTA_VIRTUAL_HEADS) cannot be read: "));
    EXPECT_TRUE(folder.files.empty());
}

TEST(HeadFolder, IsNoneWithoutTheVariable) {
    const VirtualHeads heads;
    boost::this_process::environment().reset("VORTA_VIRTUAL_HEADS");
    const Virtual::HeadFolder folder = Virtual::lookIntoHeadFolder();
    EXPECT_TRUE(folder.path.empty());
    EXPECT_TRUE(folder.files.empty());
    EXPECT_EQ(folder.failure, "");
}

TEST(HeadFolder, FirstFileOfASerialNumberCountsForEachDriver) {
    const auto head = [](const char* file, const char* serialNumber, const char* driver) {
        Virtual::HeadDescription description;
        description.file = file;
        description.identity.serialNumber = serialNumber;
        description.driver = driver;
        return description;
    };
    std::vector heads{head("1", "B", "IDS"), head("2", "A", "IDS"), head("3", "B", "PtGrey"), head("4", "B", "IDS")};
    Virtual::keepHeadsThatCount(heads);
    std::vector<std::string> files;
    files.reserve(heads.size());
    for (const Virtual::HeadDescription& kept : heads)
        files.push_back(kept.file.string());
    EXPECT_THAT(files, ElementsAre("2", "1", "3"));
}

} // namespace
} // namespace Vorta::Testing
