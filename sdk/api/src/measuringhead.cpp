#include "measuringhead.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settingsinternal.h"
#include "vorta/reconstruction/sequence.h"

#include <utility>

namespace Vorta {

namespace {

using Internal = SettingsInternal;

/// Below this amplitude, in grey levels, noise decides the phase. What is merely weak stays a point, with its contrast
/// for others to judge.
constexpr double undecodableModulation = 2.0;

} // namespace

Driver::HeadConfiguration headConfiguration(const Settings& settings) {
    const Internal& internal = settings.getSettingsInternal();
    const std::string leds = internal.get<Internal::Projector::ToggleRGB>().value();
    const auto isOn = [&leds](char letter) { return leds.find(letter) != std::string::npos; };
    return {
        .exposureTimeUs = settings.get<Settings::ExposureTime>().value().count(),
        .iris = settings.get<Settings::Iris>().value(),
        .maxIris = internal.get<Internal::Lens::MaxIris>().value(),
        .brightness = settings.get<Settings::Brightness>().value(),
        .gain = internal.get<Internal::Camera::Gain>().value(),
        .gamma = internal.get<Internal::Camera::Gamma>().value(),
        .blackLevel = internal.get<Internal::Camera::BlackLevel>().value(),
        .ledEnabled = {isOn('R'), isOn('G'), isOn('B')},
        .ledCurrentPercent = internal.get<Internal::Projector::MaxLEDCurrents>().value(),
    };
}

Reconstruction::Parameters reconstructionParameters(const Settings& settings) {
    return {
        .minModulation = undecodableModulation,
        .rejectSaturated = settings.get<Settings::Filters::Saturated::Enabled>().value(),
        .redBalance = settings.get<Settings::RedBalance>().value(),
        .blueBalance = settings.get<Settings::BlueBalance>().value(),
        .blackLevel = settings.getSettingsInternal().get<Internal::Camera::BlackLevel>().value(),
    };
}

MeasuringHead::MeasuringHead(std::shared_ptr<DriverLibrary> driver, const std::string& serialNumber)
    : driver_(std::move(driver)), serialNumber_(serialNumber) {
    try {
        head_ = driver_->open(serialNumber);
        const Driver::Calibration calibration = head_->calibration();
        const Reconstruction::SequenceLayout layout = Reconstruction::planSequence(calibration.projector);
        sequence_ = Reconstruction::generateSequence(layout);
        reconstructor_ = std::make_unique<Reconstruction::Reconstructor>(
            calibration, layout, Reconstruction::ReconstructorOptions{.bayerLayout = head_->bayerLayout()});
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber + "' cannot be connected: " + error.what());
    }
}

Measurement MeasuringHead::measure(const Settings& settings) {
    Measurement measurement;
    try {
        head_->configure(headConfiguration(settings));
        const auto start = std::chrono::system_clock::now();
        head_->acquire(sequence_, images_);
        measurement.info = {.head = head_->identity(),
                            .time = std::chrono::floor<std::chrono::microseconds>(start),
                            .temperatures = head_->temperatures()};
        reconstructor_->reconstruct(images_, reconstructionParameters(settings), measurement.cloud);
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber_ +
                               (head_->isPresent() ? "' cannot capture: " : "' has vanished during the capture: ") +
                               error.what());
    }
    return measurement;
}

} // namespace Vorta
