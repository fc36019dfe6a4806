#pragma once

#include "viewgeometry.h"

#include <array>

namespace Vorta {

/// Which of the two versions of the cloud is drawn.
enum class CloudDetail { Full, Coarse };

/// All that decides how a frame looks, but for the cloud itself.
struct FrameSettings {
    /// Points near the eye grow no wider than this, physical pixels.
    static constexpr float widestPoint = 48.0F;

    CloudDetail detail = CloudDetail::Full;
    bool meshed = false;
    bool colored = true;
    std::array<float, 4> background{};
    GlMatrix eye{};
    GlMatrix projection{};
    /// Width of a point that is 1 mm (object unit) away from the eye, physical pixels.
    float pointScale = 1.0F;
    /// Range of z in the camera's frame that depth colours span.
    float nearestZ = 0.0F;
    float farthestZ = 1.0F;

    [[nodiscard]] bool operator==(const FrameSettings&) const = default;
};

/// Colours from near to far of clouds that are not to be shown in their own, red, green and blue in 0...1 at equal
/// steps: lightness falls evenly, so that shape shows in it.
inline constexpr std::array<std::array<float, 3>, 5> depthColors{{{0.98F, 0.93F, 0.62F},
                                                                  {0.56F, 0.83F, 0.44F},
                                                                  {0.16F, 0.65F, 0.55F},
                                                                  {0.18F, 0.42F, 0.58F},
                                                                  {0.27F, 0.20F, 0.44F}}};

} // namespace Vorta
