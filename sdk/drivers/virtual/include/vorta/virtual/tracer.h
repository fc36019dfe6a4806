#pragma once

#include "vorta/virtual/scene.h"
#include "vorta/virtual/vec3.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace Vorta::Virtual {

/// Where a ray meets a surface, in camera coordinates.
struct Hit {
    Vec3 position;        ///< mm
    Vec3 restPosition;    ///< mm, where that point of a moving object was before anything moved
    Vec3 normal;          ///< unit length, for shading, towards the ray's origin
    Vec3 geometricNormal; ///< unit length, of the surface itself, towards the ray's origin
    std::size_t object = 0;
};

/// Finds what rays meet in a scene. Any number of threads may ask at the same time, but not while `move` runs.
class Tracer {
public:
    /// Throws RuntimeException when the ray tracing library refuses.
    explicit Tracer(const Scene& scene);
    ~Tracer();
    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    /// Where the moving objects are from now on, relative to where the scene places them. They keep their search tree.
    void move(const Pose& motion);

    /// The nearest surface from `origin` along the unit vector `direction`. The library finds which primitive it is in
    /// single precision; the point on it is computed in double precision.
    [[nodiscard]] std::optional<Hit> intersect(Vec3 origin, Vec3 direction) const;

    /// Whether anything lies between two points; surfaces within 0.02 mm of either end do not count.
    [[nodiscard]] bool isBlocked(Vec3 from, Vec3 to) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Vorta::Virtual
