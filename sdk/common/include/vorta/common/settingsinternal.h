#pragma once

#include "vorta/common/export.h"
#include "vorta/common/setting.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

namespace Vorta {

/// The expert half of the camera settings: what an ordinary user leaves alone. A value type; see Settings for its use.
class VORTA_COMMON_EXPORT SettingsInternal {
public:
    struct Measurement : SettingGroup<Measurement> {
        static constexpr std::string_view path = "Measurement";
        static constexpr std::string_view meaning = "How raw images become points.";

        enum class PatternCode : std::uint8_t { Diamond, Plain, ErrorCorrecting, Inverse };

        struct CalibrationFile : Setting<CalibrationFile, std::string> {
            static constexpr std::string_view path = "Measurement/CalibrationFile";
            static constexpr Traits traits{
                .defaultValue = "",
                .letters = "",
                .meaning = "Calibration file (YAML) that replaces the calibration stored in the head; empty for none."};
            using Setting::Setting;
        };
        struct ApplyCalibration : Setting<ApplyCalibration, bool> {
            static constexpr std::string_view path = "Measurement/ApplyCalibration";
            static constexpr Traits traits{.defaultValue = true,
                                           .meaning = "Turn the decoded patterns into points; off, x and y of a point "
                                                      "are the projector column and row that it saw."};
            using Setting::Setting;
        };
        struct AdvancedPattern : Setting<AdvancedPattern, PatternCode> {
            static constexpr std::string_view path = "Measurement/AdvancedPattern";
            static constexpr Traits traits{
                .defaultValue = PatternCode::Diamond,
                .texts = {"Diamond", "Plain", "ErrorCorrecting", "Inverse"},
                .meaning =
                    "Code of the projected patterns: for a diamond or a plain mirror lattice, with redundant bits "
                    "that repair wrong ones, or with each binary pattern followed by its inverse."};
            using Setting::Setting;
        };
        struct InversePatterns : Setting<InversePatterns, bool> {
            static constexpr std::string_view path = "Measurement/InversePatterns";
            static constexpr Traits traits{
                .defaultValue = false,
                .meaning =
                    "Follow each binary pattern with its inverse, whatever the code: slower, but sure on dark and "
                    "glossy surfaces."};
            using Setting::Setting;
        };
        struct InvalidateBottom : Setting<InvalidateBottom, std::uint64_t> {
            static constexpr std::string_view path = "Measurement/InvalidateBottom";
            static constexpr Traits traits{.defaultValue = 0,
                                           .minimum = 0,
                                           .maximum = 10'000,
                                           .unit = "pixels",
                                           .meaning = "Image rows at the bottom that deliver no points."};
            using Setting::Setting;
        };
        struct InvalidateLeft : Setting<InvalidateLeft, std::uint64_t> {
            static constexpr std::string_view path = "Measurement/InvalidateLeft";
            static constexpr Traits traits{.defaultValue = 0,
                                           .minimum = 0,
                                           .maximum = 10'000,
                                           .unit = "pixels",
                                           .meaning = "Image columns at the left that deliver no points."};
            using Setting::Setting;
        };
        struct InvalidateRight : Setting<InvalidateRight, std::uint64_t> {
            static constexpr std::string_view path = "Measurement/InvalidateRight";
            static constexpr Traits traits{.defaultValue = 0,
                                           .minimum = 0,
                                           .maximum = 10'000,
                                           .unit = "pixels",
                                           .meaning = "Image columns at the right that deliver no points."};
            using Setting::Setting;
        };
        struct InvalidateTop : Setting<InvalidateTop, std::uint64_t> {
            static constexpr std::string_view path = "Measurement/InvalidateTop";
            static constexpr Traits traits{.defaultValue = 0,
                                           .minimum = 0,
                                           .maximum = 10'000,
                                           .unit = "pixels",
                                           .meaning = "Image rows at the top that deliver no points."};
            using Setting::Setting;
        };
        struct MinZ : Setting<MinZ, double> {
            static constexpr std::string_view path = "Measurement/MinZ";
            static constexpr Traits traits{.defaultValue = 0.0,
                                           .minimum = 0.0,
                                           .maximum = 100'000.0,
                                           .unit = "mm",
                                           .meaning = "Depth below which points are out of range."};
            using Setting::Setting;
        };
        struct MaxZ : Setting<MaxZ, double> {
            static constexpr std::string_view path = "Measurement/MaxZ";
            static constexpr Traits traits{.defaultValue = 2'000.0,
                                           .minimum = 0.0,
                                           .maximum = 100'000.0,
                                           .unit = "mm",
                                           .meaning = "Depth above which points are out of range."};
            using Setting::Setting;
        };
    };

