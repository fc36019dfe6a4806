#pragma once

#include "decodekernels.h"
#include "geometry.h"

#include "vorta/common/point.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The inner loops from positions to points, and of colour, each over the pixels [begin, end) of one image row; `begin`
/// is even. All rows are indexed from the row's first pixel.
namespace Vorta::Reconstruction::Kernels {

/// Pixels of the mosaic under full light; `gain` is per column parity, in 1/512.
struct MosaicRow {
    std::array<const std::uint8_t*, 4> phase{};
    std::uint8_t saturationLevel = 255;
    std::uint16_t blackSum = 0; // four times the black level
    std::array<std::uint16_t, 2> gain{};
};

/// Rows of the mosaic around the current one, readable from index -1 to the row's width.
struct DemosaicRow {
    const std::uint8_t* above = nullptr;
    const std::uint8_t* current = nullptr;
    const std::uint8_t* below = nullptr;
    const std::uint8_t* saturated = nullptr; // 255 or 0
    bool greenFirst = false;                 // whether pixel 0 is green
    bool red = false;                        // whether the row's other pixels are red, else blue
};

struct RayRow {
    const float* x = nullptr;
    const float* y = nullptr;
};

struct CoordinateRow {
    float* x = nullptr;
    float* y = nullptr;
    float* z = nullptr;
};

/// The rows' positions of the same pixels, and how far off the epipolar line they may lie.
struct CrossRow {
    DecodedRow decoded;
    float tolerance2 = 0.0F; // square of the largest distance in pixels
};

/// One implementation of every loop.
struct Set {
    void (*triangulate)(const ColumnGeometry<float>&, const RayRow&, const DecodedRow& columns, const CoordinateRow&,
                        std::size_t begin, std::size_t end);
    /// Depths from columns and rows together; invalid where they contradict each other.
    void (*triangulateBoth)(const ColumnGeometry<float>&, const RayRow&, const DecodedRow& columns,
                            const CrossRow& rows, const CoordinateRow&, std::size_t begin, std::size_t end);
    void (*mosaic)(const MosaicRow&, std::uint8_t* white, std::size_t begin, std::size_t end);
    /// `bgra` takes four bytes per pixel.
    void (*demosaic)(const DemosaicRow&, std::uint8_t* bgra, std::size_t begin, std::size_t end);
    void (*pack)(const CoordinateRow&, const float* contrast, const std::uint8_t* bgra, Point* out, std::size_t begin,
                 std::size_t end);
};

/// Plain C++, written for reading.
[[nodiscard]] const Set& reference() noexcept;

/// The best vector code for this processor; bit for bit the results of `reference`.
[[nodiscard]] const Set& vectorised() noexcept;

} // namespace Vorta::Reconstruction::Kernels
