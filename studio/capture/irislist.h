#pragma once

#include "vorta/common/setting.h"

#include <cstdint>
#include <vector>

/// The iris values of a measurement of high dynamic range: ascending, each at most once. Any thread.
namespace IrisList {

using Values = std::vector<std::uint64_t>;

/// `values` with `value` in its place; behind its twin if there is one.
[[nodiscard]] Values inserted(Values values, std::uint64_t value);

[[nodiscard]] bool contains(const Values& values, std::uint64_t value);

/// What a stored list is worth: its values within `range`, in order and without twins; `current` alone where that
/// leaves none.
[[nodiscard]] Values fromStored(const Values& stored, const Vorta::Range<std::uint64_t>& range, std::uint64_t current);

/// Throws boost::numeric::negative_overflow for a negative number.
[[nodiscard]] std::uint64_t fromInt(int value);

} // namespace IrisList
