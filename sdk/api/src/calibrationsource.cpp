#include "calibrationsource.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settingsinternal.h"
#include "vorta/reconstruction/calibrationfile.h"

#include <cmath>
#include <system_error>
#include <utility>

namespace Vorta {

namespace {

using Internal = SettingsInternal;

std::string sizeText(std::size_t width, std::size_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

Driver::HeadDimensions dimensionsOf(const Driver::Calibration& geometry) {
    return {.sensorWidth = geometry.camera.width,
            .sensorHeight = geometry.camera.height,
            .projectorWidth = geometry.projector.width,
            .projectorHeight = geometry.projector.height};
}

NotedCalibration noted(Driver::HeadCalibration calibration) {
    std::string text = Reconstruction::calibrationText(calibration);
    return {.calibration = std::move(calibration), .text = std::move(text)};
}

} // namespace

CalibrationSource::CalibrationSource(std::optional<Driver::HeadCalibration> stored, const Driver::HeadDimensions& head)
    : head_(head) {
    if (stored)
        stored_ = noted(std::move(*stored));
}

const NotedCalibration* CalibrationSource::choose(const Settings& settings) {
    const Internal& internal = settings.getSettingsInternal();
    const std::string path = internal.get<Internal::Measurement::CalibrationFile>().value();
    if (path.empty()) {
        const bool stores =
            internal.get<Internal::Global::ProductRevision>().value() == Internal::Global::Revision::Rev3;
        return stores && stored_ ? &*stored_ : nullptr;
    }
    read(path);
    return &*file_;
}

void CalibrationSource::read(const std::string& path) {
    std::error_code missing; // a file that is not there is reported by the loading below
    const auto time = std::filesystem::last_write_time(path, missing);
    if (file_ && path_ == path && !missing && time_ == time)
        return;
    file_.reset();
    Driver::HeadCalibration calibration = Reconstruction::loadCalibration(path);
    const Driver::HeadDimensions made = dimensionsOf(calibration.stages.front().geometry);
    if (made != head_)
        throw RuntimeException("the calibration file '" + path + "' is made for a sensor of " +
                               sizeText(made.sensorWidth, made.sensorHeight) + " and a projector of " +
                               sizeText(made.projectorWidth, made.projectorHeight) + " pixels, but the head has " +
                               sizeText(head_.sensorWidth, head_.sensorHeight) + " and " +
                               sizeText(head_.projectorWidth, head_.projectorHeight) + ".");
    file_ = noted(std::move(calibration));
    path_ = path;
    time_ = time;
}

namespace {

double opticsTemperature(const Settings& settings, const Driver::Temperatures& temperatures) {
    using Given = Internal::Projector::VirtualTemperature;
    const auto& given = settings.getSettingsInternal().get<Given>();
    // The setting has no value that means "none": its default stands for that.
    return temperatures.lens.value_or(given == Given() ? temperatures.head : given.value());
}

} // namespace

double calibrationTemperature(const Settings& settings, const Driver::HeadCalibration& calibration,
                              const Driver::Temperatures& temperatures) {
    const Internal& internal = settings.getSettingsInternal();
    if (internal.get<Internal::Calibration::Method>().value() != Internal::Calibration::Model::ProjectorCameraMultiTemp)
        return calibration.referenceTemperature;
    // In steps too small to matter: a change of temperature costs the time to compute every pixel's ray anew.
    constexpr double stepsPerKelvin = 20.0;
    return std::round(opticsTemperature(settings, temperatures) * stepsPerKelvin) / stepsPerKelvin;
}

} // namespace Vorta
