// Compiled once for each instruction set; see kernels_reference.cpp for what each loop does. Every floating-point
// operation stands here in the same order as there, and contraction to fused operations is off for both files, so that
// the results are the same bits on every processor.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels_vectorised.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "kernels.h"

#include <algorithm>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Vorta::Reconstruction::Kernels::HWY_NAMESPACE {

namespace {

#if HWY_TARGET == HWY_SCALAR

const Set& set() {
    return reference();
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

HWY_INLINE WordVector binaryFromGray(WordVector gray) {
    gray = hn::Xor(gray, hn::ShiftRight<1>(gray));
    gray = hn::Xor(gray, hn::ShiftRight<2>(gray));
    gray = hn::Xor(gray, hn::ShiftRight<4>(gray));
    return hn::Xor(gray, hn::ShiftRight<8>(gray));
}

/// Reads eight or fewer of the bit images into the bits of one byte; the last one becomes bit 0.
struct BitsOfByte {
    ByteVector read;
    ByteVector undecided;
};

HWY_INLINE BitsOfByte readBits(const CodedRow& in, std::size_t first, std::size_t last, std::size_t i) {
    const Bytes d;
    const auto zero = hn::Zero(d);
    const auto least = hn::Set(d, in.minBitDifference);
    BitsOfByte bits{.read = zero, .undecided = zero};
    for (std::size_t b = first; b < last; ++b) {
        const auto weight = hn::Set(d, static_cast<std::uint8_t>(1U << (last - 1 - b)));
        const auto pattern = hn::LoadU(d, in.bits[2 * b] + i);
        const auto inverse = hn::LoadU(d, in.bits[2 * b + 1] + i);
        const auto above = hn::SaturatedSub(pattern, inverse);
        const auto difference = hn::Or(above, hn::SaturatedSub(inverse, pattern));
        bits.read = hn::Or(bits.read, hn::AndNot(hn::VecFromMask(d, above == zero), weight));
        // difference < least exactly when it stays below after subtracting.
        bits.undecided =
            hn::Or(bits.undecided, hn::AndNot(hn::VecFromMask(d, hn::SaturatedSub(least, difference) == zero), weight));
    }
    return bits;
}

/// Half period and, 0xFFFF or 0, whether it is decided, of one vector of words.
HWY_INLINE WordVector resolve(WordVector gray, WordVector undecided, std::uint16_t* halfPeriod) {
    const Words d;
    const auto read = binaryFromGray(gray);
    const auto other = binaryFromGray(hn::Xor(gray, undecided));
    hn::StoreU(read, d, halfPeriod);
    const auto distance = hn::Or(hn::SaturatedSub(read, other), hn::SaturatedSub(other, read));
    return hn::VecFromMask(d, hn::SaturatedSub(distance, hn::Set(d, 1)) == hn::Zero(d));
}

/// The byte-wide half of decoding: half periods, saturation, and acceptance as far as these decide it.
HWY_INLINE std::size_t decodeBytes(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    const Bytes d;
    const Words dw;
    const HalfBytes dh;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t highBits = in.bitCount > 8 ? in.bitCount - 8 : 0;
    const auto level = hn::Set(d, in.saturationLevel);
    const auto reject = hn::Set(d, std::uint8_t{in.rejectSaturated ? std::uint8_t{255} : std::uint8_t{0}});
    std::size_t i = begin;
    for (; i + lanes <= end; i += lanes) {
        const auto highest = hn::Max(hn::Max(hn::LoadU(d, in.phase[0] + i), hn::LoadU(d, in.phase[1] + i)),
                                     hn::Max(hn::LoadU(d, in.phase[2] + i), hn::LoadU(d, in.phase[3] + i)));
        const auto saturated = hn::VecFromMask(d, hn::Max(highest, level) == highest);
        hn::StoreU(saturated, d, out.saturated + i);

        const BitsOfByte low = readBits(in, highBits, in.bitCount, i);
        auto lowerGray = hn::PromoteTo(dw, hn::LowerHalf(dh, low.read));
        auto upperGray = hn::PromoteTo(dw, hn::UpperHalf(dh, low.read));
        auto lowerUndecided = hn::PromoteTo(dw, hn::LowerHalf(dh, low.undecided));
        auto upperUndecided = hn::PromoteTo(dw, hn::UpperHalf(dh, low.undecided));
        if (highBits > 0) {
            const BitsOfByte high = readBits(in, 0, highBits, i);
            lowerGray = hn::Or(lowerGray, hn::ShiftLeft<8>(hn::PromoteTo(dw, hn::LowerHalf(dh, high.read))));
            upperGray = hn::Or(upperGray, hn::ShiftLeft<8>(hn::PromoteTo(dw, hn::UpperHalf(dh, high.read))));
            lowerUndecided =
                hn::Or(lowerUndecided, hn::ShiftLeft<8>(hn::PromoteTo(dw, hn::LowerHalf(dh, high.undecided))));
            upperUndecided =
                hn::Or(upperUndecided, hn::ShiftLeft<8>(hn::PromoteTo(dw, hn::UpperHalf(dh, high.undecided))));
        }
        const auto lowerDecided = hn::TruncateTo(dh, resolve(lowerGray, lowerUndecided, out.halfPeriod + i));
        const auto upperDecided =
            hn::TruncateTo(dh, resolve(upperGray, upperUndecided, out.halfPeriod + i + lanes / 2));
        const auto decided = hn::Combine(d, upperDecided, lowerDecided);
        hn::StoreU(hn::AndNot(hn::And(saturated, reject), decided), d, out.accepted + i);
    }
    return i;
}

HWY_INLINE FloatVector load(const std::uint8_t* bytes) {
    return hn::ConvertTo(Floats(), hn::PromoteTo(Ints(), hn::LoadU(FloatBytes(), bytes)));
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

/// The float-wide half of decoding; needs what `decodeBytes` has written.
HWY_INLINE void decodeFloats(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    const Floats d;
    const Ints di;
    const FloatBytes db;
    const auto half = hn::Set(d, 0.5F);
    for (std::size_t i = begin; i < end; i += hn::Lanes(d)) {
        const auto cosine = hn::Sub(load(in.phase[0] + i), load(in.phase[2] + i));
        const auto sine = hn::Sub(load(in.phase[3] + i), load(in.phase[1] + i));
        const auto power = hn::Add(hn::Mul(cosine, cosine), hn::Mul(sine, sine));
        const auto modulation = hn::Mul(half, hn::Sqrt(power));
        const auto phase = turns(sine, cosine);
        const auto code = hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(FloatWords(), out.halfPeriod + i)));
        const auto middle = hn::Add(hn::Mul(code, half), hn::Set(d, 0.25F));
        const auto periods = hn::Add(hn::Floor(hn::Add(hn::Sub(middle, phase), half)), phase);
        const auto good = hn::And(hn::Abs(hn::Sub(periods, middle)) <= hn::Set(d, maxCodeDistance),
                                  modulation >= hn::Set(d, in.minModulation));
        hn::StoreU(modulation, d, out.modulation + i);
        hn::StoreU(hn::Mul(periods, hn::Set(d, in.periodLines)), d, out.position + i);
        const auto earlier = hn::LoadU(db, out.accepted + i);
        const auto now = hn::TruncateTo(db, hn::BitCast(hn::RebindToUnsigned<Floats>(), hn::VecFromMask(d, good)));
        hn::StoreU(hn::And(earlier, now), db, out.accepted + i);
    }
}

void decode(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    const std::size_t done = decodeBytes(in, out, begin, end);
    decodeFloats(in, out, begin, done);
    reference().decode(in, out, done, end);
}

/// Brown-Conrady distortion of one vector of projector directions.
struct Lens {
    explicit Lens(const ColumnGeometry<float>& g)
        : k1(hn::Set(Floats(), g.k1)),
          k2(hn::Set(Floats(), g.k2)),
          k3(hn::Set(Floats(), g.k3)),
          p1(hn::Set(Floats(), g.p1)),
          p2(hn::Set(Floats(), g.p2)),
          twiceP1(hn::Set(Floats(), 2.0F * g.p1)),
          twiceP2(hn::Set(Floats(), 2.0F * g.p2)),
          two(hn::Set(Floats(), 2.0F)) {}

