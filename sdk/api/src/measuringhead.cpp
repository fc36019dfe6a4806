#include "measuringhead.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/common/settingsinternal.h"
#include "vorta/reconstruction/sequence.h"

#include <boost/format.hpp>
#include <chrono>
#include <utility>

namespace Vorta {

namespace {

using Internal = SettingsInternal;

constexpr const char* source = "VortaAPI/MeasuringHead";

std::int64_t wholeMs(std::chrono::steady_clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

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
        .minModulation = settings.get<Settings::Filters::Contrast::Threshold>().value(),
        .rejectSaturated = settings.get<Settings::Filters::Saturated::Enabled>().value(),
        .rejectOutliers = settings.get<Settings::Filters::Outlier::Enabled>().value(),
        .outlierThresholdMm = settings.get<Settings::Filters::Outlier::Threshold>().value(),
        .redBalance = settings.get<Settings::RedBalance>().value(),
        .blueBalance = settings.get<Settings::BlueBalance>().value(),
        .blackLevel = settings.getSettingsInternal().get<Internal::Camera::BlackLevel>().value(),
    };
}

MeasuringHead::MeasuringHead(std::shared_ptr<DriverLibrary> driver, const std::string& serialNumber)
    : driver_(std::move(driver)), serialNumber_(serialNumber) {
    try {
        head_ = driver_->open(serialNumber);
        const Driver::Calibration calibration = head_->calibration().value().stages.at(0).geometry;
        const Reconstruction::SequenceLayout layout =
            Reconstruction::planSequence(calibration.projector.width, calibration.projector.height, {.inverse = true});
        sequence_ = Reconstruction::generateSequence(layout);
        reconstructor_ = std::make_unique<Reconstruction::Reconstructor>(
            calibration, layout, Reconstruction::ReconstructorOptions{.bayerLayout = head_->bayerLayout().value()});
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber + "' cannot be connected: " + error.what());
    }
}

void MeasuringHead::checkTemperature(const Settings& settings) const {
    const double limit = settings.getSettingsInternal().get<Internal::Projector::MaxTemperature>().value();
    const std::optional<double> led = head_->temperatures().led;
    if (led && *led > limit)
        throw RuntimeException((boost::format("its LED has %.1f °C and %s allows %.1f °C; let it cool down.") % *led %
                                Internal::Projector::MaxTemperature::path % limit)
                                   .str());
}

Measurement MeasuringHead::measure(const Settings& settings) {
    using std::chrono::steady_clock;
    Measurement measurement;
    try {
        checkTemperature(settings);
        const auto began = steady_clock::now();
        head_->configure(headConfiguration(settings));
        const auto time = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
        head_->acquire(sequence_, images_);
        const auto acquired = steady_clock::now();
        measurement.info = {.head = head_->identity(), .time = time, .temperatures = head_->temperatures()};
        reconstructor_->reconstruct(images_, reconstructionParameters(settings), measurement.cloud);
        if (settings.getSettingsInternal().get<Internal::Global::DebugMessages>().value())
            Log::info(source, __LINE__, "Camera '%s': %d images in %d ms, points in %d ms", serialNumber_,
                      images_.count(), wholeMs(acquired - began), wholeMs(steady_clock::now() - acquired));
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber_ +
                               (head_->isPresent() ? "' cannot capture: " : "' has vanished: ") + error.what());
    }
    return measurement;
}

} // namespace Vorta
