#include "vorta/virtual/sensor.h"

#include "sensorkernel.h"
#include "vorta/virtual/rows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace Vorta::Virtual {

namespace {

using Driver::Axis;

// The finalizer of splitmix64 (G. Steele et al., "Fast splittable pseudorandom number generators", 2014).
std::uint64_t mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27U)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31U);
}

// Where a set of light paths looks into the tables of one axis.
struct LookUps {
    std::vector<std::int32_t> nodes;
    std::vector<float> fractions;

    void add(float position, float variance, std::size_t lines) {
        const float scaled = (position + 0.5F) * static_cast<float>(LevelTable::nodesPerLine);
        const float whole = std::floor(scaled);
        nodes.push_back(static_cast<std::int32_t>(LevelTable::blurFor(variance) * LevelTable::nodes(lines)) +
                        static_cast<std::int32_t>(whole));
        fractions.push_back(scaled - whole);
    }
    void clear(std::size_t count) {
        nodes.clear();
        fractions.clear();
        nodes.reserve(count);
        fractions.reserve(count);
    }
};

class Exposer {
public:
    Exposer(const HeadDescription& head, const View& view, const ExposurePlan& plan, Driver::ImageStack& images)
        : head_(head), view_(view), plan_(plan), images_(images) {
        const Driver::HeadConfiguration& c = plan.configuration;
        const double opening = static_cast<double>(c.iris) / static_cast<double>(c.maxIris);
        irisSquared_ = static_cast<float>(opening * opening);
        const double scale =
            head.sensor.sensitivity * static_cast<double>(c.exposureTimeUs) / 10'000.0 * opening * opening;
        ambientScale_ = static_cast<float>(scale);
        for (std::size_t led = 0; led < 3; ++led)
            lightScale_[led] =
                c.ledEnabled[led] ? static_cast<float>(scale * c.brightness * c.ledCurrentPercent[led] / 100.0) : 0.0F;
        if (head.sensor.noise) {
            const double greyPerElectron = 255.0 / head.sensor.fullWellElectrons;
            shotVariance_ = static_cast<float>(greyPerElectron);
            const double read = head.sensor.readNoiseElectrons * greyPerElectron;
            readVariance_ = static_cast<float>(read * read);
        }
    }

    void exposeRow(std::size_t row) const {
        RowState state(view_, row);
        prepare(state);
        std::vector<float> signal(view_.width);
        for (std::size_t image = 0; image < plan_.patterns.size(); ++image) {
            const Axis axis = plan_.patterns[image].axis;
            const float* table = plan_.tables[image].values().data();
            const LookUps& main = state.main[static_cast<std::size_t>(axis)];
            lookUpRow(table,
                      {.node = main.nodes.data(),
                       .fraction = main.fractions.data(),
                       .gain = state.gain.data(),
                       .offset = state.offset.data(),
                       .count = view_.width},
                      signal.data());
            addExtra(state, axis, table, signal);
            digitize(row, image, signal);
        }
    }

private:
    struct RowState {
        RowState(const View& view, std::size_t rowNumber)
            : row(rowNumber),
              direct(view.direct.data() + rowNumber * view.width, view.width),
              extra(view.extra[rowNumber]) {}

        std::size_t row;
        std::span<const LightPath> direct;
        std::span<const ExtraPath> extra;
        std::vector<float> offset;
        std::vector<float> gain;
        std::vector<float> extraGain;
        std::array<LookUps, 2> main; // by axis
        std::array<LookUps, 2> more;
    };

    [[nodiscard]] bool uses(Axis axis) const {
        return std::ranges::any_of(plan_.patterns, [axis](const auto& pattern) { return pattern.axis == axis; });
    }

    [[nodiscard]] float gainOf(const LightPath& path, std::size_t row, std::size_t column) const {
        return path.gain * lightScale_[bayerChannel(head_.bayerLayout, row, column)];
    }

    void addLookUp(const LightPath& path, Axis axis, LookUps& lookUps) const {
        const Driver::PinholeModel& projector = head_.calibration.projector;
        if (axis == Axis::Columns)
            lookUps.add(path.column, path.columnVariance + irisSquared_ * path.columnIrisVariance, projector.width);
        else
            lookUps.add(path.row, path.rowVariance + irisSquared_ * path.rowIrisVariance, projector.height);
    }

    void prepare(RowState& state) const {
        for (std::size_t column = 0; column < view_.width; ++column) {
            state.offset.push_back(ambientScale_ * view_.ambient[state.row * view_.width + column]);
            state.gain.push_back(gainOf(state.direct[column], state.row, column));
        }
        for (const ExtraPath& extra : state.extra)
            state.extraGain.push_back(gainOf(extra.path, state.row, extra.pixel));
        for (const Axis axis : {Axis::Columns, Axis::Rows}) {
            if (!uses(axis))
                continue;
            LookUps& main = state.main[static_cast<std::size_t>(axis)];
            main.clear(view_.width);
            for (const LightPath& path : state.direct)
                addLookUp(path, axis, main);
            LookUps& more = state.more[static_cast<std::size_t>(axis)];
            more.clear(state.extra.size());
            for (const ExtraPath& extra : state.extra)
                addLookUp(extra.path, axis, more);
        }
    }

    static void addExtra(const RowState& state, Axis axis, const float* table, std::vector<float>& signal) {
        const LookUps& more = state.more[static_cast<std::size_t>(axis)];
        for (std::size_t i = 0; i < state.extra.size(); ++i) {
            const float before = table[more.nodes[i]];
            const float after = table[more.nodes[i] + 1];
            signal[state.extra[i].pixel] += state.extraGain[i] * (before + more.fractions[i] * (after - before));
        }
    }

    void digitize(std::size_t row, std::size_t image, std::vector<float>& signal) const {
        const Driver::HeadConfiguration& c = plan_.configuration;
        const std::uint64_t key = mix(mix(mix(head_.seed) ^ plan_.captureNumber) ^ image);
        addNoise({.shotVariance = shotVariance_,
                  .readVariance = readVariance_,
                  .gain = static_cast<float>(c.gain),
                  .firstKey = static_cast<std::uint32_t>(key),
                  .secondKey = static_cast<std::uint32_t>(key >> 32U)},
                 static_cast<std::uint32_t>(row * view_.width), view_.width, signal.data());
        if (c.gamma != 1.0) // exact: only the default leaves the curve out
            for (float& grey : signal) {
                const float curved = 255.0F * std::pow(std::abs(grey) / 255.0F, static_cast<float>(1.0 / c.gamma));
                grey = std::copysign(curved, grey);
            }
        quantizeRow(signal.data(), static_cast<float>(c.blackLevel), view_.width, images_.row(image, row).data());
    }

    const HeadDescription& head_;
    const View& view_;
    const ExposurePlan& plan_;
    Driver::ImageStack& images_;
    float irisSquared_ = 0.0F;
    float ambientScale_ = 0.0F;
    std::array<float, 3> lightScale_{};
    float shotVariance_ = 0.0F;
    float readVariance_ = 0.0F;
};

} // namespace

void expose(const HeadDescription& head, const View& view, const ExposurePlan& plan, Driver::ImageStack& images) {
    images.resize(plan.patterns.size(), view.height, view.width);
    const Exposer exposer(head, view, plan, images);
    forEachRow(view.height, plan.threads, [&](std::size_t row) {
        if (plan.checkpoint && row % 16 == 0)
            plan.checkpoint();
        exposer.exposeRow(row);
    });
}

} // namespace Vorta::Virtual
