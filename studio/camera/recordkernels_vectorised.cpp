// Compiled once for each instruction set; see recordkernels_reference.cpp for what the loop does.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "camera/recordkernels_vectorised.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "camera/recordkernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace Vorta::RecordKernels::HWY_NAMESPACE {

namespace {

#if HWY_TARGET == HWY_SCALAR

Kernels kernels() {
    return reference();
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// A point's last four words (y, z, contrast, colour) are one vector of 128 bits on every processor.
using Floats = hn::Full128<float>;
using Words = hn::Full128<std::uint32_t>;
using Bytes = hn::Full128<std::uint8_t>;
using FloatVector = hn::Vec<Floats>;
using WordVector = hn::Vec<Words>;

struct FourPoints {
    FloatVector z;
    FloatVector contrast;
    WordVector colour;
};

HWY_INLINE FourPoints load(const Point* points) {
    const Floats d;
    const auto p0 = hn::LoadU(d, &points[0].y);
    const auto p1 = hn::LoadU(d, &points[1].y);
    const auto p2 = hn::LoadU(d, &points[2].y);
    const auto p3 = hn::LoadU(d, &points[3].y);
    const auto lower01 = hn::InterleaveLower(d, p0, p1); // y0 y1 z0 z1
    const auto lower23 = hn::InterleaveLower(d, p2, p3);
    const auto upper01 = hn::InterleaveUpper(d, p0, p1); // contrast0 contrast1 colour0 colour1
    const auto upper23 = hn::InterleaveUpper(d, p2, p3);
    return {.z = hn::ConcatUpperUpper(d, lower23, lower01),
            .contrast = hn::ConcatLowerLower(d, upper23, upper01),
            .colour = hn::BitCast(Words(), hn::ConcatUpperUpper(d, upper23, upper01))};
}

struct Limits {
    FloatVector threshold;
    FloatVector minZ;
    FloatVector maxZ;
};

/// One mask code in each word. The tests run from the weakest to the strongest, each overruling those before.
HWY_INLINE WordVector classify(const FourPoints& p, const Limits& limits) {
    const Words d;
    const auto code = [&](auto where, std::uint8_t value, WordVector otherwise) {
        return hn::IfThenElse(hn::RebindMask(d, where), hn::Set(d, value), otherwise);
    };
    const auto colourBits = hn::Set(d, 0x00FFFFFFU);
    auto codes = code(hn::IsNaN(p.z), MaskCode::irrelevant, hn::Zero(d));
    codes = code(hn::Or(hn::Gt(limits.minZ, p.z), hn::Gt(p.z, limits.maxZ)), MaskCode::outOfRange, codes);
    codes = code(hn::Gt(limits.threshold, p.contrast), MaskCode::lowContrast, codes);
    return code(hn::Eq(hn::And(p.colour, colourBits), colourBits), MaskCode::saturated, codes);
}

DepthRange buildLoop(std::span<const Point> points, const ClassificationLimits& settings, const Images& out) {
    const Floats d;
    const Bytes db;
    const hn::Half<hn::Full128<std::uint16_t>> halfWords;
    const Limits limits{.threshold = hn::Set(d, settings.contrastThreshold),
                        .minZ = hn::Set(d, settings.minZ),
                        .maxZ = hn::Set(d, settings.maxZ)};
    HWY_ALIGN constexpr std::uint8_t withoutAlpha[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
    const auto dropAlpha = hn::Load(db, withoutAlpha);
    auto minimum = hn::Set(d, std::numeric_limits<float>::infinity());
    auto maximum = hn::Set(d, -std::numeric_limits<float>::infinity());

    constexpr std::size_t step = 8;
    // Twelve bytes of colour are stored as sixteen, so the last points are left to the plain loop.
    constexpr std::size_t spare = 2;
    std::size_t i = 0;
    for (; i + step + spare <= points.size(); i += step) {
        const FourPoints lower = load(points.data() + i);
        const FourPoints upper = load(points.data() + i + 4);
        hn::StoreU(lower.z, d, out.depth + i);
        hn::StoreU(upper.z, d, out.depth + i + 4);
        hn::StoreU(hn::TableLookupBytes(hn::BitCast(db, lower.colour), dropAlpha), db, out.color + 3 * i);
        hn::StoreU(hn::TableLookupBytes(hn::BitCast(db, upper.colour), dropAlpha), db, out.color + 3 * i + 12);
        const auto codes = hn::Combine(hn::Full128<std::uint16_t>(), hn::TruncateTo(halfWords, classify(upper, limits)),
                                       hn::TruncateTo(halfWords, classify(lower, limits)));
        hn::StoreU(hn::TruncateTo(hn::Half<Bytes>(), codes), hn::Half<Bytes>(), out.mask + i);
        // Selected by comparison, which NaN never wins; the processors' own minimum treats NaN each in its way.
        minimum = hn::IfThenElse(hn::Lt(lower.z, minimum), lower.z, minimum);
        minimum = hn::IfThenElse(hn::Lt(upper.z, minimum), upper.z, minimum);
        maximum = hn::IfThenElse(hn::Gt(lower.z, maximum), lower.z, maximum);
        maximum = hn::IfThenElse(hn::Gt(upper.z, maximum), upper.z, maximum);
    }
    const DepthRange rest = reference().build(
        points.subspan(i), settings, {.depth = out.depth + i, .mask = out.mask + i, .color = out.color + 3 * i});
    const auto least = static_cast<double>(hn::GetLane(hn::MinOfLanes(d, minimum)));
    const auto greatest = static_cast<double>(hn::GetLane(hn::MaxOfLanes(d, maximum)));
    return {.minimum = std::min(least + 0.0, rest.minimum), .maximum = std::max(greatest + 0.0, rest.maximum)};
}

void store(WordVector words, std::uint32_t* to, bool past) {
    if (past)
        hn::Stream(words, Words(), to);
    else
        hn::StoreU(words, Words(), to);
}

// Four points are five vectors. Which byte of the mask decides on each of their bytes; none on contrast and colour.
constexpr std::uint8_t none = 0x80;
HWY_ALIGN constexpr std::uint8_t deciders[5][16] = {
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, none, none, none, none},
    {none, none, none, none, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {none, none, none, none, none, none, none, none, 2, 2, 2, 2, 2, 2, 2, 2},
    {2, 2, 2, 2, none, none, none, none, none, none, none, none, 3, 3, 3, 3},
    {3, 3, 3, 3, 3, 3, 3, 3, none, none, none, none, none, none, none, none},
};

void hideLoop(std::span<const Point> points, const std::uint8_t* mask, Point* to) {
    static_assert(sizeof(Point) == 5 * sizeof(std::uint32_t));
    const Words d;
    const Bytes db;
    const auto* from = reinterpret_cast<const std::uint32_t*>(points.data());
    auto* out = reinterpret_cast<std::uint32_t*>(to);
    // A cloud is larger than the caches: written past them it need not be read into them first.
    constexpr std::size_t vectorBytes = 16;
    const bool past = reinterpret_cast<std::uintptr_t>(out) % vectorBytes == 0;
    const auto nan = hn::Set(d, 0x7FC00000U);
    constexpr std::size_t step = 16;
    std::size_t i = 0;
    for (; i + step <= points.size(); i += step) {
        auto hidden = hn::VecFromMask(db, hn::Ne(hn::LoadU(db, mask + i), hn::Zero(db)));
        for (std::size_t group = 0; group < step / 4; ++group, from += 20, out += 20) {
            for (std::size_t k = 0; k < 5; ++k) {
                const auto where = hn::TableLookupBytesOr0(hidden, hn::Load(db, deciders[k]));
                const auto chosen = hn::MaskFromVec(hn::BitCast(d, where));
                store(hn::IfThenElse(chosen, nan, hn::LoadU(d, from + 4 * k)), out + 4 * k, past);
            }
            hidden = hn::ShiftRightBytes<4>(db, hidden);
        }
    }
    hwy::FlushStream();
    reference().hide(points.subspan(i), mask + i, to + i);
}

Kernels kernels() {
    return {.build = buildLoop, .hide = hideLoop};
}

#endif

} // namespace

} // namespace Vorta::RecordKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::RecordKernels {

HWY_EXPORT(kernels);

Kernels vectorised() noexcept {
    return HWY_DYNAMIC_DISPATCH(kernels)();
}

} // namespace Vorta::RecordKernels
#endif
