#pragma once

#include "cloudgrid.h"
#include "framesettings.h"
#include "vorta/common/workerpool.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vorta {

/// A picture in memory, row by row from the top, as 0xffRRGGBB.
struct PixelGrid {
    std::uint32_t* pixels = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    /// From one row to the next, pixels.
    std::size_t pitch = 0;
};

/// Draws points as squares on all cores, covering the pixels that OpenGL's points cover: where OpenGL itself is
/// computed by the processor this is many times as fast. One thread at a time.
class PointSplatter {
public:
    PointSplatter();

    /// Fills the whole picture. `frame.meshed` is not looked at.
    void draw(std::span<const CloudVertex> vertices, const FrameSettings& frame, const PixelGrid& picture);

private:
    WorkerPool pool_;
    /// A picture for each thread: the nearest point of each pixel, its closeness above its colour; 0 where there is
    /// none. All 0 between the calls of `draw`.
    std::vector<std::vector<std::uint64_t>> nearest_;
};

} // namespace Vorta
