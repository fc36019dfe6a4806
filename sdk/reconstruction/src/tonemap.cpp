#include "tonemap.h"

#include <algorithm>
#include <cmath>

namespace Vorta::Reconstruction {

namespace {

constexpr double brightest = 254.0; // of an unsaturated pixel
constexpr double anchor = 16.0;

} // namespace

ToneMap::ToneMap(double contrastRatio) {
    // f(level) = 254 (level / (254 ratio))^exponent, with f(16) = 16.
    const double range = brightest * contrastRatio;
    const double exponent = std::log(brightest / anchor) / std::log(range / anchor);
    scale_ = static_cast<float>(static_cast<double>(steps) / std::sqrt(range));
    // The gain f(level) / level has no end towards 0; below one grey level it stays what it is there.
    for (std::size_t i = 0; i < gains_.size(); ++i) {
        const double root = static_cast<double>(i) / static_cast<double>(steps) * std::sqrt(range);
        const double level = std::clamp(root * root, 1.0, range);
        gains_[i] = static_cast<float>(brightest * std::pow(level / range, exponent) / level);
    }
}

float ToneMap::gain(float level) const noexcept {
    const float place = std::min(std::sqrt(level) * scale_, static_cast<float>(steps));
    const auto index = static_cast<std::size_t>(place);
    const float part = place - static_cast<float>(index);
    return gains_[index] + part * (gains_[index + 1] - gains_[index]);
}

} // namespace Vorta::Reconstruction
