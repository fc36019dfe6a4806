#pragma once

#include "cloudgrid.h"

#include <cstdint>
#include <vector>

namespace Vorta {

/// Joins the neighbours of an organised grid to triangles, three indices into grid.vertices() each, into `indices`.
///
/// The square between four neighbours is cut along the diagonal with the smaller depth difference; where one of the
/// four is missing, the other three make one triangle. A triangle is left out when the camera, at the origin, sees it
/// at a grazing angle (more than 80 degrees off its normal, or from behind): there is a depth jump between its corners
/// rather than a surface. `indices` is emptied for a grid without neighbours.
void meshGrid(const CloudGrid& grid, std::vector<std::uint32_t>& indices);

} // namespace Vorta
