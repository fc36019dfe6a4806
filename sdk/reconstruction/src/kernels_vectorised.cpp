// Compiled once for each instruction set; see kernels_reference.cpp for what each loop does. Every floating-point
// operation stands here in the same order as there, and contraction to fused operations is off for both files, so that
// the results are the same bits on every processor.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels_vectorised.cpp"
#include <hwy/cache_control.h>
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
using WordVector = hn::Vec<Words>;
using FloatVector = hn::Vec<Floats>;
using FloatMask = hn::Mask<Floats>;

/// The projector's lens model, in constants of vector width.
struct Lens {
    explicit Lens(const ColumnGeometry<float>& g)
        : k1(hn::Set(Floats(), g.k1)),
          k2(hn::Set(Floats(), g.k2)),
          k3(hn::Set(Floats(), g.k3)),
          p1(hn::Set(Floats(), g.p1)),
          p2(hn::Set(Floats(), g.p2)),
          twiceK2(hn::Set(Floats(), 2.0F * g.k2)),
          thriceK3(hn::Set(Floats(), 3.0F * g.k3)),
          twiceP1(hn::Set(Floats(), 2.0F * g.p1)),
          twiceP2(hn::Set(Floats(), 2.0F * g.p2)),
          sixP1(hn::Set(Floats(), 6.0F * g.p1)),
          sixP2(hn::Set(Floats(), 6.0F * g.p2)),
          one(hn::Set(Floats(), 1.0F)),
          two(hn::Set(Floats(), 2.0F)) {}

    FloatVector k1, k2, k3, p1, p2, twiceK2, thriceK3, twiceP1, twiceP2, sixP1, sixP2, one, two;
};

struct LineVector {
    FloatVector d1, d3, slope, intercept;
};

HWY_INLINE FloatVector rotate(const float* row, FloatVector a, FloatVector b) {
    const Floats d;
    return hn::Add(hn::Add(hn::Mul(hn::Set(d, row[0]), a), hn::Mul(hn::Set(d, row[1]), b)), hn::Set(d, row[2]));
}

HWY_INLINE LineVector epipolarLine(const ColumnGeometry<float>& g, FloatVector a, FloatVector b) {
    const Floats d;
    const auto d1 = rotate(g.r, a, b);
    const auto d2 = rotate(g.r + 3, a, b);
    const auto d3 = rotate(g.r + 6, a, b);
    const auto t1 = hn::Set(d, g.t[0]);
    const auto t2 = hn::Set(d, g.t[1]);
    const auto t3 = hn::Set(d, g.t[2]);
    const auto across = hn::Div(hn::Set(d, 1.0F), hn::Sub(hn::Mul(t1, d3), hn::Mul(t3, d1)));
    return {.d1 = d1,
            .d3 = d3,
            .slope = hn::Mul(hn::Sub(hn::Mul(t2, d3), hn::Mul(t3, d2)), across),
            .intercept = hn::Mul(hn::Sub(hn::Mul(t1, d2), hn::Mul(t2, d1)), across)};
}

struct ProjectorVector {
    HWY_INLINE ProjectorVector(const Lens& l, const LineVector& line, FloatVector px)
        : lens(l),
          x(px),
          y(hn::Add(hn::Mul(line.slope, x), line.intercept)),
          xx(hn::Mul(x, x)),
          xy(hn::Mul(x, y)),
          yy(hn::Mul(y, y)),
          r2(hn::Add(xx, yy)),
          radial(hn::Add(hn::Mul(hn::Add(hn::Mul(hn::Add(hn::Mul(l.k3, r2), l.k2), r2), l.k1), r2), l.one)) {}

    HWY_INLINE FloatVector distortedX() const {
        const auto tangential =
            hn::Add(hn::Mul(lens.twiceP1, xy), hn::Mul(lens.p2, hn::Add(r2, hn::Mul(lens.two, xx))));
        return hn::Add(hn::Mul(x, radial), tangential);
    }
    HWY_INLINE FloatVector distortedY() const {
        const auto tangential =
            hn::Add(hn::Mul(lens.p1, hn::Add(r2, hn::Mul(lens.two, yy))), hn::Mul(lens.twiceP2, xy));
        return hn::Add(hn::Mul(y, radial), tangential);
    }
    HWY_INLINE FloatVector row(const ColumnGeometry<float>& g) const {
        const Floats d;
        return hn::Add(hn::Mul(distortedY(), hn::Set(d, g.rowScale)), hn::Set(d, g.rowOffset));
    }
    HWY_INLINE FloatVector radialSlope() const {
        const auto sum = hn::Add(hn::Mul(lens.thriceK3, r2), lens.twiceK2);
        return hn::Mul(lens.two, hn::Add(hn::Mul(sum, r2), lens.k1));
    }
    HWY_INLINE FloatVector distortedXByX(FloatVector slope) const {
        const auto bend = radialSlope();
        const auto byX =
            hn::Add(hn::Add(radial, hn::Mul(xx, bend)), hn::Add(hn::Mul(lens.twiceP1, y), hn::Mul(lens.sixP2, x)));
        return hn::Add(hn::Mul(slope, crossDerivative(bend)), byX);
    }
    HWY_INLINE FloatVector distortedYByX(FloatVector slope) const {
        const auto bend = radialSlope();
        const auto byY =
            hn::Add(hn::Add(radial, hn::Mul(yy, bend)), hn::Add(hn::Mul(lens.sixP1, y), hn::Mul(lens.twiceP2, x)));
        return hn::Add(hn::Mul(slope, byY), crossDerivative(bend));
    }
    /// Of distortedX by y and of distortedY by x.
    HWY_INLINE FloatVector crossDerivative(FloatVector bend) const {
        return hn::Add(hn::Mul(xy, bend), hn::Add(hn::Mul(lens.twiceP1, x), hn::Mul(lens.twiceP2, y)));
    }

