#pragma once

#include <cstddef>

namespace Vorta {

/// Decides how much of a cloud a frame may show while things move, from what the frames before it took.
class FrameBudget {
public:
    /// Time that a moving frame may take, ms: 40 frames per second.
    static constexpr double movingFrameMs = 25.0;
    /// The same for a frame of a stream, whose camera and computation want the processor too, ms.
    static constexpr double streamedFrameMs = 12.0;
    static constexpr std::size_t coarsestStride = 12;

    /// `pointNs`: what one point is expected to cost until frames have been measured.
    explicit FrameBudget(double pointNs) : pointNs_(pointNs) {}

    /// Takes the duration of a frame with this many points or vertices of a mesh into account; frames too small to tell
    /// are passed over.
    void measured(std::size_t points, double frameMs) noexcept;

    /// Of a grid of `points`, every how manieth row and column a moving frame shows; 1 for all. Changes only when that
    /// is clearly too fine or too coarse, so that the picture does not flicker between two.
    [[nodiscard]] std::size_t stride(std::size_t points, double frameMs = movingFrameMs) noexcept;

    [[nodiscard]] double pointNs() const noexcept { return pointNs_; }

private:
    double pointNs_;
    std::size_t stride_ = 1;
};

} // namespace Vorta
