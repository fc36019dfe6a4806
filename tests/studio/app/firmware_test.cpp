#include "studio/app/studioprocess.h"
#include "support/virtualhead.h"

#include <gtest/gtest.h>

namespace {

using Vorta::Testing::StudioProcess;

TEST(Firmware, OfTheHeadIsUpdatedAndTheNextStartConnects) {
    const Vorta::Testing::VirtualHeads heads({.serialNumber = "T-0001", .firmware = "VORTA 0.9.20"});
    const QTemporaryDir home;
    {
        StudioProcess studio(home.path());
        EXPECT_EQ(
            studio.waitForLine("box"),
            "box Firmware out of date|The firmware needs to be updated. If you do not want to update the firmware "
            "you need to close the application.|OK,Close");
        studio.command("accept");
        EXPECT_EQ(studio.waitForLine("box"), "box Restart required|To reload cameras using the new firmware this "
                                             "application needs to be restarted|OK");
        studio.command("accept");
        EXPECT_EQ(studio.exitCode(), 0);
        EXPECT_EQ(studio.count("connected"), 0);
        // The updater's own words go where the studio's go.
        EXPECT_EQ(studio.count("VORTA Test: T-0001: verifying 100 %"), 1);
    }
    StudioProcess studio(home.path());
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    EXPECT_EQ(studio.count("box"), 0);
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST(Firmware, OfAHeadThatKeepsItsOldOneIsReportedAndTheProgramGoesOn) {
    const Vorta::Testing::VirtualHeads heads(
        {.serialNumber = "T-0001", .firmware = "VORTA 0.9.20", .faults = "update: worn out"});
    const QTemporaryDir home;
    StudioProcess studio(home.path());
    EXPECT_TRUE(studio.waitForLine("box").startsWith("box Firmware out of date|"));
    studio.command("accept");
    EXPECT_EQ(studio.waitForLine("box"), "box An exception occurred|Firmware updater exited with exit code: 6|OK");
    studio.command("accept");
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
}

} // namespace
