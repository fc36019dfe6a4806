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
    return settings.get<S>().value();
}

template <class S>
auto internal(const Settings& settings) {
    return settings.getSettingsInternal().get<S>().value();
}

template <class S>
std::string named(const Settings& settings) {
    return std::string(S::path) + " (" + settings.getString(std::string(S::path)) + ")";
}

template <class Lower, class Upper>
[[noreturn]] void refuseOrder(const Settings& settings) {
    throw RuntimeException("the setting " + named<Lower>(settings) + " lies above " + named<Upper>(settings) +
                           "; correct one, or switch " + std::string(Internal::Global::Validate::path) + " off.");
}

Reconstruction::Parameters::ColourMode colourMode(Internal::Camera::ColorKind kind) {
    using Mode = Reconstruction::Parameters::ColourMode;
    switch (kind) {
    case Internal::Camera::ColorKind::Gray:
        return Mode::Gray;
    case Internal::Camera::ColorKind::Color:
        return Mode::Color;
    case Internal::Camera::ColorKind::Raw:
        return Mode::Raw;
    }
    throw ArgumentInvalidException("There is no such colour mode.", "ColorMode");
}

} // namespace

Driver::HeadConfiguration headConfiguration(const Settings& settings) {
    const std::string leds = internal<Internal::Projector::ToggleRGB>(settings);
    const auto isOn = [&leds](char letter) { return leds.find(letter) != std::string::npos; };
    const std::uint64_t maxIris = internal<Internal::Lens::MaxIris>(settings);
    return {
        .exposureTimeUs = value<Settings::ExposureTime>(settings).count(),
        .iris = std::min(value<Settings::Iris>(settings), maxIris),
        .maxIris = maxIris,
        .brightness = value<Settings::Brightness>(settings),
        .gain = internal<Internal::Camera::Gain>(settings),
        .gamma = internal<Internal::Camera::Gamma>(settings),
        .blackLevel = internal<Internal::Camera::BlackLevel>(settings),
        .ledEnabled = {isOn('R'), isOn('G'), isOn('B')},
        .ledCurrentPercent = internal<Internal::Projector::MaxLEDCurrents>(settings),
    };
}

Reconstruction::SequenceOptions sequenceOptions(const Settings& settings) {
    using Pattern = Internal::Measurement::PatternCode;
    using Code = Reconstruction::SequenceOptions::Code;
    const Pattern pattern = internal<Internal::Measurement::AdvancedPattern>(settings);
    return {.lattice = pattern == Pattern::Diamond ? Driver::Lattice::Diamond : Driver::Lattice::Plain,
            .code = pattern == Pattern::ErrorCorrecting ? Code::ErrorCorrecting : Code::Gray,
            .inverse = pattern == Pattern::Inverse || internal<Internal::Measurement::InversePatterns>(settings),
            .rows = value<Settings::Bidirectional>(settings)};
}

Reconstruction::ReconstructorOptions reconstructorOptions(const Settings& settings,
                                                          std::optional<Driver::BayerLayout> mosaic) {
    using Model = Internal::Calibration::Model;
    Reconstruction::ReconstructorOptions options;
    // The settings list the layouts in the driver interface's order.
    options.bayerLayout =
        mosaic.value_or(static_cast<Driver::BayerLayout>(internal<Internal::Camera::BayerLayout>(settings)));
    options.method = internal<Internal::Calibration::Method>(settings) == Model::Polynomial
                         ? Reconstruction::ReconstructorOptions::Method::Polynomial
                         : Reconstruction::ReconstructorOptions::Method::Triangulation;
    return options;
}

Reconstruction::Parameters reconstructionParameters(const Settings& settings) {
    Reconstruction::Parameters parameters;
    parameters.applyCalibration = internal<Internal::Measurement::ApplyCalibration>(settings);
    parameters.minModulation = value<Settings::Filters::Contrast::Threshold>(settings);
    parameters.rejectSaturated = value<Settings::Filters::Saturated::Enabled>(settings);
    parameters.rejectReflections = value<Settings::Filters::Reflection::Enabled>(settings);
    parameters.rejectOutliers = value<Settings::Filters::Outlier::Enabled>(settings);
    parameters.outlierThresholdMm = value<Settings::Filters::Outlier::Threshold>(settings);
    parameters.invalidTop = internal<Internal::Measurement::InvalidateTop>(settings);
    parameters.invalidBottom = internal<Internal::Measurement::InvalidateBottom>(settings);
    parameters.invalidLeft = internal<Internal::Measurement::InvalidateLeft>(settings);
    parameters.invalidRight = internal<Internal::Measurement::InvalidateRight>(settings);
    parameters.gamma = internal<Internal::Camera::Gamma>(settings);
    parameters.redBalance = value<Settings::RedBalance>(settings);
    parameters.blueBalance = value<Settings::BlueBalance>(settings);
    parameters.blackLevel = internal<Internal::Camera::BlackLevel>(settings);
    parameters.colourMode = colourMode(internal<Internal::Camera::ColorMode>(settings));
    return parameters;
}

Settings withExposuresOf(const Settings& recorded, Settings settings) {
    SettingsInternal& internals = settings.getSettingsInternal();
    const auto take = [&]<class... S>() { (settings.set(recorded.get<S>()), ...); };
    const auto takeInternal = [&]<class... S>() { (internals.set(recorded.getSettingsInternal().get<S>()), ...); };
    take.template operator()<Settings::ExposureTime, Settings::Iris, Settings::Brightness, Settings::Bidirectional>();
    takeInternal.template operator()<Internal::Measurement::AdvancedPattern, Internal::Measurement::InversePatterns,
                                     Internal::Camera::BayerLayout, Internal::Camera::BlackLevel,
                                     Internal::Camera::Gain, Internal::Camera::Gamma, Internal::Projector::ToggleRGB,
                                     Internal::Projector::MaxLEDCurrents, Internal::Lens::MaxIris>();
    return settings;
}

Driver::DriverConfiguration driverConfiguration(const Settings& settings) {
    return {.measurementFile = internal<Internal::Camera::MeasurementFile>(settings),
            .group = internal<Internal::Camera::Group>(settings)};
}

void validate(const Settings& settings) {
    if (!internal<Internal::Global::Validate>(settings))
        return;
    if (value<Settings::Iris>(settings) > internal<Internal::Lens::MaxIris>(settings))
        refuseOrder<Settings::Iris, Internal::Lens::MaxIris>(settings);
    if (internal<Internal::Measurement::MinZ>(settings) > internal<Internal::Measurement::MaxZ>(settings))
        refuseOrder<Internal::Measurement::MinZ, Internal::Measurement::MaxZ>(settings);
}

} // namespace Vorta
