#include "vorta/virtual/view.h"

#include "vorta/virtual/rows.h"
#include "vorta/virtual/tracer.h"

#include <cmath>
#include <limits>

namespace Vorta::Virtual {

namespace {

// What tells one surface from another, per pixel.
struct Outline {
    std::uint32_t object = 0; // 0 where there is none
    bool lit = false;
    float depth = 0.0F;

    [[nodiscard]] bool borders(const Outline& other) const {
        return object != other.object || lit != other.lit || std::abs(depth - other.depth) > 0.01F * depth;
    }
};

class ViewTracer {
public:
    ViewTracer(const HeadDescription& head, const Photometry& photometry)
        : head_(head),
          photometry_(photometry),
          height_(head.calibration.camera.height),
          width_(head.calibration.camera.width),
          outlines_(height_ * width_) {
        view_.height = height_;
        view_.width = width_;
        view_.ambient.resize(height_ * width_);
        view_.direct.resize(height_ * width_);
        view_.extra.resize(height_);
        view_.truth = {.height = height_,
                       .width = width_,
                       .depthMm = std::vector<float>(height_ * width_, std::numeric_limits<float>::quiet_NaN()),
                       .visible = std::vector<std::uint8_t>(height_ * width_, 0)};
    }

    View trace(unsigned threads) {
        forEachRow(height_, threads, [this](std::size_t row) { traceCentres(row); });
        forEachRow(height_, threads, [this](std::size_t row) { refineEdges(row); });
        return std::move(view_);
    }

private:
    [[nodiscard]] Sample sample(std::size_t row, std::size_t column, double dx, double dy) const {
        return photometry_.sample(static_cast<double>(column) + dx, static_cast<double>(row) + dy,
                                  bayerChannel(head_.bayerLayout, row, column));
    }

    void addExtra(std::size_t row, std::size_t column, LightPath path, float weight) {
        if (path.gain <= 0.0F)
            return;
        path.gain *= weight;
        view_.extra[row].push_back({.pixel = static_cast<std::uint32_t>(column), .path = path});
    }

    void traceCentres(std::size_t row) {
        for (std::size_t column = 0; column < width_; ++column) {
            const Sample centre = sample(row, column, 0.0, 0.0);
            const std::size_t index = row * width_ + column;
            view_.ambient[index] = static_cast<float>(centre.ambient);
            view_.direct[index] = centre.direct;
            addExtra(row, column, centre.bounce, 1.0F);
            if (!centre.object)
                continue;
            view_.truth.depthMm[index] = static_cast<float>(centre.depthMm);
            view_.truth.visible[index] = centre.lit ? 1 : 0;
            outlines_[index] = {.object = static_cast<std::uint32_t>(*centre.object) + 1,
                                .lit = centre.lit,
                                .depth = static_cast<float>(centre.depthMm)};
        }
    }

    [[nodiscard]] bool onEdge(std::size_t row, std::size_t column) const {
        const std::size_t index = row * width_ + column;
        const Outline& here = outlines_[index];
        return (column > 0 && here.borders(outlines_[index - 1])) ||
               (column + 1 < width_ && here.borders(outlines_[index + 1])) ||
               (row > 0 && here.borders(outlines_[index - width_])) ||
               (row + 1 < height_ && here.borders(outlines_[index + width_]));
    }

    void refineEdges(std::size_t row) {
        constexpr float weight = 0.2F; // the centre's and that of each of the four rays around it
        for (std::size_t column = 0; column < width_; ++column) {
            if (!onEdge(row, column))
                continue;
            const std::size_t index = row * width_ + column;
            view_.direct[index].gain *= weight;
            float ambient = view_.ambient[index];
            for (ExtraPath& extra : view_.extra[row])
                if (extra.pixel == column)
                    extra.path.gain *= weight;
            for (const double dy : {-0.3, 0.3})
                for (const double dx : {-0.3, 0.3}) {
                    const Sample fine = sample(row, column, dx, dy);
                    ambient += static_cast<float>(fine.ambient);
                    addExtra(row, column, fine.direct, weight);
                    addExtra(row, column, fine.bounce, weight);
                }
            view_.ambient[index] = weight * ambient;
        }
    }

    const HeadDescription& head_;
    const Photometry& photometry_;
    std::size_t height_;
    std::size_t width_;
    std::vector<Outline> outlines_;
    View view_;
};

} // namespace

std::size_t bayerChannel(Driver::BayerLayout layout, std::size_t row, std::size_t column) {
    constexpr std::size_t R = 0, G = 1, B = 2;
    // In the order of Driver::BayerLayout, each cell row by row.
    constexpr std::array<std::array<std::size_t, 4>, 4> cells{{{G, R, B, G}, {R, G, G, B}, {B, G, G, R}, {G, B, R, G}}};
    return cells[static_cast<std::size_t>(layout)][2 * (row % 2) + column % 2];
}

View traceView(const HeadDescription& head, const Scene& scene, unsigned threads) {
    const Tracer tracer(scene);
    const Photometry photometry(head, scene, tracer);
    return ViewTracer(head, photometry).trace(threads);
}

} // namespace Vorta::Virtual