    struct Camera : SettingGroup<Camera> {
        static constexpr std::string_view path = "Camera";
        static constexpr std::string_view meaning = "The head's sensor and its driver.";

        enum class DriverKind : std::uint8_t { ToshibaTeli, IDS, PtGrey, NetCDF };
        enum class Mosaic : std::uint8_t { GRBG, RGGB, BGGR, GBRG };
        enum class ColorKind : std::uint8_t { Gray, Color, Raw };
        enum class TriggerSource : std::uint8_t { Hardware, Software, NoTrigger };
        enum class TriggerEdge : std::uint8_t { RisingEdge, FallingEdge };

        struct Driver : Setting<Driver, DriverKind> {
            static constexpr std::string_view path = "Camera/Driver";
            static constexpr Traits traits{.defaultValue = DriverKind::ToshibaTeli,
                                           .texts = {"ToshibaTeli", "IDS", "PtGrey", "NetCDF"},
                                           .meaning = "Driver that finds and opens heads; NetCDF replays a data file."};
            using Setting::Setting;
        };
        struct Group : Setting<Group, std::uint64_t> {
            static constexpr std::string_view path = "Camera/Group";
            static constexpr Traits traits{
                .defaultValue = 0,
                .minimum = 0,
                .maximum = 255,
                .unit = "",
                .meaning = "Number of the heads that share one trigger line; honoured only by real sensors."};
            using Setting::Setting;
        };
        struct MeasurementFile : Setting<MeasurementFile, std::string> {
            static constexpr std::string_view path = "Camera/MeasurementFile";
            static constexpr Traits traits{
                .defaultValue = "", .letters = "", .meaning = "Data file that the NetCDF driver replays."};
            using Setting::Setting;
        };
        struct BayerLayout : Setting<BayerLayout, Mosaic> {
            static constexpr std::string_view path = "Camera/BayerLayout";
            static constexpr Traits traits{
                .defaultValue = Mosaic::BGGR,
                .texts = {"GRBG", "RGGB", "BGGR", "GBRG"},
                .meaning = "Colours of the sensor's 2 x 2 mosaic cell, row by row, for heads that do not tell."};
            using Setting::Setting;
        };
        struct ColorMode : Setting<ColorMode, ColorKind> {
            static constexpr std::string_view path = "Camera/ColorMode";
            static constexpr Traits traits{.defaultValue = ColorKind::Raw,
                                           .texts = {"Gray", "Color", "Raw"},
                                           .meaning =
                                               "Colours of the points: grey, or the colours of the mosaic, demosaiced "
                                               "by a sensor that can (Color) or by the library (Raw)."};
            using Setting::Setting;
        };
        struct BlackLevel : Setting<BlackLevel, double> {
            static constexpr std::string_view path = "Camera/BlackLevel";
            static constexpr Traits traits{.defaultValue = 4.0,
                                           .minimum = 0.0,
                                           .maximum = 255.0,
                                           .unit = "grey levels",
                                           .meaning = "Level that the sensor adds to every pixel."};
            using Setting::Setting;
        };
        struct Gain : Setting<Gain, double> {
            static constexpr std::string_view path = "Camera/Gain";
            static constexpr Traits traits{.defaultValue = 1.0,
                                           .minimum = 1.0,
                                           .maximum = 16.0,
                                           .unit = "",
                                           .meaning = "Factor by which the sensor amplifies signal and noise."};
            using Setting::Setting;
        };
        struct Gamma : Setting<Gamma, double> {
            static constexpr std::string_view path = "Camera/Gamma";
            static constexpr Traits traits{.defaultValue = 1.0,
                                           .minimum = 0.25,
                                           .maximum = 4.0,
                                           .unit = "",
                                           .meaning =
                                               "Tone curve of the sensor: output = input^(1/gamma); 1 is linear."};
            using Setting::Setting;
        };
        struct FrameRate : Setting<FrameRate, double> {
            static constexpr std::string_view path = "Camera/FrameRate";
            static constexpr Traits traits{.defaultValue = 20.0,
                                           .minimum = 0.1,
                                           .maximum = 1'000.0,
                                           .unit = "Hz",
                                           .meaning = "Most measurements that live acquisition delivers in a second."};
            using Setting::Setting;
        };
        struct PixelClock : Setting<PixelClock, std::uint64_t> {
            static constexpr std::string_view path = "Camera/PixelClock";
            static constexpr Traits traits{.defaultValue = 120,
                                           .minimum = 5,
                                           .maximum = 500,
                                           .unit = "MHz",
                                           .meaning = "Read-out clock of the sensor; honoured only by real sensors."};
            using Setting::Setting;
        };
        struct TriggerType : Setting<TriggerType, TriggerSource> {
            static constexpr std::string_view path = "Camera/TriggerType";
            static constexpr Traits traits{
                .defaultValue = TriggerSource::Hardware,
                .texts = {"Hardware", "Software", "NoTrigger"},
                .meaning =
                    "What starts an exposure: the projector's signal line, a command, or nothing (free running); "
                    "honoured only by real sensors."};
            using Setting::Setting;
        };
        struct TriggerPolarity : Setting<TriggerPolarity, TriggerEdge> {
            static constexpr std::string_view path = "Camera/TriggerPolarity";
            static constexpr Traits traits{
                .defaultValue = TriggerEdge::FallingEdge,
                .texts = {"RisingEdge", "FallingEdge"},
                .meaning = "Edge of the signal line that starts an exposure; honoured only by real sensors."};
            using Setting::Setting;
        };
        struct SaveImages : Setting<SaveImages, bool> {
            static constexpr std::string_view path = "Camera/SaveImages";
            static constexpr Traits traits{
                .defaultValue = false,
                .meaning = "Keep the raw images with each measurement, so that its data file can be decoded afresh."};
            using Setting::Setting;
        };
        struct SaveChildMeasurements : Setting<SaveChildMeasurements, bool> {
            static constexpr std::string_view path = "Camera/SaveChildMeasurements";
            static constexpr Traits traits{
                .defaultValue = false,
                .meaning = "Keep the single captures of a high-dynamic-range measurement in its data file."};
            using Setting::Setting;
        };
    };

