// Compiled once for each instruction set; see recordkernels_reference.cpp for what the loop does.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "camera/recordkernels_vectorised.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "camera/recordkernels.h"

#include <algorithm>
#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace Vorta::RecordKernels::HWY_NAMESPACE {

namespace {

#if HWY_TARGET == HWY_SCALAR

Loop build() {
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
    const DepthRange rest = reference()(points.subspan(i), settings,
                                        {.depth = out.depth + i, .mask = out.mask + i, .color = out.color + 3 * i});
    const auto least = static_cast<double>(hn::GetLane(hn::MinOfLanes(d, minimum)));
    const auto greatest = static_cast<double>(hn::GetLane(hn::MaxOfLanes(d, maximum)));
    return {.minimum = std::min(least + 0.0, rest.minimum), .maximum = std::max(greatest + 0.0, rest.maximum)};
}

Loop build() {
    return buildLoop;
}

#endif

} // namespace

} // namespace Vorta::RecordKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::RecordKernels {

HWY_EXPORT(build);

Loop vectorised() noexcept {
    return HWY_DYNAMIC_DISPATCH(build)();
}

} // namespace Vorta::RecordKernels
#endif
