#pragma once

#include "vorta/common/settings.h"
#include "vorta/driver/driver.h"

#include <filesystem>
#include <optional>
#include <string>

namespace Vorta {

/// A calibration, also as the text of a calibration file.
struct NotedCalibration {
    Driver::HeadCalibration calibration;
    std::string text;
};

/// Decides which calibration a measurement uses. One thread at a time.
class CalibrationSource {
public:
    /// `stored` is what the head stores, if anything.
    CalibrationSource(std::optional<Driver::HeadCalibration> stored, const Driver::HeadDimensions& head);

    /// The settings' calibration file, which is read again when it has changed, otherwise what the head stores, which
    /// heads before product revision Rev3 do not; null when there is neither. Throws IOException when the file cannot
    /// be used, and RuntimeException when it is made for another head's sensor or projector.
    [[nodiscard]] const NotedCalibration* choose(const Settings& settings);

private:
    void read(const std::string& path);

    std::optional<NotedCalibration> stored_;
    Driver::HeadDimensions head_;
    std::optional<NotedCalibration> file_;
    std::string path_; ///< of the file, and when it was written
    std::filesystem::file_time_type time_;
};

/// Temperature, in degrees Celsius, whose geometry a measurement is computed with: the calibration's reference, or,
/// where the method follows the temperature, that of the lens. In place of a lens without sensor stands the settings'
/// `Projector/VirtualTemperature` where it differs from its default, else the head.
[[nodiscard]] double calibrationTemperature(const Settings& settings, const Driver::HeadCalibration& calibration,
                                            const Driver::Temperatures& temperatures);

} // namespace Vorta