    const Lens& lens;
    FloatVector x, y, xx, xy, yy, r2, radial;
};

struct MeetingVector {
    FloatVector x, xByDistortedX, error, row;
};

HWY_INLINE MeetingVector meetColumn(const ColumnGeometry<float>& g, const Lens& lens, const LineVector& line,
                                    FloatVector position) {
    const Floats d;
    const auto target = hn::Add(hn::Mul(position, hn::Set(d, g.scale)), hn::Set(d, g.offset));
    MeetingVector meeting{.x = target, .xByDistortedX = target, .error = target, .row = target};
    for (int step = 0;; ++step) {
        const ProjectorVector p(lens, line, meeting.x);
        if (step == 0)
            meeting.xByDistortedX = hn::Div(lens.one, p.distortedXByX(line.slope));
        const auto error = hn::Sub(p.distortedX(), target);
        meeting.x = hn::Sub(meeting.x, hn::Mul(error, meeting.xByDistortedX));
        if (step < g.refinements)
            continue;
        meeting.error = hn::Abs(error);
        meeting.row = p.row(g);
        return meeting;
    }
}

struct CorrectionVector {
    FloatVector x, distance2;
};

HWY_INLINE CorrectionVector correctByRow(const ColumnGeometry<float>& g, const Lens& lens, const LineVector& line,
                                         const MeetingVector& meeting, FloatVector row, FloatVector columnModulation,
                                         FloatVector rowModulation) {
    const Floats d;
    const ProjectorVector p(lens, line, meeting.x);
    const auto xByColumn = hn::Mul(hn::Set(d, g.scale), meeting.xByDistortedX);
    const auto tilt = hn::Mul(hn::Mul(p.distortedYByX(line.slope), hn::Set(d, g.rowScale)), xByColumn);
    const auto miss = hn::Sub(row, p.row(g));
    const auto columnWeight = hn::Mul(columnModulation, columnModulation);
    const auto pull = hn::Mul(hn::Mul(rowModulation, rowModulation), tilt);
    const auto columns = hn::Div(hn::Mul(pull, miss), hn::Add(columnWeight, hn::Mul(pull, tilt)));
    return {.x = hn::Add(meeting.x, hn::Mul(columns, xByColumn)),
            .distance2 = hn::Div(hn::Mul(miss, miss), hn::Add(hn::Mul(tilt, tilt), lens.one))};
}

HWY_INLINE FloatMask isAccepted(const std::uint8_t* accepted) {
    const Ints d;
    return hn::RebindMask(Floats(), hn::PromoteTo(d, hn::LoadU(FloatBytes(), accepted)) > hn::Zero(d));
}

/// Stores one vector of points.
HWY_INLINE void storePoints(const ColumnGeometry<float>& g, const LineVector& line, const MeetingVector& meeting,
                            FloatMask accepted, const RayRow& ray, const CoordinateRow& out, std::size_t i) {
    const Floats d;
    const auto x = meeting.x;
    const auto zero = hn::Zero(d);
    const auto one = hn::Set(d, 1.0F);
    const auto a = hn::LoadU(d, ray.x + i);
    const auto b = hn::LoadU(d, ray.y + i);
    const auto t3 = hn::Set(d, g.t[2]);
    const auto opening = hn::Sub(hn::Mul(x, line.d3), line.d1);
    const auto depth = hn::Div(hn::Sub(hn::Set(d, g.t[0]), hn::Mul(x, t3)), opening);
    const auto projectorDepth = hn::Add(hn::Mul(depth, line.d3), t3);
    const auto rayLength2 = hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), one);
    const auto lengths2 = hn::Mul(rayLength2, hn::Add(hn::Mul(x, x), one));
    const auto steepness = hn::Sub(hn::Mul(opening, opening), hn::Mul(lengths2, hn::Set(d, g.minMeetingSine2)));

    const auto& row = meeting.row;
    auto valid = hn::And(accepted, hn::And(row >= hn::Set(d, g.rowMinimum), row <= hn::Set(d, g.rowMaximum)));
    valid = hn::And(valid, hn::And(meeting.error <= hn::Set(d, g.residual), depth > zero));
    valid = hn::And(valid, steepness >= zero);
    valid = hn::And(valid, hn::And(depth<hn::Set(d, static_cast<float>(maxDepthMm)), projectorDepth> zero));
    const auto invalid = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<Floats>(), 0x7FC00000U));
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(a, depth), invalid), d, out.x + i);
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(b, depth), invalid), d, out.y + i);
    hn::StoreU(hn::IfThenElse(valid, depth, invalid), d, out.z + i);
}

