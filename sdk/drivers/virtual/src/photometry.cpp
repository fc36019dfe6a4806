#include "vorta/virtual/photometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Vorta::Virtual {

namespace {

constexpr double referenceDistanceMm = 700.0;

double square(double x) {
    return x * x;
}

double cornerSquared(const Driver::PinholeModel& model) {
    const double x = std::max(model.cx, static_cast<double>(model.width) - 1.0 - model.cx);
    const double y = std::max(model.cy, static_cast<double>(model.height) - 1.0 - model.cy);
    return x * x + y * y;
}

// Largest squared distance from the axis on the plane z = 1 that the image reaches, with some margin. The lens model
// means nothing far outside.
double fieldSquared(const Driver::PinholeModel& model) {
    const double right = static_cast<double>(model.width) - 0.5;
    const double bottom = static_cast<double>(model.height) - 0.5;
    double largest = 0.0;
    for (const auto& [x, y] :
         std::array<std::array<double, 2>, 4>{{{-0.5, -0.5}, {right, -0.5}, {-0.5, bottom}, {right, bottom}}}) {
        const auto p = Reconstruction::unproject(model, {.x = x, .y = y});
        largest = std::max(largest, p.x * p.x + p.y * p.y);
    }
    return 1.2 * largest;
}

// Fresnel reflectance of the coat (C. Schlick, "An inexpensive BRDF model for physically-based rendering", 1994);
// rough coats do not brighten all the way at grazing angles.
double coatReflectance(const Material& material, double albedo, double cosine) {
    if (material.specular <= 0.0)
        return 0.0;
    const double headOn = material.metal ? material.specular * albedo : material.specular;
    const double grazing = std::max(1.0 - material.roughness, headOn);
    return headOn + (grazing - headOn) * std::pow(1.0 - cosine, 5.0);
}

// pi times the GGX lobe of unit reflectance (B. Walter et al., "Microfacet models for refraction through rough
// surfaces", 2007) with Smith's shadowing after Schlick: what a highlight adds to an albedo.
double highlight(double roughness, Vec3 normal, Vec3 light, Vec3 view) {
    const double alpha = roughness * roughness;
    const double nh = dot(normal, normalized(light + view));
    const double nl = std::max(dot(normal, light), 0.0);
    const double nv = std::max(dot(normal, view), 1e-3);
    const double k = 0.5 * alpha;
    const double shadowing = 0.25 / ((nl * (1.0 - k) + k) * (nv * (1.0 - k) + k));
    return square(alpha) * shadowing / square(nh * nh * (alpha * alpha - 1.0) + 1.0);
}

// Two unit vectors that span the plane across a direction.
std::array<Vec3, 2> across(Vec3 direction) {
    const Vec3 helper = std::abs(direction.x) < 0.7 ? Vec3{1, 0, 0} : Vec3{0, 1, 0};
    const Vec3 first = normalized(cross(direction, helper));
    return {first, cross(direction, first)};
}

} // namespace

struct Photometry::Illumination {
    bool lit = false;
    double irradiance = 0.0; // 1: facing the projector 700 mm before it, on the axis
    Vec3 towards;            // unit vector to the projector
    Vec3 inProjector;        // the point in projector coordinates
    Reconstruction::ImagePoint pixel;
};

// The patch of a surface that one pixel sees.
struct Photometry::Footprint {
    std::array<Vec3, 2> steps; // mm on the surface, per pixel
    double defocusPixels = 0;  // standard deviation with the iris fully open
};

Photometry::Photometry(const HeadDescription& head, const Scene& scene, const Tracer& tracer, SweptSpace swept)
    : head_(head),
      scene_(scene),
      tracer_(tracer),
      swept_(std::move(swept)),
      rotation_{head.calibration.rotation},
      translation_{head.calibration.translationMm[0], head.calibration.translationMm[1],
                   head.calibration.translationMm[2]},
      projector_(-(rotation_.inverse() * translation_)),
      projectorFieldSquared_(fieldSquared(head.calibration.projector)),
      cameraCornerSquared_(cornerSquared(head.calibration.camera)),
      projectorCornerSquared_(cornerSquared(head.calibration.projector)) {}

Reconstruction::ImagePoint Photometry::directionAt(double x, double y) const {
    return Reconstruction::unproject(head_.calibration.camera, {.x = x, .y = y});
}

