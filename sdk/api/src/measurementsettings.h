#pragma once

#include "vorta/common/settings.h"
#include "vorta/driver/driver.h"
#include "vorta/reconstruction/reconstructor.h"
#include "vorta/reconstruction/sequence.h"

/// What the camera settings ask of the parts that a measurement goes through.
namespace Vorta {

/// How a head is to take its exposures. An iris beyond `Lens/MaxIris` means fully open.
[[nodiscard]] Driver::HeadConfiguration headConfiguration(const Settings& settings);

/// Which patterns are to be projected.
[[nodiscard]] Reconstruction::SequenceOptions sequenceOptions(const Settings& settings);

/// `mosaic` is what the head tells of its sensor; a head that does not tell has the settings' layout.
[[nodiscard]] Reconstruction::ReconstructorOptions reconstructorOptions(const Settings& settings,
                                                                        std::optional<Driver::BayerLayout> mosaic);

/// What may change from capture to capture of the same patterns.
[[nodiscard]] Reconstruction::Parameters reconstructionParameters(const Settings& settings);

/// `settings` with what raw images bring along taken from the settings they were exposed with: patterns, light, sensor.
[[nodiscard]] Settings withExposuresOf(const Settings& recorded, Settings settings);

/// What a driver is to know before it looks for heads.
[[nodiscard]] Driver::DriverConfiguration driverConfiguration(const Settings& settings);

/// Refuses settings that contradict each other, if they ask for that (`Global/Validate`): throws RuntimeException that
/// names the paths and values.
void validate(const Settings& settings);

} // namespace Vorta
