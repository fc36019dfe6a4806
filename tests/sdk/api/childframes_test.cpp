#include "sdk/api/completeframe.h"
#include "sdk/api/testtools.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace Vorta {
namespace {

using ::testing::HasSubstr;
using Testing::rawImages;
using Testing::smallFrame;

/// What attaching these children says; "attached" when it succeeds.
std::string complaint(const Frame& parent, std::vector<Frame> children) {
    try {
        parent.getImpl().setChildFrames(std::move(children));
    } catch (const ArgumentException& error) {
        return error.what();
    }
    return "attached";
}

TEST(ChildFrames, AreSharedAndCanBeReplaced) {
    const Frame parent = smallFrame();
    EXPECT_TRUE(parent.getImpl().childFrames().empty());
    const Frame child = smallFrame();
    parent.getImpl().setChildFrames({child, smallFrame()});
    ASSERT_EQ(parent.getImpl().childFrames().size(), 2U);
    EXPECT_EQ(&parent.getImpl().childFrames()[0].getImpl(), &child.getImpl());
    parent.getImpl().setChildFrames({});
    EXPECT_TRUE(parent.getImpl().childFrames().empty());
}

TEST(ChildFrames, AreNeverNull) {
    const Frame parent = smallFrame();
    EXPECT_THROW(parent.getImpl().setChildFrames({smallFrame(), Frame{}}), ArgumentNullException);
    EXPECT_TRUE(parent.getImpl().childFrames().empty());
}

TEST(ChildFrames, HaveNoChildrenThemselves) {
    const Frame grandparent = smallFrame();
    const Frame parent = smallFrame();
    const Frame child = smallFrame();
    EXPECT_THAT(complaint(parent, {parent}), HasSubstr("A frame cannot be its own child."));
    EXPECT_EQ(complaint(parent, {child}), "attached");
    EXPECT_THAT(complaint(grandparent, {parent}), HasSubstr("A child frame has children itself"));
    EXPECT_THAT(complaint(child, {grandparent}), HasSubstr("This frame is a child itself"));
    EXPECT_THAT(complaint(child, {parent}), HasSubstr("This frame is a child itself"));
    EXPECT_EQ(complaint(child, {}), "attached");
    EXPECT_EQ(parent.getImpl().childFrames().size(), 1U);
    EXPECT_TRUE(grandparent.getImpl().childFrames().empty());
    EXPECT_THAT(complaint(grandparent, std::vector<Frame>(65, child)),
                HasSubstr("A frame has at most 64 child frames. Invalid parameter: children = '65'"));
}

TEST(ChildFrames, AreFreeWhenTheirParentLetsThemGo) {
    const Frame child = smallFrame();
    {
        const Frame parent = smallFrame();
        EXPECT_EQ(complaint(parent, {child, child}), "attached");
        EXPECT_EQ(complaint(parent, {child}), "attached");
        EXPECT_NE(complaint(child, {smallFrame()}), "attached");
        EXPECT_EQ(complaint(parent, {}), "attached");
        EXPECT_EQ(complaint(child, {smallFrame()}), "attached");
        EXPECT_EQ(complaint(child, {}), "attached");
        EXPECT_EQ(complaint(parent, {child}), "attached");
    }
    EXPECT_EQ(complaint(child, {smallFrame()}), "attached");
}

TEST(ChildFrames, CanBeAttachedByManyThreadsAtOnce) {
    // Two frames that each want to be the other's parent: at no time are both.
    for (int round = 0; round < 50; ++round) {
        const Frame a = smallFrame();
        const Frame b = smallFrame();
        {
            std::vector<std::jthread> threads;
            threads.emplace_back([&] { static_cast<void>(complaint(a, {b})); });
            threads.emplace_back([&] { static_cast<void>(complaint(b, {a})); });
            threads.emplace_back([&] { static_cast<void>(a.getImpl().childFrames()); });
        }
        EXPECT_EQ(a.getImpl().childFrames().size() + b.getImpl().childFrames().size(), 1U);
        a.getImpl().setChildFrames({});
        b.getImpl().setChildFrames({});
    }
}

TEST(RawImages, HaveTheSizeOfThePoints) {
    const auto framed = [](RawImages raw) {
        const FrameInfo info{.head = {}, .time = {}, .temperatures = {}, .calibrationText = {}, .raw = std::move(raw)};
        return FrameImpl(Testing::smallCloud(), Settings{}, info, ComputeDevice{}).info().raw.images->count();
    };
    EXPECT_EQ(framed(rawImages(5, 2, 3)), 5U);
    EXPECT_THROW(framed({.images = std::make_shared<Driver::ImageStack>()}), ArgumentNullException);
    try {
        framed(rawImages(1, 3, 2));
        FAIL() << "images of another size were accepted";
    } catch (const ArgumentInvalidException& error) {
        EXPECT_THAT(error.what(), HasSubstr("The raw images have another size than the points. Invalid parameter: "
                                            "info.raw.images = '3 x 2'"));
    }
}

} // namespace
} // namespace Vorta
