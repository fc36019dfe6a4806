#pragma once

#include "vorta/common/export.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// What one setting of the catalogue is made of. The catalogue itself is in settings.h and settingsinternal.h.
namespace Vorta {

/// Limits that a value may reach but not pass.
template <class T>
struct Range {
    T minimum;
    T maximum;

    [[nodiscard]] constexpr bool contains(const T& value) const { return minimum <= value && value <= maximum; }
};

/// One setting as editors and documentation need it. All texts live as long as the program and are UTF-8.
struct SettingDescription {
    std::string_view path;        ///< "Filters/Contrast/Threshold"
    std::string_view name;        ///< "Threshold"
    std::string_view type;        ///< "number", "whole number", "duration", "switch", "choice", "text", ...
    std::string_view unit;        ///< "mm"; empty where the value has none
    std::string_view defaultText; ///< what `toString()` gives for an untouched setting
    std::string_view accepted;    ///< "a number from 0 to 127.5 grey levels"
    std::string_view meaning;     ///< one line, a whole sentence
    std::span<const std::string_view> choices; ///< the texts of an enumerated setting in catalogue order, else empty
};

/// A group of settings; it has no value of its own.
struct SettingGroupDescription {
    std::string_view path; ///< "Filters/Contrast"
    std::string_view name; ///< "Contrast"
    std::string_view meaning;
};

/// Percent of the greatest current for the red, green and blue LED.
using LEDCurrents = std::array<double, 3>;

namespace Detail {

/// The fixed facts of a setting whose value is a T; each setting class has one as its constant `traits`.
template <class T>
struct SettingTraits;

/// Ordered values: numbers and durations.
template <class T>
requires std::same_as<T, double> || std::same_as<T, std::uint64_t> || std::same_as<T, std::chrono::microseconds>
struct SettingTraits<T> {
    T defaultValue;
    T minimum;
    T maximum;
    std::string_view unit;
    std::string_view meaning;
};

template <>
struct SettingTraits<bool> {
    bool defaultValue;
    std::string_view meaning;
};

/// Enumerations count from 0 without gaps; `texts` holds the text of each value at its number.
template <class T>
requires std::is_enum_v<T>
struct SettingTraits<T> {
    T defaultValue;
    std::array<std::string_view, 4> texts; ///< unused places at the end stay empty
    std::string_view meaning;
};

template <>
struct SettingTraits<std::string> {
    std::string_view defaultValue;
    std::string_view letters; ///< the letters that the text may hold, each at most once; empty: any text
    std::string_view meaning;
};

template <>
struct SettingTraits<LEDCurrents> {
    LEDCurrents defaultValue;
    double minimum; ///< of each number
    double maximum;
    std::string_view unit;
    std::string_view meaning;
};

/// The last component of a path.
[[nodiscard]] constexpr std::string_view leafName(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

template <class T>
[[nodiscard]] constexpr std::span<const std::string_view> choicesOf(const SettingTraits<T>& traits) {
    if constexpr (std::is_enum_v<T>) {
        const auto end = std::ranges::find(traits.texts, std::string_view{});
        return {traits.texts.data(), static_cast<std::size_t>(end - traits.texts.begin())};
    } else {
        return {};
    }
}

// Value to text and back. `parse` throws ArgumentInvalidException for a text that is no such value at all and
// ArgumentOutOfRangeException for a number that no T can hold; whether a setting accepts the value is for `isAccepted`.
// Numbers have a decimal point whatever the locale.
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(double value);
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(std::uint64_t value);
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(std::chrono::microseconds value);
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(bool value);
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(const std::string& value);
[[nodiscard]] VORTA_COMMON_EXPORT std::string toText(const LEDCurrents& value);

/// Names the setting whose value is read or checked, for the words of an error.
struct SettingContext {
    std::string_view path;
    std::string (*accepted)();
};

VORTA_COMMON_EXPORT void parse(std::string_view text, double& value, const SettingContext& context);
VORTA_COMMON_EXPORT void parse(std::string_view text, std::uint64_t& value, const SettingContext& context);
VORTA_COMMON_EXPORT void parse(std::string_view text, std::chrono::microseconds& value, const SettingContext& context);
VORTA_COMMON_EXPORT void parse(std::string_view text, bool& value, const SettingContext& context);
VORTA_COMMON_EXPORT void parse(std::string_view text, std::string& value, const SettingContext& context);
VORTA_COMMON_EXPORT void parse(std::string_view text, LEDCurrents& value, const SettingContext& context);
/// The position of `text` in `choices`.
[[nodiscard]] VORTA_COMMON_EXPORT std::size_t
parseChoice(std::string_view text, std::span<const std::string_view> choices, const SettingContext& context);

[[nodiscard]] VORTA_COMMON_EXPORT bool isAccepted(const SettingTraits<std::string>& traits, const std::string& value);
[[nodiscard]] VORTA_COMMON_EXPORT bool isAccepted(const SettingTraits<LEDCurrents>& traits, const LEDCurrents& value);

template <class T>
[[nodiscard]] bool isAccepted(const SettingTraits<T>& traits, const T& value) {
    if constexpr (std::is_enum_v<T>)
        return static_cast<std::size_t>(value) < choicesOf(traits).size();
    else if constexpr (std::same_as<T, bool>)
        return true;
    else
        return traits.minimum <= value && value <= traits.maximum; // also refuses NaN
}

// What a setting accepts, in words: "a whole number from 1 to 63 steps".
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<double>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<std::uint64_t>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<std::chrono::microseconds>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<bool>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<std::string>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(const SettingTraits<LEDCurrents>& traits);
[[nodiscard]] VORTA_COMMON_EXPORT std::string describeAccepted(std::span<const std::string_view> choices);

template <class T>
requires std::is_enum_v<T>
[[nodiscard]] std::string describeAccepted(const SettingTraits<T>& traits) {
    return describeAccepted(choicesOf(traits));
}

// The kind of value: "number", "whole number", "duration", "switch", "choice", "text", "three numbers".
template <class T>
[[nodiscard]] constexpr std::string_view typeName() {
    if constexpr (std::same_as<T, double>)
        return "number";
    else if constexpr (std::same_as<T, std::uint64_t>)
        return "whole number";
    else if constexpr (std::same_as<T, std::chrono::microseconds>)
        return "duration";
    else if constexpr (std::same_as<T, bool>)
        return "switch";
    else if constexpr (std::same_as<T, std::string>)
        return "text";
    else if constexpr (std::same_as<T, LEDCurrents>)
        return "three numbers";
    else
        return "choice";
}

[[noreturn]] VORTA_COMMON_EXPORT void throwUnreadable(std::string_view text, const SettingContext& context);
[[noreturn]] VORTA_COMMON_EXPORT void throwOutOfRange(std::string_view valueText, const SettingContext& context);

} // namespace Detail

/// Base of the group classes. `Derived` has the constants `path` and `meaning`.
template <class Derived>
struct SettingGroup {
    /// The last component of the path.
    static constexpr std::string_view name = Detail::leafName(Derived::path);
};

/// Base of the setting classes: one value of type T that always lies within what the setting accepts.
///
/// `Derived` has the constants `path` and `traits`, from which everything here follows.
template <class Derived, class T>
class Setting {
public:
    using Value = T;
    using Traits = Detail::SettingTraits<T>;

