#pragma once

#include "vorta/driver/calibration.h"

#include <string>

namespace Vorta::Reconstruction {

/// Reads a calibration file; docs/calibration-file.md describes it. Throws IOException that names the file, the line
/// and the key of what it refuses.
[[nodiscard]] Driver::HeadCalibration loadCalibration(const std::string& path);

/// Writes a calibration file under a temporary name in its folder and puts it in place when it is complete. Throws
/// ArgumentInvalidException as `check` does, and IOException, which names the file, when it cannot be written; an
/// earlier file is whole then.
void saveCalibration(const Driver::HeadCalibration& calibration, const std::string& path);

/// The content of a calibration file; reading it gives every number back to the last bit. Throws
/// ArgumentInvalidException as `check` does.
[[nodiscard]] std::string calibrationText(const Driver::HeadCalibration& calibration);

/// Reads such a text. Throws IOException as `loadCalibration` does, with `name` as the file.
[[nodiscard]] Driver::HeadCalibration parseCalibration(const std::string& text, const std::string& name);

} // namespace Vorta::Reconstruction
