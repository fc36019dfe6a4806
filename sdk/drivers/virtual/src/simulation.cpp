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

void checkSize(const Driver::Pattern& pattern, Driver::Lattice lattice, const Driver::PinholeModel& projector) {
    const bool columns = pattern.axis == Driver::Axis::Columns;
    const bool halves = columns && lattice == Driver::Lattice::Diamond;
    const std::size_t lines = columns ? projector.width * (halves ? 2 : 1) : projector.height;
    if (pattern.levels.size() == lines)
        return;
    const std::string what = halves ? "half columns" : columns ? "columns" : "rows";
    throw ArgumentInvalidException("A pattern needs one level for each of the " + std::to_string(lines) +
                                       " projector " + what,
                                   "levels", std::to_string(pattern.levels.size()));
}

} // namespace

Simulation::Simulation(HeadDescription head, Scene scene, unsigned threads)
    : head_(std::move(head)), scene_(std::move(scene)), threads_(threads), tracer_(head_, scene_, threads) {}

void Simulation::setCalibration(const Driver::Calibration& calibration) {
    head_.calibration = calibration;
    tracer_.invalidate();
}

void Simulation::tabulate(const Driver::PatternSequence& sequence) {
    if (!tables_.empty() && same(sequence, sequence_))
        return;
    for (const Driver::Pattern& pattern : sequence.patterns)
        checkSize(pattern, sequence.lattice, head_.calibration.projector);
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
    const View& view = tracer_.at(captures_, checkpoint);
    const ExposurePlan plan{.configuration = configuration,
                            .tables = tables_,
                            .patterns = sequence.patterns,
                            .captureNumber = captures_++,
                            .threads = threads_,
                            .checkpoint = checkpoint};
    expose(head_, view, plan, images);
}

} // namespace Vorta::Virtual
