#pragma once

#include <QLine>
#include <QPoint>
#include <QPolygon>
#include <QRect>
#include <QSize>

#include <opencv2/core/mat.hpp>
#include <optional>

/// What the user draws on an image, from one press of a mouse button to the next: a line, a rectangle or a polygon, in
/// image coordinates. Nothing is drawn while no tool is chosen.
class ImageSelection {
public:
    enum class Mode { Line = 0, Rectangle = 1, Polygon = 2 };

    /// Chooses a tool, with nothing drawn yet.
    void choose(Mode mode);
    /// Puts the tool away together with what was drawn.
    void clear();
    /// Gives up what is being drawn; what was finished stays. False when nothing is being drawn.
    bool cancel();

    [[nodiscard]] std::optional<Mode> mode() const noexcept { return mode_; }
    /// Whether the next press goes on with something.
    [[nodiscard]] bool isDrawing() const noexcept { return state_ != State::Idle; }

    /// A button other than the right one was pressed. Returns the line once its second end is set.
    std::optional<QLine> press(const QPoint& point);
    /// The right button was pressed: ends a polygon.
    void pressRight(const QPoint& point);
    void move(const QPoint& point);
    void release(const QPoint& point);

    [[nodiscard]] const QLine& line() const noexcept { return line_; }
    /// From the smaller corner to the larger one, both included; invalid before the first press.
    [[nodiscard]] const QRect& rectangle() const noexcept { return rectangle_; }
    /// Closed once it is finished; its last point follows the mouse before.
    [[nodiscard]] const QPolygon& polygon() const noexcept { return polygon_; }

    /// Codes for a mask of that size: `maskedCode` inside the rectangle or polygon and 0 elsewhere, or with `invert`
    /// the other way round. A line encloses nothing.
    [[nodiscard]] cv::Mat_<uchar> mask(const QSize& size, bool invert) const;

    /// Mask code of pixels that the user masks.
    static constexpr uchar maskedCode = 5;

private:
    enum class State { Idle = 1, PolygonInProgress = 2, Dragging = 3 };

    void forget();
    void spanRectangle();

    std::optional<Mode> mode_;
    State state_ = State::Idle;
    QLine line_;
    QPoint firstCorner_;
    QPoint secondCorner_;
    QRect rectangle_;
    QPolygon polygon_;
};
