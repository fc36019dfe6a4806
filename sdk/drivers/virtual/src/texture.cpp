#include "vorta/virtual/scene.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace Vorta::Virtual {

namespace {

std::uint32_t hash(std::int64_t x, std::int64_t y, std::int64_t z) {
    auto h = static_cast<std::uint32_t>(x) * 0x8DA6B343U ^ static_cast<std::uint32_t>(y) * 0xD8163841U ^
             static_cast<std::uint32_t>(z) * 0xCB1AB31FU;
    h = (h ^ (h >> 16)) * 0x7FEB352DU;
    h = (h ^ (h >> 15)) * 0x846CA68BU;
    return h ^ (h >> 16);
}

double lattice(std::int64_t x, std::int64_t y, std::int64_t z) {
    return static_cast<double>(hash(x, y, z)) * (1.0 / 4294967295.0);
}

// Value noise: random values at the integer lattice, blended smoothly. 0 to 1.
double noise(Vec3 p) {
    const double fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    const auto x = static_cast<std::int64_t>(fx);
    const auto y = static_cast<std::int64_t>(fy);
    const auto z = static_cast<std::int64_t>(fz);
    const auto fade = [](double t) { return t * t * (3.0 - 2.0 * t); };
    const double tx = fade(p.x - fx), ty = fade(p.y - fy), tz = fade(p.z - fz);
    const auto edge = [&](std::int64_t dy, std::int64_t dz) {
        return std::lerp(lattice(x, y + dy, z + dz), lattice(x + 1, y + dy, z + dz), tx);
    };
    return std::lerp(std::lerp(edge(0, 0), edge(1, 0), ty), std::lerp(edge(0, 1), edge(1, 1), ty), tz);
}

// Octaves of noise, each half as large and half as strong. 0 to 1.
double fractalNoise(Vec3 p) {
    double sum = 0.0;
    double weight = 0.5;
    for (int octave = 0; octave < 4; ++octave, weight *= 0.5, p = p * 2.03)
        sum += weight * noise(p);
    return sum / 0.9375;
}

double checker(Vec3 p) {
    // Half a cell aside along z: a plane, which lies in z = 0, must not lie on a border of cells.
    const double cells = std::floor(p.x) + std::floor(p.y) + std::floor(p.z + 0.5);
    return std::fmod(std::abs(cells), 2.0);
}

double dots(Vec3 p) {
    const double x = p.x - std::round(p.x), y = p.y - std::round(p.y), z = p.z - std::round(p.z);
    return x * x + y * y + z * z < 0.3 * 0.3 ? 1.0 : 0.0;
}

double wood(Vec3 p) {
    // Growth rings about an axis far outside the object, bent by noise, with fine grain along x.
    const Vec3 q{0.08 * p.x, p.y, p.z - 9.0};
    const double radius = std::hypot(q.y, q.z) + 0.9 * noise(q * 0.6);
    const double ring = radius - std::floor(radius);
    const double grain = noise({0.5 * p.x, 14.0 * p.y, 14.0 * p.z});
    return std::clamp(0.75 * ring * ring * ring + 0.25 * grain, 0.0, 1.0);
}

double marble(Vec3 p) {
    const double vein = std::sin(std::numbers::pi * (p.x + 0.6 * p.y + 5.0 * (fractalNoise(p * 0.7) - 0.5)));
    return std::pow(1.0 - std::abs(vein), 3.0);
}

} // namespace

double textureWeight(const Texture& texture, Vec3 point) {
    const Vec3 p = point * (1.0 / texture.sizeMm);
    switch (texture.kind) {
    case Texture::Kind::Checker:
        return checker(p);
    case Texture::Kind::Stripes:
        return std::fmod(std::abs(std::floor(p.x)), 2.0);
    case Texture::Kind::Dots:
        return dots(p);
    case Texture::Kind::Noise:
        return fractalNoise(p);
    case Texture::Kind::Wood:
        return wood(p);
    case Texture::Kind::Marble:
        return marble(p);
    }
    return 0.0;
}

Colour albedoAt(const Material& material, Vec3 point) {
    if (!material.texture)
        return material.albedo;
    const double weight = textureWeight(*material.texture, point);
    Colour blend{};
    for (std::size_t c = 0; c < blend.size(); ++c)
        blend[c] = std::lerp(material.albedo[c], material.texture->albedo[c], weight);
    return blend;
}

} // namespace Vorta::Virtual
