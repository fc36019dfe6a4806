#include "vorta/virtual/virtualhead.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"

#include <boost/format.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <utility>

namespace Vorta::Virtual {

namespace {

void require(bool allowed, const char* parameter, double value) {
    if (!allowed)
        throw ArgumentOutOfRangeException("The head cannot be configured with this value", parameter,
                                          std::to_string(value));
}

} // namespace

VirtualHead::VirtualHead(HeadDescription description, std::shared_ptr<const Plug> plug, unsigned threads, Clock clock)
    : description_(std::move(description)),
      plug_(std::move(plug)),
      threads_(threads),
      clock_(std::move(clock)),
      opened_(clock_()),
      scene_(loadScene(description_.sceneFile)) {}

Driver::HeadDimensions VirtualHead::dimensions() const {
    const Driver::Calibration& truth = description_.calibration;
    return {.sensorWidth = truth.camera.width,
            .sensorHeight = truth.camera.height,
            .projectorWidth = truth.projector.width,
            .projectorHeight = truth.projector.height};
}

std::optional<Driver::HeadCalibration> VirtualHead::calibration() const {
    if (!tellsItsOptics())
        return std::nullopt;
    return trueCalibration(description_.calibration, description_.drift);
}

std::optional<Driver::BayerLayout> VirtualHead::bayerLayout() const {
    return tellsItsOptics() ? std::optional(description_.bayerLayout) : std::nullopt;
}

Driver::Temperatures VirtualHead::temperaturesNow() const {
    const std::chrono::duration<double> open = clock_() - opened_;
    return temperaturesAfter(open.count(), description_.temperatures, description_.warmUp);
}

Driver::Temperatures VirtualHead::temperatures() const {
    Driver::Temperatures temperatures = temperaturesNow();
    if (description_.drift && captures_ > 0)
        (temperatures.lens ? *temperatures.lens : temperatures.head) = opticsTemperature_;
    return temperatures;
}

void VirtualHead::configure(const Driver::HeadConfiguration& c) {
    require(c.exposureTimeUs > 0, "exposureTimeUs", static_cast<double>(c.exposureTimeUs));
    require(c.maxIris > 0, "maxIris", static_cast<double>(c.maxIris));
    require(c.iris <= c.maxIris, "iris", static_cast<double>(c.iris));
    require(c.brightness >= 0.0 && c.brightness <= 1.0, "brightness", c.brightness);
    require(c.gain >= 1.0 && c.gain <= 1000.0, "gain", c.gain);
    require(c.gamma > 0.0 && c.gamma <= 100.0, "gamma", c.gamma);
    require(c.blackLevel >= 0.0 && c.blackLevel <= 255.0, "blackLevel", c.blackLevel);
    for (const double percent : c.ledCurrentPercent)
        require(percent >= 0.0 && percent <= 100.0, "ledCurrentPercent", percent);
    configuration_ = c;
}

void VirtualHead::requireUse() const {
    plug_->require();
    if (cancelled_)
        throw RuntimeException("The head " + inQuotes(description_.identity.serialNumber) + " is being closed.");
}

void VirtualHead::wait(double seconds) const {
    using Steady = std::chrono::steady_clock;
    const auto end =
        Steady::now() + std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
    for (requireUse(); Steady::now() < end; requireUse())
        std::this_thread::sleep_until(std::min(end, Steady::now() + std::chrono::milliseconds(10)));
}

// Throws what goes wrong with the next capture, if anything.
void VirtualHead::fail(const Driver::PatternSequence& sequence) const {
    const Faults faults = plug_->faults();
    if (!faults.capture.empty() && captures_ >= faults.afterCaptures)
        throw RuntimeException(faults.capture);
    wait(faults.delayS);
    if (!faults.stopAfterImages || *faults.stopAfterImages >= sequence.patterns.size())
        return;
    wait(faults.timeoutS);
    throw RuntimeException((boost::format("The head '%s' delivered %d of %d images and then none for %g s.") %
                            description_.identity.serialNumber % *faults.stopAfterImages % sequence.patterns.size() %
                            faults.timeoutS)
                               .str());
}

void VirtualHead::prepareSimulation() {
    constexpr double tolerance = 0.05; // kelvin; tracing the scene again takes long
    const double optics = opticsTemperature(temperaturesNow());
    if (simulation_ && (!description_.drift || std::abs(optics - opticsTemperature_) <= tolerance))
        return;
    const Driver::Calibration geometry = geometryAt(optics, description_.calibration, description_.drift);
    if (simulation_) {
        simulation_->setCalibration(geometry);
    } else {
        HeadDescription head = description_;
        head.calibration = geometry;
        simulation_.emplace(std::move(head), scene_, threads_);
    }
    opticsTemperature_ = optics;
}

void VirtualHead::acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) {
    requireUse();
    fail(sequence);
    prepareSimulation();
    simulation_->acquire(configuration_, sequence, images, [this] { requireUse(); });
    requireUse();
    ++captures_;
}

std::optional<Driver::GroundTruth> VirtualHead::groundTruth() const {
    if (captures_ == 0)
        return std::nullopt;
    return simulation_->view().truth;
}

} // namespace Vorta::Virtual
