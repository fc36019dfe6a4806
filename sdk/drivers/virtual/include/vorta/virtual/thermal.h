#pragma once

#include "vorta/driver/calibration.h"
#include "vorta/driver/driver.h"

#include <array>
#include <optional>

namespace Vorta::Virtual {

/// How a head warms up after it has been opened: exponentially, from the ambient temperature to its settled one.
struct WarmUp {
    double ambient = 25.0; ///< degrees Celsius
    double timeConstantS = 600.0;
};

/// What a pinhole model changes by for each kelvin.
struct LensDrift {
    std::array<double, 2> focalPpm{};     ///< fx and fy
    std::array<double, 2> centrePixels{}; ///< cx and cy
};

/// What a head's geometry changes by for each kelvin that its optics are warmer than `reference`.
struct Drift {
    double reference = 25.0; ///< degrees Celsius
    LensDrift camera;
    LensDrift projector;
    std::array<double, 3> translationMm{};
    std::array<double, 3> rotationDegrees{}; ///< about the projector's x, then y, then z axis, after the calibration's
};

/// All sensors' temperatures so many seconds after opening; those that are empty in `settled` stay so.
[[nodiscard]] Driver::Temperatures temperaturesAfter(double seconds, const Driver::Temperatures& settled,
                                                     const std::optional<WarmUp>& warmUp);

/// The temperature that the geometry follows: that of the lens, or of the head where the lens has no sensor.
[[nodiscard]] double opticsTemperature(const Driver::Temperatures& temperatures);

/// The geometry at a temperature of the optics, given that at the reference temperature.
[[nodiscard]] Driver::Calibration geometryAt(double temperature, const Driver::Calibration& reference,
                                             const std::optional<Drift>& drift);

/// What a calibration of the head in an oven would find: one stage without drift, else one at the reference temperature
/// and 20 K to either side of it.
[[nodiscard]] Driver::HeadCalibration trueCalibration(const Driver::Calibration& reference,
                                                      const std::optional<Drift>& drift);

} // namespace Vorta::Virtual
