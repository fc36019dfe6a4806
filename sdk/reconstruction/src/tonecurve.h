#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace Vorta::Reconstruction {

struct Parameters;

/// Makes a sensor's grey levels proportional to the light. The sensor shows light of linear grey level l as
/// 255 (l / 255)^(1 / gamma), with the black level added afterwards; with gamma 1 the levels are taken as they are.
class ToneCurve {
public:
    explicit ToneCurve(const Parameters& parameters);

    /// The levels of a row: the row itself when gamma is 1, otherwise `buffer`, as long as the row, which they are
    /// written to. Saturated raw levels become 255, and no others do.
    [[nodiscard]] const std::uint8_t* apply(std::span<const std::uint8_t> row, std::uint8_t* buffer) const noexcept;

    /// Whether `apply` gives the rows themselves.
    [[nodiscard]] bool isLinear() const noexcept { return isLinear_; }

    /// Of the levels that `apply` gives.
    [[nodiscard]] std::uint8_t saturationLevel() const noexcept { return saturationLevel_; }
    [[nodiscard]] double blackLevel() const noexcept { return blackLevel_; }

private:
    bool isLinear_;
    std::uint8_t saturationLevel_;
    double blackLevel_;
    std::array<std::uint8_t, 256> linear_{};
};

} // namespace Vorta::Reconstruction
