#pragma once

#include "vorta/api/frame.h"
#include "vorta/driver/driver.h"

#include <filesystem>
#include <string>

namespace Vorta::Replay {

/// A head that delivers one stored measurement again and again: its raw images where the file holds them, otherwise
/// its points. Present for as long as the file is there.
class ReplayHead : public Driver::Head {
public:
    ReplayHead(std::filesystem::path file, Frame frame);

    [[nodiscard]] Driver::HeadIdentity identity() const override;
    [[nodiscard]] Driver::HeadDimensions dimensions() const override;
    /// With which the measurement was computed. Throws IOException when the file's text is damaged.
    [[nodiscard]] std::optional<Driver::HeadCalibration> calibration() const override;
    [[nodiscard]] std::optional<Driver::BayerLayout> bayerLayout() const override;
    [[nodiscard]] Driver::Temperatures temperatures() const override;
    [[nodiscard]] bool isPresent() const override;
    /// What has been exposed cannot be exposed otherwise.
    void configure(const Driver::HeadConfiguration& /*configuration*/) override {}
    void acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) override;
    [[nodiscard]] std::optional<Driver::Recording> recording() const override;

private:
    std::filesystem::path file_;
    Frame frame_;
};

} // namespace Vorta::Replay
