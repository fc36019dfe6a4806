#include "bareheads.h"

#include "vorta/virtual/virtualdriver.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace Vorta::Testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

// What the action throws; empty when it succeeds.
template <class Action>
std::string outcomeOf(Action action) {
    try {
        action();
    } catch (const RuntimeException& error) {
        return error.what();
    }
    return {};
}

class FaultyHead : public ::testing::Test {
protected:
    void plug(const std::string& faults) { heads_.plug({.serialNumber = "A", .faults = faults}); }
    void open() { head_ = driver_.open("A"); }
    std::string capture(std::size_t images = 1) {
        Driver::PatternSequence sequence = flat(1.0F);
        sequence.patterns.resize(images, sequence.patterns[0]);
        return outcomeOf([&] { head_->acquire(sequence, images_); });
    }

    VirtualHeads heads_;
    Virtual::VirtualDriver driver_{"ToshibaTeli", 1};
    std::unique_ptr<Driver::Head> head_;
    Driver::ImageStack images_;
};

TEST_F(FaultyHead, CannotBeConnected) {
    plug("connect: the cable is loose");
    EXPECT_EQ(driver_.heads().size(), 1U);
    EXPECT_EQ(outcomeOf([&] { open(); }), "the cable is loose");
    plug("");
    EXPECT_EQ(outcomeOf([&] { open(); }), "");
}

TEST_F(FaultyHead, CannotCaptureFromTheFirstTimeOn) {
    plug("capture: the lamp is dead");
    open();
    EXPECT_EQ(capture(), "the lamp is dead");
    EXPECT_EQ(capture(), "the lamp is dead");
    EXPECT_TRUE(head_->isPresent());
    EXPECT_FALSE(head_->groundTruth().has_value());
}

TEST_F(FaultyHead, CannotCaptureAfterSoManyTimes) {
    plug("capture: the lamp is dead, afterCaptures: 2");
    open();
    EXPECT_EQ(capture(), "");
    EXPECT_EQ(capture(), "");
    EXPECT_EQ(capture(), "the lamp is dead");
    EXPECT_EQ(capture(), "the lamp is dead");
}

TEST_F(FaultyHead, ComesAndGoesWhileTheHeadIsOpen) {
    plug("");
    open();
    EXPECT_EQ(capture(), "");
    plug("capture: the lamp is dead");
    EXPECT_EQ(capture(), "the lamp is dead");
    plug("");
    EXPECT_EQ(capture(), "");
}

TEST_F(FaultyHead, IgnoresAFileThatBreaksWhileItIsOpen) {
    plug("capture: the lamp is dead");
    open();
    heads_.plugText("A", "serialNumber: A\n");
    Warnings warnings;
    EXPECT_EQ(capture(), "the lamp is dead");
    EXPECT_TRUE(head_->isPresent());
    const std::vector<std::string> texts = warnings.take();
    ASSERT_EQ(texts.size(), 1U); // not with every look
    EXPECT_THAT(texts[0], HasSubstr("The open head 'A' goes on as it was: "));
    EXPECT_THAT(texts[0], EndsWith("A.yml', line 1: a head needs a 'scene' file."));
}

TEST_F(FaultyHead, StopsInTheMiddleOfACapture) {
    plug("stopAfterImages: 2, timeout: 0.05");
    open();
    EXPECT_EQ(capture(3), "The head 'A' delivered 2 of 3 images and then none for 0.05 s.");
    EXPECT_EQ(capture(2), "");
    EXPECT_EQ(images_.count(), 2U);
}

TEST_F(FaultyHead, EndsWaitingWhenItIsUnplugged) {
    for (const char* faults : {"stopAfterImages: 0, timeout: 100000", "delay: 100000"}) {
        plug(faults);
        open();
        auto waiting = std::async(std::launch::async, [this] { return capture(); });
        heads_.unplug("A");
        EXPECT_EQ(waiting.get(), "The head 'A' is no longer plugged in: its file '" +
                                     (heads_.folder() / "A.yml").string() + "' is gone.");
        EXPECT_FALSE(head_->isPresent());
        head_.reset();
    }
}

TEST_F(FaultyHead, EndsWaitingWhenItIsAboutToBeClosed) {
    for (const char* faults : {"stopAfterImages: 0, timeout: 100000", "delay: 100000"}) {
        plug(faults);
        open();
        auto waiting = std::async(std::launch::async, [this] { return capture(); });
        head_->cancel();
        EXPECT_EQ(waiting.get(), "The head 'A' is being closed.");
        EXPECT_EQ(capture(), "The head 'A' is being closed.") << "no capture begins any more";
        EXPECT_TRUE(head_->isPresent());
        head_.reset();
    }
}

TEST_F(FaultyHead, IsSlowWhenAskedTo) {
    plug("delay: 0.05");
    open();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(capture(), "");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(FaultyHead, HasVanishedWhenItsFileDescribesAnotherHead) {
    plug("");
    open();
    heads_.plugText("A", "serialNumber: B2\nscene: scenes/A.yml\n");
    EXPECT_THAT(capture(), EndsWith("A.yml' now describes the head 'B2' of the driver ToshibaTeli."));
    EXPECT_FALSE(head_->isPresent());
    plug("");
    EXPECT_FALSE(head_->isPresent()); // once gone, it stays gone
    EXPECT_EQ(outcomeOf([&] { (void)driver_.open("A"); }), "");
}

TEST_F(FaultyHead, HasVanishedWhenItsFileNamesAnotherDriver) {
    plug("");
    open();
    heads_.plug({.serialNumber = "A", .driver = "PtGrey"});
    EXPECT_THAT(capture(), HasSubstr("now describes the head 'A' of the driver PtGrey."));
}

TEST(HotPlug, OneHeadVanishesWhileOthersCapture) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "A"});
    heads.plug({.serialNumber = "B", .faults = "delay: 100000"});
    Virtual::VirtualDriver driver("ToshibaTeli", 1);
    const auto a = driver.open("A");
    const auto b = driver.open("B");
    auto lost = std::async(std::launch::async, [&] {
        Driver::ImageStack images;
        return outcomeOf([&] { b->acquire(flat(1.0F), images); });
    });
    auto watched = std::async(std::launch::async, [&] {
        while (b->isPresent())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    Driver::ImageStack images;
    a->acquire(flat(1.0F), images);
    heads.unplug("B");
    EXPECT_THAT(lost.get(), HasSubstr("The head 'B' is no longer plugged in"));
    watched.get();
    EXPECT_EQ(driver.heads().size(), 1U);
    a->acquire(flat(1.0F), images);
    EXPECT_EQ(images.count(), 1U);
    EXPECT_TRUE(a->isPresent());
}

} // namespace
} // namespace Vorta::Testing
