#pragma once

#include "driverlibrary.h"

#include "vorta/api/frameinfo.h"
#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/driver/driver.h"
#include "vorta/reconstruction/reconstructor.h"

#include <memory>
#include <optional>
#include <string>

namespace Vorta {

/// How the settings ask a head to take its exposures.
[[nodiscard]] Driver::HeadConfiguration headConfiguration(const Settings& settings);

/// What the settings ask of the computation.
[[nodiscard]] Reconstruction::Parameters reconstructionParameters(const Settings& settings);

/// One measurement: points and the facts about how they came about.
struct Measurement {
    PointCloud cloud;
    FrameInfo info;
};

/// An open head with everything that its measurements share: patterns, rays, image memory, threads. One thread at a
/// time, but for `isPresent`.
class MeasuringHead {
public:
    /// Opens the head. Throws RuntimeException that names the serial number when it does not answer or its calibration
    /// is unusable.
    MeasuringHead(std::shared_ptr<DriverLibrary> driver, const std::string& serialNumber);

    /// Throws RuntimeException that names the serial number when the head has vanished, is hotter than the settings
    /// allow, or cannot capture.
    [[nodiscard]] Measurement measure(const Settings& settings);

    [[nodiscard]] bool isPresent() const { return head_->isPresent(); }
    [[nodiscard]] Driver::Temperatures temperatures() const { return head_->temperatures(); }
    [[nodiscard]] std::optional<Driver::GroundTruth> groundTruth() const { return head_->groundTruth(); }

private:
    void checkTemperature(const Settings& settings) const;

    std::shared_ptr<DriverLibrary> driver_; // first, since the head is the driver's code
    std::string serialNumber_;
    std::unique_ptr<Driver::Head> head_;
    std::unique_ptr<Reconstruction::Reconstructor> reconstructor_;
    Driver::PatternSequence sequence_;
    Driver::ImageStack images_;
};

} // namespace Vorta
