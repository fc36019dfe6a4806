#include "vorta/api/hdr.h"

#include "measurementsettings.h"
#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"
#include "vorta/reconstruction/hdr.h"

#include <algorithm>
#include <memory>
#include <string>

namespace Vorta::HDR::Detail {

namespace {

/// Light that reaches a pixel's digits, relative to other captures of the same head: of the projector's, or of the
/// room's where the projector is dark.
double relativeExposure(const Settings& settings, bool projectorIsLit) {
    const Driver::HeadConfiguration head = headConfiguration(settings);
    const auto time = static_cast<double>(head.exposureTimeUs);
    const auto iris = static_cast<double>(head.iris); // a diameter
    return time * iris * iris * head.gain * (projectorIsLit ? head.brightness : 1.0);
}

bool isProjectorLit(const Frame& frame) {
    return frame.settings().get<Settings::Brightness>().value() > 0.0;
}

} // namespace

Frame combineFrames(const std::vector<std::reference_wrapper<const Frame>>& frames) {
    for (std::size_t i = 0; i < frames.size(); ++i)
        if (frames[i].get().isNull())
            throw ArgumentInvalidException("A frame is empty.", "frames", std::to_string(i));
    const bool projectorIsLit = std::ranges::all_of(frames, isProjectorLit);
    std::vector<Reconstruction::HdrChild> children;
    children.reserve(frames.size());
    for (const Frame& frame : frames)
        children.push_back(
            {.cloud = frame.getPointCloud(), .exposure = relativeExposure(frame.settings(), projectorIsLit)});
    PointCloud combined = Reconstruction::combineClouds(children);
    const FrameImpl& first = frames.front().get().getImpl();
    FrameInfo info = first.info();
    info.raw = {}; // no one capture's images make this measurement
    return Frame(std::make_shared<FrameImpl>(std::move(combined), first.settings(), std::move(info),
                                             first.deviceCloud().device()));
}

} // namespace Vorta::HDR::Detail
