#include "vorta/common/exceptions.h"
#include "vorta/common/pointcloud.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

using namespace Vorta;

TEST(Point, LayoutIsFourFloatsAndFourBytes) {
    static_assert(std::is_standard_layout_v<Point> && std::is_trivially_copyable_v<Point>);
    EXPECT_EQ(sizeof(Point), 20U);
    EXPECT_EQ(alignof(Point), 4U);
    EXPECT_EQ(offsetof(Point, x), 0U);
    EXPECT_EQ(offsetof(Point, y), 4U);
    EXPECT_EQ(offsetof(Point, z), 8U);
    EXPECT_EQ(offsetof(Point, contrast), 12U);
    EXPECT_EQ(offsetof(Point, blue), 16U);
    EXPECT_EQ(offsetof(Point, green), 17U);
    EXPECT_EQ(offsetof(Point, red), 18U);
    EXPECT_EQ(offsetof(Point, alpha), 19U);
}

TEST(Point, IsInvalidExactlyWhenZIsNaN) {
    Point point;
    EXPECT_FALSE(point.isValid());
    point.z = 0.0F;
    EXPECT_TRUE(point.isValid()); // x and y are still NaN
    point.z = -std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(point.isValid());
    point.z = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(point.isValid());
}

TEST(PointCloud, DefaultHoldsNoGrid) {
    const PointCloud cloud;
    EXPECT_TRUE(cloud.empty());
    EXPECT_EQ(cloud.height(), 0U);
    EXPECT_EQ(cloud.width(), 0U);
    EXPECT_EQ(cloud.size(), 0U);
    EXPECT_TRUE(cloud.points().empty());
}

TEST(PointCloud, NewGridHasInvalidBlackPoints) {
    const PointCloud cloud(3, 2);
    EXPECT_EQ(cloud.height(), 3U);
    EXPECT_EQ(cloud.width(), 2U);
    EXPECT_EQ(cloud.size(), 6U);
    for (const Point& point : cloud.points()) {
        EXPECT_TRUE(std::isnan(point.x) && std::isnan(point.y) && std::isnan(point.z));
        EXPECT_EQ(point.contrast, 0.0F);
        EXPECT_EQ(point.blue, 0);
        EXPECT_EQ(point.green, 0);
        EXPECT_EQ(point.red, 0);
        EXPECT_EQ(point.alpha, 255);
    }
}

TEST(PointCloud, IsRowMajor) {
    PointCloud cloud(2, 3);
    cloud(1, 2).z = 12.0F;
    cloud[1].z = 1.0F;
    EXPECT_EQ(cloud[5].z, 12.0F);
    EXPECT_EQ(cloud(0, 1).z, 1.0F);
    EXPECT_EQ(cloud.row(1)[2].z, 12.0F);
    EXPECT_EQ(cloud.row(1).size(), 3U);
    EXPECT_EQ(cloud.row(1).data(), cloud.data() + 3);
    EXPECT_EQ(std::as_const(cloud)(1, 2).z, 12.0F);
    EXPECT_EQ(std::as_const(cloud)[5].z, 12.0F);
    EXPECT_EQ(std::as_const(cloud).row(1)[2].z, 12.0F);
}

TEST(PointCloud, CopiesShareTheirPoints) {
    PointCloud cloud(1, 1);
    PointCloud copy = cloud;
    copy[0].z = 7.0F;
    EXPECT_EQ(cloud[0].z, 7.0F);
    EXPECT_TRUE(copy.sharesDataWith(cloud));
    EXPECT_FALSE(PointCloud(1, 1).sharesDataWith(cloud));
}

TEST(PointCloud, CopyOutlivesTheFirstHandle) {
    PointCloud copy;
    {
        PointCloud cloud(1, 2);
        cloud[1].x = 3.0F;
        copy = cloud;
    }
    EXPECT_EQ(copy.width(), 2U);
    EXPECT_EQ(copy[1].x, 3.0F);
}