HWY_INLINE FloatMask isInside(const ColumnGeometry<float>& g, FloatVector position) {
    const Floats d;
    return hn::And(position >= hn::Set(d, g.firstPosition), position <= hn::Set(d, g.lastPosition));
}

/// `count` vectors of pixels, all through one step before the next: the steps are long chains of operations that wait
/// for each other, and so the processor has other vectors to go on with. Rows are measured too unless `rows` is
/// nullptr.
template <std::size_t count>
HWY_INLINE void triangulateVectors(const ColumnGeometry<float>& g, const Lens& lens, const RayRow& ray,
                                   const DecodedRow& columns, const CrossRow* rows, const CoordinateRow& out,
                                   std::size_t begin) {
    const Floats d;
    const std::size_t lanes = hn::Lanes(d);
    LineVector lines[count];
    MeetingVector meetings[count];
    FloatMask accepted[count];
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = begin + k * lanes;
        lines[k] = epipolarLine(g, hn::LoadU(d, ray.x + i), hn::LoadU(d, ray.y + i));
    }
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = begin + k * lanes;
        const auto position = hn::LoadU(d, columns.position + i);
        meetings[k] = meetColumn(g, lens, lines[k], position);
        accepted[k] = hn::And(isAccepted(columns.accepted + i), isInside(g, position));
    }
    if (rows != nullptr) {
        const DecodedRow& other = rows->decoded;
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t i = begin + k * lanes;
            const CorrectionVector corrected =
                correctByRow(g, lens, lines[k], meetings[k], hn::LoadU(d, other.position + i),
                             hn::LoadU(d, columns.modulation + i), hn::LoadU(d, other.modulation + i));
            meetings[k].x = corrected.x;
            accepted[k] = hn::And(accepted[k], hn::And(isAccepted(other.accepted + i),
                                                       corrected.distance2 <= hn::Set(d, rows->tolerance2)));
        }
    }
    for (std::size_t k = 0; k < count; ++k)
        storePoints(g, lines[k], meetings[k], accepted[k], ray, out, begin + k * lanes);
}

/// As many pixels as fill vectors; returns the end of these.
HWY_INLINE std::size_t triangulateRow(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& columns,
                                      const CrossRow* rows, const CoordinateRow& out, std::size_t begin,
                                      std::size_t end) {
    constexpr std::size_t atOnce = 4;
    const std::size_t lanes = hn::Lanes(Floats());
    const Lens lens(g);
    std::size_t i = begin;
    for (; i + atOnce * lanes <= end; i += atOnce * lanes)
        triangulateVectors<atOnce>(g, lens, ray, columns, rows, out, i);
    for (; i + lanes <= end; i += lanes)
        triangulateVectors<1>(g, lens, ray, columns, rows, out, i);
    return i;
}

void triangulate(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& columns, const CoordinateRow& out,
                 std::size_t begin, std::size_t end) {
    const std::size_t done = triangulateRow(g, ray, columns, nullptr, out, begin, end);
    reference().triangulate(g, ray, columns, out, done, end);
}

void triangulateBoth(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& columns, const CrossRow& rows,
                     const CoordinateRow& out, std::size_t begin, std::size_t end) {
    const std::size_t done = triangulateRow(g, ray, columns, &rows, out, begin, end);
    reference().triangulateBoth(g, ray, columns, rows, out, done, end);
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
    constexpr std::size_t cacheLine = 64;
    constexpr std::size_t ahead = 100; // points, far enough for the memory to answer in time
    const std::size_t lanes = hn::Lanes(d);
    HWY_ALIGN float interleaved[4 * hn::MaxLanes(d)];
    std::size_t i = begin;
    for (; i + lanes <= end; i += lanes) {
        const auto* const later = reinterpret_cast<const char*>(out + std::min(i + ahead, end - lanes));
        for (std::size_t byte = 0; byte < lanes * sizeof(Point); byte += cacheLine)
            hwy::Prefetch(later + byte);
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
    static constexpr Set loops{.triangulate = triangulate,
                               .triangulateBoth = triangulateBoth,
                               .mosaic = mosaic,
                               .demosaic = demosaic,
                               .pack = pack};
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
