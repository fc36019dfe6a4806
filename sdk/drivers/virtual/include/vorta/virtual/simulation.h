#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/leveltable.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/viewtracer.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace Vorta::Virtual {

/// A head before its scene. The view is traced when it has changed; patterns are then evaluated per pixel. Calls come
/// from one thread at a time and use `threads` threads inside (0: one per processor).
class Simulation {
public:
    Simulation(HeadDescription head, Scene scene, unsigned threads = 0);
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;
    ~Simulation() = default;

    /// The head's geometry from the next capture on; sensor and projector keep their size.
    void setCalibration(const Driver::Calibration& calibration);

    /// Takes one image per pattern. The n-th capture of a simulation has always the same noise and shows a turntable in
    /// the same pose. `checkpoint` is called often, on any thread, and may throw to give up. Throws
    /// ArgumentInvalidException when a pattern has not one level for each projector row, column or half column.
    void acquire(const Driver::HeadConfiguration& configuration, const Driver::PatternSequence& sequence,
                 Driver::ImageStack& images, const std::function<void()>& checkpoint = {});

    /// What the camera saw at the latest capture.
    [[nodiscard]] const View& view() const noexcept { return tracer_.view(); }

private:
    void tabulate(const Driver::PatternSequence& sequence);

    HeadDescription head_;
    Scene scene_;
    unsigned threads_;
    ViewTracer tracer_;
    Driver::PatternSequence sequence_; // that of `tables_`
    std::vector<LevelTable> tables_;
    std::uint64_t captures_ = 0;
};

} // namespace Vorta::Virtual
