#pragma once

#include "vorta/driver/calibration.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace Vorta::Reconstruction {

/// The longest side of a sensor or projector.
inline constexpr std::size_t maxSidePixels = 65'535;

/// What makes a calibration unusable.
struct Defect {
    std::string_view member; // of Driver::Calibration, Driver::CalibrationStage or Driver::HeadCalibration
    std::string_view words;  // a sentence
    std::optional<std::size_t> stage{};
};

/// Why no Reconstructor takes this geometry.
[[nodiscard]] std::optional<Defect> findDefect(const Driver::Calibration& geometry);

/// Why `check` refuses this calibration.
[[nodiscard]] std::optional<Defect> findDefect(const Driver::HeadCalibration& calibration);

} // namespace Vorta::Reconstruction
