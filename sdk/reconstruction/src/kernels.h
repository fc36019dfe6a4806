#pragma once

#include "geometry.h"

#include "vorta/common/point.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The inner loops of the reconstruction, each over the pixels [begin, end) of one image row; `begin` is even. All rows
/// are indexed from the row's first pixel.
namespace Vorta::Reconstruction::Kernels {

constexpr std::size_t maxBits = 16;

/// The rows of one axis's images, and how to read them.
struct CodedRow {
    std::array<const std::uint8_t*, 4> phase{};
    std::array<const std::uint8_t*, 2 * maxBits> bits{}; // pattern, inverse, most significant first
    std::size_t bitCount = 0;
    float periodLines = 0.0F;
    float minModulation = 0.0F;
    std::uint8_t minBitDifference = 1;
    std::uint8_t saturationLevel = 255;
    bool rejectSaturated = true;
};

/// What decoding finds. `accepted` and `saturated` are 255 for yes and 0 for no; `position` is counted in lines from
/// the first line's edge and holds an arbitrary number where not accepted.
struct DecodedRow {
    std::uint16_t* halfPeriod = nullptr;
    float* modulation = nullptr;
    float* position = nullptr;
    std::uint8_t* accepted = nullptr;
    std::uint8_t* saturated = nullptr;
};

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

/// One implementation of every loop.
struct Set {
    void (*decode)(const CodedRow&, const DecodedRow&, std::size_t begin, std::size_t end);
    void (*triangulate)(const ColumnGeometry<float>&, const RayRow&, const DecodedRow&, const CoordinateRow&,
                        std::size_t begin, std::size_t end);
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

/// Coefficients of q, q^3, ... q^11 in atan(q) / (2 pi), the polynomial of least greatest error on [0, 1] (Remez
/// exchange); the error stays below 2.7e-7 turns.
inline constexpr std::array<float, 6> arcTangentTurns{0.15915131568908691F,  -0.052938565611839294F,
                                                      0.030802907422184944F, -0.018529850989580154F,
                                                      0.00837908685207367F,  -0.0018651587888598442F};

/// Largest distance, in periods, between the phase's position and the middle of the code's half period. A right code
/// stays within 0.25; the rest is how far a code edge may be displaced by blur and noise.
inline constexpr float maxCodeDistance = 0.375F;

} // namespace Vorta::Reconstruction::Kernels
