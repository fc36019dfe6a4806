#pragma once

#include "vorta/virtual/view.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Vorta::Virtual {

/// Columns of some of an image's pixels, by row, ascending.
using PixelRows = std::vector<std::vector<std::uint32_t>>;

/// Remembers what some pixels of a view looked like in different poses of the scene. Keeps the first poses that fit
/// into `capacityBytes`: a turntable comes round to them again in the same order, which would drive each one out just
/// before it is asked for if the latest were kept.
class ViewCache {
public:
    ViewCache(PixelRows pixels, std::size_t capacityBytes);

    /// Keeps the pixels of a pose, unless that would not fit.
    void store(std::uint64_t pose, const View& view);

    /// Puts the pixels of a pose into the view; false when it is not kept.
    [[nodiscard]] bool restore(std::uint64_t pose, View& view) const;

    [[nodiscard]] std::size_t poses() const noexcept { return kept_.size(); }

private:
    // The arrays of `View` for the pixels, row by row.
    struct Kept {
        std::vector<float> ambient;
        std::vector<LightPath> direct;
        std::vector<float> depthMm;
        std::vector<std::uint8_t> visible;
        std::vector<std::vector<ExtraPath>> extra; // whole rows; none where the row has no such pixel

        [[nodiscard]] std::size_t bytes() const;
    };

    PixelRows pixels_;
    std::size_t capacity_;
    std::size_t used_ = 0;
    std::map<std::uint64_t, Kept> kept_;
};

} // namespace Vorta::Virtual
