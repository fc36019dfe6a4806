#include "vorta/virtual/tracer.h"

#include "vorta/common/exceptions.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <variant>
#include <vector>

namespace Vorta::Virtual {

namespace {

// One object in camera coordinates, in double precision.
struct Surface {
    std::optional<Sphere> sphere;
    Vec3 centre;
    std::vector<Vec3> vertices;
    std::vector<Vec3> normals; // one per vertex; empty for flat shading
    std::vector<std::array<std::uint32_t, 3>> triangles;
};

// Averages of the adjacent faces' normals, weighted with their areas.
std::vector<Vec3> vertexNormals(const Surface& surface) {
    std::vector<Vec3> normals(surface.vertices.size());
    for (const auto& [a, b, c] : surface.triangles) {
        const Vec3 normal = cross(surface.vertices[b] - surface.vertices[a], surface.vertices[c] - surface.vertices[a]);
        for (const std::uint32_t corner : {a, b, c})
            normals[corner] = normals[corner] + normal;
    }
    for (Vec3& normal : normals)
        if (length(normal) > 0.0)
            normal = normalized(normal);
    return normals;
}

Surface makeSurface(const Object& object) {
    Surface surface;
    if (const auto* sphere = std::get_if<Sphere>(&object.shape)) {
        surface.sphere = *sphere;
        surface.centre = object.pose.position;
        return surface;
    }
    const Mesh& mesh = std::get<Mesh>(object.shape);
    surface.vertices.reserve(mesh.vertices.size());
    for (const Vec3& vertex : mesh.vertices)
        surface.vertices.push_back(object.pose.toOuter(vertex));
    surface.triangles = mesh.triangles;
    if (mesh.smooth)
        surface.normals = vertexNormals(surface);
    return surface;
}

RTCGeometry makeGeometry(RTCDevice device, const Surface& surface) {
    if (surface.sphere) {
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_SPHERE_POINT);
        auto* data = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT4, 4 * sizeof(float), 1));
        data[0] = static_cast<float>(surface.centre.x);
        data[1] = static_cast<float>(surface.centre.y);
        data[2] = static_cast<float>(surface.centre.z);
        data[3] = static_cast<float>(surface.sphere->radiusMm);
        return geometry;
    }
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* vertices = static_cast<float*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                                 3 * sizeof(float), surface.vertices.size()));
    for (const Vec3& v : surface.vertices)
        for (const double coordinate : {v.x, v.y, v.z})
            *vertices++ = static_cast<float>(coordinate);
    auto* corners = static_cast<std::uint32_t*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(std::uint32_t), surface.triangles.size()));
    for (const auto& triangle : surface.triangles)
        corners = std::copy(triangle.begin(), triangle.end(), corners);
    return geometry;
}

RTCRay makeRay(Vec3 origin, Vec3 direction, double near, double far) {
    RTCRay ray{};
    ray.org_x = static_cast<float>(origin.x);
    ray.org_y = static_cast<float>(origin.y);
    ray.org_z = static_cast<float>(origin.z);
    ray.dir_x = static_cast<float>(direction.x);
    ray.dir_y = static_cast<float>(direction.y);
    ray.dir_z = static_cast<float>(direction.z);
    ray.tnear = static_cast<float>(near);
    ray.tfar = static_cast<float>(far);
    ray.mask = std::numeric_limits<unsigned>::max();
    return ray;
}

void intersectSphere(const Surface& surface, Vec3 origin, Vec3 direction, double roughDistance, Hit& hit) {
    const Vec3 toOrigin = origin - surface.centre;
    const double radius = surface.sphere->radiusMm;
    const double half = dot(toOrigin, direction);
    // A ray that only single precision saw graze the sphere is taken to touch it.
    const double root = std::sqrt(std::max(0.0, half * half - dot(toOrigin, toOrigin) + radius * radius));
    const bool nearer = std::abs(-half - root - roughDistance) <= std::abs(-half + root - roughDistance);
    hit.position = origin + direction * (nearer ? -half - root : -half + root);
    hit.geometricNormal = normalized(hit.position - surface.centre);
    hit.normal = hit.geometricNormal;
}

void intersectTriangle(const Surface& surface, Vec3 origin, Vec3 direction, const RTCRayHit& found, Hit& hit) {
    const auto& [a, b, c] = surface.triangles[found.hit.primID];
    const Vec3 corner = surface.vertices[a];
    const Vec3 normal = cross(surface.vertices[b] - corner, surface.vertices[c] - corner);
    const double slope = dot(normal, direction);
    const auto rough = static_cast<double>(found.ray.tfar);
    const double exact = dot(normal, corner - origin) / slope;
    // Seen edge-on the division has no meaning.
    hit.position = origin + direction * (std::abs(exact - rough) < 1e-3 * rough ? exact : rough);
    hit.geometricNormal = normalized(normal);
    hit.normal = hit.geometricNormal;
    if (!surface.normals.empty()) {
        const auto u = static_cast<double>(found.hit.u);
        const auto v = static_cast<double>(found.hit.v);
        const Vec3 blend = surface.normals[a] * (1.0 - u - v) + surface.normals[b] * u + surface.normals[c] * v;
        if (length(blend) > 0.0)
            hit.normal = normalized(blend);
    }
}

} // namespace

