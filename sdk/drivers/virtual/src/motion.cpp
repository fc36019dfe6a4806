#include "vorta/virtual/motion.h"

#include "vorta/virtual/scene.h"

#include <algorithm>
#include <cmath>
#include <variant>

namespace Vorta::Virtual {

std::uint64_t Turntable::period() const {
    for (std::uint64_t captures = 1; captures <= 3600; ++captures)
        if (std::abs(std::remainder(static_cast<double>(captures) * degreesPerCapture, 360.0)) < 1e-9)
            return captures;
    return 0;
}

Pose Turntable::pose(std::uint64_t capture) const {
    const std::uint64_t round = period();
    const std::uint64_t step = round > 0 ? capture % round : capture;
    const Rotation rotation =
        Rotation::about(axis, std::remainder(static_cast<double>(step) * degreesPerCapture, 360.0));
    return {centre - rotation * centre, rotation};
}

SweptSpace::SweptSpace(const Scene& scene, double marginMm) {
    if (!scene.turntable)
        return;
    axis_ = scene.turntable->axis;
    centre_ = scene.turntable->centre;
    for (const Object& object : scene.objects) {
        if (!object.moving)
            continue;
        constexpr double infinity = std::numeric_limits<double>::infinity();
        Cylinder cylinder{.bottom = infinity, .top = -infinity};
        const auto include = [&](Vec3 point, double around) {
            const Vec3 arm = point - centre_;
            const double height = dot(arm, axis_);
            cylinder.bottom = std::min(cylinder.bottom, height - around);
            cylinder.top = std::max(cylinder.top, height + around);
            cylinder.radius = std::max(cylinder.radius, length(arm - axis_ * height) + around);
        };
        if (const auto* sphere = std::get_if<Sphere>(&object.shape))
            include(object.pose.position, sphere->radiusMm + marginMm);
        else
            for (const Vec3& vertex : std::get<Mesh>(object.shape).vertices)
                include(object.pose.toOuter(vertex), marginMm);
        cylinders_.push_back(cylinder);
    }
}

bool SweptSpace::meets(Vec3 origin, Vec3 direction, double distance) const {
    if (cylinders_.empty())
        return false;
    // Split into the parts along and across the axis.
    const Vec3 arm = origin - centre_;
    const double height = dot(arm, axis_);
    const double climb = dot(direction, axis_);
    const Vec3 across = arm - axis_ * height;
    const Vec3 drift = direction - axis_ * climb;
    const double a = dot(drift, drift);
    const double b = dot(across, drift);
    const double c = dot(across, across);
    return std::ranges::any_of(cylinders_, [&](const Cylinder& cylinder) {
        double enter = 0.0;
        double leave = distance;
        if (a > 1e-12) { // otherwise parallel to the axis: inside the round or outside of it all the way
            const double discriminant = b * b - a * (c - cylinder.radius * cylinder.radius);
            if (discriminant < 0.0)
                return false;
            const double root = std::sqrt(discriminant);
            enter = std::max(enter, (-b - root) / a);
            leave = std::min(leave, (-b + root) / a);
        } else if (c > cylinder.radius * cylinder.radius) {
            return false;
        }
        if (std::abs(climb) > 1e-12) {
            const double first = (cylinder.bottom - height) / climb;
            const double second = (cylinder.top - height) / climb;
            enter = std::max(enter, std::min(first, second));
            leave = std::min(leave, std::max(first, second));
        } else if (height < cylinder.bottom || height > cylinder.top) {
            return false;
        }
        return enter <= leave;
    });
}

} // namespace Vorta::Virtual
