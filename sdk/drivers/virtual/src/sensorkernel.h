#pragma once

#include <cstddef>
#include <cstdint>

namespace Vorta::Virtual {

/// Where each pixel of a row looks into a level table, and what it makes of the level found there.
struct RowLookUp {
    const std::int32_t* node; ///< the node before the position
    const float* fraction;    ///< 0 to 1 between that node and the next
    const float* gain;        ///< grey levels per unit of luminance
    const float* offset;      ///< grey levels without the projector
    std::size_t count;
};

/// signal = offset + gain * level, in grey levels before noise.
void lookUpRow(const float* table, const RowLookUp& row, float* signal);

struct Digitizer {
    float shotVariance = 0.0F; ///< grey levels^2 per grey level
    float readVariance = 0.0F; ///< grey levels^2
    float gain = 1.0F;
    std::uint32_t firstKey = 0; ///< the keys choose the image's noise
    std::uint32_t secondKey = 0;
};

/// Adds shot and read noise to a row's signal and multiplies it by the gain. The noise of a pixel depends only on the
/// keys and its number, `firstPixel` + i.
void addNoise(const Digitizer& digitizer, std::uint32_t firstPixel, std::size_t count, float* signal);

/// Adds the black level, rounds and clips to 0 to 255.
void quantizeRow(const float* signal, float blackLevel, std::size_t count, std::uint8_t* pixels);

} // namespace Vorta::Virtual
