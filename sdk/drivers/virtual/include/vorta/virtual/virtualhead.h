#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/plug.h"
#include "vorta/virtual/simulation.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace Vorta::Virtual {

/// An open virtual head.
class VirtualHead : public Driver::Head {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// `plug` is shared with the driver, which sees by it that the head is open. `clock` tells how long the head has
    /// been open, for its temperatures. Throws IOException when the scene cannot be read.
    VirtualHead(HeadDescription description, std::shared_ptr<const Plug> plug, unsigned threads,
                Clock clock = std::chrono::steady_clock::now);

    [[nodiscard]] Driver::HeadIdentity identity() const override { return description_.identity; }
    [[nodiscard]] Driver::HeadDimensions dimensions() const override;

    /// Heads before product revision Rev3 store none and do not tell their Bayer layout.
    [[nodiscard]] std::optional<Driver::HeadCalibration> calibration() const override;
    [[nodiscard]] std::optional<Driver::BayerLayout> bayerLayout() const override;

    /// All as they are now, but that of drifting optics as the latest images were taken at, so that their geometry can
    /// be computed exactly.
    [[nodiscard]] Driver::Temperatures temperatures() const override;

    [[nodiscard]] bool isPresent() const override { return plug_->isIn(); }

    /// Throws ArgumentOutOfRangeException for a value that the interface does not allow; the earlier configuration then
    /// stays.
    void configure(const Driver::HeadConfiguration& configuration) override;

    /// The first call traces the scene. Throws RuntimeException when the head is unplugged or a fault is asked for.
    void acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) override;

    void cancel() noexcept override { cancelled_ = true; }

    [[nodiscard]] std::optional<Driver::GroundTruth> groundTruth() const override;

private:
    [[nodiscard]] bool tellsItsOptics() const { return description_.identity.productRevision == "Rev3"; }
    [[nodiscard]] Driver::Temperatures temperaturesNow() const;
    /// Throws RuntimeException that says why when a capture cannot go on.
    void requireUse() const;
    void wait(double seconds) const;
    void fail(const Driver::PatternSequence& sequence) const;
    void prepareSimulation();

    HeadDescription description_;
    std::shared_ptr<const Plug> plug_;
    unsigned threads_;
    Clock clock_;
    std::chrono::steady_clock::time_point opened_;
    Scene scene_;
    Driver::HeadConfiguration configuration_;
    std::optional<Simulation> simulation_;
    double opticsTemperature_ = 0.0; // that of the simulation's geometry
    std::uint64_t captures_ = 0;     // that succeeded
    std::atomic<bool> cancelled_{false};
};

} // namespace Vorta::Virtual
