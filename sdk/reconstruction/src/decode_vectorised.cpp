// Compiled once for each instruction set; see decode_reference.cpp for what each loop does. Every floating-point
// operation stands here in the same order as there, and contraction to fused operations is off for both files, so that
// the results are the same bits on every processor.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "decode_vectorised.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "decodekernels.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace Vorta::Reconstruction::Kernels::HWY_NAMESPACE {

namespace {

#if HWY_TARGET == HWY_SCALAR

const DecodeSet& set() {
    return decodeReference();
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::RepartitionToWide<Bytes>;
using HalfBytes = hn::Half<Bytes>;
using Floats = hn::ScalableTag<float>;
using Ints = hn::RebindToSigned<Floats>;
using FloatBytes = hn::Rebind<std::uint8_t, Floats>;
using FloatWords = hn::Rebind<std::uint16_t, Floats>;
using ByteVector = hn::Vec<Bytes>;
using WordVector = hn::Vec<Words>;
using FloatVector = hn::Vec<Floats>;

HWY_INLINE WordVector lower(ByteVector bytes) {
    return hn::PromoteTo(Words(), hn::LowerHalf(HalfBytes(), bytes));
}

HWY_INLINE WordVector upper(ByteVector bytes) {
    return hn::PromoteTo(Words(), hn::UpperHalf(HalfBytes(), bytes));
}

/// One vector of bytes from two of words below 256.
HWY_INLINE ByteVector joined(WordVector lowerWords, WordVector upperWords) {
    const HalfBytes d;
    return hn::Combine(Bytes(), hn::TruncateTo(d, upperWords), hn::TruncateTo(d, lowerWords));
}

/// Loads levels, and has those fetched that are farther on: processors by themselves follow fewer images than there
/// are.
HWY_INLINE ByteVector fetch(const CodedRow& in, const std::uint8_t* image, std::size_t i) {
    hwy::Prefetch(image + i + in.ahead);
    return hn::LoadU(Bytes(), image + i);
}

struct PhaseVectors {
    HWY_INLINE PhaseVectors(const CodedRow& in, std::size_t i)
        : i0(fetch(in, in.phase[0], i)),
          i1(fetch(in, in.phase[1], i)),
          i2(fetch(in, in.phase[2], i)),
          i3(fetch(in, in.phase[3], i)) {}

    HWY_INLINE ByteVector highest() const { return hn::Max(hn::Max(i0, i1), hn::Max(i2, i3)); }
    HWY_INLINE WordVector lowerSum() const {
        return hn::Add(hn::Add(lower(i0), lower(i1)), hn::Add(lower(i2), lower(i3)));
    }
    HWY_INLINE WordVector upperSum() const {
        return hn::Add(hn::Add(upper(i0), upper(i1)), hn::Add(upper(i2), upper(i3)));
    }

    ByteVector i0, i1, i2, i3;
};

/// Bits read against their inverses. A bit is set, or its difference too small, where the vector that says so is 0xFF.
struct AgainstInverse {
    /// `least` in grey levels: smaller differences are too small.
    HWY_INLINE AgainstInverse(const CodedRow& row, ByteVector leastDifference) : in(row), least(leastDifference) {}

    HWY_INLINE void read(std::size_t bit, std::size_t i, ByteVector& isSet, ByteVector& isTooSmall) const {
        const Bytes d;
        const auto zero = hn::Zero(d);
        const auto pattern = fetch(in, in.bits[bit], i);
        const auto inverse = fetch(in, in.inverses[bit], i);
        const auto below = hn::SaturatedSub(inverse, pattern);
        const auto above = hn::SaturatedSub(pattern, inverse);
        isSet = hn::VecFromMask(d, above != zero);
        // difference < least exactly when something is left of least.
        isTooSmall = hn::VecFromMask(d, hn::SaturatedSub(least, hn::Or(above, below)) != zero);
    }

    const CodedRow& in;
    ByteVector least;
};

/// Bits read against the mean of the phase images. With their sum S, a level I is above the mean when I > floor(S / 4),
/// and |4 I - S| < L when floor((S - L) / 4) < I and I <= floor((S + L - 1) / 4).
struct AgainstMean {
    /// Smaller differences than `least`, in half grey levels, are too small.
    HWY_INLINE AgainstMean(const CodedRow& row, const PhaseVectors& phase, WordVector lowerLeast, WordVector upperLeast)
        : in(row),
          mean(joined(hn::ShiftRight<2>(phase.lowerSum()), hn::ShiftRight<2>(phase.upperSum()))),
          first(joined(firstOf(phase.lowerSum(), lowerLeast), firstOf(phase.upperSum(), upperLeast))),
          last(joined(lastOf(phase.lowerSum(), lowerLeast), lastOf(phase.upperSum(), upperLeast))) {}

    HWY_INLINE void read(std::size_t bit, std::size_t i, ByteVector& isSet, ByteVector& isTooSmall) const {
        const Bytes d;
        const auto zero = hn::Zero(d);
        const auto level = fetch(in, in.bits[bit], i);
        isSet = hn::VecFromMask(d, hn::SaturatedSub(level, mean) != zero);
        const auto outside = hn::Or(hn::SaturatedSub(first, level), hn::SaturatedSub(level, last));
        isTooSmall = hn::VecFromMask(d, outside == zero);
    }

    static HWY_INLINE WordVector firstOf(WordVector sum, WordVector least) {
        return hn::ShiftRight<2>(hn::SaturatedSub(hn::Add(sum, hn::Set(Words(), 4)), least));
    }
    static HWY_INLINE WordVector lastOf(WordVector sum, WordVector least) {
        const Words d;
        const auto end = hn::SaturatedSub(hn::Add(sum, least), hn::Set(d, 1));
        return hn::Min(hn::ShiftRight<2>(end), hn::Set(d, 255));
    }

    const CodedRow& in;
    ByteVector mean, first, last;
};

/// Reads the bits of one plane; the plane's last one becomes bit 0.
template <typename Reader>
HWY_INLINE void readPlane(const Reader& reader, std::size_t plane, std::size_t bitCount, std::size_t i, ByteVector& set,
                          ByteVector& tooSmall) {
    const Bytes d;
    const std::size_t last = bitCount - 8 * plane;
    set = hn::Zero(d);
    tooSmall = hn::Zero(d);
    for (std::size_t bit = last > 8 ? last - 8 : 0; bit < last; ++bit) {
        const auto weight = hn::Set(d, static_cast<std::uint8_t>(1U << (last - 1 - bit)));
        ByteVector isSet = set;
        ByteVector isTooSmall = set;
        reader.read(bit, i, isSet, isTooSmall);
        set = hn::Or(set, hn::And(isSet, weight));
        tooSmall = hn::Or(tooSmall, hn::And(isTooSmall, weight));
    }
}

template <typename Reader>
HWY_INLINE void readPlanes(const Reader& reader, const ReadRow& out, std::size_t i) {
    const Bytes d;
    for (std::size_t plane = 0; 8 * plane < reader.in.bitCount; ++plane) {
        ByteVector set;
        ByteVector undecided;
        readPlane(reader, plane, reader.in.bitCount, i, set, undecided);
        hn::StoreU(set, d, out.set[plane] + i);
        hn::StoreU(undecided, d, out.undecided[plane] + i);
    }
}

void readBits(const CodedRow& in, const ReadRow& out, std::size_t begin, std::size_t end) {
    const Bytes d;
    const auto level = hn::Set(d, in.saturationLevel);
    const auto least = hn::Set(d, static_cast<std::uint8_t>((in.minDifferenceHalves + 1) / 2));
    const auto leastHalves = hn::Set(Words(), in.minDifferenceHalves);
    const auto readVector = [&](std::size_t i) HWY_ATTR {
        const PhaseVectors phase(in, i);
        const auto highest = phase.highest();
        hn::StoreU(hn::VecFromMask(d, hn::Max(highest, level) == highest), d, out.saturated + i);
        if (in.hasInverses)
            readPlanes(AgainstInverse(in, least), out, i);
        else
            readPlanes(AgainstMean(in, phase, leastHalves, leastHalves), out, i);
    };
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d))
        readVector(i);
    if (i > begin && i < end)
        readVector(end - hn::Lanes(d)); // once more what lies before the rest
    else
        decodeReference().readBits(in, out, i, end);
}

