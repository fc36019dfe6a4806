#pragma once

#include "vorta/virtual/headfile.h"
#include "vorta/virtual/photometry.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/tracer.h"
#include "vorta/virtual/view.h"
#include "vorta/virtual/viewcache.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace Vorta::Virtual {

/// Traces a head's view of a scene and keeps it up to date while the scene moves. Pixels on the edge of an object or a
/// shadow mix five rays, all others have one through the centre. While the turntable turns only the pixels that can
/// see a change are traced again.
class ViewTracer {
public:
    /// Keeps references to both; `threads` 0: one per processor. The result does not depend on their number.
    ViewTracer(const HeadDescription& head, const Scene& scene, unsigned threads);

    /// The view at a capture, counted from 0. Only what has changed since the last call is traced. `checkpoint` is
    /// called often, on any thread, and may throw to give up; the next call then starts afresh.
    const View& at(std::uint64_t capture, const std::function<void()>& checkpoint = {});

    /// To be called when the head's geometry has changed: nothing that was traced holds any longer.
    void invalidate();

    /// What `at` returned last.
    [[nodiscard]] const View& view() const noexcept { return view_; }

private:
    // What tells one surface from another, per pixel.
    struct Outline {
        std::uint32_t object = 0; // 0 where there is none
        bool lit = false;
        bool nearMotion = false;
        float depth = 0.0F;

        [[nodiscard]] bool borders(const Outline& other) const;
    };

    void traceAll(const std::function<void()>& checkpoint);
    void traceMoving(const std::function<void()>& checkpoint);
    void trace(const Photometry& photometry, const PixelRows& pixels, const std::function<void()>& checkpoint);
    void traceCentres(const Photometry& photometry, std::size_t row, const std::vector<std::uint32_t>& columns);
    void refineEdges(const Photometry& photometry, std::size_t row, const std::vector<std::uint32_t>& columns);
    void findMovingPixels(const Photometry& photometry);
    [[nodiscard]] bool onEdge(std::size_t row, std::size_t column) const;

    const HeadDescription& head_;
    const Scene& scene_;
    unsigned threads_;
    std::size_t height_;
    std::size_t width_;
    Tracer tracer_;
    View view_;
    std::vector<Outline> outlines_;
    std::vector<std::vector<ExtraPath>> bounces_; // of pixel centres, before edges are refined; by row
    PixelRows moving_;                            // pixels that can see a change
    std::vector<std::vector<Reconstruction::ImagePoint>> movingDirections_; // of these pixels; by row
    std::uint64_t period_;                                                  // of the turntable
    std::optional<ViewCache> cache_;
    std::optional<std::uint64_t> pose_; // that of `view_`; empty while it is incomplete
};

} // namespace Vorta::Virtual