    HWY_INLINE FloatVector radial(FloatVector r2) const {
        auto sum = hn::Add(hn::Mul(k3, r2), k2);
        sum = hn::Add(hn::Mul(sum, r2), k1);
        return hn::Add(hn::Mul(sum, r2), hn::Set(Floats(), 1.0F));
    }
    HWY_INLINE FloatVector distortX(FloatVector x, FloatVector xx, FloatVector xy, FloatVector r2,
                                    FloatVector factor) const {
        const auto tangential = hn::Add(hn::Mul(twiceP1, xy), hn::Mul(p2, hn::Add(r2, hn::Mul(two, xx))));
        return hn::Add(hn::Mul(x, factor), tangential);
    }
    HWY_INLINE FloatVector distortY(FloatVector y, FloatVector yy, FloatVector xy, FloatVector r2,
                                    FloatVector factor) const {
        const auto tangential = hn::Add(hn::Mul(p1, hn::Add(r2, hn::Mul(two, yy))), hn::Mul(twiceP2, xy));
        return hn::Add(hn::Mul(y, factor), tangential);
    }
    /// d distortX / dx along the line of this slope.
    HWY_INLINE FloatVector derivative(FloatVector x, FloatVector y, FloatVector xx, FloatVector xy, FloatVector r2,
                                      FloatVector factor, FloatVector slope) const {
        const Floats d;
        const auto three = hn::Mul(hn::Set(d, 3.0F), k3);
        auto radialSlope = hn::Add(hn::Mul(three, r2), hn::Mul(two, k2));
        radialSlope = hn::Mul(two, hn::Add(hn::Mul(radialSlope, r2), k1));
        const auto sixP2 = hn::Mul(hn::Set(d, 6.0F), p2);
        const auto byX =
            hn::Add(hn::Add(factor, hn::Mul(xx, radialSlope)), hn::Add(hn::Mul(twiceP1, y), hn::Mul(sixP2, x)));
        const auto byY = hn::Add(hn::Mul(xy, radialSlope), hn::Add(hn::Mul(twiceP1, x), hn::Mul(twiceP2, y)));
        return hn::Add(hn::Mul(slope, byY), byX);
    }