HWY_INLINE WordVector binaryFromGray(WordVector gray) {
    gray = hn::Xor(gray, hn::ShiftRight<1>(gray));
    gray = hn::Xor(gray, hn::ShiftRight<2>(gray));
    gray = hn::Xor(gray, hn::ShiftRight<4>(gray));
    return hn::Xor(gray, hn::ShiftRight<8>(gray));
}

HWY_INLINE WordVector loadWords(const BitPlanes& planes, bool hasHighPlane, std::size_t i) {
    const HalfBytes d;
    const auto low = hn::PromoteTo(Words(), hn::LoadU(d, planes[0] + i));
    return hasHighPlane ? hn::Or(low, hn::ShiftLeft<8>(hn::PromoteTo(Words(), hn::LoadU(d, planes[1] + i)))) : low;
}

void resolveGray(const CodedRow& in, const ReadRow& read, const DecodedRow& out, std::size_t begin, std::size_t end) {
    const Words d;
    const HalfBytes db;
    const bool hasHighPlane = in.bitCount > 8;
    const auto one = hn::Set(d, 1);
    const auto reject = hn::Set(db, std::uint8_t{in.rejectSaturated ? std::uint8_t{255} : std::uint8_t{0}});
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d)) {
        const auto set = loadWords(read.set, hasHighPlane, i);
        const auto half = binaryFromGray(set);
        const auto other = binaryFromGray(hn::Xor(set, loadWords(read.undecided, hasHighPlane, i)));
        const auto distance = hn::Or(hn::SaturatedSub(half, other), hn::SaturatedSub(other, half));
        const auto decided = hn::VecFromMask(d, hn::SaturatedSub(distance, one) == hn::Zero(d));
        const auto rejected = hn::And(hn::LoadU(db, read.saturated + i), reject);
        hn::StoreU(half, d, out.halfPeriod + i);
        hn::StoreU(hn::AndNot(rejected, hn::TruncateTo(db, decided)), db, out.accepted + i);
    }
    decodeReference().resolveGray(in, read, out, i, end);
}

