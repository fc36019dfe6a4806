#include "mesh.h"

#include <cmath>
#include <cstddef>

namespace Vorta {

namespace {

/// Square of the cosine of 80 degrees.
constexpr float grazingCosineSquared = 0.030153690F;

/// Whether a, b, c, counter-clockwise as the camera sees them with y down, face the camera well enough.
bool facesCamera(const CloudVertex& a, const CloudVertex& b, const CloudVertex& c) {
    const float ux = b.x - a.x;
    const float uy = b.y - a.y;
    const float uz = b.z - a.z;
    const float vx = c.x - a.x;
    const float vy = c.y - a.y;
    const float vz = c.z - a.z;
    const float nx = uy * vz - uz * vy;
    const float ny = uz * vx - ux * vz;
    const float nz = ux * vy - uy * vx;
    const float along = -(nx * a.x + ny * a.y + nz * a.z);
    const float normalSquared = nx * nx + ny * ny + nz * nz;
    const float raySquared = a.x * a.x + a.y * a.y + a.z * a.z;
    return along > 0.0F && along * along > grazingCosineSquared * normalSquared * raySquared;
}

} // namespace

void meshGrid(const CloudGrid& grid, std::vector<std::uint32_t>& indices) {
    indices.clear();
    const auto vertices = grid.vertices();
    const std::uint32_t* cells = grid.cells().data();
    const std::size_t width = grid.width();
    const auto add = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        if (facesCamera(vertices[a], vertices[b], vertices[c]))
            indices.insert(indices.end(), {a, b, c});
    };
    for (std::size_t row = 0; row + 1 < grid.height(); ++row) {
        const std::uint32_t* upper = cells + row * width;
        const std::uint32_t* lower = upper + width;
        for (std::size_t column = 0; column + 1 < width; ++column) {
            const std::uint32_t a = upper[column];
            const std::uint32_t b = upper[column + 1];
            const std::uint32_t c = lower[column];
            const std::uint32_t d = lower[column + 1];
            const int missing = (a == CloudGrid::noVertex ? 1 : 0) + (b == CloudGrid::noVertex ? 1 : 0) +
                                (c == CloudGrid::noVertex ? 1 : 0) + (d == CloudGrid::noVertex ? 1 : 0);
            if (missing > 1)
                continue;
            if (missing == 1) {
                if (a == CloudGrid::noVertex)
                    add(b, c, d);
                else if (b == CloudGrid::noVertex)
                    add(a, c, d);
                else if (c == CloudGrid::noVertex)
                    add(a, d, b);
                else
                    add(a, c, b);
            } else if (std::abs(vertices[a].z - vertices[d].z) < std::abs(vertices[b].z - vertices[c].z)) {
                add(a, c, d);
                add(a, d, b);
            } else {
                add(a, c, b);
                add(b, c, d);
            }
        }
    }
}

} // namespace Vorta