    FloatVector k1, k2, k3, p1, p2, twiceP1, twiceP2, two;
};

HWY_INLINE FloatVector rotate(const float* row, FloatVector a, FloatVector b) {
    const Floats d;
    return hn::Add(hn::Add(hn::Mul(hn::Set(d, row[0]), a), hn::Mul(hn::Set(d, row[1]), b)), hn::Set(d, row[2]));
}

/// One vector of crossings.
HWY_INLINE void triangulateVector(const ColumnGeometry<float>& g, const Lens& lens, const RayRow& ray,
                                  const DecodedRow& decoded, const CoordinateRow& out, std::size_t i) {
    const Floats d;
    const Ints di;
    const auto zero = hn::Zero(d);
    const auto a = hn::LoadU(d, ray.x + i);
    const auto b = hn::LoadU(d, ray.y + i);
    const auto position = hn::LoadU(d, decoded.position + i);
    const auto d1 = rotate(g.r, a, b);
    const auto d2 = rotate(g.r + 3, a, b);
    const auto d3 = rotate(g.r + 6, a, b);
    const auto t1 = hn::Set(d, g.t[0]);
    const auto t2 = hn::Set(d, g.t[1]);
    const auto t3 = hn::Set(d, g.t[2]);
    const auto target = hn::Add(hn::Mul(position, hn::Set(d, g.scale)), hn::Set(d, g.offset));

    const auto minusL2 = hn::Sub(hn::Mul(t1, d3), hn::Mul(t3, d1));
    const auto slope = hn::Div(hn::Sub(hn::Mul(t2, d3), hn::Mul(t3, d2)), minusL2);
    const auto intercept = hn::Div(hn::Sub(hn::Mul(t1, d2), hn::Mul(t2, d1)), minusL2);
    auto x = target;
    auto inverseDerivative = zero;
    for (int step = 0; step <= g.refinements; ++step) {
        const auto y = hn::Add(hn::Mul(slope, x), intercept);
        const auto xx = hn::Mul(x, x);
        const auto xy = hn::Mul(x, y);
        const auto r2 = hn::Add(xx, hn::Mul(y, y));
        const auto factor = lens.radial(r2);
        if (step == 0)
            inverseDerivative = hn::Div(hn::Set(d, 1.0F), lens.derivative(x, y, xx, xy, r2, factor, slope));
        x = hn::Sub(x, hn::Mul(hn::Sub(lens.distortX(x, xx, xy, r2, factor), target), inverseDerivative));
    }

    const auto y = hn::Add(hn::Mul(slope, x), intercept);
    const auto xx = hn::Mul(x, x);
    const auto yy = hn::Mul(y, y);
    const auto xy = hn::Mul(x, y);
    const auto r2 = hn::Add(xx, yy);
    const auto factor = lens.radial(r2);
    const auto error = hn::Abs(hn::Sub(lens.distortX(x, xx, xy, r2, factor), target));
    const auto row =
        hn::Add(hn::Mul(lens.distortY(y, yy, xy, r2, factor), hn::Set(d, g.rowScale)), hn::Set(d, g.rowOffset));
    const auto opening = hn::Sub(hn::Mul(x, d3), d1);
    const auto depth = hn::Div(hn::Sub(t1, hn::Mul(x, t3)), opening);
    const auto projectorDepth = hn::Add(hn::Mul(depth, d3), t3);

    const auto one = hn::Set(d, 1.0F);
    const auto rayLength2 = hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), one);
    const auto lengths2 = hn::Mul(rayLength2, hn::Add(xx, one));
    const auto steepness = hn::Sub(hn::Mul(opening, opening), hn::Mul(lengths2, hn::Set(d, g.minMeetingSine2)));

    const auto accepted = hn::PromoteTo(di, hn::LoadU(FloatBytes(), decoded.accepted + i));
    auto valid = hn::RebindMask(d, accepted > hn::Zero(di));
    valid = hn::And(valid, hn::And(position >= zero, position <= hn::Set(d, g.lineCount)));
    valid = hn::And(valid, hn::And(row >= hn::Set(d, g.rowMinimum), row <= hn::Set(d, g.rowMaximum)));
    valid = hn::And(valid, hn::And(error <= hn::Set(d, g.residual), depth > zero));
    valid = hn::And(valid, steepness >= zero);
    valid = hn::And(valid, hn::And(depth<hn::Set(d, static_cast<float>(maxDepthMm)), projectorDepth> zero));
    const auto invalid = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<Floats>(), 0x7FC00000U));
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(a, depth), invalid), d, out.x + i);
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(b, depth), invalid), d, out.y + i);
    hn::StoreU(hn::IfThenElse(valid, depth, invalid), d, out.z + i);
}

