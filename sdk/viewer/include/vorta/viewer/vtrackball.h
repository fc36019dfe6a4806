#pragma once

#include "vorta/viewer/export.h"
#include "vorta/viewer/vmousestate.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace Vorta {

/// Turns mouse events into a view of an object: a rotation about the object's centre, and where that centre stands in
/// front of the eye. Pure arithmetic; one thread at a time.
///
/// The eye looks along +z of the *eye frame*, x right, y down, which is how the camera's frame lies: with no rotation
/// an object is seen as the camera saw it. An object point p (mm) is at rotation() * (p - centre()) + offset() in the
/// eye frame, and a point (X, Y, Z) of that frame shows at pixel (width / 2 + f X / Z, height / 2 + f Y / Z), where f
/// is focalLength().
///
/// Left button: turns, as if the object hung in a glass ball that the cursor holds (Shoemake, "ARCBALL", 1992, with
/// Bell's hyperbolic sheet outside the ball). Right button: moves the object in the view plane; the grabbed point stays
/// under the cursor. Middle button: zooms, upwards closer. Wheel: zooms towards the cursor. A drag is computed from
/// where it began, so a cursor that returns brings the view back exactly. The first button pressed decides; further
/// ones do nothing until all that began a drag are released.
class VORTA_VIEWER_EXPORT VTrackBall {
public:
    using Vector = std::array<double, 3>;
    /// 3 x 3, row-major.
    using Matrix = std::array<double, 9>;
    /// Distance Z (eye frame) of what is seen at a pixel, nothing where only background is.
    using DepthPicker = std::function<std::optional<double>(double x, double y)>;

    /// A unit object at the origin, seen from 4 units away in a window of 640 x 480 pixels.
    VTrackBall();

    /// Size of the window in widget pixels, both at least 1. The view keeps its scale relative to the shorter side.
    void setViewport(double width, double height);
    [[nodiscard]] double width() const noexcept { return width_; }
    [[nodiscard]] double height() const noexcept { return height_; }
    /// In widget pixels: the shorter side spans 30 degrees.
    [[nodiscard]] double focalLength() const noexcept;

    /// Starts afresh: no rotation, `centre` straight ahead at `distance` > 0. A drag in progress goes on from there.
    void setView(const Vector& centre, double distance);

    /// From the next press on turns about another point; nothing moves on screen.
    void setCentre(const Vector& centre) { nextCentre_ = centre; }

    /// Whom to ask for the depth below the cursor when a drag or a wheel turn begins; without one, or without an
    /// answer, the depth of the centre is used.
    void setDepthPicker(DepthPicker picker) { picker_ = std::move(picker); }

    /// Takes one mouse event in.
    void MouseAction(const VMouseState& state); // NOLINT(readability-identifier-naming): the interface's name

    [[nodiscard]] const Vector& centre() const noexcept { return centre_; }
    [[nodiscard]] const Vector& offset() const noexcept { return offset_; }
    /// Orthonormal with determinant 1.
    [[nodiscard]] Matrix rotation() const noexcept;
    /// A point of the object in the eye frame.
    [[nodiscard]] Vector toEye(const Vector& point) const noexcept;

    /// Counts the changes of the view that mouse events made.
    [[nodiscard]] std::uint64_t movements() const noexcept { return movements_; }
    /// Whether a mouse event has changed the view since setView().
    [[nodiscard]] bool movedSinceSetView() const noexcept { return moved_; }

private:
    enum class Mode { None, Rotate, Pan, Zoom };
    /// w, x, y, z; of length 1.
    using Quaternion = std::array<double, 4>;

    /// The state that a drag starts from.
    struct Anchor {
        double x = 0.0;
        double y = 0.0;
        Quaternion orientation{1.0, 0.0, 0.0, 0.0};
        Vector offset{};
        /// The grabbed point in the eye frame.
        Vector grabbed{};
    };

    void press(Mode mode, double x, double y);
    void release(Mode mode);
    void drag(double x, double y);
    void wheel(double x, double y, std::int32_t delta);
    void anchorAt(double x, double y);
    void applyCentre();
    [[nodiscard]] Vector onBall(double x, double y) const noexcept;
    [[nodiscard]] Vector grabbedPoint(double x, double y) const;
    [[nodiscard]] double limitedZoom(double factor, double depth) const noexcept;

    double width_ = 640.0;
    double height_ = 480.0;
    Quaternion orientation_{1.0, 0.0, 0.0, 0.0};
    Vector centre_{};
    Vector offset_{};
    std::optional<Vector> nextCentre_;
    /// Distance of the initial view, against which zooming is limited.
    double scale_ = 1.0;
    DepthPicker picker_;

    Mode mode_ = Mode::None;
    Anchor anchor_;
    bool anchorStale_ = false;
    std::uint64_t movements_ = 0;
    bool moved_ = false;
};

} // namespace Vorta
