#pragma once

#include "calibrationsource.h"
#include "driverlibrary.h"
#include "imagepool.h"

#include "vorta/api/frameinfo.h"
#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/driver/driver.h"
#include "vorta/reconstruction/reconstructor.h"
#include "vorta/reconstruction/sequence.h"

#include <memory>
#include <optional>
#include <string>

namespace Vorta {

/// One measurement: points and the facts about how they came about.
struct Measurement {
    PointCloud cloud;
    Settings settings; ///< that it really has: a recording keeps what belongs to its exposures
    FrameInfo info;
};

/// An open head with everything that its measurements share: patterns, rays, image memory, threads. One thread at a
/// time, but for `isPresent` and `cancel`.
class MeasuringHead {
public:
    /// Opens the head. Throws RuntimeException that names the serial number when it does not answer.
    MeasuringHead(std::shared_ptr<DriverLibrary> driver, const std::string& serialNumber);

    /// Throws RuntimeException that names the serial number when the head has vanished, is hotter than the settings
    /// allow, has no calibration that fits, or cannot capture.
    [[nodiscard]] Measurement measure(const Settings& settings);

    /// Throws as `measure` does, and IOException when the file cannot be written.
    void saveCalibration(const Settings& settings, const std::string& path);

    [[nodiscard]] bool isPresent() const { return head_->isPresent(); }
    /// Before closing: a measurement that is under way ends soon by throwing, and none begins any more.
    void cancel() noexcept { head_->cancel(); }
    [[nodiscard]] Driver::Temperatures temperatures() const { return head_->temperatures(); }
    [[nodiscard]] std::optional<Driver::GroundTruth> groundTruth() const { return head_->groundTruth(); }

private:
    void checkTemperature(const Settings& settings) const;
    void prepare(const Settings& settings);
    [[nodiscard]] const NotedCalibration& calibration(const Settings& settings);
    void calibrate(const Settings& settings, FrameInfo& info);
    [[nodiscard]] Measurement acquire(const Settings& settings);
    [[nodiscard]] Measurement replay(const Settings& settings);

    std::shared_ptr<DriverLibrary> driver_; // first, since the head is the driver's code
    std::string serialNumber_;
    std::unique_ptr<Driver::Head> head_;
    std::optional<Driver::Recording> recording_;
    CalibrationSource calibrations_;
    std::optional<Driver::BayerLayout> mosaic_;

    // What the latest measurement has been prepared with.
    std::optional<Reconstruction::SequenceLayout> layout_;
    std::optional<Reconstruction::ReconstructorOptions> options_;
    std::unique_ptr<Reconstruction::Reconstructor> reconstructor_;
    Driver::PatternSequence sequence_;
    Driver::ImageStack images_;
    ImagePool pool_;
};

} // namespace Vorta
