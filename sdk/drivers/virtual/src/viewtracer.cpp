#include "vorta/virtual/viewtracer.h"

#include "vorta/virtual/rows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace Vorta::Virtual {

namespace {

constexpr std::size_t cacheBytes = 256UL << 20U;

} // namespace

bool ViewTracer::Outline::borders(const Outline& other) const {
    return object != other.object || lit != other.lit || std::abs(depth - other.depth) > 0.01F * depth;
}

ViewTracer::ViewTracer(const HeadDescription& head, const Scene& scene, unsigned threads)
    : head_(head),
      scene_(scene),
      threads_(threads),
      height_(head.calibration.camera.height),
      width_(head.calibration.camera.width),
      tracer_(scene),
      outlines_(height_ * width_),
      bounces_(height_),
      period_(scene.turntable ? scene.turntable->period() : 1) {
    view_.height = height_;
    view_.width = width_;
    view_.ambient.resize(height_ * width_);
    view_.direct.resize(height_ * width_);
    view_.extra.resize(height_);
    view_.truth = {.height = height_,
                   .width = width_,
                   .depthMm = std::vector<float>(height_ * width_),
                   .visible = std::vector<std::uint8_t>(height_ * width_)};
}

void ViewTracer::invalidate() {
    pose_.reset();
}

const View& ViewTracer::at(std::uint64_t capture, const std::function<void()>& checkpoint) {
    const std::uint64_t pose = period_ > 0 ? capture % period_ : capture;
    if (pose_ == pose)
        return view_;
    const bool complete = pose_.has_value();
    pose_.reset();
    if (scene_.turntable)
        tracer_.move(scene_.turntable->pose(pose));
    if (!complete)
        traceAll(checkpoint);
    else if (!cache_ || !cache_->restore(pose, view_))
        traceMoving(checkpoint);
    if (cache_)
        cache_->store(pose, view_);
    pose_ = pose;
    return view_;
}

void ViewTracer::traceAll(const std::function<void()>& checkpoint) {
    // A ray beside a pixel's centre passes the moving objects by so much more or less.
    const double pixelMm = scene_.turntable ? length(scene_.turntable->centre) / head_.calibration.camera.fx : 0.0;
    const Photometry photometry(head_, scene_, tracer_, SweptSpace(scene_, 0.1 + pixelMm));
    std::vector<std::uint32_t> columns(width_);
    std::iota(columns.begin(), columns.end(), 0U);
    movingDirections_.clear();
    trace(photometry, PixelRows(height_, columns), checkpoint);
    if (scene_.turntable) {
        findMovingPixels(photometry);
        cache_.reset();
        if (period_ > 0)
            cache_.emplace(moving_, cacheBytes);
    }
}

void ViewTracer::traceMoving(const std::function<void()>& checkpoint) {
    trace(Photometry(head_, scene_, tracer_), moving_, checkpoint);
}

void ViewTracer::trace(const Photometry& photometry, const PixelRows& pixels, const std::function<void()>& checkpoint) {
    const auto check = [&](std::size_t row) {
        if (checkpoint && row % 16 == 0)
            checkpoint();
    };
    forEachRow(height_, threads_, [&](std::size_t row) {
        check(row);
        traceCentres(photometry, row, pixels[row]);
    });
    forEachRow(height_, threads_, [&](std::size_t row) {
        check(row);
        refineEdges(photometry, row, pixels[row]);
    });
}

