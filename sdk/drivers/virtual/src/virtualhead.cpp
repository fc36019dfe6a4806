#include "vorta/virtual/virtualhead.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"

#include <string>
#include <system_error>
#include <utility>

namespace Vorta::Virtual {

namespace {

void require(bool allowed, const char* parameter, double value) {
    if (!allowed)
        throw ArgumentOutOfRangeException("The head cannot be configured with this value", parameter,
                                          std::to_string(value));
}

} // namespace

Plug::Plug(std::filesystem::path file) : file_(std::move(file)) {}

bool Plug::isIn() const {
    std::error_code failure; // a folder that cannot be read holds no head
    if (!gone_ && !std::filesystem::exists(file_, failure))
        gone_ = true;
    return !gone_;
}

VirtualHead::VirtualHead(HeadDescription description, std::shared_ptr<const Plug> plug, unsigned threads)
    : description_(std::move(description)),
      plug_(std::move(plug)),
      threads_(threads),
      scene_(loadScene(description_.sceneFile)) {}

Driver::HeadDimensions VirtualHead::dimensions() const {
    const Driver::Calibration& truth = description_.calibration;
    return {.sensorWidth = truth.camera.width,
            .sensorHeight = truth.camera.height,
            .projectorWidth = truth.projector.width,
            .projectorHeight = truth.projector.height};
}

std::optional<Driver::HeadCalibration> VirtualHead::calibration() const {
    return Driver::HeadCalibration{.stages = {{.geometry = description_.calibration}}};
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

void VirtualHead::requirePresence() const {
    if (!plug_->isIn())
        throw RuntimeException("The head " + inQuotes(description_.identity.serialNumber) +
                               " is no longer plugged in: its file " + inQuotes(plug_->file().string()) + " is gone.");
}

void VirtualHead::acquire(const Driver::PatternSequence& sequence, Driver::ImageStack& images) {
    requirePresence();
    if (!simulation_)
        simulation_.emplace(description_, scene_, threads_);
    simulation_->acquire(configuration_, sequence, images, [this] { requirePresence(); });
    requirePresence();
    captured_ = true;
}

std::optional<Driver::GroundTruth> VirtualHead::groundTruth() const {
    if (!captured_)
        return std::nullopt;
    return simulation_->view().truth;
}

} // namespace Vorta::Virtual
