#pragma once

#include "vorta/virtual/scene.h"

#include <filesystem>

namespace Vorta::Virtual {

/// Reads the vertices (`v`) and faces (`f`, polygons as fans) of a Wavefront OBJ file; texture coordinates, normals,
/// groups and materials are passed over. `scale` turns its unit into mm. Throws IOException that names file and line.
[[nodiscard]] Mesh loadObj(const std::filesystem::path& file, double scale);

} // namespace Vorta::Virtual
