#include "tonecurve.h"

#include "vorta/reconstruction/reconstructor.h"

#include <algorithm>
#include <cmath>

namespace Vorta::Reconstruction {

ToneCurve::ToneCurve(const Parameters& parameters)
    : isLinear_(parameters.gamma == 1.0),
      saturationLevel_(isLinear_ ? parameters.saturationLevel : std::uint8_t{255}),
      blackLevel_(isLinear_ ? parameters.blackLevel : 0.0) {
    if (isLinear_)
        return;
    for (std::size_t level = 0; level < linear_.size(); ++level) {
        const double share = std::max(static_cast<double>(level) - parameters.blackLevel, 0.0) / 255.0;
        const double light = std::min(255.0 * std::pow(share, parameters.gamma), 254.0);
        linear_[level] =
            level >= parameters.saturationLevel ? std::uint8_t{255} : static_cast<std::uint8_t>(std::lround(light));
    }
}

const std::uint8_t* ToneCurve::apply(std::span<const std::uint8_t> row, std::uint8_t* buffer) const noexcept {
    if (isLinear_)
        return row.data();
    std::ranges::transform(row, buffer, [this](std::uint8_t level) { return linear_[level]; });
    return buffer;
}

} // namespace Vorta::Reconstruction
