#pragma once

#include "imageview/colormaploop.h"

#include <QRgb>
#include <QString>

#include <cstdint>
#include <span>
#include <vector>

/// Maps depths to colours by a piecewise linear ramp over a range of depths.
///
/// All arithmetic is in single precision, one operation at a time, so that the same depth gets the same colour from
/// every function here and on every processor.
class ColorMap {
public:
    static constexpr std::uint32_t normal = 0; ///< blue, cyan, green, yellow, red; also any mode that is not known
    static constexpr std::uint32_t blackToWhite = 1;
    static constexpr std::uint32_t blueToRed = 2;
    static constexpr std::uint32_t modeCount = 3;

    /// The mode's name for users, "Unknown" for a number that is none.
    [[nodiscard]] static QString modeName(std::uint32_t mode);

    /// Range -1000 to 1000, mode normal.
    ColorMap();

    /// Rebuilds the map. With minimum > maximum no depth lies within the range.
    void setup(float minimum, float maximum, std::uint32_t mode);
    /// The same with the current mode.
    void setRange(float minimum, float maximum) { setup(minimum, maximum, mode_); }

    /// The opaque colour of one depth. NaN has the colour of depths above the maximum.
    [[nodiscard]] QRgb colourAt(float value) const;
    /// Colours of many depths, three bytes (red, green, blue) each: those of colourAt, but faster. `rgb` has room for
    /// three times as many bytes as there are values.
    void colourRow(std::span<const float> values, std::uint8_t* rgb) const;

    [[nodiscard]] std::uint32_t mode() const noexcept { return mode_; }
    [[nodiscard]] float minimum() const noexcept { return minimum_; }
    [[nodiscard]] float maximum() const noexcept { return maximum_; }
    [[nodiscard]] float range() const noexcept { return maximum_ - minimum_; }
    /// First and last colour of every segment of the ramp, from the minimum to the maximum.
    [[nodiscard]] std::vector<QRgb> colours() const;

private:
    struct Segment {
        QRgb startColour = 0xFFFFFFFF;
        QRgb endColour = 0xFFFFFFFF;
        float from = 0.0F;
        float to = 1.0F;

        [[nodiscard]] bool holds(float value) const noexcept { return from <= value && value <= to; }
        [[nodiscard]] QRgb colourAt(float value) const noexcept;
    };

    void build(float minimum, float maximum, std::uint32_t mode);
    [[nodiscard]] ColorMapLoop::Ramp ramp() const;
    void addControlPoint(float x, QRgb colour);
    void addFirstControlPoint(float x, QRgb colour);
    [[nodiscard]] const Segment* find(float value) const noexcept;
    [[nodiscard]] QRgb colourOutside(float value) const noexcept {
        return minimum_ > value ? belowColour_ : aboveColour_;
    }

    std::uint32_t mode_ = normal;
    float minimum_ = 0.0F;
    float maximum_ = 0.0F;
    QRgb belowColour_ = 0;
    QRgb aboveColour_ = 0;
    // Without gaps: each segment begins where the one before ends.
    std::vector<Segment> segments_;
    ColorMapLoop::Ramp ramp_; // the same, if it can be put that way
};
