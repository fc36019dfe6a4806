#include "imageview/colormap.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr QRgb black = 0xFF000000;
constexpr QRgb white = 0xFFFFFFFF;
constexpr QRgb blue = 0xFF0000FF;
constexpr QRgb red = 0xFFFF0000;

/// The inner colours of the normal ramp, at percentages of the range.
struct RampColour {
    float percent;
    QRgb colour;
};
constexpr std::array innerColours{RampColour{12.5F, 0xFF0080FF}, RampColour{35.0F, 0xFF00FFFF},
                                  RampColour{50.0F, 0xFF00FF00}, RampColour{65.0F, 0xFFFFFF00},
                                  RampColour{87.5F, 0xFFFF8000}};

/// Whether `b` is `a` or one of its two neighbours among the representable numbers.
bool almostEqual(float a, float b) {
    constexpr float greatest = std::numeric_limits<float>::max();
    return std::nextafter(a, -greatest) <= b && b <= std::nextafter(a, greatest);
}

int interpolate(int start, int end, float t) {
    const auto step = static_cast<int>(static_cast<float>(end - start) * t);
    return (start + step) & 0xFF;
}

} // namespace

QString ColorMap::modeName(std::uint32_t mode) {
    switch (mode) {
    case normal:
        return QCoreApplication::translate("ColorMap", "Normal");
    case blackToWhite:
        return QCoreApplication::translate("ColorMap", "Black to white");
    case blueToRed:
        return QCoreApplication::translate("ColorMap", "Blue to red");
    default:
        return QCoreApplication::translate("ColorMap", "Unknown");
    }
}

ColorMap::ColorMap() {
    setup(-1000.0F, 1000.0F, normal);
}

void ColorMap::setup(float minimum, float maximum, std::uint32_t mode) {
    build(minimum, maximum, mode);
    ramp_ = ramp();
}

void ColorMap::build(float minimum, float maximum, std::uint32_t mode) {
    mode_ = mode;
    minimum_ = minimum;
    maximum_ = maximum;
    segments_.clear();
    belowColour_ = mode == blackToWhite ? black : blue;
    aboveColour_ = mode == blackToWhite ? white : red;
    if (mode == blackToWhite || mode == blueToRed) {
        segments_.push_back({.startColour = belowColour_, .endColour = aboveColour_, .from = minimum, .to = maximum});
        return;
    }
    const float percent = (maximum - minimum) / 100.0F;
    addControlPoint(minimum, blue);
    for (const RampColour& inner : innerColours)
        addControlPoint(minimum + inner.percent * percent, inner.colour);
    addControlPoint(maximum, red);
}

ColorMapLoop::Ramp ColorMap::ramp() const {
    ColorMapLoop::Ramp ramp;
    if (segments_.size() > ColorMapLoop::Ramp::maximumSegments)
        return ramp;
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        const Segment& segment = segments_[i];
        const float length = segment.to - segment.from;
        if (!(length > 0.0F) || !std::isfinite(length) || (i > 0 && segment.from != segments_[i - 1].to))
            return ramp;
        ramp.from[i] = segment.from;
        ramp.length[i] = length;
        ramp.start[i] = segment.startColour;
        ramp.red[i] = static_cast<float>(qRed(segment.endColour) - qRed(segment.startColour));
        ramp.green[i] = static_cast<float>(qGreen(segment.endColour) - qGreen(segment.startColour));
        ramp.blue[i] = static_cast<float>(qBlue(segment.endColour) - qBlue(segment.startColour));
    }
    if (segments_.front().from != minimum_ || segments_.back().to != maximum_)
        return ramp;
    ramp.minimum = minimum_;
    ramp.maximum = maximum_;
    ramp.below = belowColour_;
    ramp.above = aboveColour_;
    ramp.segments = segments_.size();
    return ramp;
}

void ColorMap::addFirstControlPoint(float x, QRgb colour) {
    if (almostEqual(x, minimum_)) {
        segments_.push_back({.startColour = colour, .endColour = aboveColour_, .from = minimum_, .to = maximum_});
    } else if (almostEqual(x, maximum_)) {
        segments_.push_back({.startColour = belowColour_, .endColour = colour, .from = minimum_, .to = maximum_});
    } else {
        segments_.push_back({.startColour = belowColour_, .endColour = colour, .from = minimum_, .to = x});
        segments_.push_back({.startColour = colour, .endColour = aboveColour_, .from = x, .to = maximum_});
    }
}

void ColorMap::addControlPoint(float x, QRgb colour) {
    if (segments_.empty()) {
        addFirstControlPoint(x, colour);
        return;
    }
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        Segment& segment = segments_[i];
        if (almostEqual(x, segment.from)) {
            segment.startColour = colour;
        } else if (almostEqual(x, segment.to)) {
            segment.endColour = colour;
        } else if (segment.holds(x)) {
            Segment upper = segment;
            upper.startColour = colour;
            upper.from = x;
            segment.endColour = colour;
            segment.to = x;
            ++i;
            segments_.insert(segments_.begin() + static_cast<std::ptrdiff_t>(i), upper);
        }
    }
}

QRgb ColorMap::Segment::colourAt(float value) const noexcept {
    const float length = to - from;
    if (!(length > 0.0F))
        return endColour;
    const float position = (value - from) / length;
    const float t = position < 0.0F ? 0.0F : std::min(1.0F, position);
    return qRgb(interpolate(qRed(startColour), qRed(endColour), t),
                interpolate(qGreen(startColour), qGreen(endColour), t),
                interpolate(qBlue(startColour), qBlue(endColour), t));
}

const ColorMap::Segment* ColorMap::find(float value) const noexcept {
    const auto found = std::ranges::find_if(segments_, [value](const Segment& s) { return s.holds(value); });
    return found == segments_.end() ? nullptr : &*found;
}

QRgb ColorMap::colourAt(float value) const {
    const Segment* const segment = find(value);
    return segment != nullptr ? segment->colourAt(value) : colourOutside(value);
}

void ColorMap::colourRow(std::span<const float> values, std::uint8_t* rgb) const {
    if (ramp_.segments != 0) {
        const std::size_t done = ColorMapLoop::colour(ramp_, values, rgb);
        values = values.subspan(done);
        rgb += 3 * done;
    }
    // Neighbours mostly lie in the same segment. Its lower end belongs to the segment before it.
    const Segment* segment = nullptr;
    for (const float value : values) {
        if (segment == nullptr || !(segment->from < value && value <= segment->to))
            segment = find(value);
        const QRgb colour = segment != nullptr ? segment->colourAt(value) : colourOutside(value);
        rgb[0] = static_cast<std::uint8_t>(qRed(colour));
        rgb[1] = static_cast<std::uint8_t>(qGreen(colour));
        rgb[2] = static_cast<std::uint8_t>(qBlue(colour));
        rgb += 3;
    }
}

std::vector<QRgb> ColorMap::colours() const {
    std::vector<QRgb> result;
    result.reserve(2 * segments_.size());
    for (const Segment& segment : segments_) {
        result.push_back(segment.startColour);
        result.push_back(segment.endColour);
    }
    return result;
}