bool Photometry::isShadowNearMotion(const Hit& hit) const {
    const Vec3 way = hit.position - projector_;
    const double distance = length(way);
    return swept_.meets(projector_, way * (1.0 / distance), distance);
}

Photometry::Illumination Photometry::illuminate(const Hit& hit) const {
    const Driver::PinholeModel& projector = head_.calibration.projector;
    Illumination light;
    light.inProjector = rotation_ * hit.position + translation_;
    const Vec3 p = light.inProjector;
    if (p.z <= 0.0 || p.x * p.x + p.y * p.y > projectorFieldSquared_ * p.z * p.z)
        return light;
    light.pixel = Reconstruction::project(projector, {.x = p.x / p.z, .y = p.y / p.z});
    if (light.pixel.x < -0.5 || light.pixel.x >= static_cast<double>(projector.width) - 0.5 || light.pixel.y < -0.5 ||
        light.pixel.y >= static_cast<double>(projector.height) - 0.5)
        return light;
    const Vec3 way = projector_ - hit.position;
    const double distance = length(way);
    light.towards = way * (1.0 / distance);
    const double cosine = dot(hit.normal, light.towards);
    if (cosine <= 0.0 || dot(hit.geometricNormal, light.towards) <= 0.0 || tracer_.isBlocked(projector_, hit.position))
        return light;
    light.lit = true;
    // Every projector pixel sends the same light into the solid angle that it subtends, which shrinks as cos^3: a
    // screen that faces the projector is lit evenly but for the vignetting.
    const double evenness = 1.0 / (square(p.z / distance) * (p.z / distance));
    const double radius = square(light.pixel.x - projector.cx) + square(light.pixel.y - projector.cy);
    const double vignetting = 1.0 - head_.optics.projectorVignetting * radius / projectorCornerSquared_;
    light.irradiance = square(referenceDistanceMm / distance) * cosine * evenness * std::max(vignetting, 0.0);
    return light;
}

LightPath Photometry::makePath(const Illumination& light, const Footprint& footprint, double gain) const {
    const Driver::PinholeModel& projector = head_.calibration.projector;
    const OpticsModel& optics = head_.optics;
    const Vec3 p = light.inProjector;
    const double spot =
        0.25 * optics.projectorApertureMm * std::abs(p.z - optics.projectorFocusMm) / optics.projectorFocusMm;
    const auto spread = [&](Vec3 axis, double slope, double focal, float& variance, float& irisVariance) {
        // Gradient of the projector coordinate at the point, pixels per mm.
        const Vec3 gradient = (axis - rotation_.row(2) * slope) * (focal / p.z);
        const double perPixel = square(dot(gradient, footprint.steps[0])) + square(dot(gradient, footprint.steps[1]));
        const double projectorBlur = square(spot * focal / p.z) + square(optics.projectorSoftness);
        variance = static_cast<float>(perPixel / 12.0 + projectorBlur);
        irisVariance = static_cast<float>(perPixel * square(footprint.defocusPixels));
    };
    LightPath path{.gain = static_cast<float>(gain),
                   .column = static_cast<float>(light.pixel.x),
                   .row = static_cast<float>(light.pixel.y)};
    spread(rotation_.row(0), p.x / p.z, projector.fx, path.columnVariance, path.columnIrisVariance);
    spread(rotation_.row(1), p.y / p.z, projector.fy, path.rowVariance, path.rowIrisVariance);
    return path;
}

double Photometry::ambientAt(Vec3 normal, std::size_t channel) const {
    const double side = scene_.ambientDirection ? 0.5 * (1.0 + dot(normal, *scene_.ambientDirection)) : 1.0;
    return scene_.ambientLevel * scene_.ambientColour[channel] * side;
}

double Photometry::albedoAt(const Hit& hit, std::size_t channel) const {
    const Object& object = scene_.objects[hit.object];
    return Virtual::albedoAt(object.material, object.pose.toInner(hit.restPosition))[channel];
}