HWY_INLINE FloatVector difference(const std::uint8_t* a, const std::uint8_t* b) {
    const hn::Rebind<std::int16_t, Floats> d;
    const FloatBytes db;
    const auto words = hn::Sub(hn::PromoteTo(d, hn::LoadU(db, a)), hn::PromoteTo(d, hn::LoadU(db, b)));
    return hn::ConvertTo(Floats(), hn::PromoteTo(Ints(), words));
}

HWY_INLINE FloatVector turns(FloatVector sine, FloatVector cosine) {
    const Floats d;
    const auto zero = hn::Zero(d);
    const auto along = hn::Abs(cosine);
    const auto across = hn::Abs(sine);
    const auto q = hn::Div(hn::Min(along, across), hn::Max(hn::Max(along, across), hn::Set(d, 1.0F)));
    const auto qq = hn::Mul(q, q);
    auto sum = hn::Set(d, arcTangentTurns.back());
    for (std::size_t k = arcTangentTurns.size() - 1; k-- > 0;)
        sum = hn::Add(hn::Mul(sum, qq), hn::Set(d, arcTangentTurns[k]));
    auto angle = hn::Mul(sum, q);
    angle = hn::IfThenElse(across > along, hn::Sub(hn::Set(d, 0.25F), angle), angle);
    angle = hn::IfThenElse(cosine < zero, hn::Sub(hn::Set(d, 0.5F), angle), angle);
    return hn::IfThenElse(sine < zero, hn::Sub(hn::Set(d, 1.0F), angle), angle);
}