struct Tracer::Impl {
    RTCDevice device = nullptr;
    RTCScene scene = nullptr;         // what rays are sent into
    RTCGeometry movingPart = nullptr; // the instance of the moving objects in it, if there are any
    std::vector<Surface> surfaces;    // by object, moving ones at rest
    std::vector<bool> isMoving;       // by object
    Pose motion;

    Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() {
        if (scene != nullptr)
            rtcReleaseScene(scene);
        if (device != nullptr)
            rtcReleaseDevice(device);
    }

    void check() const {
        if (const RTCError error = rtcGetDeviceError(device); error != RTC_ERROR_NONE)
            throw RuntimeException("The ray tracer of the virtual head failed with error " +
                                   std::to_string(static_cast<int>(error)) + ".");
    }

    [[nodiscard]] RTCScene newScene() const {
        RTCScene made = rtcNewScene(device);
        check();
        rtcSetSceneFlags(made, RTC_SCENE_FLAG_ROBUST);
        return made;
    }

    // The moving or the resting objects.
    [[nodiscard]] RTCScene sceneOf(bool moving) const {
        RTCScene made = newScene();
        for (std::size_t i = 0; i < surfaces.size(); ++i) {
            if (isMoving[i] != moving)
                continue;
            RTCGeometry geometry = makeGeometry(device, surfaces[i]);
            rtcCommitGeometry(geometry);
            rtcAttachGeometryByID(made, geometry, static_cast<unsigned>(i));
            rtcReleaseGeometry(geometry);
        }
        rtcCommitScene(made);
        return made;
    }

    // Adds a scene as a part of `scene`, which then keeps it.
    RTCGeometry addInstance(RTCScene part) const {
        RTCGeometry instance = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(instance, part);
        rtcReleaseScene(part);
        rtcAttachGeometry(scene, instance);
        rtcReleaseGeometry(instance);
        return instance;
    }

    void place() const {
        const auto& m = motion.rotation.m;
        const std::array<double, 12> rows{m[0], m[1], m[2], motion.position.x, m[3], m[4], m[5], motion.position.y,
                                          m[6], m[7], m[8], motion.position.z};
        std::array<float, 12> transform{};
        std::ranges::transform(rows, transform.begin(), [](double value) { return static_cast<float>(value); });
        rtcSetGeometryTransform(movingPart, 0, RTC_FORMAT_FLOAT3X4_ROW_MAJOR, transform.data());
        rtcCommitGeometry(movingPart);
        rtcCommitScene(scene);
    }
};

Tracer::Tracer(const Scene& scene) : impl_(std::make_unique<Impl>()) {
    // Scenes are small: building the search tree on the calling thread starts no worker threads.
    impl_->device = rtcNewDevice("threads=1");
    impl_->check();
    for (const Object& object : scene.objects) {
        impl_->surfaces.push_back(makeSurface(object));
        impl_->isMoving.push_back(object.moving);
    }
    if (std::ranges::find(impl_->isMoving, true) == impl_->isMoving.end()) {
        impl_->scene = impl_->sceneOf(false);
    } else {
        impl_->scene = impl_->newScene();
        rtcCommitGeometry(impl_->addInstance(impl_->sceneOf(false)));
        impl_->movingPart = impl_->addInstance(impl_->sceneOf(true));
        impl_->place();
    }
    impl_->check();
}

Tracer::~Tracer() = default;

void Tracer::move(const Pose& motion) {
    if (impl_->movingPart == nullptr)
        return;
    impl_->motion = motion;
    impl_->place();
    impl_->check();
}

std::optional<Hit> Tracer::intersect(Vec3 origin, Vec3 direction) const {
    RTCIntersectContext context{};
    rtcInitIntersectContext(&context);
    RTCRayHit found{};
    found.ray = makeRay(origin, direction, 0.0, std::numeric_limits<double>::infinity());
    found.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(impl_->scene, &context, &found);
    if (found.hit.geomID == RTC_INVALID_GEOMETRY_ID)
        return std::nullopt;
    const Surface& surface = impl_->surfaces[found.hit.geomID];
    const bool moving = impl_->isMoving[found.hit.geomID];
    const Pose& motion = impl_->motion;
    if (moving) { // the surfaces are those at rest
        origin = motion.toInner(origin);
        direction = motion.rotation.inverse() * direction;
    }
    Hit hit;
    hit.object = found.hit.geomID;
    if (surface.sphere)
        intersectSphere(surface, origin, direction, static_cast<double>(found.ray.tfar), hit);
    else
        intersectTriangle(surface, origin, direction, found, hit);
    if (dot(hit.geometricNormal, direction) > 0.0)
        hit.geometricNormal = -hit.geometricNormal;
    if (dot(hit.normal, hit.geometricNormal) < 0.0)
        hit.normal = -hit.normal;
    hit.restPosition = hit.position;
    if (moving) {
        hit.position = motion.toOuter(hit.position);
        hit.normal = motion.rotation * hit.normal;
        hit.geometricNormal = motion.rotation * hit.geometricNormal;
    }
    return hit;
}

bool Tracer::isBlocked(Vec3 from, Vec3 to) const {
    constexpr double margin = 0.02;
    const Vec3 way = to - from;
    const double distance = length(way);
    if (distance <= 2.0 * margin)
        return false;
    RTCIntersectContext context{};
    rtcInitIntersectContext(&context);
    RTCRay ray = makeRay(from, way * (1.0 / distance), margin, distance - margin);
    rtcOccluded1(impl_->scene, &context, &ray);
    return ray.tfar < 0.0F;
}

} // namespace Vorta::Virtual
