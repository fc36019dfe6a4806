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
};

NanText nanText(std::uint32_t bits) noexcept {
    NanText text;
    text.length = static_cast<std::size_t>(printNonFinite(std::bit_cast<float>(bits), text.characters.data()) -
                                           text.characters.data());
    return text;
}

/// Numbers beyond the fast path: NaN (common: every invalid point), infinities and huge values.
char* appendUnusual(float value, char* out) noexcept {
    static const std::array<NanText, 2> nanTexts{nanText(quietNan), nanText(quietNan | signBit)};
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

/// The numbers 0 to count - 1, each followed by `separator`: the characters from the lowest byte on, their number in
/// the highest byte.
template <std::uint32_t count>
constexpr std::array<std::uint64_t, count> makeTexts(char separator) {
    std::array<std::uint64_t, count> texts{};
    for (std::uint32_t value = 0; value < count; ++value) {
        std::uint64_t text = static_cast<std::uint8_t>(separator);
        std::uint64_t length = 1;
        std::uint32_t rest = value;
        do {
            text = (text << 8) | ('0' + rest % 10);
            ++length;
            rest /= 10;
        } while (rest != 0);
        texts[value] = text | (length << 56);
    }
    return texts;
}

constexpr auto wholeTexts = makeTexts<10'000>('.');
constexpr auto colourTexts = makeTexts<256>(' ');
constexpr auto lastColourTexts = makeTexts<256>('\n');

/// One store whatever the length; what lies behind the text is overwritten by the next.
char* appendText(std::uint64_t text, char* out) noexcept {
    std::memcpy(out, &text, sizeof text);
    return out + (text >> 56);
}

/// "%.1f " of the value.
char* appendNumber(float value, char* out) noexcept {
    constexpr float fastLimit = 1.0e8F;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const auto magnitude = std::bit_cast<float>(bits & ~signBit);
    if (!(magnitude < fastLimit)) [[unlikely]]
        return appendUnusual(value, out);
    *out = '-';
    out += bits >> 31;

    // A float times 10 is exact in double. Adding 1.5 * 2^52 leaves no bits for a fraction: the sum's low bits are the
    // tenths, rounded to nearest even as printf rounds.
    const double shifted = static_cast<double>(magnitude) * 10.0 + 0x1.8p52;
    const auto tenths = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(shifted));
    const std::uint32_t whole = tenths / 10;
    if (whole < wholeTexts.size()) [[likely]] {
        out = appendText(wholeTexts[whole], out);
    } else {
        out = std::to_chars(out, out + 10, whole).ptr;
        *out++ = '.';
    }
    out[0] = static_cast<char>('0' + (tenths - whole * 10));
    out[1] = ' ';
    return out + 2;
}

} // namespace

char* formatXyz(std::span<const Point> points, char* out) noexcept {
    for (const Point& point : points) {
        // One call in the source, so that it is inlined: half of the time would go into calling otherwise.
        for (const float coordinate : {point.x, point.y, point.z})
            out = appendNumber(coordinate, out);
        out = appendText(colourTexts[point.red], out);
        out = appendText(colourTexts[point.green], out);
        out = appendText(lastColourTexts[point.blue], out);
    }
    return out;
}

} // namespace Vorta::Export
