#include "vorta/virtual/thermal.h"

#include "vorta/virtual/vec3.h"

#include <cmath>
#include <cstddef>

namespace Vorta::Virtual {

namespace {

void apply(const LensDrift& drift, double kelvin, Driver::PinholeModel& model) {
    model.fx *= 1.0 + 1e-6 * drift.focalPpm[0] * kelvin;
    model.fy *= 1.0 + 1e-6 * drift.focalPpm[1] * kelvin;
    model.cx += drift.centrePixels[0] * kelvin;
    model.cy += drift.centrePixels[1] * kelvin;
}

} // namespace

Driver::Temperatures temperaturesAfter(double seconds, const Driver::Temperatures& settled,
                                       const std::optional<WarmUp>& warmUp) {
    if (!warmUp)
        return settled;
    const double rest = std::exp(-seconds / warmUp->timeConstantS);
    const auto now = [&](double end) { return end + (warmUp->ambient - end) * rest; };
    const auto sensor = [&](const std::optional<double>& end) { return end ? std::optional(now(*end)) : std::nullopt; };
    return {.head = now(settled.head),
            .lens = sensor(settled.lens),
            .led = sensor(settled.led),
            .pcb = sensor(settled.pcb),
            .dmd = sensor(settled.dmd)};
}

double opticsTemperature(const Driver::Temperatures& temperatures) {
    return temperatures.lens.value_or(temperatures.head);
}

Driver::Calibration geometryAt(double temperature, const Driver::Calibration& reference,
                               const std::optional<Drift>& drift) {
    Driver::Calibration geometry = reference;
    if (!drift)
        return geometry;
    const double kelvin = temperature - drift->reference;
    apply(drift->camera, kelvin, geometry.camera);
    apply(drift->projector, kelvin, geometry.projector);
    for (std::size_t i = 0; i < 3; ++i)
        geometry.translationMm[i] += drift->translationMm[i] * kelvin;
    const Vec3 turn{drift->rotationDegrees[0], drift->rotationDegrees[1], drift->rotationDegrees[2]};
    geometry.rotation = (Rotation::fromDegrees(turn * kelvin) * Rotation{reference.rotation}).m;
    return geometry;
}

Driver::HeadCalibration trueCalibration(const Driver::Calibration& reference, const std::optional<Drift>& drift) {
    Driver::HeadCalibration calibration;
    if (!drift) {
        calibration.stages = {{.temperature = calibration.referenceTemperature, .geometry = reference}};
        return calibration;
    }
    calibration.referenceTemperature = drift->reference;
    for (const double kelvin : {-20.0, 0.0, 20.0}) {
        const double temperature = drift->reference + kelvin;
        calibration.stages.push_back(
            {.temperature = temperature, .geometry = geometryAt(temperature, reference, drift)});
    }
    return calibration;
}

} // namespace Vorta::Virtual
