#pragma once

#include "vorta/common/export.h"

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vorta {

/// A version after Semantic Versioning 2.0.0 (semver.org): "major.minor.patch", then optionally "-" with the
/// pre-release identifiers and "+" with the build text. Numbers may have any length.
///
/// Comparison follows the standard's precedence: a pre-release comes before its release, and the build text does not
/// count, so versions that compare equal may have different texts.
class VORTA_COMMON_EXPORT SemVersion {
public:
    /// Version 0.0.0.
    SemVersion() = default;

    /// Throws ArgumentInvalidException, saying why, when the text is no semantic version.
    explicit SemVersion(std::string_view text);

    /// The first three numbers; one that 64 bits cannot hold reads as the largest that they can.
    [[nodiscard]] std::uint64_t majorNumber() const noexcept;
    [[nodiscard]] std::uint64_t minorNumber() const noexcept;
    [[nodiscard]] std::uint64_t patchNumber() const noexcept;

    /// The text between "-" and "+", and the text behind "+"; empty where there is none.
    [[nodiscard]] const std::string& preRelease() const noexcept { return preRelease_; }
    [[nodiscard]] const std::string& build() const noexcept { return build_; }

    /// The version as it was given.
    [[nodiscard]] std::string toString() const;

    [[nodiscard]] bool operator==(const SemVersion& other) const noexcept;
    [[nodiscard]] std::weak_ordering operator<=>(const SemVersion& other) const noexcept;

private:
    std::array<std::string, 3> numbers_{"0", "0", "0"}; ///< decimal digits without leading zeros
    std::string preRelease_;
    std::string build_;
};

} // namespace Vorta