TEST(PointCloud, CloneIsIndependent) {
    PointCloud cloud(2, 2);
    cloud(1, 0) = {.x = 1.0F, .y = 2.0F, .z = 3.0F, .contrast = 4.0F, .blue = 5, .green = 6, .red = 7, .alpha = 8};
    const PointCloud clone = cloud.clone();
    cloud(1, 0).z = -1.0F;
    EXPECT_FALSE(clone.sharesDataWith(cloud));
    EXPECT_EQ(clone.height(), 2U);
    EXPECT_EQ(clone.width(), 2U);
    const Point& point = clone(1, 0);
    EXPECT_EQ(point.x, 1.0F);
    EXPECT_EQ(point.y, 2.0F);
    EXPECT_EQ(point.z, 3.0F);
    EXPECT_EQ(point.contrast, 4.0F);
    EXPECT_EQ(point.blue, 5);
    EXPECT_EQ(point.green, 6);
    EXPECT_EQ(point.red, 7);
    EXPECT_EQ(point.alpha, 8);
    EXPECT_TRUE(PointCloud().clone().empty());
}

TEST(PointCloud, LargeGridsTakeOverTheMemoryOfThoseThatAreGone) {
    const Point* memory = nullptr;
    {
        const PointCloud cloud = PointCloud::uninitialized(512, 512);
        memory = cloud.data();
    }
    PointCloud next(512, 512);
    EXPECT_EQ(next.data(), memory);
    EXPECT_FALSE(next[0].isValid()); // a constructed grid is fresh all the same
    const PointCloud other = PointCloud::uninitialized(512, 512);
    EXPECT_NE(other.data(), memory);
    EXPECT_EQ(PointCloud::uninitialized(300, 300).size(), 90'000U); // another size
}

TEST(PointCloud, MovedFromHandleHoldsNoGrid) {
    PointCloud cloud(2, 3);
    cloud[4].z = 4.0F;
    PointCloud target = std::move(cloud);
    EXPECT_TRUE(cloud.empty()); // NOLINT(bugprone-use-after-move): the state is documented
    EXPECT_EQ(target.size(), 6U);
    PointCloud assigned(9, 9);
    assigned = std::move(target);
    EXPECT_TRUE(target.empty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(assigned.height(), 2U);
    EXPECT_EQ(assigned.width(), 3U);
    EXPECT_EQ(assigned[4].z, 4.0F);
    PointCloud& same = assigned;
    assigned = std::move(same);
    EXPECT_EQ(assigned.size(), 6U);
}

TEST(PointCloud, ZeroHeightOrWidthIsEmpty) {
    EXPECT_TRUE(PointCloud(0, 5).empty());
    EXPECT_TRUE(PointCloud(5, 0).empty());
    EXPECT_TRUE(PointCloud::uninitialized(0, 0).empty());
    EXPECT_TRUE(PointCloud(5, 0).clone().empty());
}

TEST(PointCloud, UninitializedGridCanBeWritten) {
    PointCloud cloud = PointCloud::uninitialized(2, 2);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(cloud.data()) % alignof(Point), 0U);
    for (Point& point : cloud.points())
        point = Point{.x = 0.5F};
    EXPECT_EQ(cloud(1, 1).x, 0.5F);
    EXPECT_FALSE(cloud(1, 1).isValid());
}

TEST(PointCloud, RefusesSizesThatOverflow) {
    constexpr std::size_t half = std::size_t{1} << (4 * sizeof(std::size_t)); // half * half is 0 modulo the word
    EXPECT_THROW(PointCloud(half, half), ArgumentOutOfRangeException);
    EXPECT_THROW(PointCloud::uninitialized(half, half), ArgumentOutOfRangeException);
    EXPECT_THROW(PointCloud(1, std::numeric_limits<std::size_t>::max()), ArgumentOutOfRangeException);
}

} // namespace
