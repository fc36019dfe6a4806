#include "export/formatxyz.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

namespace Vorta::Export {

namespace {

constexpr std::uint32_t signBit = 0x80000000U;
constexpr std::uint32_t quietNan = std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN());
constexpr std::size_t maxNumberLength = 43; // sign, 39 digits, point, digit, blank

char* printNonFinite(float value, char* out) noexcept {
    return out + std::snprintf(out, maxNumberLength, "%.1f ", static_cast<double>(value));
}

/// The runtime library's text for NaN, whatever that is, with a blank; it may exceed eight characters ("-nan(ind)").
struct NanText {
    std::array<char, maxNumberLength> characters{};
    std::size_t length = 0;

    explicit NanText(std::uint32_t bits) {
        length =
            static_cast<std::size_t>(printNonFinite(std::bit_cast<float>(bits), characters.data()) - characters.data());
    }
};

/// Numbers beyond the fast path: NaN (common: every invalid point), infinities and huge values.
char* appendUnusual(float value, char* out) noexcept {
    static const std::array<NanText, 2> nanTexts{NanText{quietNan}, NanText{quietNan | signBit}};
    const auto bits = std::bit_cast<std::uint32_t>(value);
    if ((bits & ~signBit) == quietNan) {
        const NanText& text = nanTexts[bits >> 31];
        std::memcpy(out, text.characters.data(), 16);
        return out + text.length;
    }
    if (!std::isfinite(value))
        return printNonFinite(value, out);
    // Unlike printf this ignores the locale: the decimal point stays a point.
    char* const end =
        std::to_chars(out, out + maxNumberLength, static_cast<double>(value), std::chars_format::fixed, 1).ptr;
    *end = ' ';
    return end + 1;
}

/// "%.1f " of the value.
char* appendNumber(float value, char* out) noexcept {
    constexpr float fastLimit = 1.0e8F;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const auto magnitude = std::bit_cast<float>(bits & ~signBit);
    if (!(magnitude < fastLimit))
        return appendUnusual(value, out);
    *out = '-';
    out += bits >> 31;

    // A float times 10 is exact in double. Adding 1.5 * 2^52 leaves no bits for a fraction: the sum's low bits are the
    // tenths, rounded to nearest even as printf rounds.
    const double shifted = static_cast<double>(magnitude) * 10.0 + 0x1.8p52;
    const auto tenths = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(shifted));
    std::uint32_t whole = tenths / 10;
    const std::uint32_t fraction = tenths - whole * 10;
    // '.', the decimal, ' '
    const std::uint64_t tail = 0x20302EU + (fraction << 8);
    if (whole > 9999) {
        out = std::to_chars(out, out + 10, whole).ptr;
        std::memcpy(out, &tail, 4);
        return out + 3;
    }
    // Four digits at once, the first in the lowest byte: split into two pairs in 16-bit lanes, then each into digits.
    const std::uint32_t hundreds = (whole * 5243U) >> 19;
    const std::uint32_t pairs = hundreds | ((whole - hundreds * 100) << 16);
    const std::uint32_t tens = ((pairs * 103U) >> 10) & 0x000F000FU;
    const std::uint32_t digits = tens | ((pairs - tens * 10) << 8);
    // Leading zeros go, but the last digit stays.
    const auto leadingZeros = static_cast<unsigned>(std::countr_zero(digits | (1U << 24))) / 8;
    const unsigned digitBits = 8 * (4 - leadingZeros);
    const std::uint64_t text = ((digits + 0x30303030U) >> (8 * leadingZeros)) | (tail << digitBits);
    std::memcpy(out, &text, sizeof text);
    return out + 7 - leadingZeros;
}

/// The numbers 0 to 255, each followed by `separator`.
constexpr std::array<std::uint32_t, 256> makeColourTexts(char separator) {
    std::array<std::uint32_t, 256> texts{};
    for (std::uint32_t value = 0; value < 256; ++value) {
        std::uint32_t text = static_cast<std::uint8_t>(separator);
        std::uint32_t rest = value;
        do {
            text = (text << 8) | ('0' + rest % 10);
            rest /= 10;
        } while (rest != 0);
        texts[value] = text;
    }
    return texts;
}

char* appendColour(const std::array<std::uint32_t, 256>& texts, std::uint8_t value, char* out) noexcept {
    std::memcpy(out, &texts[value], 4);
    return out + 2 + (value >= 10 ? 1 : 0) + (value >= 100 ? 1 : 0);
}

constexpr auto innerColours = makeColourTexts(' ');
constexpr auto lastColours = makeColourTexts('\n');

} // namespace

char* formatXyzLine(const Point& point, char* out) noexcept {
    out = appendNumber(point.x, out);
    out = appendNumber(point.y, out);
    out = appendNumber(point.z, out);
    out = appendColour(innerColours, point.red, out);
    out = appendColour(innerColours, point.green, out);
    return appendColour(lastColours, point.blue, out);
}

} // namespace Vorta::Export
