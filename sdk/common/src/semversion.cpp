#include "vorta/common/semversion.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace Vorta {

namespace {

[[noreturn]] void throwInvalid(const std::string& reason, std::string_view text) {
    throw ArgumentInvalidException("This is no semantic version: " + reason, "version", text);
}

bool isDigit(char c) {
    return '0' <= c && c <= '9';
}

bool isIdentifierCharacter(char c) {
    return isDigit(c) || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || c == '-';
}

bool isNumeric(std::string_view identifier) {
    return std::ranges::all_of(identifier, isDigit);
}

bool hasLeadingZero(std::string_view digits) {
    return digits.size() > 1 && digits.front() == '0';
}

/// Removes the first identifier of a dot-separated list; `list` is empty after the last one.
std::string_view takeIdentifier(std::string_view& list) {
    const std::size_t dot = list.find('.');
    const std::string_view identifier = list.substr(0, dot);
    list.remove_prefix(dot == std::string_view::npos ? list.size() : dot + 1);
    return identifier;
}

void checkIdentifiers(std::string_view list, bool numbersMayHaveLeadingZeros, std::string_view kind,
                      std::string_view text) {
    if (list.ends_with('.')) // the walk below cannot see the empty identifier behind a last dot
        throwInvalid("an identifier of its " + std::string{kind} + " is empty", text);
    do {
        const std::string_view identifier = takeIdentifier(list);
        if (identifier.empty())
            throwInvalid("an identifier of its " + std::string{kind} + " is empty", text);
        if (!std::ranges::all_of(identifier, isIdentifierCharacter))
            throwInvalid("its " + std::string{kind} + " holds something else than letters, digits and hyphens", text);
        if (!numbersMayHaveLeadingZeros && isNumeric(identifier) && hasLeadingZero(identifier))
            throwInvalid("a number of its " + std::string{kind} + " has a leading zero", text);
    } while (!list.empty());
}

/// Compares decimal numbers of any length that have no leading zeros.
std::weak_ordering compareNumbers(std::string_view left, std::string_view right) noexcept {
    if (left.size() != right.size())
        return left.size() <=> right.size();
    return left.compare(right) <=> 0;
}

std::weak_ordering compareIdentifiers(std::string_view left, std::string_view right) noexcept {
    const bool leftIsNumeric = isNumeric(left);
    if (leftIsNumeric != isNumeric(right))
        return leftIsNumeric ? std::weak_ordering::less : std::weak_ordering::greater;
    return leftIsNumeric ? compareNumbers(left, right) : std::weak_ordering{left.compare(right) <=> 0};
}

std::weak_ordering comparePreReleases(std::string_view left, std::string_view right) noexcept {
    if (left.empty() || right.empty())
        return left.empty() <=> right.empty(); // without one is the release itself, the greater
    while (!left.empty() && !right.empty()) {
        const auto order = compareIdentifiers(takeIdentifier(left), takeIdentifier(right));
        if (std::is_neq(order))
            return order;
    }
    return right.empty() <=> left.empty(); // more identifiers are greater
}

std::uint64_t toNumber(std::string_view digits) noexcept {
    std::uint64_t number = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc{})
        return std::numeric_limits<std::uint64_t>::max();
    return number;
}

} // namespace

SemVersion::SemVersion(std::string_view text) {
    std::string_view rest = text;
    if (const std::size_t plus = rest.find('+'); plus != std::string_view::npos) {
        build_ = rest.substr(plus + 1);
        checkIdentifiers(build_, true, "build text", text);
        rest = rest.substr(0, plus);
    }
    if (const std::size_t hyphen = rest.find('-'); hyphen != std::string_view::npos) {
        preRelease_ = rest.substr(hyphen + 1);
        checkIdentifiers(preRelease_, false, "pre-release", text);
        rest = rest.substr(0, hyphen);
    }
    if (std::ranges::count(rest, '.') != 2)
        throwInvalid("it does not begin with three numbers separated by dots", text);
    for (std::string& number : numbers_) {
        number = takeIdentifier(rest);
        if (number.empty() || !isNumeric(number))
            throwInvalid("it does not begin with three numbers separated by dots", text);
        if (hasLeadingZero(number))
            throwInvalid("one of its three numbers has a leading zero", text);
    }
}

std::uint64_t SemVersion::majorNumber() const noexcept {
    return toNumber(numbers_[0]);
}

std::uint64_t SemVersion::minorNumber() const noexcept {
    return toNumber(numbers_[1]);
}

std::uint64_t SemVersion::patchNumber() const noexcept {
    return toNumber(numbers_[2]);
}

std::string SemVersion::toString() const {
    std::string text = numbers_[0] + '.' + numbers_[1] + '.' + numbers_[2];
    if (!preRelease_.empty())
        text.append("-").append(preRelease_);
    if (!build_.empty())
        text.append("+").append(build_);
    return text;
}

bool SemVersion::operator==(const SemVersion& other) const noexcept {
    return numbers_ == other.numbers_ && preRelease_ == other.preRelease_;
}

std::weak_ordering SemVersion::operator<=>(const SemVersion& other) const noexcept {
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        const auto order = compareNumbers(numbers_[i], other.numbers_[i]);
        if (std::is_neq(order))
            return order;
    }
    return comparePreReleases(preRelease_, other.preRelease_);
}

} // namespace Vorta