void triangulate(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& decoded, const CoordinateRow& out,
                 std::size_t begin, std::size_t end) {
    const std::size_t lanes = hn::Lanes(Floats());
    const Lens lens(g);
    std::size_t i = begin;
    for (; i + lanes <= end; i += lanes)
        triangulateVector(g, lens, ray, decoded, out, i);
    reference().triangulate(g, ray, decoded, out, i, end);
}

HWY_INLINE WordVector loadWords(const std::uint8_t* bytes) {
    return hn::PromoteTo(Words(), hn::LoadU(HalfBytes(), bytes));
}

void mosaic(const MosaicRow& in, std::uint8_t* white, std::size_t begin, std::size_t end) {
    const Words d;
    const HalfBytes db;
    const auto gain = hn::OddEven(hn::Set(d, in.gain[1]), hn::Set(d, in.gain[0]));
    const auto black = hn::Set(d, in.blackSum);
    const auto level = hn::Set(db, in.saturationLevel);
    const auto unsaturatedSum = hn::Set(d, 2 * 254);
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d)) {
        const auto highest = hn::Max(hn::Max(hn::LoadU(db, in.phase[0] + i), hn::LoadU(db, in.phase[1] + i)),
                                     hn::Max(hn::LoadU(db, in.phase[2] + i), hn::LoadU(db, in.phase[3] + i)));
        const auto saturated = hn::VecFromMask(db, hn::Max(highest, level) == highest);
        const auto sum = hn::Add(hn::Add(loadWords(in.phase[0] + i), loadWords(in.phase[1] + i)),
                                 hn::Add(loadWords(in.phase[2] + i), loadWords(in.phase[3] + i)));
        const auto lit = hn::Min(hn::SaturatedSub(sum, black), unsaturatedSum);
        const auto halves = hn::MulHigh(hn::ShiftLeft<7>(lit), gain);
        const auto value = hn::Min(hn::ShiftRight<1>(hn::Add(halves, hn::Set(d, 1))), hn::Set(d, 255));
        hn::StoreU(hn::Or(hn::TruncateTo(db, value), saturated), db, white + i);
    }
    reference().mosaic(in, white, i, end);
}

