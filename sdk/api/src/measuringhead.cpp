#include "measuringhead.h"

#include "measurementsettings.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/common/settingsinternal.h"
#include "vorta/reconstruction/calibrationfile.h"
#include "vorta/reconstruction/headcalibration.h"

#include <boost/format.hpp>
#include <chrono>
#include <utility>

namespace Vorta {

namespace {

using Internal = SettingsInternal;
using std::chrono::steady_clock;

constexpr const char* source = "VortaAPI/MeasuringHead";

std::int64_t wholeMs(steady_clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

std::unique_ptr<Driver::Head> open(DriverLibrary& driver, const std::string& serialNumber) {
    try {
        return driver.open(serialNumber);
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber + "' cannot be connected: " + error.what());
    }
}

} // namespace

MeasuringHead::MeasuringHead(std::shared_ptr<DriverLibrary> driver, const std::string& serialNumber)
    : driver_(std::move(driver)),
      serialNumber_(serialNumber),
      head_(open(*driver_, serialNumber)),
      recording_(head_->recording()),
      calibrations_(head_->calibration(), head_->dimensions()),
      mosaic_(head_->bayerLayout()) {}

void MeasuringHead::checkTemperature(const Settings& settings) const {
    const double limit = settings.getSettingsInternal().get<Internal::Projector::MaxTemperature>().value();
    const std::optional<double> led = head_->temperatures().led;
    if (led && *led > limit)
        throw RuntimeException((boost::format("its LED has %.1f °C and %s allows %.1f °C; let it cool down.") % *led %
                                Internal::Projector::MaxTemperature::path % limit)
                                   .str());
}

/// Plans anew what other patterns or another way to compute ask for.
void MeasuringHead::prepare(const Settings& settings) {
    const Driver::HeadDimensions size = head_->dimensions();
    const Reconstruction::SequenceLayout layout =
        Reconstruction::planSequence(size.projectorWidth, size.projectorHeight, sequenceOptions(settings));
    const Reconstruction::ReconstructorOptions options = reconstructorOptions(settings, mosaic_);
    if (reconstructor_ && layout == *layout_ && options == *options_)
        return;
    reconstructor_ = std::make_unique<Reconstruction::Reconstructor>(size, layout, options);
    sequence_ = Reconstruction::generateSequence(layout);
    layout_ = layout;
    options_ = options;
}

const NotedCalibration& MeasuringHead::calibration(const Settings& settings) {
    const NotedCalibration* chosen = calibrations_.choose(settings);
    if (!chosen)
        throw RuntimeException("it stores no calibration, and the setting " +
                               std::string(Internal::Measurement::CalibrationFile::path) +
                               " names no file to take its place.");
    return *chosen;
}

/// Calibrates the reconstruction of a capture and notes what with.
void MeasuringHead::calibrate(const Settings& settings, FrameInfo& info) {
    const NotedCalibration& chosen = calibration(settings);
    const double temperature = calibrationTemperature(settings, chosen.calibration, info.temperatures);
    reconstructor_->setCalibration(Reconstruction::calibrationAt(chosen.calibration, temperature));
    info.calibrationText = chosen.text;
}

void MeasuringHead::saveCalibration(const Settings& settings, const std::string& path) {
    const NotedCalibration* chosen = nullptr;
    try {
        chosen = &calibration(settings);
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber_ + "' has no calibration to save: " + error.what());
    }
    Reconstruction::saveCalibration(chosen->calibration, path);
}

Measurement MeasuringHead::acquire(const Settings& settings) {
    const auto began = steady_clock::now();
    prepare(settings);
    head_->configure(headConfiguration(settings));
    Measurement measurement{.cloud = {}, .settings = settings, .info = {}};
    FrameInfo& info = measurement.info;
    info.time = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    if (images_.empty()) // the first ones, or a frame has taken the previous ones along
        images_ = pool_.take();
    head_->acquire(sequence_, images_);
    const auto acquired = steady_clock::now();
    info.head = head_->identity();
    info.temperatures = head_->temperatures();
    const Reconstruction::Parameters parameters = reconstructionParameters(settings);
    if (parameters.applyCalibration)
        calibrate(settings, info);
    reconstructor_->reconstruct(images_, parameters, measurement.cloud);
    if (settings.getSettingsInternal().get<Internal::Global::DebugMessages>().value())
        Log::info(source, __LINE__, "Camera '%s': %d images in %d ms, points in %d ms", serialNumber_, images_.count(),
                  wholeMs(acquired - began), wholeMs(steady_clock::now() - acquired));
    if (settings.getSettingsInternal().get<Internal::Camera::SaveImages>().value())
        info.raw = {.images = pool_.share(std::exchange(images_, {})),
                    .bayerLayout = options_->bayerLayout,
                    .dimensions = head_->dimensions()};
    else
        pool_.clear();
    return measurement;
}

Measurement MeasuringHead::replay(const Settings& settings) {
    if (recording_->cloud)
        return {.cloud = *recording_->cloud,
                .settings = recording_->settings,
                .info = {.head = head_->identity(), .time = recording_->time, .temperatures = head_->temperatures()}};
    Measurement measurement = acquire(withExposuresOf(recording_->settings, settings));
    measurement.info.time = recording_->time;
    return measurement;
}

Measurement MeasuringHead::measure(const Settings& settings) {
    try {
        validate(settings);
        if (recording_)
            return replay(settings);
        checkTemperature(settings);
        return acquire(settings);
    } catch (const std::exception& error) {
        throw RuntimeException("Camera '" + serialNumber_ +
                               (head_->isPresent() ? "' cannot capture: " : "' has vanished: ") + error.what());
    }
}

} // namespace Vorta
