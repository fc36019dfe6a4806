#pragma once

#include "vorta/api/frame.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Vorta::Tool {

enum class Format : std::uint8_t { Vdf, Xyz, Ply, Pcd, Png };

/// A file to write.
struct Output {
    std::string path;
    Format format = Format::Vdf;
};

/// Reads the formats from the endings, upper or lower case. Throws UsageError for an ending that is none.
[[nodiscard]] std::vector<Output> parseOutputs(const std::vector<std::string>& paths);

/// Writes the frame: as it is (.vdf), its points (.xyz, .ply, .pcd) or its colour image (.png). `unordered` leaves
/// invalid points out of a .ply, which otherwise keeps the grid. Throws IOException that names the file and why it
/// could not be written.
void write(const Output& output, const Frame& frame, bool unordered);

/// Writes all, saying so on the terminal.
void writeAll(const std::vector<Output>& outputs, const Frame& frame, bool unordered);

} // namespace Vorta::Tool
