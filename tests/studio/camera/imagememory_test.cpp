#include "camera/imagememory.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using Vorta::ImageMemory;

// A size that no other test uses.
constexpr int rows = 31;
constexpr int columns = 47;

TEST(ImageMemory, ReleasedMemoryIsTheNextImages) {
    ImageMemory& memory = ImageMemory::instance();
    auto image = memory.makeImage<float>(rows, columns);
    ASSERT_TRUE(image.isContinuous());
    image.setTo(3.0F);
    const uchar* const where = image.data;
    image.release();
    const auto next = memory.makeImage<float>(rows, columns);
    EXPECT_EQ(next.data, where);
}

TEST(ImageMemory, MemoryOfALivingCopyIsNotHandedOut) {
    ImageMemory& memory = ImageMemory::instance();
    auto image = memory.makeImage<float>(rows, columns);
    image.setTo(3.0F);
    const cv::Mat copy = image.rowRange(2, 5);
    image.release();
    auto next = memory.makeImage<float>(rows, columns);
    next.setTo(4.0F);
    EXPECT_EQ(copy.at<float>(0, 0), 3.0F);
}

TEST(ImageMemory, KeepsNoMoreThanOneRecordsImages) {
    ImageMemory& memory = ImageMemory::instance();
    std::vector<cv::Mat> images;
    for (int i = 0; i < 10; ++i)
        images.push_back(memory.makeImage<uchar>(rows, columns));
    images.clear();
    EXPECT_EQ(memory.keptBytes(), ImageMemory::mostKept * rows * columns);
}

TEST(ImageMemory, OtherMatricesOfTheSameHeaderAreOpenCVsOwn) {
    ImageMemory& memory = ImageMemory::instance();
    auto image = memory.makeImage<float>(rows, columns);
    const cv::Mat clone = image.clone();
    image.release();
    const std::size_t kept = memory.keptBytes();
    image.create(rows + 1, columns);
    image.release();
    EXPECT_EQ(memory.keptBytes(), kept);
}

} // namespace
