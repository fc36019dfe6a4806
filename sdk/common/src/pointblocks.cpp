#include "pointblocks.h"

#include <array>
#include <mutex>
#include <utility>

namespace Vorta {

namespace {

constexpr std::size_t leastSize = 65'536; ///< points; smaller blocks come from memory that is mapped already
constexpr std::size_t mostKept = 4;

Point* allocate(std::size_t size) {
    return std::allocator<Point>{}.allocate(size);
}

void deallocate(Point* block, std::size_t size) noexcept {
    std::allocator<Point>{}.deallocate(block, size);
}

/// Blocks of one size that nobody uses.
class SpareBlocks {
public:
    /// Null when there is none of that size.
    Point* take(std::size_t size) noexcept {
        const std::lock_guard lock(mutex_);
        return size == size_ && count_ > 0 ? blocks_[--count_] : nullptr;
    }

    void give(Point* block, std::size_t size) noexcept {
        std::array<Point*, mostKept> dropped{};
        std::size_t droppedSize = 0;
        {
            const std::lock_guard lock(mutex_);
            if (size != size_) { // the camera has changed: what is kept fits nothing any more
                droppedSize = std::exchange(size_, size);
                dropped = std::exchange(blocks_, {});
                count_ = 0;
            }
            if (count_ < mostKept)
                blocks_[count_++] = std::exchange(block, nullptr);
        }
        for (Point* other : dropped)
            if (other)
                deallocate(other, droppedSize);
        if (block)
            deallocate(block, size);
    }

private:
    std::mutex mutex_;
    std::size_t size_ = 0;
    std::size_t count_ = 0;
    std::array<Point*, mostKept> blocks_{};
};

/// Never destroyed: the last cloud may go after the static objects have.
SpareBlocks& spareBlocks() {
    static SpareBlocks& blocks = *std::make_unique<SpareBlocks>().release();
    return blocks;
}

} // namespace

std::shared_ptr<Point[]> takePointBlock(std::size_t size) {
    if (size < leastSize)
        return {allocate(size), [size](Point* block) { deallocate(block, size); }};
    Point* block = spareBlocks().take(size);
    return {block ? block : allocate(size), [size](Point* done) { spareBlocks().give(done, size); }};
}

} // namespace Vorta
