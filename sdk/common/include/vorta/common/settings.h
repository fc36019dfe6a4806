#pragma once

#include "vorta/common/export.h"
#include "vorta/common/setting.h"
#include "vorta/common/settingsinternal.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

namespace Vorta {

/// How a camera measures: the public settings and, behind `getSettingsInternal()`, the expert ones. A value type.
///
///     Vorta::Settings settings("studio.yml");
///     settings.set(Vorta::Settings::Iris(31));
///     settings.set("Filters/Contrast/Threshold", "3.5");
///     const double threshold = settings.get<Vorta::Settings::Filters::Contrast::Threshold>().value();
///
/// Each setting is a class with a value, a `path`, a `name`, limits and a text form; values outside the limits cannot
/// be made. Texts are exact: paths and enumerated texts are compared byte for byte, numbers have a decimal point and
/// nothing before or behind, switches are "true" or "false".
class VORTA_COMMON_EXPORT Settings {
public:
    struct BlueBalance : Setting<BlueBalance, double> {
        static constexpr std::string_view path = "BlueBalance";
        static constexpr Traits traits{.defaultValue = 1.0,
                                       .minimum = 0.0,
                                       .maximum = 100.0,
                                       .unit = "",
                                       .meaning = "Gain of the colour image's blue channel; green has gain 1."};
        using Setting::Setting;
    };
    struct RedBalance : Setting<RedBalance, double> {
        static constexpr std::string_view path = "RedBalance";
        static constexpr Traits traits{.defaultValue = 1.0,
                                       .minimum = 0.0,
                                       .maximum = 100.0,
                                       .unit = "",
                                       .meaning = "Gain of the colour image's red channel; green has gain 1."};
        using Setting::Setting;
    };
    struct ExposureTime : Setting<ExposureTime, std::chrono::microseconds> {
        static constexpr std::string_view path = "ExposureTime";
        static constexpr Traits traits{.defaultValue = std::chrono::microseconds{10'000},
                                       .minimum = std::chrono::microseconds{100},
                                       .maximum = std::chrono::microseconds{200'000},
                                       .unit = "µs",
                                       .meaning = "Exposure of each single image of a capture."};
        using Setting::Setting;
    };
    struct Iris : Setting<Iris, std::uint64_t> {
        static constexpr std::string_view path = "Iris";
        static constexpr Traits traits{.defaultValue = 31,
                                       .minimum = 1,
                                       .maximum = 63,
                                       .unit = "steps",
                                       .meaning = "Opening of the lens: more is brighter, but less deep in focus."};
        using Setting::Setting;
    };
    struct Brightness : Setting<Brightness, double> {
        static constexpr std::string_view path = "Brightness";
        static constexpr Traits traits{.defaultValue = 1.0,
                                       .minimum = 0.0,
                                       .maximum = 1.0,
                                       .unit = "",
                                       .meaning = "Brightness of the projector; 1 is full."};
        using Setting::Setting;
    };
    struct Bidirectional : Setting<Bidirectional, bool> {
        static constexpr std::string_view path = "Bidirectional";
        static constexpr Traits traits{
            .defaultValue = false,
            .meaning = "Code the projector's rows as well as its columns: slower, but sure against interreflections."};
        using Setting::Setting;
    };

    struct Filters : SettingGroup<Filters> {
        static constexpr std::string_view path = "Filters";
        static constexpr std::string_view meaning = "Which points are removed from a measurement.";

        // Contrast has no switch: a threshold of 0 lets every point pass.
        struct Contrast : SettingGroup<Contrast> {
            static constexpr std::string_view path = "Filters/Contrast";
            static constexpr std::string_view meaning = "Points that saw too little of the pattern.";

            struct Threshold : Setting<Threshold, double> {
                static constexpr std::string_view path = "Filters/Contrast/Threshold";
                static constexpr Traits traits{.defaultValue = 5.0,
                                               .minimum = 0.0,
                                               .maximum = 127.5,
                                               .unit = "grey levels",
                                               .meaning =
                                                   "Pattern modulation amplitude below which a point is removed."};
                using Setting::Setting;
            };
        };
        struct Outlier : SettingGroup<Outlier> {
            static constexpr std::string_view path = "Filters/Outlier";
            static constexpr std::string_view meaning = "Points that hang together with no surface.";

            struct Enabled : Setting<Enabled, bool> {
                static constexpr std::string_view path = "Filters/Outlier/Enabled";
                static constexpr Traits traits{.defaultValue = true,
                                               .meaning = "Remove small groups of points that no surface connects."};
                using Setting::Setting;
            };
            struct Threshold : Setting<Threshold, double> {
                static constexpr std::string_view path = "Filters/Outlier/Threshold";
                static constexpr Traits traits{
                    .defaultValue = 5.0,
                    .minimum = 0.0,
                    .maximum = 1'000.0,
                    .unit = "mm",
                    .meaning = "Depth step between neighbouring points above which they are not connected."};
                using Setting::Setting;
            };
        };
        struct Saturated : SettingGroup<Saturated> {
            static constexpr std::string_view path = "Filters/Saturated";
            static constexpr std::string_view meaning = "Points that were overexposed.";

            struct Enabled : Setting<Enabled, bool> {
                static constexpr std::string_view path = "Filters/Saturated/Enabled";
                static constexpr Traits traits{.defaultValue = true,
                                               .meaning = "Remove points that were overexposed in a pattern image."};
                using Setting::Setting;
            };
        };
        struct Reflection : SettingGroup<Reflection> {
            static constexpr std::string_view path = "Filters/Reflection";
            static constexpr std::string_view meaning = "Points that saw the pattern by way of another surface.";

            struct Enabled : Setting<Enabled, bool> {
                static constexpr std::string_view path = "Filters/Reflection/Enabled";
                static constexpr Traits traits{
                    .defaultValue = false,
                    .meaning = "Remove points whose pattern reached them by way of another surface."};
                using Setting::Setting;
            };
        };
    };

    /// Every public setting in declaration order.
    using All = std::tuple<BlueBalance, RedBalance, ExposureTime, Iris, Brightness, Bidirectional,
                           Filters::Contrast::Threshold, Filters::Outlier::Enabled, Filters::Outlier::Threshold,
                           Filters::Saturated::Enabled, Filters::Reflection::Enabled>;
    /// Every group of them in declaration order, each before what it contains.
    using Groups = std::tuple<Filters, Filters::Contrast, Filters::Outlier, Filters::Saturated, Filters::Reflection>;

    /// The name of the whole, for stores that keep settings beside other things.
    [[nodiscard]] static constexpr std::string_view rootName() noexcept { return "Settings"; }

    /// Every setting at its default.
    Settings() = default;

    /// Reads a settings file (YAML; narrow path in the system's encoding). What the file leaves out has its default.
    /// Throws IOException that names file, line, path and reason when the file cannot be read, is no YAML, or holds a
    /// setting that is unknown, given twice or not acceptable.
    explicit Settings(const std::string& path);

    /// Writes every setting, public and internal, with comments. The earlier file of that name stays whole until the
    /// new one is complete. Throws IOException that names the file and why it could not be written.
    void save(const std::string& path) const;

    /// The public setting X, for instance `get<Settings::Iris>().value()`.
    template <class X>
    [[nodiscard]] const X& get() const noexcept {
        return std::get<X>(values_);
    }

    template <class X>
    void set(X setting) noexcept {
        std::get<X>(values_) = std::move(setting);
    }

    /// Sets any setting, public or internal, by path and text. Throws ArgumentInvalidException for a path that is no
    /// setting or a text that is no value of its kind, ArgumentOutOfRangeException for a value that the setting does
    /// not accept; nothing is changed then.
    void set(std::string_view path, std::string_view text);

    /// The text of any setting, public or internal. Throws ArgumentInvalidException for a path that is no setting.
    [[nodiscard]] std::string getString(std::string_view path) const;

    [[nodiscard]] const SettingsInternal& getSettingsInternal() const noexcept { return internal_; }
    [[nodiscard]] SettingsInternal& getSettingsInternal() noexcept { return internal_; }

    /// Calls `visitor(const X&)` for every public setting in declaration order.
    template <class Visitor>
    void visit(Visitor&& visitor) const {
        std::apply([&](const auto&... settings) { (visitor(settings), ...); }, values_);
    }

    /// All public settings, and all their groups, in declaration order.
    [[nodiscard]] static std::span<const SettingDescription> catalogue();
    [[nodiscard]] static std::span<const SettingGroupDescription> groups();

    /// Compares public and internal settings.
    [[nodiscard]] bool operator==(const Settings&) const = default;

private:
    All values_;
    SettingsInternal internal_;
};

} // namespace Vorta
