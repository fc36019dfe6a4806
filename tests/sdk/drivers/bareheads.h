#pragma once

#include "support/virtualhead.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/simulation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Vorta::Testing {

/// A folder for one test's head and scene files.
inline Virtual::HeadDescription loadHeadText(const std::string& text) {
    VirtualHeads folder;
    return Virtual::loadHead(folder.plugText("head", text));
}

inline Virtual::Scene loadSceneText(const std::string& text) {
    VirtualHeads folder;
    return Virtual::loadScene(folder.plugText("scene", text));
}

/// The words of the IOException that `action` throws.
template <class Action>
std::string wordsOf(Action action) {
    try {
        action();
    } catch (const IOException& error) {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// The warnings that the library logs while this lives.
class Warnings {
public:
    Warnings() {
        Log::setCallback([this](const Log::Event& event) {
            const std::lock_guard lock(mutex_);
            if (event.getSeverity() == Log::Severity::Warning)
                texts_.push_back(event.getMessage());
        });
    }
    Warnings(const Warnings&) = delete;
    Warnings& operator=(const Warnings&) = delete;
    ~Warnings() { Log::setCallback({}); }

    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(texts_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> texts_;
};

/// A head without lens distortion or vignetting whose numbers can be worked out by hand: camera of 243 x 150 pixels,
/// centre pixel (121, 75), focal length 1000; projector of 1024 x 768, centre (511.5, 383.5), focal length 500, whose
/// axis is parallel to the camera's and `baselineMm` to its right.
inline Virtual::HeadDescription bareHead(double baselineMm = 0.0) {
    Virtual::HeadDescription head;
    head.calibration.camera = {.width = 243, .height = 150, .fx = 1000, .fy = 1000, .cx = 121, .cy = 75};
    head.calibration.projector = {.width = 1024, .height = 768, .fx = 500, .fy = 500, .cx = 511.5, .cy = 383.5};
    head.calibration.translationMm = {-baselineMm, 0.0, 0.0};
    head.sensor.sensitivity = 1000.0;
    head.sensor.noise = false;
    head.sensor.vignetting = 0.0;
    head.optics.projectorVignetting = 0.0;
    head.optics.projectorSoftness = 0.0;
    head.optics.projectorApertureMm = 0.0;
    head.optics.projectorContrast = 1e9;
    return head;
}

inline std::size_t pixel(std::size_t column, std::size_t row) {
    return row * 243 + column;
}
inline constexpr std::size_t centreColumn = 121;
inline constexpr std::size_t centreRow = 75;
inline const std::size_t centre = pixel(centreColumn, centreRow);

/// Every column at one level.
inline Driver::PatternSequence flat(float level) {
    return {.lattice = Driver::Lattice::Plain,
            .patterns = {{.axis = Driver::Axis::Columns, .levels = std::vector<float>(1024, level)}}};
}

/// 10 ms, iris half open, so that light is a quarter; no black level; LEDs at full current.
inline Driver::HeadConfiguration plainConfiguration() {
    return {.iris = 1, .maxIris = 2};
}

/// One fully lit image of the scene.
inline std::vector<std::uint8_t> whiteImage(const Virtual::HeadDescription& head, const std::string& scene,
                                            const Driver::HeadConfiguration& configuration = plainConfiguration()) {
    Virtual::Simulation simulation(head, loadSceneText(scene), 1);
    Driver::ImageStack images;
    simulation.acquire(configuration, flat(1.0F), images);
    const auto image = images.image(0);
    return {image.begin(), image.end()};
}

} // namespace Vorta::Testing
