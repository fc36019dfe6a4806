#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vorta::Driver {

/// The raw exposures of one capture: `count` images of `height` rows x `width` columns, one byte per pixel (grey level
/// of the Bayer mosaic, 255 = saturated), each row-major, one behind the other without padding. Resizing to the same
/// shape keeps the memory.
class ImageStack {
public:
    void resize(std::size_t count, std::size_t height, std::size_t width) {
        count_ = count;
        height_ = height;
        width_ = width;
        pixels_.resize(count * height * width);
    }

    [[nodiscard]] std::size_t count() const noexcept { return count_; }
    [[nodiscard]] std::size_t height() const noexcept { return height_; }
    [[nodiscard]] std::size_t width() const noexcept { return width_; }
    [[nodiscard]] bool empty() const noexcept { return pixels_.empty(); }

    [[nodiscard]] std::span<std::uint8_t> image(std::size_t index) noexcept {
        return {pixels_.data() + index * height_ * width_, height_ * width_};
    }
    [[nodiscard]] std::span<const std::uint8_t> image(std::size_t index) const noexcept {
        return {pixels_.data() + index * height_ * width_, height_ * width_};
    }
    [[nodiscard]] std::span<std::uint8_t> row(std::size_t index, std::size_t row) noexcept {
        return image(index).subspan(row * width_, width_);
    }
    [[nodiscard]] std::span<const std::uint8_t> row(std::size_t index, std::size_t row) const noexcept {
        return image(index).subspan(row * width_, width_);
    }

private:
    std::size_t count_ = 0;
    std::size_t height_ = 0;
    std::size_t width_ = 0;
    std::vector<std::uint8_t> pixels_;
};

} // namespace Vorta::Driver
