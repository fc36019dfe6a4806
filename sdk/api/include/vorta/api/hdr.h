#pragma once

#include "vorta/api/export.h"
#include "vorta/api/frame.h"

#include <functional>
#include <vector>

/// High dynamic range: several captures of one scene, each with another iris, brightness or exposure time, make one
/// measurement of what is too dark or too bright for any of them.
namespace Vorta::HDR::Detail {

/// Combines the frames per pixel by signal quality: a point comes
/// from the captures in which it is valid and unsaturated, weighted by their pattern modulation. The result has the
/// settings, identity and time of the first frame, and no raw images. Throws ArgumentInvalidException when there are
/// fewer than two frames, one of them is empty, or their sizes differ.
[[nodiscard]] VORTA_API_EXPORT Frame combineFrames(const std::vector<std::reference_wrapper<const Frame>>& frames);

} // namespace Vorta::HDR::Detail
