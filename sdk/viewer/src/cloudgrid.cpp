#include "cloudgrid.h"

#include <algorithm>
#include <cmath>

namespace Vorta {

namespace {

/// How many points an estimate looks at.
constexpr std::size_t sampleSize = 10'000;

/// The value that `share` of the values lie below; reorders them.
double quantile(std::vector<float>& values, double share) {
    const auto index = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    const auto middle = values.begin() + index;
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

double distance(const CloudVertex& a, const CloudVertex& b) {
    return std::hypot(static_cast<double>(a.x - b.x), static_cast<double>(a.y - b.y), static_cast<double>(a.z - b.z));
}

/// Distance between grid neighbours: large enough that most surfaces close when points are drawn that wide.
double gridSpacing(const CloudGrid& grid) {
    const auto cells = grid.cells();
    const auto vertices = grid.vertices();
    const std::size_t step = std::max<std::size_t>(1, cells.size() / sampleSize);
    std::vector<float> distances;
    for (std::size_t i = 0; i + grid.width() < cells.size(); i += step) {
        if (cells[i] == CloudGrid::noVertex)
            continue;
        const std::uint32_t right = (i + 1) % grid.width() != 0 ? cells[i + 1] : CloudGrid::noVertex;
        for (const std::uint32_t neighbour : {right, cells[i + grid.width()]})
            if (neighbour != CloudGrid::noVertex)
                distances.push_back(static_cast<float>(distance(vertices[cells[i]], vertices[neighbour])));
    }
    return distances.empty() ? 0.0 : quantile(distances, 0.7);
}

/// Distance between points spread evenly over the two longer sides of the box.
double evenSpacing(const CloudBounds& bounds, std::size_t points) {
    std::array<double, 3> sides{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        sides[axis] = bounds.robustMaximum[axis] - bounds.robustMinimum[axis];
    std::sort(sides.begin(), sides.end());
    return std::sqrt(sides[1] * sides[2] / static_cast<double>(points));
}

void setRobustRange(CloudBounds& bounds, std::span<const CloudVertex> vertices, float CloudVertex::*member,
                    std::size_t axis) {
    const std::size_t step = std::max<std::size_t>(1, vertices.size() / sampleSize);
    std::vector<float> values;
    for (std::size_t i = 0; i < vertices.size(); i += step)
        values.push_back(vertices[i].*member);
    const double low = quantile(values, 0.01);
    const double high = quantile(values, 0.99);
    const double margin = 0.05 * (high - low);
    bounds.robustMinimum[axis] = std::max(bounds.minimum[axis], low - margin);
    bounds.robustMaximum[axis] = std::min(bounds.maximum[axis], high + margin);
}

bool isFinite(const Point& p) {
    // The difference of a number and itself is 0 unless the number is infinite or not a number.
    return (p.x - p.x) + (p.y - p.y) + (p.z - p.z) == 0.0F;
}

CloudVertex vertexOf(const Point& p) {
    return {p.x, p.y, p.z, p.blue, p.green, p.red, p.alpha};
}

} // namespace

void CloudGrid::reserve(std::size_t points, std::size_t width) {
    const bool organised = width != 0 && points % width == 0;
    width_ = organised ? width : 0;
    height_ = organised ? points / width : 0;
    count_ = 0;
    if (vertices_.size() < points)
        vertices_.resize(points);
    if (organised && cells_.size() < points)
        cells_.resize(points);
}

void CloudGrid::assign(std::span<const Point> points, std::size_t width) {
    reserve(points.size(), width);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const bool finite = isFinite(points[i]);
        if (width_ != 0)
            cells_[i] = finite ? static_cast<std::uint32_t>(count_) : noVertex;
        if (finite)
            vertices_[count_++] = vertexOf(points[i]);
    }
}

/// Takes of every block the first vertex that `vertexAt(row, column)` has.
template <class Vertex>
void CloudGrid::takeBlocks(std::size_t height, std::size_t width, std::size_t stride, const Vertex& vertexAt) {
    const auto anyOfBlock = [&](std::size_t row, std::size_t column) -> std::optional<CloudVertex> {
        for (std::size_t r = row; r < std::min(row + stride, height); ++r)
            for (std::size_t c = column; c < std::min(column + stride, width); ++c)
                if (const std::optional<CloudVertex> vertex = vertexAt(r, c))
                    return vertex;
        return std::nullopt;
    };
    const std::size_t columns = (width + stride - 1) / stride;
    const std::size_t rows = (height + stride - 1) / stride;
    reserve(columns * rows, columns);
    std::uint32_t* cell = cells_.data();
    for (std::size_t row = 0; row < height; row += stride) {
        for (std::size_t column = 0; column < width; column += stride, ++cell) {
            const std::optional<CloudVertex> vertex = anyOfBlock(row, column);
            *cell = vertex ? static_cast<std::uint32_t>(count_) : noVertex;
            if (vertex)
                vertices_[count_++] = *vertex;
        }
    }
}

void CloudGrid::sample(std::span<const Point> points, std::size_t width, std::size_t stride) {
    takeBlocks(points.size() / width, width, stride,
               [&](std::size_t row, std::size_t column) -> std::optional<CloudVertex> {
                   const Point& point = points[row * width + column];
                   return isFinite(point) ? std::optional(vertexOf(point)) : std::nullopt;
               });
}

void CloudGrid::subsample(const CloudGrid& source, std::size_t stride) {
    if (!source.organised()) {
        const std::size_t step = stride * stride;
        reserve((source.count_ + step - 1) / step, 0);
        for (std::size_t i = 0; i < source.count_; i += step)
            vertices_[count_++] = source.vertices_[i];
        return;
    }
    takeBlocks(source.height_, source.width_, stride,
               [&](std::size_t row, std::size_t column) -> std::optional<CloudVertex> {
                   const std::uint32_t vertex = source.cells_[row * source.width_ + column];
                   return vertex != noVertex ? std::optional(source.vertices_[vertex]) : std::nullopt;
               });
}

CloudBounds::Vector CloudBounds::centre() const noexcept {
    return {0.5 * (robustMinimum[0] + robustMaximum[0]), 0.5 * (robustMinimum[1] + robustMaximum[1]),
            0.5 * (robustMinimum[2] + robustMaximum[2])};
}

double CloudBounds::robustRadius() const noexcept {
    const Vector c = centre();
    const double radius = std::hypot(robustMaximum[0] - c[0], robustMaximum[1] - c[1], robustMaximum[2] - c[2]);
    const double least = 1e-6 * std::hypot(c[0], c[1], c[2]);
    return std::max({radius, least, 1e-9});
}

double CloudBounds::fullRadius() const noexcept {
    const Vector c = centre();
    Vector reach{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        reach[axis] = std::max(maximum[axis] - c[axis], c[axis] - minimum[axis]);
    return std::max(std::hypot(reach[0], reach[1], reach[2]), robustRadius());
}

CloudBounds boundsOf(const CloudGrid& grid) {
    const auto vertices = grid.vertices();
    CloudVertex low = vertices.front();
    CloudVertex high = low;
    for (const CloudVertex& v : vertices) {
        low.x = std::min(low.x, v.x);
        low.y = std::min(low.y, v.y);
        low.z = std::min(low.z, v.z);
        high.x = std::max(high.x, v.x);
        high.y = std::max(high.y, v.y);
        high.z = std::max(high.z, v.z);
    }
    CloudBounds bounds;
    bounds.minimum = {static_cast<double>(low.x), static_cast<double>(low.y), static_cast<double>(low.z)};
    bounds.maximum = {static_cast<double>(high.x), static_cast<double>(high.y), static_cast<double>(high.z)};
    setRobustRange(bounds, vertices, &CloudVertex::x, 0);
    setRobustRange(bounds, vertices, &CloudVertex::y, 1);
    setRobustRange(bounds, vertices, &CloudVertex::z, 2);
    bounds.spacing = grid.organised() ? gridSpacing(grid) : 0.0;
    if (bounds.spacing <= 0.0)
        bounds.spacing = evenSpacing(bounds, vertices.size());
    return bounds;
}

} // namespace Vorta
