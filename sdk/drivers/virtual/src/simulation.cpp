#include "vorta/virtual/simulation.h"

#include "vorta/common/exceptions.h"
#include "vorta/virtual/rows.h"
#include "vorta/virtual/sensor.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace Vorta::Virtual {

namespace {

bool same(const Driver::PatternSequence& a, const Driver::PatternSequence& b) {
    return a.lattice == b.lattice &&
           std::ranges::equal(a.patterns, b.patterns, [](const Driver::Pattern& p, const Driver::Pattern& q) {
               return p.axis == q.axis && p.levels == q.levels;
           });
}

} // namespace

Simulation::Simulation(HeadDescription head, const Scene& scene, unsigned threads)
    : head_(std::move(head)), threads_(threads), view_(traceView(head_, scene, threads)) {}

void Simulation::tabulate(const Driver::PatternSequence& sequence) {
    if (!tables_.empty() && same(sequence, sequence_))
        return;
    const Driver::PinholeModel& projector = head_.calibration.projector;
    for (const Driver::Pattern& pattern : sequence.patterns) {
        const std::size_t lines = pattern.axis == Driver::Axis::Columns ? projector.width : projector.height;
        if (pattern.levels.size() != lines)
            throw ArgumentInvalidException("A pattern needs one level for each of the " + std::to_string(lines) +
                                               " projector " +
                                               (pattern.axis == Driver::Axis::Columns ? "columns" : "rows"),
                                           "levels", std::to_string(pattern.levels.size()));
    }
    std::vector<std::optional<LevelTable>> made(sequence.patterns.size());
    forEachRow(made.size(), threads_, [&](std::size_t i) {
        made[i].emplace(sequence.patterns[i], sequence.lattice, head_.optics.projectorContrast);
    });
    tables_.clear();
    for (std::optional<LevelTable>& table : made)
        tables_.push_back(std::move(*table));
    sequence_ = sequence;
}

void Simulation::acquire(const Driver::HeadConfiguration& configuration, const Driver::PatternSequence& sequence,
                         Driver::ImageStack& images, const std::function<void()>& checkpoint) {
    tabulate(sequence);
    const ExposurePlan plan{.configuration = configuration,
                            .tables = tables_,
                            .patterns = sequence.patterns,
                            .captureNumber = captures_++,
                            .threads = threads_,
                            .checkpoint = checkpoint};
    expose(head_, view_, plan, images);
}

} // namespace Vorta::Virtual
