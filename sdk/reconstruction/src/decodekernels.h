#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The inner loops of decoding, each over the pixels [begin, end) of one image row. All rows are indexed from the row's
/// first pixel.
namespace Vorta::Reconstruction::Kernels {

constexpr std::size_t maxBits = 24;

/// Bits of a row's pixels, the lowest eight in the first plane; as many planes are used as the code has bytes.
using BitPlanes = std::array<std::uint8_t*, maxBits / 8>;

/// The rows of one axis's images, and how to read them.
struct CodedRow {
    std::array<const std::uint8_t*, 4> phase{};
    std::array<const std::uint8_t*, maxBits> bits{};     // most significant first
    std::array<const std::uint8_t*, maxBits> inverses{}; // of these, if there are any
    std::size_t bitCount = 0;
    std::size_t ahead = 0; // how far from each pixel on the images may be fetched into the cache
    bool hasInverses = false;
    float periodPixels = 0.0F;
    float minModulation = 0.0F;
    std::uint16_t minDifferenceHalves = 2; // in half grey levels, 1 to 510
    std::uint8_t saturationLevel = 255;
    bool rejectSaturated = true;
};

/// The code as it is read: which bits are set, and which lie too close to their opposite to be sure. `saturated` is 255
/// for yes and 0 for no.
struct ReadRow {
    BitPlanes set{};
    BitPlanes undecided{};
    std::uint8_t* saturated = nullptr;
};

/// What decoding finds. `accepted` is 255 for yes and 0 for no; `position` is counted in pixels from the first one's
/// edge and holds an arbitrary number where not accepted.
struct DecodedRow {
    std::uint16_t* halfPeriod = nullptr;
    float* modulation = nullptr;
    float* position = nullptr;
    std::uint8_t* accepted = nullptr;
};

/// One implementation of every loop. A bit's difference is that of its image and the inverse's, or twice that of its
/// image and the phase images' mean, which is as large.
struct DecodeSet {
    void (*readBits)(const CodedRow&, const ReadRow&, std::size_t begin, std::size_t end);

    /// Half periods of codes of up to 16 bits, and acceptance as far as the bits and saturation decide it.
    void (*resolveGray)(const CodedRow&, const ReadRow&, const DecodedRow&, std::size_t begin, std::size_t end);

    /// Modulation and position; takes acceptance away where modulation or a phase that contradicts the code demand it.
    void (*locate)(const CodedRow&, const DecodedRow&, std::size_t begin, std::size_t end);

    /// The bits whose difference stays below the modulation in whole grey levels.
    void (*findAmbiguous)(const CodedRow&, const float* modulation, const BitPlanes& ambiguous, std::size_t begin,
                          std::size_t end);
};

/// Plain C++, written for reading.
[[nodiscard]] const DecodeSet& decodeReference() noexcept;

/// The best vector code for this processor; bit for bit the results of `decodeReference`.
[[nodiscard]] const DecodeSet& decodeVectorised() noexcept;

/// Coefficients of q, q^3, ... q^11 in atan(q) / (2 pi), the polynomial of least greatest error on [0, 1] (Remez
/// exchange); the error stays below 2.7e-7 turns.
inline constexpr std::array<float, 6> arcTangentTurns{0.15915131568908691F,  -0.052938565611839294F,
                                                      0.030802907422184944F, -0.018529850989580154F,
                                                      0.00837908685207367F,  -0.0018651587888598442F};

/// Largest distance, in periods, between the phase's position and the middle of the code's half period. A right code
/// stays within 0.25; the rest is how far a code edge may be displaced by blur and noise.
inline constexpr float maxCodeDistance = 0.375F;

} // namespace Vorta::Reconstruction::Kernels
