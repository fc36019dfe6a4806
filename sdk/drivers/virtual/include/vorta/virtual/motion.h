#pragma once

#include "vorta/virtual/vec3.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace Vorta::Virtual {

struct Scene;

/// Turns the moving objects of a scene about an axis, by one step for each capture. In camera coordinates.
struct Turntable {
    Vec3 axis{0.0, 0.0, 1.0}; ///< unit length
    Vec3 centre = {};         ///< a point on the axis, mm
    double degreesPerCapture = 0.0;

    /// Number of captures after which the first pose comes again; 0 when it does not within 3600.
    [[nodiscard]] std::uint64_t period() const;

    /// Carries the moving objects from where they stand at the first capture to where they stand at a later one
    /// (number 0 is the first). Captures a whole number of periods apart give exactly the same.
    [[nodiscard]] Pose pose(std::uint64_t capture) const;
};

/// The space that moving objects pass through while they turn: one solid cylinder about the axis for each object.
class SweptSpace {
public:
    /// Nothing moves.
    SweptSpace() = default;
    /// `marginMm` is added on all sides.
    SweptSpace(const Scene& scene, double marginMm);

    /// Whether the line from `origin` along the unit vector `direction` meets it before `distance`.
    [[nodiscard]] bool meets(Vec3 origin, Vec3 direction,
                             double distance = std::numeric_limits<double>::infinity()) const;

private:
    struct Cylinder {
        double bottom = 0.0; // along the axis, mm from its centre
        double top = 0.0;
        double radius = 0.0;
    };

    Vec3 axis_;
    Vec3 centre_;
    std::vector<Cylinder> cylinders_;
};

} // namespace Vorta::Virtual
