#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/thermal.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Vorta::Virtual {

/// The image sensor, in raw grey levels of 8 bits.
struct SensorModel {
    /// Grey levels (gain 1, without black level) of an ideal white surface that faces the projector 700 mm before it,
    /// at 10 ms, with the iris fully open and full light.
    double sensitivity = 1180.0;
    std::array<double, 3> response{1.0, 1.0, 1.0}; ///< of the red, green and blue pixels, relative
    bool noise = true;
    double fullWellElectrons = 30'000.0; ///< charge at grey level 255 and gain 1
    double readNoiseElectrons = 8.0;     ///< standard deviation
    double vignetting = 0.05;            ///< light lost in the image corner beside the natural cos^4 law, 0 to 1
};

/// Where the two lenses are sharp and how wide they open.
struct OpticsModel {
    double cameraFocusMm = 700.0;     ///< z of the sharp plane
    double cameraApertureMm = 8.0;    ///< diameter with the iris fully open
    double projectorFocusMm = 728.0;  ///< z, in projector coordinates, of the sharp plane
    double projectorApertureMm = 2.0; ///< diameter of the pupil
    double projectorSoftness = 0.4;   ///< blur of the projector's lens in the sharp plane, sigma in pixels
    double projectorVignetting = 0.1; ///< light lost in the corner of the projected image, 0 to 1
    double projectorContrast = 800.0; ///< full white to full black
};

/// What goes wrong with a head, on request. An empty text is no fault.
struct Faults {
    std::string connect;                               ///< why it cannot be opened
    std::string capture;                               ///< why it cannot capture ...
    std::uint64_t afterCaptures = 0;                   ///< ... after so many captures since it was opened
    std::optional<std::uint64_t> stopAfterImages = {}; ///< of each capture
    double timeoutS = 2.0;                             ///< for which a missing image is waited for
    double delayS = 0.0;                               ///< that each capture takes longer
    std::string update;                                ///< why it keeps its firmware when another is written
};

/// One virtual head as its file states it.
struct HeadDescription {
    std::filesystem::path file;
    std::filesystem::path sceneFile; ///< absolute, or relative to the working folder if `file` is
    std::string driver;
    Driver::HeadIdentity identity;
    Driver::BayerLayout bayerLayout = Driver::BayerLayout::BGGR;
    Driver::Calibration calibration;   ///< at the drift's reference temperature
    Driver::Temperatures temperatures; ///< settled
    std::optional<WarmUp> warmUp;
    std::optional<Drift> drift;
    SensorModel sensor;
    OpticsModel optics;
    std::uint64_t seed = 1;
    Faults faults;
};

/// Geometry of a head that its file leaves open: a camera with a field of about 567 x 350 mm at 700 mm and a projector
/// 200 mm to its right that looks at the same field. Scales with the sensor and projector size in pixels.
[[nodiscard]] Driver::Calibration defaultCalibration(std::size_t cameraWidth, std::size_t cameraHeight,
                                                     std::size_t projectorWidth, std::size_t projectorHeight);

/// Reads a head file (docs/virtual-head.md states its contents). Throws IOException that names file and line.
[[nodiscard]] HeadDescription loadHead(const std::filesystem::path& file);

} // namespace Vorta::Virtual
