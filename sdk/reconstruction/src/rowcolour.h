#pragma once

#include "capture.h"
#include "kernels.h"

#include "vorta/driver/driver.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorta::Reconstruction {

/// Makes the colours of a capture, row by row, from the phase images of the columns, which are its first. Many threads
/// may use one, each with its own buffers.
class RowColour {
public:
    /// One thread's three neighbouring rows of the mosaic and one of colours.
    class Buffers {
    public:
        explicit Buffers(std::size_t width);

        /// Four bytes for each pixel: blue, green, red, alpha.
        [[nodiscard]] const std::uint8_t* bgra() const noexcept { return bgra_.data(); }

    private:
        friend class RowColour;
        /// A mosaic row, readable from -1 to the width.
        [[nodiscard]] std::uint8_t* mosaic(std::size_t row) noexcept { return mosaic_[row % 3].data() + 1; }

        std::size_t width_;
        std::array<std::vector<std::uint8_t>, 3> mosaic_;
        std::array<std::vector<std::uint8_t>, AxisLayout::phaseSteps> linear_;
        std::vector<std::uint8_t> bgra_;
    };

    /// Throws ArgumentInvalidException for a layout that is none.
    RowColour(Driver::BayerLayout layout, const Kernels::Set& kernels);

    /// Computes a row of the mosaic under full light. Those around a row are needed, where there are any, before its
    /// colours can be made.
    void prepare(const Capture& capture, std::size_t row, Buffers& buffers) const;

    /// Makes the colours of a row; `saturated` is 255 at the pixels that are to be white, else 0.
    void make(const Capture& capture, std::size_t row, const std::uint8_t* saturated, Buffers& buffers) const;

private:
    [[nodiscard]] bool isGreenFirst(std::size_t row) const noexcept { return (row % 2 == 0) == greenFirst_; }
    [[nodiscard]] bool isRed(std::size_t row) const noexcept { return (row % 2 == 0) == redFirst_; }

    bool greenFirst_ = false; // whether the top left pixel of the mosaic is green
    bool redFirst_ = false;   // whether the first row's other colour is red
    const Kernels::Set& kernels_;
};

} // namespace Vorta::Reconstruction