    struct Projector : SettingGroup<Projector> {
        static constexpr std::string_view path = "Projector";
        static constexpr std::string_view meaning = "The head's projector.";

        struct ToggleRGB : Setting<ToggleRGB, std::string> {
            static constexpr std::string_view path = "Projector/ToggleRGB";
            static constexpr Traits traits{.defaultValue = "RGB",
                                           .letters = "RGB",
                                           .meaning = "Letters of the LEDs that light up; empty for none."};
            using Setting::Setting;
        };
        struct VirtualTemperature : Setting<VirtualTemperature, double> {
            static constexpr std::string_view path = "Projector/VirtualTemperature";
            static constexpr Traits traits{
                .defaultValue = 25.0,
                .minimum = -40.0,
                .maximum = 125.0,
                .unit = "°C",
                .meaning = "Temperature that the calibration follows when the lens has no sensor; at the default, that "
                           "of the head's own sensor."};
            using Setting::Setting;
        };
        struct EnableTemperatureRegulator : Setting<EnableTemperatureRegulator, bool> {
            static constexpr std::string_view path = "Projector/EnableTemperatureRegulator";
            static constexpr Traits traits{
                .defaultValue = true,
                .meaning = "Let the head hold its working temperature; honoured only by real projectors."};
            using Setting::Setting;
        };
        struct MaxLEDCurrents : Setting<MaxLEDCurrents, LEDCurrents> {
            static constexpr std::string_view path = "Projector/MaxLEDCurrents";
            static constexpr Traits traits{.defaultValue = {90.0, 90.0, 90.0},
                                           .minimum = 0.0,
                                           .maximum = 100.0,
                                           .unit = "percent",
                                           .meaning = "Currents of the red, green and blue LED at full brightness."};
            using Setting::Setting;
        };
        struct MaxTemperature : Setting<MaxTemperature, double> {
            static constexpr std::string_view path = "Projector/MaxTemperature";
            static constexpr Traits traits{
                .defaultValue = 80.0,
                .minimum = 0.0,
                .maximum = 125.0,
                .unit = "°C",
                .meaning = "LED temperature above which a capture is refused, to spare the projector."};
            using Setting::Setting;
        };
    };

    struct Calibration : SettingGroup<Calibration> {
        static constexpr std::string_view path = "Calibration";
        static constexpr std::string_view meaning = "How phases become coordinates.";

        enum class Model : std::uint8_t { ProjectorCamera, Polynomial, ProjectorCameraMultiTemp };

        struct Method : Setting<Method, Model> {
            static constexpr std::string_view path = "Calibration/Method";
            static constexpr Traits traits{
                .defaultValue = Model::ProjectorCameraMultiTemp,
                .texts = {"ProjectorCamera", "Polynomial", "ProjectorCameraMultiTemp"},
                .meaning = "Triangulation between camera and projector, a polynomial per pixel, or triangulation that "
                           "follows the head's temperature."};
            using Setting::Setting;
        };
    };

