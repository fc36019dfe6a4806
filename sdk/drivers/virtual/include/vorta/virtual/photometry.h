#pragma once

#include "vorta/reconstruction/projection.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/motion.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/tracer.h"

#include <cstddef>
#include <optional>

namespace Vorta::Virtual {

/// Light that leaves the projector at one position of its image and reaches one camera pixel. What the pixel gathers
/// of a pattern is `gain` times the pattern's luminance there, blurred by a Gaussian whose variance is
/// `variance + irisVariance * (iris opening)^2`.
struct LightPath {
    float gain = 0.0F;   ///< 1: an ideal white surface that faces the projector 700 mm before it
    float column = 0.0F; ///< position in the projector's image, pixels
    float row = 0.0F;
    float columnVariance = 0.0F; ///< pixels^2
    float columnIrisVariance = 0.0F;
    float rowVariance = 0.0F;
    float rowIrisVariance = 0.0F;
};

/// What one camera ray brings.
struct Sample {
    std::optional<std::size_t> object; ///< what it meets, if anything
    double depthMm = 0.0;              ///< z of that point in camera coordinates
    bool lit = false;                  ///< whether the projector lights that point
    double ambient = 0.0;              ///< ambient light, in units of `LightPath::gain`
    LightPath direct;                  ///< projector, surface, camera
    LightPath bounce;                  ///< projector, second surface, mirrored by the first; gain 0 if there is none
    bool nearMotion = false;           ///< whether any of its legs passes the space that moving objects pass through
};

/// Light transport between projector, scene and camera of one head. Immutable: any number of threads may ask.
class Photometry {
public:
    /// Keeps references to all but the last. `swept` is for `Sample::nearMotion`.
    Photometry(const HeadDescription& head, const Scene& scene, const Tracer& tracer, SweptSpace swept = {});

    /// Direction, with z = 1, of the ray through a pixel position (also between pixels).
    [[nodiscard]] Reconstruction::ImagePoint directionAt(double x, double y) const;

    /// The light at a pixel position (also between pixels) for a pixel of colour `channel` (0 red, 1 green, 2 blue).
    [[nodiscard]] Sample sample(double x, double y, std::size_t channel) const {
        return sample(x, y, channel, directionAt(x, y));
    }
    /// The same with the direction known.
    [[nodiscard]] Sample sample(double x, double y, std::size_t channel, Reconstruction::ImagePoint normalised) const;

private:
    struct Illumination;
    struct Footprint;

    [[nodiscard]] Illumination illuminate(const Hit& hit) const;
    [[nodiscard]] bool isShadowNearMotion(const Hit& hit) const;
    [[nodiscard]] LightPath makePath(const Illumination& light, const Footprint& footprint, double gain) const;
    [[nodiscard]] double ambientAt(Vec3 normal, std::size_t channel) const;
    [[nodiscard]] double albedoAt(const Hit& hit, std::size_t channel) const;
    void addBounce(const Hit& hit, Vec3 view, double reflectance, double cameraGain, std::size_t channel,
                   Sample& sample) const;

    const HeadDescription& head_;
    const Scene& scene_;
    const Tracer& tracer_;
    SweptSpace swept_;
    Rotation rotation_; // camera to projector coordinates
    Vec3 translation_;
    Vec3 projector_;               // centre of its pupil in camera coordinates
    double projectorFieldSquared_; // beyond this squared distance on z = 1 nothing is projected
    double cameraCornerSquared_;   // squared distance of the image corner from the principal point, pixels
    double projectorCornerSquared_;
};

} // namespace Vorta::Virtual
