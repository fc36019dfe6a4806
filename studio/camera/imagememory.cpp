#include "camera/imagememory.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <memory>
#include <numeric>

namespace Vorta {

ImageMemory& ImageMemory::instance() {
    // Never destroyed: matrices in other static objects may still return their memory.
    static auto* const memory = new ImageMemory;
    return *memory;
}

std::size_t ImageMemory::keptBytes() const {
    const std::scoped_lock lock(mutex_);
    return std::accumulate(kept_.begin(), kept_.end(), std::size_t{0},
                           [](std::size_t sum, const Block& block) { return sum + block.bytes; });
}

cv::UMatData* ImageMemory::allocate(int dims, const int* sizes, int type, void* data, std::size_t* step, cv::AccessFlag,
                                    cv::UMatUsageFlags) const {
    // Rows without gaps; the caller's own memory may have gaps, which `step` then tells.
    auto bytes = static_cast<std::size_t>(CV_ELEM_SIZE(type));
    for (int i = dims - 1; i >= 0; --i) {
        if (step != nullptr) {
            if (data != nullptr && step[i] != cv::Mat::AUTO_STEP)
                bytes = step[i];
            else
                step[i] = bytes;
        }
        bytes *= static_cast<std::size_t>(sizes[i]);
    }
    auto result = std::make_unique<cv::UMatData>(this);
    result->size = bytes;
    result->data = static_cast<uchar*>(data != nullptr ? data : take(bytes));
    result->origdata = result->data;
    if (data != nullptr)
        result->flags |= cv::UMatData::USER_ALLOCATED;
    return result.release();
}

bool ImageMemory::allocate(cv::UMatData* data, cv::AccessFlag, cv::UMatUsageFlags) const {
    return data != nullptr;
}

void ImageMemory::deallocate(cv::UMatData* data) const {
    if (data == nullptr)
        return;
    const std::unique_ptr<cv::UMatData> owned(data);
    if ((data->flags & cv::UMatData::USER_ALLOCATED) == 0)
        giveBack({.memory = data->origdata, .bytes = data->size});
    data->origdata = nullptr;
}

void* ImageMemory::take(std::size_t bytes) const {
    {
        const std::scoped_lock lock(mutex_);
        const auto found = std::ranges::find(kept_, bytes, &Block::bytes);
        if (found != kept_.end()) {
            void* const memory = found->memory;
            kept_.erase(found);
            return memory;
        }
    }
    return cv::fastMalloc(bytes);
}

void ImageMemory::giveBack(Block block) const {
    {
        const std::scoped_lock lock(mutex_);
        kept_.push_back(block);
        if (kept_.size() <= mostKept)
            return;
        block = kept_.front();
        kept_.erase(kept_.begin());
    }
    cv::fastFree(block.memory);
}

} // namespace Vorta
