#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/simulation.h"

#include <atomic>
#include <memory>
#include <optional>

namespace Vorta::Virtual {

/// Whether a head's file is still there; once gone, it stays gone. Any thread.
class Plug {
public:
    explicit Plug(std::filesystem::path file);

    [[nodiscard]] bool isIn() const;
    [[nodiscard]] const std::filesystem::path& file() const noexcept { return file_; }

private:
    std::filesystem::path file_;
    mutable std::atomic<bool> gone_{false};
};

/// An open virtual head.
class VirtualHead : public Driver::Head {
public:
    /// `plug` is shared with the driver, which sees by it that the head is open. Throws IOException when the scene
    /// cannot be read.
    VirtualHead(HeadDescription description, std::shared_ptr<const Plug> plug, unsigned threads);

    [[nodiscard]] Driver::HeadIdentity identity() const override { return description_.identity; }
    [[nodiscard]] Driver::HeadDimensions dimensions() const override;
    [[nodiscard]] std::optional<Driver::HeadCalibration> calibration() const override;
    [[nodiscard]] std::optional<Driver::BayerLayout> bayerLayout() const override { return description_.bayerLayout; }
    [[nodiscard]] Driver::Temperatures temperatures() const override { return description_.temperatures; }
    [[nodiscard]] bool isPresent() const override { return plug_->isIn(); }

    /// Throws ArgumentOutOfRangeException for a value that the interface does not allow; the earlier configuration then
    /// stays.
    void configure(const Driver::HeadConfiguration& configuration) override;

    /// The first call traces the scene.
    void acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) override;

    [[nodiscard]] std::optional<Driver::GroundTruth> groundTruth() const override;

private:
    void requirePresence() const;

    HeadDescription description_;
    std::shared_ptr<const Plug> plug_;
    unsigned threads_;
    Scene scene_;
    Driver::HeadConfiguration configuration_;
    std::optional<Simulation> simulation_;
    bool captured_ = false;
};

} // namespace Vorta::Virtual