void locate(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    const Floats d;
    const FloatBytes db;
    const auto half = hn::Set(d, 0.5F);
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d)) {
        const auto cosine = difference(in.phase[0] + i, in.phase[2] + i);
        const auto sine = difference(in.phase[3] + i, in.phase[1] + i);
        const auto power = hn::Add(hn::Mul(cosine, cosine), hn::Mul(sine, sine));
        const auto modulation = hn::Mul(half, hn::Sqrt(power));
        const auto phase = turns(sine, cosine);
        const auto code = hn::ConvertTo(d, hn::PromoteTo(Ints(), hn::LoadU(FloatWords(), out.halfPeriod + i)));
        const auto middle = hn::Add(hn::Mul(code, half), hn::Set(d, 0.25F));
        const auto periods = hn::Add(hn::Floor(hn::Add(hn::Sub(middle, phase), half)), phase);
        const auto good = hn::And(hn::Abs(hn::Sub(periods, middle)) <= hn::Set(d, maxCodeDistance),
                                  modulation >= hn::Set(d, in.minModulation));
        hn::StoreU(modulation, d, out.modulation + i);
        hn::StoreU(hn::Mul(periods, hn::Set(d, in.periodPixels)), d, out.position + i);
        const auto earlier = hn::LoadU(db, out.accepted + i);
        const auto now = hn::TruncateTo(db, hn::BitCast(hn::RebindToUnsigned<Floats>(), hn::VecFromMask(d, good)));
        hn::StoreU(hn::And(earlier, now), db, out.accepted + i);
    }
    decodeReference().locate(in, out, i, end);
}

template <typename Reader>
HWY_INLINE void markTooSmall(const Reader& reader, const BitPlanes& ambiguous, std::size_t i) {
    for (std::size_t plane = 0; 8 * plane < reader.in.bitCount; ++plane) {
        ByteVector set;
        ByteVector tooSmall;
        readPlane(reader, plane, reader.in.bitCount, i, set, tooSmall);
        hn::StoreU(tooSmall, Bytes(), ambiguous[plane] + i);
    }
}

void findAmbiguous(const CodedRow& in, const float* modulation, const BitPlanes& ambiguous, std::size_t begin,
                   std::size_t end) {
    const Bytes d;
    const Floats df;
    HWY_ALIGN std::uint8_t wholeLevels[hn::MaxLanes(Bytes())];
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d)) {
        for (std::size_t k = 0; k < hn::Lanes(d); k += hn::Lanes(df)) {
            const auto levels = hn::ConvertTo(Ints(), hn::LoadU(df, modulation + i + k));
            hn::StoreU(hn::DemoteTo(FloatBytes(), levels), FloatBytes(), wholeLevels + k);
        }
        const auto least = hn::Load(d, wholeLevels);
        if (in.hasInverses) {
            markTooSmall(AgainstInverse(in, least), ambiguous, i);
        } else {
            const auto lowerLeast = hn::ShiftLeft<1>(lower(least));
            const auto upperLeast = hn::ShiftLeft<1>(upper(least));
            markTooSmall(AgainstMean(in, PhaseVectors(in, i), lowerLeast, upperLeast), ambiguous, i);
        }
    }
    decodeReference().findAmbiguous(in, modulation, ambiguous, i, end);
}

const DecodeSet& set() {
    static constexpr DecodeSet loops{
        .readBits = readBits, .resolveGray = resolveGray, .locate = locate, .findAmbiguous = findAmbiguous};
    return loops;
}

#endif

} // namespace

} // namespace Vorta::Reconstruction::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::Reconstruction::Kernels {

HWY_EXPORT(set);

const DecodeSet& decodeVectorised() noexcept {
    return HWY_DYNAMIC_DISPATCH(set)();
}

} // namespace Vorta::Reconstruction::Kernels
#endif
