#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/leveltable.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/view.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace Vorta::Virtual {

/// A head before its scene. The view is traced once; patterns are then evaluated per pixel. Calls come from one thread
/// at a time and use `threads` threads inside (0: one per processor).
class Simulation {
public:
    Simulation(HeadDescription head, const Scene& scene, unsigned threads = 0);

    /// Takes one image per pattern. The n-th capture of a simulation has always the same noise. `checkpoint` is called
    /// often, on any thread, and may throw to give up. Throws ArgumentInvalidException when a pattern has not one level
    /// for each projector line.
    void acquire(const Driver::HeadConfiguration& configuration, const Driver::PatternSequence& sequence,
                 Driver::ImageStack& images, const std::function<void()>& checkpoint = {});

    [[nodiscard]] const HeadDescription& head() const noexcept { return head_; }
    [[nodiscard]] const View& view() const noexcept { return view_; }

private:
    void tabulate(const Driver::PatternSequence& sequence);

    HeadDescription head_;
    unsigned threads_;
    View view_;
    Driver::PatternSequence sequence_; // that of `tables_`
    std::vector<LevelTable> tables_;
    std::uint64_t captures_ = 0;
};

} // namespace Vorta::Virtual
