// Compiled once for each instruction set; see ColorMap::colourAt for what the loop computes.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imageview/colormaploop.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "imageview/colormaploop.h"

HWY_BEFORE_NAMESPACE();
namespace ColorMapLoop::HWY_NAMESPACE {

namespace {

namespace hn = hwy::HWY_NAMESPACE;

// One value a segment is one vector.
using Floats = hn::CappedTag<float, Ramp::maximumSegments>;
using Ints = hn::RebindToSigned<Floats>;
using Words = hn::RebindToUnsigned<Floats>;
using FloatVector = hn::Vec<Floats>;
using IntVector = hn::Vec<Ints>;
using WordVector = hn::Vec<Words>;

#if HWY_TARGET == HWY_SCALAR

std::size_t colourLoop(const Ramp& /*ramp*/, std::span<const float> /*values*/, std::uint8_t* /*rgb*/) {
    return 0;
}

#else

/// For each lane the entry of the segment that its value lies in.
class Lookup {
public:
    HWY_INLINE Lookup(const Ramp& ramp, FloatVector values) : values_(values), ramp_(ramp) {
        // A border belongs to the segment that ends there.
        const Ints d;
        segment_ = hn::Zero(d);
        for (std::size_t i = 1; i < ramp.segments; ++i)
            segment_ = hn::Sub(segment_, hn::VecFromMask(d, hn::RebindMask(d, passed(i))));
    }

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, const hn::TFromD<D>* table) const {
        if constexpr (hn::MaxLanes(D()) >= Ramp::maximumSegments) {
            return hn::TableLookupLanes(hn::Load(d, table), hn::IndicesFromVec(d, segment_));
        } else {
            auto entry = hn::Set(d, table[0]);
            for (std::size_t i = 1; i < ramp_.segments; ++i)
                entry = hn::IfThenElse(hn::RebindMask(d, passed(i)), hn::Set(d, table[i]), entry);
            return entry;
        }
    }

private:
    HWY_INLINE hn::Mask<Floats> passed(std::size_t segment) const {
        return hn::Gt(values_, hn::Set(Floats(), ramp_.from[segment]));
    }

    FloatVector values_;
    IntVector segment_;
    const Ramp& ramp_;
};

HWY_INLINE WordVector colours(const Ramp& ramp, FloatVector values) {
    const Floats d;
    const Ints di;
    const Words dw;
    const Lookup lookup(ramp, values);
    const auto position = hn::Div(hn::Sub(values, lookup(d, ramp.from.data())), lookup(d, ramp.length.data()));
    // Values outside the range are overruled below.
    const auto t = hn::Min(position, hn::Set(d, 1.0F));
    const auto step = [&](const auto& differences) {
        return hn::BitCast(dw, hn::ConvertTo(di, hn::Mul(lookup(d, differences.data()), t)));
    };
    // No channel leaves 0...255, so that the three can be added at once, negative steps too.
    auto colour = lookup(dw, ramp.start.data());
    colour = hn::Add(colour, hn::ShiftLeft<16>(step(ramp.red)));
    colour = hn::Add(colour, hn::ShiftLeft<8>(step(ramp.green)));
    colour = hn::Add(colour, step(ramp.blue));
    const auto minimum = hn::Set(d, ramp.minimum);
    colour =
        hn::IfThenElse(hn::RebindMask(dw, hn::Le(values, hn::Set(d, ramp.maximum))), colour, hn::Set(dw, ramp.above));
    return hn::IfThenElse(hn::RebindMask(dw, hn::Lt(values, minimum)), hn::Set(dw, ramp.below), colour);
}

/// Twelve of each sixteen bytes.
template <class D>
HWY_INLINE void store(D d, hn::Vec<D> packed, std::uint8_t* rgb) {
    const hn::Full128<std::uint8_t> bytes;
    if constexpr (hn::MaxLanes(d) > hn::MaxLanes(bytes)) {
        hn::StoreU(hn::LowerHalf(bytes, packed), bytes, rgb);
        hn::StoreU(hn::UpperHalf(bytes, packed), bytes, rgb + 12);
    } else {
        hn::StoreU(packed, bytes, rgb);
    }
}

std::size_t colourLoop(const Ramp& ramp, std::span<const float> values, std::uint8_t* rgb) {
    const Floats d;
    const hn::Repartition<std::uint8_t, Words> allBytes;
    // Of each four colours the twelve bytes red, green, blue.
    HWY_ALIGN constexpr std::uint8_t order[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 15, 15, 15, 15};
    const auto packing = hn::LoadDup128(allBytes, order);
    constexpr std::size_t lanes = hn::MaxLanes(d);
    // Twelve bytes are stored as sixteen.
    constexpr std::size_t spare = 2;
    std::size_t i = 0;
    for (; i + lanes + spare <= values.size(); i += lanes, rgb += 3 * lanes) {
        const auto words = colours(ramp, hn::LoadU(d, values.data() + i));
        const auto packed = hn::TableLookupBytes(hn::BitCast(allBytes, words), packing);
        store(allBytes, packed, rgb);
    }
    return i;
}

#endif

} // namespace

} // namespace ColorMapLoop::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ColorMapLoop {

HWY_EXPORT(colourLoop);

std::size_t colour(const Ramp& ramp, std::span<const float> values, std::uint8_t* rgb) {
    return HWY_DYNAMIC_DISPATCH(colourLoop)(ramp, values, rgb);
}

} // namespace ColorMapLoop
#endif
