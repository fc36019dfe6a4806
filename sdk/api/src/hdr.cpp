#include "vorta/api/hdr.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/settingsinternal.h"
#include "vorta/reconstruction/hdr.h"

#include <memory>
#include <string>

namespace Vorta::HDR::Detail {

namespace {

/// Light that reaches a pixel's digits, relative to other captures of the same head.
double relativeExposure(const Settings& settings) {
    const auto time = static_cast<double>(settings.get<Settings::ExposureTime>().value().count());
    const auto iris = static_cast<double>(settings.get<Settings::Iris>().value()); // a diameter
    const double brightness = settings.get<Settings::Brightness>().value();
    const double gain = settings.getSettingsInternal().get<SettingsInternal::Camera::Gain>().value();
    return time * iris * iris * brightness * gain;
}

} // namespace

Frame combineFrames(const std::vector<std::reference_wrapper<const Frame>>& frames) {
    std::vector<Reconstruction::HdrChild> children;
    for (const Frame& frame : frames) {
        if (frame.isNull())
            throw ArgumentInvalidException("A frame is empty.", "frames", std::to_string(children.size()));
        children.push_back({.cloud = frame.getPointCloud(), .exposure = relativeExposure(frame.settings())});
    }
    PointCloud combined = Reconstruction::combineClouds(children);
    const FrameImpl& first = frames.front().get().getImpl();
    FrameInfo info = first.info();
    info.raw = {}; // no one capture's images make this measurement
    return Frame(std::make_shared<FrameImpl>(std::move(combined), first.settings(), std::move(info),
                                             first.deviceCloud().device()));
}

} // namespace Vorta::HDR::Detail
