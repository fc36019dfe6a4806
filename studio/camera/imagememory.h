#pragma once

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <mutex>
#include <vector>

namespace Vorta {

/// Memory for a record's images that is used again by later records.
///
/// A record is shared, so its images cannot be overwritten, and memory fresh from the operating system costs several
/// times what filling it costs. Matrices from here return their memory when their last copy goes, wherever that is, and
/// the next image of the same size takes it over. At most `mostKept` unused images, the images of one record, are kept.
///
/// Any thread.
class ImageMemory final : public cv::MatAllocator {
public:
    static constexpr std::size_t mostKept = 3;

    /// The one of this program. It outlives every matrix.
    static ImageMemory& instance();

    /// A matrix of arbitrary values.
    template <class Pixel>
    [[nodiscard]] cv::Mat_<Pixel> makeImage(int rows, int columns) {
        cv::Mat_<Pixel> image;
        image.allocator = this;
        image.create(rows, columns);
        // Matrices made later from this header, for other uses, have OpenCV's memory again.
        image.allocator = nullptr;
        return image;
    }

    /// Bytes of unused memory that is kept.
    [[nodiscard]] std::size_t keptBytes() const;

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step, cv::AccessFlag flags,
                           cv::UMatUsageFlags usage) const override;
    bool allocate(cv::UMatData* data, cv::AccessFlag access, cv::UMatUsageFlags usage) const override;
    void deallocate(cv::UMatData* data) const override;

private:
    struct Block {
        void* memory = nullptr;
        std::size_t bytes = 0;
    };

    ImageMemory() = default;
    [[nodiscard]] void* take(std::size_t bytes) const;
    void giveBack(Block block) const;

    // OpenCV allocates through pointers to const.
    mutable std::mutex mutex_;
    mutable std::vector<Block> kept_; // oldest first
};

} // namespace Vorta