void demosaic(const DemosaicRow& in, std::uint8_t* bgra, std::size_t begin, std::size_t end) {
    const Words d;
    const HalfBytes db;
    const auto one = hn::Set(d, 1);
    const auto two = hn::Set(d, 2);
    const auto opaque = hn::Set(db, 255);
    std::size_t i = begin;
    for (; i + hn::Lanes(d) <= end; i += hn::Lanes(d)) {
        const std::uint8_t* const above = in.above + i;
        const std::uint8_t* const current = in.current + i;
        const std::uint8_t* const below = in.below + i;
        const auto here = loadWords(current);
        const auto sideSum = hn::Add(loadWords(current - 1), loadWords(current + 1));
        const auto upDownSum = hn::Add(loadWords(above), loadWords(below));
        const auto cornerSum = hn::Add(hn::Add(loadWords(above - 1), loadWords(above + 1)),
                                       hn::Add(loadWords(below - 1), loadWords(below + 1)));
        const auto cross = hn::ShiftRight<2>(hn::Add(hn::Add(sideSum, upDownSum), two));
        const auto side = hn::ShiftRight<1>(hn::Add(sideSum, one));
        const auto upDown = hn::ShiftRight<1>(hn::Add(upDownSum, one));
        const auto corner = hn::ShiftRight<2>(hn::Add(cornerSum, two));
        // OddEven takes odd pixels from its first argument, even ones from its second.
        const auto green = in.greenFirst ? hn::OddEven(cross, here) : hn::OddEven(here, cross);
        const auto own = in.greenFirst ? hn::OddEven(here, side) : hn::OddEven(side, here);
        const auto other = in.greenFirst ? hn::OddEven(corner, upDown) : hn::OddEven(upDown, corner);
        const auto white = hn::LoadU(db, in.saturated + i);
        const auto blueBytes = hn::Or(hn::TruncateTo(db, in.red ? other : own), white);
        const auto greenBytes = hn::Or(hn::TruncateTo(db, green), white);
        const auto redBytes = hn::Or(hn::TruncateTo(db, in.red ? own : other), white);
        hn::StoreInterleaved4(blueBytes, greenBytes, redBytes, opaque, db, bgra + 4 * i);
    }
    reference().demosaic(in, bgra, i, end);
}

void pack(const CoordinateRow& coordinates, const float* contrast, const std::uint8_t* bgra, Point* out,
          std::size_t begin, std::size_t end) {
    const Floats d;
    constexpr std::size_t coordinateBytes = 4 * sizeof(float);
    constexpr std::size_t colourBytes = 4;
    static_assert(sizeof(Point) == coordinateBytes + colourBytes);
    const std::size_t lanes = hn::Lanes(d);
    HWY_ALIGN float interleaved[4 * hn::MaxLanes(d)];
    std::size_t i = begin;
    for (; i + lanes <= end; i += lanes) {
        hn::StoreInterleaved4(hn::LoadU(d, coordinates.x + i), hn::LoadU(d, coordinates.y + i),
                              hn::LoadU(d, coordinates.z + i), hn::LoadU(d, contrast + i), d, interleaved);
        for (std::size_t k = 0; k < lanes; ++k) {
            std::memcpy(&out[i + k].x, interleaved + 4 * k, coordinateBytes);
            std::memcpy(&out[i + k].blue, bgra + 4 * (i + k), colourBytes);
        }
    }
    reference().pack(coordinates, contrast, bgra, out, i, end);
}

const Set& set() {
    static constexpr Set loops{
        .decode = decode, .triangulate = triangulate, .mosaic = mosaic, .demosaic = demosaic, .pack = pack};
    return loops;
}

#endif

} // namespace

} // namespace Vorta::Reconstruction::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::Reconstruction::Kernels {

HWY_EXPORT(set);

const Set& vectorised() noexcept {
    return HWY_DYNAMIC_DISPATCH(set)();
}

} // namespace Vorta::Reconstruction::Kernels
#endif
