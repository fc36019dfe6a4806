#include "sdk/api/testtools.h"

#include "vorta/api/frame.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Vorta {
namespace {

using ::testing::ElementsAre;
using Testing::readFile;
using Testing::smallFrame;
using Testing::TemporaryFolder;

/// Large and hard to compress, so that saving takes a while.
Frame largeFrame() {
    PointCloud cloud(1000, 1000);
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> value(0.0F, 1000.0F);
    for (Point& point : cloud.points())
        point = {.x = value(random), .y = value(random), .z = value(random), .contrast = value(random)};
    return Frame(std::make_shared<FrameImpl>(cloud, Settings{}, FrameInfo{}, ComputeDevice{}));
}

/// Bytes of the disk that this process keeps occupied by files that were removed.
std::uintmax_t bytesOfRemovedFiles() {
    std::uintmax_t bytes = 0;
    for (const auto& handle : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the listing's own handle
        if (std::filesystem::read_symlink(handle, gone).string().ends_with(" (deleted)"))
            bytes += std::filesystem::file_size(handle, gone);
    }
    return bytes;
}

TEST(InterruptedSave, LeavesTheEarlierFileWholeWhenTheSystemRefusesMore) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("a.vdf"));
    const std::string earlier = readFile(folder.file("a.vdf"));
    const Frame large = largeFrame();
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{.rlim_cur = 1U << 20U, .rlim_max = 1U << 20U};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            _exit(3);
        try {
            large.save(folder.file("a.vdf"));
        } catch (const IOException& error) {
            const std::string reason = error.what();
            if (!reason.starts_with("File '" + folder.file("a.vdf") + "' cannot be written: "))
                _exit(2);
            if (!reason.ends_with(" (File too large).")) // what the limit stands for where no disk is full
                _exit(5);
            if (bytesOfRemovedFiles() > 0)
                _exit(6);
            // The failure stays with the file that it happened to.
            smallFrame().save(folder.file("b.vdf"));
            _exit(Frame(folder.file("b.vdf"), ComputeDevice{}).isNull() ? 4 : 0);
        }
        _exit(1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0)
        << "1: saving did not fail; 2: the reason names no file; 5: it is not the system's; "
           "6: the disk stays full";
    EXPECT_EQ(readFile(folder.file("a.vdf")), earlier);
    EXPECT_THAT(folder.entries(), ElementsAre("a.vdf", "b.vdf"));
}

TEST(InterruptedSave, LeavesTheEarlierFileWholeWhenTheProgramIsKilled) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("a.vdf"));
    const std::string earlier = readFile(folder.file("a.vdf"));
    const Frame large = largeFrame();
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        large.save(folder.file("a.vdf"));
        _exit(0);
    }
    // Once the new file has begun to grow, saving is under way and far from done.
    const auto hasBegun = [&] {
        return std::ranges::any_of(folder.entries(), [&](const std::string& name) {
            std::error_code gone; // renamed or removed since it was listed
            return name != "a.vdf" && std::filesystem::file_size(folder.file(name), gone) > 100'000 && !gone;
        });
    };
    int status = -1;
    while (!hasBegun())
        ASSERT_EQ(waitpid(child, &status, WNOHANG), 0) << "saving ended before it could be interrupted";
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(readFile(folder.file("a.vdf")), earlier);
}

} // namespace
} // namespace Vorta
