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

// The light of a line, as the table places it among its nodes.
struct Line {
    double width = 1.0;         // pixels between the centres of neighbours
    double first = 0.0;         // projector coordinate of the first line's centre
    std::size_t nodes = 1;      // between neighbours
    bool triangle = false;      // twice as wide as `width`; a box otherwise
    std::size_t perLevel = 1UL; // neighbours that share one level
};

Line lineOf(Driver::Axis axis, Driver::Lattice lattice) {
    if (axis == Driver::Axis::Rows)
        return {.width = 1.0, .first = 0.0, .nodes = LevelTable::nodesPerLine, .triangle = false};
    return {.width = 0.5,
            .first = -0.25,
            .nodes = LevelTable::nodesPerLine / 2,
            .triangle = true,
            .perLevel = lattice == Driver::Lattice::Diamond ? 1UL : 2UL};
}

// The integral of the cumulative normal distribution from minus infinity.
double ramp(double x, double sigma) {
    const double u = x / sigma;
    return 0.5 * x * (1.0 + std::erf(u / std::numbers::sqrt2)) +
           sigma * std::exp(-0.5 * u * u) / std::sqrt(2.0 * std::numbers::pi);
}

// Light of a line at distance `offset` from its centre, under a Gaussian.
double blurred(const Line& line, double offset, double sigma) {
    if (line.triangle)
        return (ramp(offset + line.width, sigma) - 2.0 * ramp(offset, sigma) + ramp(offset - line.width, sigma)) /
               line.width;
    const double scale = 1.0 / (sigma * std::numbers::sqrt2);
    return 0.5 * (std::erf((offset + 0.5 * line.width) * scale) - std::erf((offset - 0.5 * line.width) * scale));
}

// Weights of the lines around one node; the first belongs to line `node / line.nodes - reach`.
struct Kernel {
    std::ptrdiff_t reach = 0;
    std::vector<float> weights = {};
};

Kernel makeKernel(const Line& line, std::size_t phase, double sigma) {
    Kernel kernel{.reach = static_cast<std::ptrdiff_t>(std::ceil(4.0 * sigma / line.width + 1.5))};
    const double position = static_cast<double>(phase) / LevelTable::nodesPerLine - 0.5;
    double sum = 0.0;
    for (std::ptrdiff_t i = -kernel.reach; i <= kernel.reach; ++i) {
        const double weight = blurred(line, position - line.first - line.width * static_cast<double>(i), sigma);
        kernel.weights.push_back(static_cast<float>(weight));
        sum += weight;
    }
    for (float& weight : kernel.weights)
        weight = static_cast<float>(static_cast<double>(weight) / sum);
    return kernel;
}

} // namespace

LevelTable::LevelTable(const Driver::Pattern& pattern, Driver::Lattice lattice, double contrast) {
    const Line line = lineOf(pattern.axis, lattice);
    const auto black = static_cast<float>(1.0 / contrast);
    std::vector<float> luminance;
    luminance.reserve(pattern.levels.size() * line.perLevel);
    for (const float level : pattern.levels)
        luminance.insert(luminance.end(), line.perLevel, black + (1.0F - black) * level);
    const auto lines = static_cast<std::ptrdiff_t>(luminance.size());
    const std::size_t count = nodes(luminance.size() * line.nodes / nodesPerLine);

    values_.reserve(blurs * count);
    for (std::size_t blur = 0; blur < blurs; ++blur) {
        std::vector<Kernel> kernels;
        for (std::size_t phase = 0; phase < line.nodes; ++phase)
            kernels.push_back(makeKernel(line, phase, sigmaOf(blur)));
        for (std::size_t node = 0; node < count; ++node) {
            const Kernel& kernel = kernels[node % line.nodes];
            const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(node / line.nodes) - kernel.reach;
            const std::ptrdiff_t begin = std::max<std::ptrdiff_t>(first, 0);
            const std::ptrdiff_t end =
                std::min(first + static_cast<std::ptrdiff_t>(kernel.weights.size()), lines); // dark beyond the image
            float sum = 0.0F;
            for (std::ptrdiff_t i = begin; i < end; ++i)
                sum += luminance[static_cast<std::size_t>(i)] * kernel.weights[static_cast<std::size_t>(i - first)];
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
