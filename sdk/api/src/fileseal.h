#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

/// A seal at the end of an HDF5 file: a checksum over everything before it, in bytes that HDF5 does not look at.
///
/// HDF5 notices damage to its own structures only while it works with them, and then does not always survive it. A
/// sealed file is therefore checked as a whole before HDF5 opens it. Other programs write no seal; a file without
/// one has exactly the length that its HDF5 header states, so that no damaged seal passes for a missing one.
namespace Vorta::FileSeal {

/// Appends the seal to a complete file, computed by `threads` at once (0: one per core). Throws IOException that calls
/// the file `name`.
void append(const std::filesystem::path& file, const std::string& name, std::size_t threads);

/// What is wrong with a file, as the end of a sentence that begins with its name; empty when it is whole, or has no
/// seal and the right length.
[[nodiscard]] std::string complaint(const std::filesystem::path& file, std::size_t threads);

} // namespace Vorta::FileSeal
