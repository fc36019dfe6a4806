#include "vorta/virtual/leveltable.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Vorta::Virtual {

namespace {

constexpr double smallestSigma = 0.2;
constexpr double sigmaRatio = 1.2142; // smallestSigma * sigmaRatio^19 = 8

double sigmaOf(std::size_t blur) {
    return smallestSigma * std::pow(sigmaRatio, static_cast<double>(blur));
}

// Share of a line's light at distance `offset` from its centre: a box of width 1 under a Gaussian.
double blurredBox(double offset, double sigma) {
    const double scale = 1.0 / (sigma * std::numbers::sqrt2);
    return 0.5 * (std::erf((offset + 0.5) * scale) - std::erf((offset - 0.5) * scale));
}

// Weights of the lines around one node; the first belongs to line `node / nodesPerLine - reach`.
struct Kernel {
    std::ptrdiff_t reach = 0;
    std::vector<float> weights = {};
};

Kernel makeKernel(std::size_t phase, double sigma, double sideStep) {
    Kernel kernel{.reach = static_cast<std::ptrdiff_t>(std::ceil(4.0 * sigma + 1.5))};
    const double position = static_cast<double>(phase) / LevelTable::nodesPerLine - 0.5;
    double sum = 0.0;
    for (std::ptrdiff_t line = -kernel.reach; line <= kernel.reach; ++line) {
        const double offset = position - static_cast<double>(line);
        const double weight = 0.5 * (blurredBox(offset - sideStep, sigma) + blurredBox(offset + sideStep, sigma));
        kernel.weights.push_back(static_cast<float>(weight));
        sum += weight;
    }
    for (float& weight : kernel.weights)
        weight = static_cast<float>(static_cast<double>(weight) / sum);
    return kernel;
}

} // namespace

LevelTable::LevelTable(const Driver::Pattern& pattern, Driver::Lattice lattice, double contrast) {
    const auto lines = static_cast<std::ptrdiff_t>(pattern.levels.size());
    const std::size_t count = nodes(pattern.levels.size());
    const bool diamond = lattice == Driver::Lattice::Diamond && pattern.axis == Driver::Axis::Columns;
    const auto black = static_cast<float>(1.0 / contrast);
    std::vector<float> luminance;
    for (const float level : pattern.levels)
        luminance.push_back(black + (1.0F - black) * level);

    values_.reserve(blurs * count);
    for (std::size_t blur = 0; blur < blurs; ++blur) {
        std::vector<Kernel> kernels;
        for (std::size_t phase = 0; phase < nodesPerLine; ++phase)
            kernels.push_back(makeKernel(phase, sigmaOf(blur), diamond ? 0.25 : 0.0));
        for (std::size_t node = 0; node < count; ++node) {
            const Kernel& kernel = kernels[node % nodesPerLine];
            const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(node / nodesPerLine) - kernel.reach;
            const std::ptrdiff_t begin = std::max<std::ptrdiff_t>(first, 0);
            const std::ptrdiff_t end =
                std::min(first + static_cast<std::ptrdiff_t>(kernel.weights.size()), lines); // dark beyond the image
            float sum = 0.0F;
            for (std::ptrdiff_t line = begin; line < end; ++line)
                sum +=
                    luminance[static_cast<std::size_t>(line)] * kernel.weights[static_cast<std::size_t>(line - first)];
            values_.push_back(sum);
        }
    }
}

std::size_t LevelTable::blurFor(float variance) noexcept {
    const auto lowest = static_cast<float>(smallestSigma * smallestSigma);
    const float steps =
        std::log2(std::max(variance, lowest) / lowest) / static_cast<float>(2.0 * std::log2(sigmaRatio));
    return static_cast<std::size_t>(std::min(std::lround(steps), static_cast<long>(blurs) - 1));
}

} // namespace Vorta::Virtual