    struct Global : SettingGroup<Global> {
        static constexpr std::string_view path = "Global";
        static constexpr std::string_view meaning = "The head as a whole.";

        enum class Revision : std::uint8_t { Rev0, Rev1, Rev2, Rev3 };

        struct ProductRevision : Setting<ProductRevision, Revision> {
            static constexpr std::string_view path = "Global/ProductRevision";
            static constexpr Traits traits{
                .defaultValue = Revision::Rev3,
                .texts = {"Rev0", "Rev1", "Rev2", "Rev3"},
                .meaning = "Product revision of the head; before Rev3 it stores no calibration of its own."};
            using Setting::Setting;
        };
        struct Validate : Setting<Validate, bool> {
            static constexpr std::string_view path = "Global/Validate";
            static constexpr Traits traits{
                .defaultValue = true,
                .meaning =
                    "Check before every capture that calibration and settings fit the head, and refuse it if not."};
            using Setting::Setting;
        };
        struct DebugMessages : Setting<DebugMessages, bool> {
            static constexpr std::string_view path = "Global/DebugMessages";
            static constexpr Traits traits{.defaultValue = false,
                                           .meaning = "Log the steps and times of every capture."};
            using Setting::Setting;
        };
    };

    struct Lens : SettingGroup<Lens> {
        static constexpr std::string_view path = "Lens";
        static constexpr std::string_view meaning = "The head's lens.";

        struct MaxIris : Setting<MaxIris, std::uint64_t> {
            static constexpr std::string_view path = "Lens/MaxIris";
            static constexpr Traits traits{.defaultValue = 63,
                                           .minimum = 1,
                                           .maximum = 63,
                                           .unit = "steps",
                                           .meaning = "Iris value at which the lens is fully open."};
            using Setting::Setting;
        };
    };

    /// Every setting in declaration order.
    using All =
        std::tuple<Measurement::CalibrationFile, Measurement::ApplyCalibration, Measurement::AdvancedPattern,
                   Measurement::InversePatterns, Measurement::InvalidateBottom, Measurement::InvalidateLeft,
                   Measurement::InvalidateRight, Measurement::InvalidateTop, Measurement::MinZ, Measurement::MaxZ,
                   Camera::Driver, Camera::Group, Camera::MeasurementFile, Camera::BayerLayout, Camera::ColorMode,
                   Camera::BlackLevel, Camera::Gain, Camera::Gamma, Camera::FrameRate, Camera::PixelClock,
                   Camera::TriggerType, Camera::TriggerPolarity, Camera::SaveImages, Camera::SaveChildMeasurements,
                   Projector::ToggleRGB, Projector::VirtualTemperature, Projector::EnableTemperatureRegulator,
                   Projector::MaxLEDCurrents, Projector::MaxTemperature, Calibration::Method, Global::ProductRevision,
                   Global::Validate, Global::DebugMessages, Lens::MaxIris>;
    /// Every group in declaration order.
    using Groups = std::tuple<Measurement, Camera, Projector, Calibration, Global, Lens>;

    /// The setting X, for instance `get<SettingsInternal::Measurement::MinZ>().value()`.
    template <class X>
    [[nodiscard]] const X& get() const noexcept {
        return std::get<X>(values_);
    }

    template <class X>
    void set(X setting) noexcept {
        std::get<X>(values_) = std::move(setting);
    }

    /// Sets by path and text. Throws ArgumentInvalidException for a path that is no setting or a text that is no value
    /// of its kind, ArgumentOutOfRangeException for a value that the setting does not accept; nothing is changed then.
    void set(std::string_view path, std::string_view text);

    /// The text of a value. Throws ArgumentInvalidException for a path that is no setting.
    [[nodiscard]] std::string getString(std::string_view path) const;

    /// Calls `visitor(const X&)` for every setting in declaration order.
    template <class Visitor>
    void visit(Visitor&& visitor) const {
        std::apply([&](const auto&... settings) { (visitor(settings), ...); }, values_);
    }

    /// All settings, and all groups, in declaration order.
    [[nodiscard]] static std::span<const SettingDescription> catalogue();
    [[nodiscard]] static std::span<const SettingGroupDescription> groups();

    [[nodiscard]] bool operator==(const SettingsInternal&) const = default;

private:
    All values_;
};

} // namespace Vorta
