#pragma once

#include "vorta/virtual/motion.h"
#include "vorta/virtual/vec3.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <variant>
#include <vector>

namespace Vorta::Virtual {

/// Reflectances or relative intensities of red, green and blue.
using Colour = std::array<double, 3>;

/// A solid texture: a value 0 to 1 at each point of the object's own frame, which blends the material's albedo into
/// the texture's.
struct Texture {
    enum class Kind : std::uint8_t { Checker, Stripes, Dots, Noise, Wood, Marble };

    Kind kind = Kind::Checker;
    double sizeMm = 20.0; ///< of one feature, > 0
    Colour albedo{0.1, 0.1, 0.1};
};

/// How a surface reflects: Lambertian `albedo` below a smooth or rough coat.
struct Material {
    Colour albedo{0.8, 0.8, 0.8};
    std::optional<Texture> texture;
    double specular = 0.0;  ///< reflectance of the coat seen head-on, 0 (matt) to 1
    double roughness = 0.3; ///< of the coat, from near 0 (mirror) to 1
    bool metal = false;     ///< the reflection takes the albedo's colour and there is no diffuse part
};

struct Sphere {
    double radiusMm = 1.0;
};

/// Triangles; boxes and planes are made of them too.
struct Mesh {
    std::vector<Vec3> vertices; ///< mm
    std::vector<std::array<std::uint32_t, 3>> triangles;
    bool smooth = false; ///< shaded with normals that are averaged at the vertices
};

struct Object {
    std::variant<Sphere, Mesh> shape;
    Pose pose; ///< object frame to camera frame, at the first capture
    Material material;
    bool moving = false; ///< stands on the scene's turntable
};

/// Everything before a head, in its camera's frame.
struct Scene {
    std::vector<Object> objects;
    /// Ambient light on a surface, 1 = as bright as the projector's full light 700 mm before it.
    double ambientLevel = 0.0;
    Colour ambientColour{1.0, 1.0, 1.0};
    /// Where the ambient light mostly comes from; the light is the same from everywhere without it.
    std::optional<Vec3> ambientDirection;
    Colour background{0.0, 0.0, 0.0};   ///< albedo-like brightness under the ambient light where no object is
    std::optional<Turntable> turntable; ///< there when an object moves
};

/// Reads a scene file (docs/virtual-head.md states its contents). Throws IOException that names file and line.
[[nodiscard]] Scene loadScene(const std::filesystem::path& file);

/// Blend weight 0 to 1 of the texture at a point of the object's frame (mm).
[[nodiscard]] double textureWeight(const Texture& texture, Vec3 point);

/// The material's albedo at a point of the object's frame (mm).
[[nodiscard]] Colour albedoAt(const Material& material, Vec3 point);

} // namespace Vorta::Virtual
