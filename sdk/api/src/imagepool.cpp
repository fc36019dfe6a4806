#include "imagepool.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <utility>

namespace Vorta {

class ImagePool::Spares {
public:
    Driver::ImageStack take() {
        const std::lock_guard lock(mutex_);
        return count_ > 0 ? std::exchange(stacks_.at(--count_), {}) : Driver::ImageStack();
    }

    void give(Driver::ImageStack images) noexcept {
        const std::lock_guard lock(mutex_);
        if (count_ < stacks_.size())
            stacks_[count_++] = std::move(images);
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        while (count_ > 0)
            stacks_.at(--count_) = {};
    }

private:
    // As many frames exist at once in live: shown, to be shown, waiting, being made.
    static constexpr std::size_t mostKept = 4;

    std::mutex mutex_;
    std::size_t count_ = 0;
    std::array<Driver::ImageStack, mostKept> stacks_;
};

ImagePool::ImagePool() : spares_(std::make_shared<Spares>()) {}

Driver::ImageStack ImagePool::take() {
    return spares_->take();
}

std::shared_ptr<const Driver::ImageStack> ImagePool::share(Driver::ImageStack images) {
    const auto takeBack = [pool = std::weak_ptr(spares_)](Driver::ImageStack* done) {
        const std::unique_ptr<Driver::ImageStack> owner(done);
        if (const auto spares = pool.lock())
            spares->give(std::move(*owner));
    };
    return {std::make_unique<Driver::ImageStack>(std::move(images)).release(), takeBack};
}

void ImagePool::clear() {
    spares_->clear();
}

} // namespace Vorta
