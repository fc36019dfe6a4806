#include "sensorkernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sensorkernel.cpp"
#include <hwy/foreach_target.h>
// The targets' macros come second.
#include <hwy/highway.h>

#include <cmath>

// Plain loops, compiled once for each family of processors; the best one is chosen at run time. All compute the same.
HWY_BEFORE_NAMESPACE();
namespace Vorta::Virtual::HWY_NAMESPACE {
namespace {

void lookUp(const float* HWY_RESTRICT table, const RowLookUp& row, float* HWY_RESTRICT signal) {
    const std::int32_t* HWY_RESTRICT node = row.node;
    const float* HWY_RESTRICT fraction = row.fraction;
    const float* HWY_RESTRICT gain = row.gain;
    const float* HWY_RESTRICT offset = row.offset;
    const std::size_t count = row.count;
    for (std::size_t i = 0; i < count; ++i) {
        const float before = table[node[i]];
        const float after = table[node[i] + 1];
        signal[i] = offset[i] + gain[i] * (before + fraction[i] * (after - before));
    }
}

void noise(const Digitizer& digitizer, std::uint32_t firstPixel, std::size_t count, float* HWY_RESTRICT signal) {
    const Digitizer d = digitizer;
    const auto pixels = static_cast<std::uint32_t>(count);
    for (std::uint32_t i = 0; i < pixels; ++i) {
        // The finalizer of MurmurHash3 (public domain) with the second key between its rounds.
        std::uint32_t h = (firstPixel + i) ^ d.firstKey;
        h = (h ^ (h >> 16U)) * 0x85EBCA6BU;
        h = ((h ^ (h >> 13U)) + d.secondKey) * 0xC2B2AE35U;
        h ^= h >> 16U;
        // The sum of four even bytes is nearly normal: mean 510, variance 4 (256^2 - 1) / 12.
        const std::uint32_t pairs = (h & 0x00FF00FFU) + ((h >> 8U) & 0x00FF00FFU);
        const auto sum = static_cast<std::int32_t>((pairs & 0xFFFFU) + (pairs >> 16U));
        const float normal = static_cast<float>(sum - 510) * (1.0F / 147.80054F);
        const float variance = signal[i] * d.shotVariance + d.readVariance;
        signal[i] = (signal[i] + normal * std::sqrt(variance)) * d.gain;
    }
}

void quantize(const float* HWY_RESTRICT signal, float blackLevel, std::size_t count,
              std::uint8_t* HWY_RESTRICT pixels) {
    for (std::size_t i = 0; i < count; ++i) {
        float grey = signal[i] + blackLevel + 0.5F;
        grey = grey > 0.0F ? grey : 0.0F;
        grey = grey < 255.0F ? grey : 255.0F;
        pixels[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(grey));
    }
}

} // namespace
} // namespace Vorta::Virtual::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::Virtual {

HWY_EXPORT(lookUp);
HWY_EXPORT(noise);
HWY_EXPORT(quantize);

void lookUpRow(const float* table, const RowLookUp& row, float* signal) {
    HWY_DYNAMIC_DISPATCH(lookUp)(table, row, signal);
}

void addNoise(const Digitizer& digitizer, std::uint32_t firstPixel, std::size_t count, float* signal) {
    HWY_DYNAMIC_DISPATCH(noise)(digitizer, firstPixel, count, signal);
}

void quantizeRow(const float* signal, float blackLevel, std::size_t count, std::uint8_t* pixels) {
    HWY_DYNAMIC_DISPATCH(quantize)(signal, blackLevel, count, pixels);
}

} // namespace Vorta::Virtual
#endif
