// What becomes of earlier files when the disk is full or the program is ended from without.

#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Vorta::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The real program while it runs; it is killed when this object goes.
class RunningVorta {
public:
    /// Its output goes where the tests' goes, its messages into that file.
    RunningVorta(std::vector<std::string> arguments, const std::string& messages) {
        arguments.insert(arguments.begin(), VORTA_BIN_DIR "/vorta");
        std::vector<char*> words;
        for (std::string& argument : arguments)
            words.push_back(argument.data());
        words.push_back(nullptr);
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, messages.c_str(), O_WRONLY | O_CREAT, 0600);
        const int error = posix_spawn(&process_, words.front(), &actions, nullptr, words.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0)
            throw std::system_error(error, std::generic_category());
    }
    RunningVorta(const RunningVorta&) = delete;
    RunningVorta& operator=(const RunningVorta&) = delete;
    ~RunningVorta() {
        if (isRunning())
            endedBy(SIGKILL);
    }

    [[nodiscard]] bool isRunning() {
        if (process_ != 0 && waitpid(process_, &status_, WNOHANG) == process_)
            process_ = 0;
        return process_ != 0;
    }

    /// Sends the signal and waits; the signal that ended the program, or 0.
    int endedBy(int signal) {
        ::kill(process_, signal);
        waitpid(process_, &status_, 0);
        process_ = 0;
        return WIFSIGNALED(status_) ? WTERMSIG(status_) : 0;
    }

private:
    pid_t process_ = 0;
    int status_ = 0;
};

/// Runs the program where no file may be longer than so many blocks of 512 bytes, as on a disk that is full.
Result vortaOnAFullDisk(int blocks, const std::string& arguments) {
    return runProgram("sh", {"-c", "trap '' XFSZ; ulimit -f " + std::to_string(blocks) +
                                       "; exec '" VORTA_BIN_DIR "/vorta' " + arguments});
}

TEST(Faults, OnAFullDiskTheEarlierDataFileStaysWhole) {
    const TemporaryFolder folder;
    const VirtualHeads heads({.serialNumber = "T-1"});
    smallFrame().save(folder.file("a.vdf"));
    const std::string earlier = readFile(folder.file("a.vdf"));
    const Result result = vortaOnAFullDisk(40, "capture '" + folder.file("a.vdf") + "'");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_THAT(result.err, StartsWith("vorta: File '" + folder.file("a.vdf") + "' cannot be written: "));
    EXPECT_EQ(readFile(folder.file("a.vdf")), earlier);
    EXPECT_THAT(folder.entries(), ElementsAre("a.vdf"));
}

TEST(Faults, OnAFullDiskTheCalibrationIsReported) {
    const TemporaryFolder folder;
    const VirtualHeads heads({.serialNumber = "T-1"});
    ASSERT_TRUE(vortaSucceeds({"calibration", folder.file("a.yml")}));
    const std::string earlier = readFile(folder.file("a.yml"));
    const Result result = vortaOnAFullDisk(1, "calibration '" + folder.file("a.yml") + "'");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr(folder.file("a.yml")));
    EXPECT_EQ(readFile(folder.file("a.yml")), earlier);
    EXPECT_THAT(folder.entries(), ElementsAre("a.yml"));
}

TEST(Faults, InAFolderThatTakesNoFilesEachFormatIsReported) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("good.vdf"));
    for (const char* ending : {".vdf", ".xyz", ".ply", ".pcd", ".png"}) {
        const std::string output = std::string("/proc/a") + ending;
        const Result result = vorta({"convert", folder.file("good.vdf"), output});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
        EXPECT_THAT(result.err, StartsWith("vorta: File '" + output + "' cannot be written: "));
    }
}

class EndedFromWithout : public ::testing::TestWithParam<int> {};

TEST_P(EndedFromWithout, WhileItSavesTheEarlierFileStaysWhole) {
    const TemporaryFolder folder;
    const TemporaryFolder messages;
    // With its images a file takes long enough to be caught half-written.
    const VirtualHeads heads({.serialNumber = "T-1", .width = 972, .height = 600});
    smallFrame().save(folder.file("a.vdf"));
    const std::string earlier = readFile(folder.file("a.vdf"));
    RunningVorta program({"capture", "--save-images", folder.file("a.vdf")}, messages.file("log"));
    const auto hasBegun = [&] {
        return std::ranges::any_of(folder.entries(), [&](const std::string& name) {
            std::error_code gone; // renamed since it was listed
            return name != "a.vdf" && std::filesystem::file_size(folder.file(name), gone) > 100'000 && !gone;
        });
    };
    while (!hasBegun())
        ASSERT_TRUE(program.isRunning()) << "saving ended before it could be interrupted";
    EXPECT_EQ(program.endedBy(GetParam()), GetParam());
    EXPECT_TRUE(readFile(folder.file("a.vdf")) == earlier);
    EXPECT_TRUE(vortaSucceeds({"info", folder.file("a.vdf")}));
}

TEST_P(EndedFromWithout, WhileLiveItEndsAtOnce) {
    const TemporaryFolder folder;
    const VirtualHeads heads({.serialNumber = "T-1"});
    RunningVorta program({"live", "--frames", "1000000000", "--set", "Global/DebugMessages=true"}, folder.file("log"));
    while (!std::filesystem::exists(folder.file("log")) ||
           readFile(folder.file("log")).find(" images in ") == std::string::npos)
        ASSERT_TRUE(program.isRunning());
    EXPECT_EQ(program.endedBy(GetParam()), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Signals, EndedFromWithout, ::testing::Values(SIGTERM, SIGKILL),
                         [](const auto& test) { return std::string(test.param == SIGTERM ? "SIGTERM" : "SIGKILL"); });

} // namespace
} // namespace Vorta::Testing