    /// The leaf name: the last component of the path.
    static constexpr std::string_view name = Detail::leafName(Derived::path);

    /// The default value.
    Setting() : value_(Derived::traits.defaultValue) {}

    /// Throws ArgumentOutOfRangeException (ArgumentInvalidException for a text), naming the path, when the setting does
    /// not accept the value.
    explicit Setting(T value) : value_(std::move(value)) {
        if constexpr (std::same_as<T, double>)
            value_ += 0.0; // makes -0 a plain 0
        if (Detail::isAccepted(Derived::traits, value_))
            return;
        if constexpr (std::same_as<T, std::string>)
            Detail::throwUnreadable(value_, context());
        else
            Detail::throwOutOfRange(textOf(value_), context());
    }

    /// The setting with the value that `text` gives. Throws ArgumentInvalidException when the text is no value of this
    /// kind and ArgumentOutOfRangeException when the setting does not accept that value.
    [[nodiscard]] static Derived fromString(std::string_view text) {
        if constexpr (std::is_enum_v<T>) {
            return Derived(static_cast<T>(Detail::parseChoice(text, texts(), context())));
        } else {
            T value{};
            Detail::parse(text, value, context());
            return Derived(std::move(value));
        }
    }

    [[nodiscard]] const T& value() const noexcept { return value_; }

    /// The text that `fromString` turns back into the same value, to the last bit. Numbers are as short as that allows.
    [[nodiscard]] std::string toString() const { return textOf(value_); }

    /// The limits; both are accepted.
    [[nodiscard]] static constexpr Range<T> range() requires(requires { Traits::minimum; } &&
                                                             !std::same_as<T, LEDCurrents>) {
        return {Derived::traits.minimum, Derived::traits.maximum};
    }

    /// The allowed values in catalogue order.
    [[nodiscard]] static std::span<const T> range() requires std::is_enum_v<T> {
        static constexpr std::array<T, 4> all{static_cast<T>(0), static_cast<T>(1), static_cast<T>(2),
                                              static_cast<T>(3)};
        return std::span<const T>{all}.first(texts().size());
    }

    /// The texts of the allowed values in catalogue order.
    [[nodiscard]] static constexpr std::span<const std::string_view> texts() requires std::is_enum_v<T> {
        return Detail::choicesOf(Derived::traits);
    }

    /// What values and texts are accepted, in words: "a whole number from 1 to 63 steps".
    [[nodiscard]] static std::string accepted() { return Detail::describeAccepted(Derived::traits); }

    [[nodiscard]] bool operator==(const Setting&) const = default;

private:
    [[nodiscard]] static Detail::SettingContext context() { return {.path = Derived::path, .accepted = &accepted}; }

    [[nodiscard]] static std::string textOf(const T& value) {
        if constexpr (std::is_enum_v<T>) {
            const auto number = static_cast<std::size_t>(value);
            return number < texts().size() ? std::string{texts()[number]} : Detail::toText(std::uint64_t{number});
        } else {
            return Detail::toText(value);
        }
    }

    T value_;
};

} // namespace Vorta
