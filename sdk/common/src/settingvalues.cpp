#include "vorta/common/exceptions.h"
#include "vorta/common/setting.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <system_error>

namespace Vorta::Detail {

namespace {

bool isDigit(char c) {
    return '0' <= c && c <= '9';
}

/// Whether the text is a decimal integer, so that failing to convert it means that it is too large or too small.
bool isInteger(std::string_view text) {
    if (text.starts_with('-'))
        text.remove_prefix(1);
    return !text.empty() && std::ranges::all_of(text, isDigit);
}

template <class T>
void parseInteger(std::string_view text, T& value, const SettingContext& context) {
    if (!isInteger(text))
        throwUnreadable(text, context);
    const char* const end = text.data() + text.size();
    if (const auto [rest, error] = std::from_chars(text.data(), end, value); error != std::errc{} || rest != end)
        throwOutOfRange(text, context);
}

template <class... Arguments>
std::string numberToText(Arguments... valueAndFormat) {
    std::array<char, 64> buffer{};
    [[maybe_unused]] const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), valueAndFormat...);
    assert(error == std::errc{});
    return {buffer.data(), end};
}

std::string withUnit(std::string text, std::string_view unit) {
    if (!unit.empty())
        text.append(" ").append(unit);
    return text;
}

} // namespace

std::string toText(double value) {
    // Both forms have the fewest digits that identify the number; the fixed one is easier to read.
    const double magnitude = std::abs(value);
    if (magnitude == 0.0 || (1e-5 <= magnitude && magnitude < 1e15))
        return numberToText(value, std::chars_format::fixed);
    return numberToText(value);
}

std::string toText(std::uint64_t value) {
    return numberToText(value);
}

std::string toText(std::chrono::microseconds value) {
    return numberToText(std::int64_t{value.count()});
}

std::string toText(bool value) {
    return value ? "true" : "false";
}

std::string toText(const std::string& value) {
    return value;
}

std::string toText(const LEDCurrents& value) {
    return toText(value[0]) + ' ' + toText(value[1]) + ' ' + toText(value[2]);
}

void parse(std::string_view text, double& value, const SettingContext& context) {
    // from_chars also reads "inf" and "nan", which no setting accepts.
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos)
        throwUnreadable(text, context);
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc::invalid_argument || rest != end)
        throwUnreadable(text, context);
    if (error != std::errc{})
        throwOutOfRange(text, context);
}

void parse(std::string_view text, std::uint64_t& value, const SettingContext& context) {
    parseInteger(text, value, context);
}

void parse(std::string_view text, std::chrono::microseconds& value, const SettingContext& context) {
    std::int64_t count = 0;
    parseInteger(text, count, context);
    value = std::chrono::microseconds{count};
}

void parse(std::string_view text, bool& value, const SettingContext& context) {
    if (text != "true" && text != "false")
        throwUnreadable(text, context);
    value = text == "true";
}

void parse(std::string_view text, std::string& value, const SettingContext& /*context*/) {
    value = text;
}

void parse(std::string_view text, LEDCurrents& value, const SettingContext& context) {
    const std::size_t first = text.find(' ');
    const std::size_t second = first == std::string_view::npos ? first : text.find(' ', first + 1);
    if (second == std::string_view::npos)
        throwUnreadable(text, context);
    // Errors name the whole text rather than the number that is wrong.
    const auto read = [&](std::string_view part) {
        double number = 0.0;
        try {
            parse(part, number, context);
        } catch (const ArgumentOutOfRangeException&) {
            throwOutOfRange(text, context);
        } catch (const ArgumentInvalidException&) {
            throwUnreadable(text, context);
        }
        return number + 0.0;
    };
    value = {read(text.substr(0, first)), read(text.substr(first + 1, second - first - 1)),
             read(text.substr(second + 1))};
}

std::size_t parseChoice(std::string_view text, std::span<const std::string_view> choices,
                        const SettingContext& context) {
    const auto found = std::ranges::find(choices, text);
    if (found == choices.end())
        throwUnreadable(text, context);
    return static_cast<std::size_t>(found - choices.begin());
}

bool isAccepted(const SettingTraits<std::string>& traits, const std::string& value) {
    if (traits.letters.empty())
        return true;
    const auto occursOnce = [&](char letter) {
        return traits.letters.find(letter) != std::string_view::npos && std::ranges::count(value, letter) == 1;
    };
    return std::ranges::all_of(value, occursOnce);
}

bool isAccepted(const SettingTraits<LEDCurrents>& traits, const LEDCurrents& value) {
    return std::ranges::all_of(value,
                               [&](double number) { return traits.minimum <= number && number <= traits.maximum; });
}

std::string describeAccepted(const SettingTraits<double>& traits) {
    return withUnit("a number from " + toText(traits.minimum) + " to " + toText(traits.maximum), traits.unit);
}

std::string describeAccepted(const SettingTraits<std::uint64_t>& traits) {
    return withUnit("a whole number from " + toText(traits.minimum) + " to " + toText(traits.maximum), traits.unit);
}

std::string describeAccepted(const SettingTraits<std::chrono::microseconds>& traits) {
    return withUnit("a whole number from " + toText(traits.minimum) + " to " + toText(traits.maximum), traits.unit);
}

std::string describeAccepted(const SettingTraits<bool>& /*traits*/) {
    return R"("true" or "false")";
}

std::string describeAccepted(const SettingTraits<std::string>& traits) {
    if (traits.letters.empty())
        return "any text";
    return "a text with each of the letters " + std::string{traits.letters} + " at most once";
}

std::string describeAccepted(const SettingTraits<LEDCurrents>& traits) {
    return withUnit("three numbers from " + toText(traits.minimum) + " to " + toText(traits.maximum), traits.unit) +
           ", separated by single blanks";
}

std::string describeAccepted(std::span<const std::string_view> choices) {
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (i > 0)
            text += i + 1 == choices.size() ? " or " : ", ";
        text.append("\"").append(choices[i]).append("\"");
    }
    return text;
}

void throwUnreadable(std::string_view text, const SettingContext& context) {
    throw ArgumentInvalidException("Expected " + context.accepted(), context.path, text);
}

void throwOutOfRange(std::string_view valueText, const SettingContext& context) {
    throw ArgumentOutOfRangeException("The value is out of range; expected " + context.accepted(), context.path,
                                      valueText);
}

} // namespace Vorta::Detail
