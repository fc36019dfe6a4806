#include "measurementsettings.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settingsinternal.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace Vorta {

namespace {

using Internal = SettingsInternal;

template <class S>
auto value(const Settings& settings) {
    if constexpr (requires { settings.get<S>(); })
        return settings.get<S>().value();
    else
        return settings.getSettingsInternal().get<S>().value();
}

template <class S>
std::string named(const Settings& settings) {
    return std::string(S::path) + " (" + settings.getString(std::string(S::path)) + ")";
}

template <class Lower, class Upper>
void requireOrder(const Settings& settings) {
    if (value<Lower>(settings) > value<Upper>(settings))
        throw RuntimeException("the setting " + named<Lower>(settings) + " lies above " + named<Upper>(settings) +
                               "; correct one, or switch " + std::string(Internal::Global::Validate::path) + " off.");
}

} // namespace

Driver::HeadConfiguration headConfiguration(const Settings& settings) {
    const std::string leds = value<Internal::Projector::ToggleRGB>(settings);
    const auto isOn = [&leds](char letter) { return leds.find(letter) != std::string::npos; };
    const std::uint64_t maxIris = value<Internal::Lens::MaxIris>(settings);
    return {
        .exposureTimeUs = value<Settings::ExposureTime>(settings).count(),
        .iris = std::min(value<Settings::Iris>(settings), maxIris),
        .maxIris = maxIris,
        .brightness = value<Settings::Brightness>(settings),
        .gain = value<Internal::Camera::Gain>(settings),
        .gamma = value<Internal::Camera::Gamma>(settings),
        .blackLevel = value<Internal::Camera::BlackLevel>(settings),
        .ledEnabled = {isOn('R'), isOn('G'), isOn('B')},
        .ledCurrentPercent = value<Internal::Projector::MaxLEDCurrents>(settings),
    };
}

Reconstruction::SequenceOptions sequenceOptions(const Settings& settings) {
    using Pattern = Internal::Measurement::PatternCode;
    using Code = Reconstruction::SequenceOptions::Code;
    const Pattern pattern = value<Internal::Measurement::AdvancedPattern>(settings);
    return {.lattice = pattern == Pattern::Diamond ? Driver::Lattice::Diamond : Driver::Lattice::Plain,
            .code = pattern == Pattern::ErrorCorrecting ? Code::ErrorCorrecting : Code::Gray,
            .inverse = pattern == Pattern::Inverse || value<Internal::Measurement::InversePatterns>(settings),
            .rows = value<Settings::Bidirectional>(settings)};
}

Reconstruction::ReconstructorOptions reconstructorOptions(const Settings& settings,
                                                          std::optional<Driver::BayerLayout> mosaic) {
    using Model = Internal::Calibration::Model;
    Reconstruction::ReconstructorOptions options;
    // The settings list the layouts in the driver interface's order.
    options.bayerLayout = mosaic.value_or(static_cast<Driver::BayerLayout>(value<Internal::Camera::BayerLayout>(settings)));
    options.method = value<Internal::Calibration::Method>(settings) == Model::Polynomial
                         ? Reconstruction::ReconstructorOptions::Method::Polynomial
                         : Reconstruction::ReconstructorOptions::Method::Triangulation;
    return options;
}

Reconstruction::Parameters reconstructionParameters(const Settings& settings) {
    Reconstruction::Parameters parameters;
    parameters.applyCalibration = value<Internal::Measurement::ApplyCalibration>(settings);
    parameters.minModulation = value<Settings::Filters::Contrast::Threshold>(settings);
    parameters.rejectSaturated = value<Settings::Filters::Saturated::Enabled>(settings);
    parameters.rejectReflections = value<Settings::Filters::Reflection::Enabled>(settings);
    parameters.rejectOutliers = value<Settings::Filters::Outlier::Enabled>(settings);
    parameters.outlierThresholdMm = value<Settings::Filters::Outlier::Threshold>(settings);
    parameters.invalidTop = value<Internal::Measurement::InvalidateTop>(settings);
    parameters.invalidBottom = value<Internal::Measurement::InvalidateBottom>(settings);
    parameters.invalidLeft = value<Internal::Measurement::InvalidateLeft>(settings);
    parameters.invalidRight = value<Internal::Measurement::InvalidateRight>(settings);
    parameters.gamma = value<Internal::Camera::Gamma>(settings);
    parameters.redBalance = value<Settings::RedBalance>(settings);
    parameters.blueBalance = value<Settings::BlueBalance>(settings);
    parameters.blackLevel = value<Internal::Camera::BlackLevel>(settings);
    parameters.colourMode = static_cast<Reconstruction::Parameters::ColourMode>(value<Internal::Camera::ColorMode>(settings));
    return parameters;
}

Driver::DriverConfiguration driverConfiguration(const Settings& settings) {
    return {.measurementFile = value<Internal::Camera::MeasurementFile>(settings),
            .group = value<Internal::Camera::Group>(settings)};
}

void validate(const Settings& settings) {
    if (!value<Internal::Global::Validate>(settings))
        return;
    requireOrder<Settings::Iris, Internal::Lens::MaxIris>(settings);
    requireOrder<Internal::Measurement::MinZ, Internal::Measurement::MaxZ>(settings);
}

} // namespace Vorta