void ViewTracer::traceCentres(const Photometry& photometry, std::size_t row,
                              const std::vector<std::uint32_t>& columns) {
    std::vector<ExtraPath>& bounces = bounces_[row];
    bounces.clear();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::uint32_t column = columns[i];
        const auto x = static_cast<double>(column);
        const auto y = static_cast<double>(row);
        const Sample centre =
            photometry.sample(x, y, bayerChannel(head_.bayerLayout, row, column),
                              movingDirections_.empty() ? photometry.directionAt(x, y) : movingDirections_[row][i]);
        const std::size_t index = row * width_ + column;
        view_.ambient[index] = static_cast<float>(centre.ambient);
        view_.direct[index] = centre.direct;
        if (centre.bounce.gain > 0.0F)
            bounces.push_back({.pixel = column, .path = centre.bounce});
        view_.truth.depthMm[index] =
            centre.object ? static_cast<float>(centre.depthMm) : std::numeric_limits<float>::quiet_NaN();
        view_.truth.visible[index] = centre.lit ? 1 : 0;
        outlines_[index] = {.object = centre.object ? static_cast<std::uint32_t>(*centre.object) + 1 : 0U,
                            .lit = centre.lit,
                            .nearMotion = centre.nearMotion,
                            .depth = static_cast<float>(centre.depthMm)};
    }
}

bool ViewTracer::onEdge(std::size_t row, std::size_t column) const {
    const std::size_t index = row * width_ + column;
    const Outline& here = outlines_[index];
    return (column > 0 && here.borders(outlines_[index - 1])) ||
           (column + 1 < width_ && here.borders(outlines_[index + 1])) ||
           (row > 0 && here.borders(outlines_[index - width_])) ||
           (row + 1 < height_ && here.borders(outlines_[index + width_]));
}

void ViewTracer::refineEdges(const Photometry& photometry, std::size_t row, const std::vector<std::uint32_t>& columns) {
    constexpr float share = 0.2F; // the centre's and that of each of the four rays around it
    if (columns.empty())
        return;
    std::vector<ExtraPath> merged;
    const auto add = [&](std::uint32_t column, LightPath path, float weight) {
        if (path.gain <= 0.0F)
            return;
        path.gain *= weight;
        merged.push_back({.pixel = column, .path = path});
    };
    auto earlier = view_.extra[row].cbegin();
    const auto earlierEnd = view_.extra[row].cend();
    auto bounce = bounces_[row].cbegin();
    for (const std::uint32_t column : columns) {
        for (; earlier != earlierEnd && earlier->pixel < column; ++earlier)
            merged.push_back(*earlier);
        while (earlier != earlierEnd && earlier->pixel == column)
            ++earlier;
        const bool mixed = onEdge(row, column);
        if (bounce != bounces_[row].cend() && bounce->pixel == column)
            add(column, (bounce++)->path, mixed ? share : 1.0F);
        if (!mixed)
            continue;
        const std::size_t index = row * width_ + column;
        view_.direct[index].gain *= share;
        float ambient = view_.ambient[index];
        for (const double dy : {-0.3, 0.3})
            for (const double dx : {-0.3, 0.3}) {
                const Sample fine = photometry.sample(static_cast<double>(column) + dx, static_cast<double>(row) + dy,
                                                      bayerChannel(head_.bayerLayout, row, column));
                ambient += static_cast<float>(fine.ambient);
                add(column, fine.direct, share);
                add(column, fine.bounce, share);
            }
        view_.ambient[index] = share * ambient;
    }
    merged.insert(merged.end(), earlier, earlierEnd);
    view_.extra[row] = std::move(merged);
}

void ViewTracer::findMovingPixels(const Photometry& photometry) {
    moving_.assign(height_, {});
    movingDirections_.assign(height_, {});
    for (std::size_t row = 0; row < height_; ++row)
        for (std::size_t column = 0; column < width_; ++column) {
            // Neighbours decide whether a pixel lies on an edge.
            bool near = false;
            for (std::size_t y = row - (row > 0 ? 1 : 0); y < std::min(row + 2, height_); ++y)
                for (std::size_t x = column - (column > 0 ? 1 : 0); x < std::min(column + 2, width_); ++x)
                    near = near || outlines_[y * width_ + x].nearMotion;
            if (!near)
                continue;
            moving_[row].push_back(static_cast<std::uint32_t>(column));
            movingDirections_[row].push_back(
                photometry.directionAt(static_cast<double>(column), static_cast<double>(row)));
        }
}

} // namespace Vorta::Virtual