void Photometry::addBounce(const Hit& hit, Vec3 view, double reflectance, double cameraGain, std::size_t channel,
                           Sample& sample) const {
    const double roughness = scene_.objects[hit.object].material.roughness;
    const Vec3 mirrored = normalized(hit.normal * (2.0 * dot(hit.normal, view)) - view);
    if (dot(mirrored, hit.geometricNormal) <= 0.0)
        return;
    const Vec3 start = hit.position + hit.geometricNormal * 0.02;
    const std::optional<Hit> second = tracer_.intersect(start, mirrored);
    sample.nearMotion = sample.nearMotion || swept_.meets(start, mirrored) || (second && isShadowNearMotion(*second));
    if (!second) {
        sample.ambient +=
            cameraGain * reflectance * scene_.ambientLevel * scene_.ambientColour[channel] * scene_.background[channel];
        return;
    }
    const Material& material = scene_.objects[second->object].material;
    const double albedo = material.metal ? 0.0 : albedoAt(*second, channel);
    sample.ambient += cameraGain * reflectance * albedo * ambientAt(second->normal, channel);
    const Illumination light = illuminate(*second);
    if (!light.lit || albedo <= 0.0)
        return;
    // The pixel's cone has grown over both legs; a rough mirror widens it further.
    const double leg = length(second->position - hit.position);
    const double pixelMm = (length(hit.position) + leg) / head_.calibration.camera.fx;
    const double lobeMm = std::sqrt(12.0) * 0.5 * square(roughness) * leg;
    Footprint footprint{.steps = across(mirrored)};
    for (Vec3& step : footprint.steps)
        step = step * std::hypot(pixelMm, lobeMm);
    sample.bounce = makePath(light, footprint, cameraGain * reflectance * albedo * light.irradiance);
}

Sample Photometry::sample(double x, double y, std::size_t channel, Reconstruction::ImagePoint normalised) const {
    const Driver::PinholeModel& camera = head_.calibration.camera;
    const OpticsModel& optics = head_.optics;
    const Vec3 direction = normalized({normalised.x, normalised.y, 1.0});
    const double radius = square(x - camera.cx) + square(y - camera.cy);
    const double vignetting = std::max(1.0 - head_.sensor.vignetting * radius / cameraCornerSquared_, 0.0);
    const double cameraGain = head_.sensor.response[channel] * vignetting * square(square(direction.z));

    Sample sample;
    const std::optional<Hit> hit = tracer_.intersect({}, direction);
    sample.nearMotion = swept_.meets({}, direction) || (hit && isShadowNearMotion(*hit));
    if (!hit) {
        sample.ambient = cameraGain * scene_.ambientLevel * scene_.ambientColour[channel] * scene_.background[channel];
        return sample;
    }
    sample.object = hit->object;
    sample.depthMm = hit->position.z;
    const Material& material = scene_.objects[hit->object].material;
    const Vec3 view = -direction;
    const double albedo = albedoAt(*hit, channel);
    const double reflectance = coatReflectance(material, albedo, std::clamp(dot(hit->normal, view), 0.0, 1.0));
    const double diffuse = material.metal ? 0.0 : albedo * (1.0 - reflectance);
    sample.ambient = cameraGain * diffuse * ambientAt(hit->normal, channel);

    const Illumination light = illuminate(*hit);
    sample.lit = light.lit;
    if (light.lit) {
        double shine = diffuse;
        if (reflectance > 0.0)
            shine += reflectance * highlight(material.roughness, hit->normal, light.towards, view);
        // One pixel's step across the tangent plane; seen edge-on it would have no end.
        const double z = hit->position.z;
        const double slope = std::min(dot(hit->geometricNormal, direction), -0.05);
        const auto onSurface = [&](Vec3 step) { return step - direction * (dot(hit->geometricNormal, step) / slope); };
        const double defocusMm =
            0.25 * optics.cameraApertureMm * std::abs(z - optics.cameraFocusMm) / optics.cameraFocusMm;
        sample.direct = makePath(light,
                                 {.steps = {onSurface({z / camera.fx, 0.0, 0.0}), onSurface({0.0, z / camera.fy, 0.0})},
                                  .defocusPixels = defocusMm * camera.fx / z},
                                 cameraGain * shine * light.irradiance);
    }
    // Rough coats mirror no image worth a ray.
    if (reflectance > 0.005 && material.roughness < 0.45)
        addBounce(*hit, view, reflectance, cameraGain, channel, sample);
    return sample;
}

} // namespace Vorta::Virtual
