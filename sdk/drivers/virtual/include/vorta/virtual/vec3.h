#pragma once

#include <array>
#include <cmath>
#include <numbers>

namespace Vorta::Virtual {

/// A point or direction, in mm where it is a point.
struct Vec3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

[[nodiscard]] constexpr Vec3 operator+(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
[[nodiscard]] constexpr Vec3 operator-(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] constexpr Vec3 operator-(Vec3 a) {
    return {-a.x, -a.y, -a.z};
}
[[nodiscard]] constexpr Vec3 operator*(Vec3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
[[nodiscard]] constexpr double dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] constexpr Vec3 cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline double length(Vec3 a) {
    return std::sqrt(dot(a, a));
}
[[nodiscard]] inline Vec3 normalized(Vec3 a) {
    return a * (1.0 / length(a));
}

/// An orthonormal matrix, row-major.
struct Rotation {
    std::array<double, 9> m{1, 0, 0, 0, 1, 0, 0, 0, 1};

    /// Turns about the fixed x axis first, then y, then z.
    [[nodiscard]] static Rotation fromDegrees(Vec3 angles) {
        constexpr double radians = std::numbers::pi / 180.0;
        const double cx = std::cos(angles.x * radians), sx = std::sin(angles.x * radians);
        const double cy = std::cos(angles.y * radians), sy = std::sin(angles.y * radians);
        const double cz = std::cos(angles.z * radians), sz = std::sin(angles.z * radians);
        return {{cz * cy, cz * sy * sx - sz * cx, cz * sy * cx + sz * sx, //
                 sz * cy, sz * sy * sx + cz * cx, sz * sy * cx - cz * sx, //
                 -sy, cy * sx, cy * cx}};
    }

    /// About a unit vector (O. Rodrigues' formula).
    [[nodiscard]] static Rotation about(Vec3 axis, double degrees) {
        const double angle = degrees * std::numbers::pi / 180.0;
        const double c = std::cos(angle), s = std::sin(angle), r = 1.0 - c;
        const auto [x, y, z] = axis;
        return {{c + r * x * x, r * x * y - s * z, r * x * z + s * y, //
                 r * x * y + s * z, c + r * y * y, r * y * z - s * x, //
                 r * x * z - s * y, r * y * z + s * x, c + r * z * z}};
    }

    [[nodiscard]] constexpr Vec3 row(std::size_t i) const { return {m[3 * i], m[3 * i + 1], m[3 * i + 2]}; }
    [[nodiscard]] constexpr Rotation inverse() const {
        return {{m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}};
    }
};

[[nodiscard]] constexpr Vec3 operator*(const Rotation& r, Vec3 v) {
    return {dot(r.row(0), v), dot(r.row(1), v), dot(r.row(2), v)};
}

[[nodiscard]] constexpr Rotation operator*(const Rotation& a, const Rotation& b) {
    const Rotation columns = b.inverse();
    Rotation product;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            product.m[3 * i + j] = dot(a.row(i), columns.row(j));
    return product;
}

/// Carries a point p of the inner frame to `rotation` * p + `position` of the outer one.
struct Pose {
    Vec3 position;
    Rotation rotation;

    [[nodiscard]] constexpr Vec3 toOuter(Vec3 p) const { return rotation * p + position; }
    [[nodiscard]] constexpr Vec3 toInner(Vec3 p) const { return rotation.inverse() * (p - position); }
};

[[nodiscard]] constexpr Pose operator*(const Pose& outer, const Pose& inner) {
    return {outer.toOuter(inner.position), outer.rotation * inner.rotation};
}

} // namespace Vorta::Virtual
