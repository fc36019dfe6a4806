#include "blockgrid.h"

#include "orderedpipeline.h"

#include <algorithm>
#include <utility>

namespace Vorta::NetCdf {

class BlockGrid::Codecs {
public:
    explicit Codecs(const std::deque<ChunkedVariable>& variables) {
        for (std::size_t i = 0; i < variables.size(); ++i) {
            std::size_t same = 0;
            while (variables[same].format() != variables[i].format())
                ++same;
            places_.push_back(same < i ? places_[same] : codecs_.size());
            if (same == i)
                codecs_.emplace_back(variables[i].format().value());
        }
    }

    [[nodiscard]] ChunkCodec& of(std::size_t variable) { return codecs_[places_[variable]]; }

private:
    std::vector<ChunkCodec> codecs_;
    std::vector<std::size_t> places_;
};

BlockGrid::BlockGrid(const File& file, std::span<const Member> variables, std::vector<Position> positions)
    : file_(file), positions_(std::move(positions)) {
    for (const Member& member : variables) {
        names_.push_back(member.wholeName);
        variables_.emplace_back(file, member.wholeName, member.info);
    }
}

bool BlockGrid::canRead() {
    if (!std::ranges::all_of(variables_, [](const ChunkedVariable& variable) { return variable.format().has_value(); }))
        return false;
    stored_.clear();
    stored_.reserve(positions_.size() * variables_.size());
    for (const Position& position : positions_)
        for (const ChunkedVariable& variable : variables_) {
            const auto stored = variable.find(position);
            if (!stored)
                return false;
            stored_.push_back(*stored);
        }
    return true;
}

void BlockGrid::read(std::size_t threads, const Take& take) const {
    struct Scratch {
        std::vector<ChunkCodec> codecs; // one for each variable, since the values of all are handed over together
        std::vector<std::vector<std::byte>> stored;
        std::vector<std::span<const std::byte>> values;
    };
    const std::size_t count = variables_.size();
    std::vector<Scratch> scratches(pipelineThreads(positions_.size(), threads));
    for (Scratch& scratch : scratches) {
        for (const ChunkedVariable& variable : variables_)
            scratch.codecs.emplace_back(variable.format().value());
        scratch.stored.resize(count);
        scratch.values.resize(count);
    }

    const auto fetch = [&](std::size_t block, std::size_t thread) {
        for (std::size_t i = 0; i < count; ++i) {
            auto& bytes = scratches[thread].stored[i];
            bytes.resize(stored_[block * count + i].bytes);
            variables_[i].read(positions_[block], bytes);
        }
    };
    const auto unpack = [&](std::size_t block, std::size_t thread) {
        Scratch& scratch = scratches[thread];
        for (std::size_t i = 0; i < count; ++i) {
            scratch.values[i] = scratch.codecs[i].unpack(scratch.stored[i], stored_[block * count + i].skippedFilters);
            if (scratch.values[i].empty())
                file_.fail("unpacking a block of variable '" + names_[i] + "'", "it is damaged");
        }
        take(block, scratch.values);
    };
    runPipeline(positions_.size(), scratches.size(), {.fetch = fetch, .work = unpack, .store = {}});
}

void BlockGrid::write(std::size_t threads, const Give& give) {
    struct Stored {
        std::vector<std::byte> bytes;
        std::uint32_t skippedFilters = 0;
    };
    // One variable of one block is a task: the smaller they are, the less one thread has left to do at the end.
    const std::size_t count = variables_.size();
    const std::size_t tasks = positions_.size() * count;
    const std::size_t used = pipelineThreads(tasks, threads);
    std::vector<Codecs> codecs;
    for (std::size_t thread = 0; thread < used; ++thread)
        codecs.emplace_back(variables_);
    std::vector<Stored> stored(pipelineWindow(used));

    const auto pack = [&](std::size_t task, std::size_t thread) {
        const std::size_t variable = task % count;
        ChunkCodec& codec = codecs[thread].of(variable);
        give(task / count, variable, codec.values());
        const ChunkCodec::Packed packed = codec.pack();
        Stored& result = stored[task % stored.size()];
        result.bytes.assign(packed.bytes.begin(), packed.bytes.end());
        result.skippedFilters = packed.skippedFilters;
    };
    const auto store = [&](std::size_t task) {
        const Stored& result = stored[task % stored.size()];
        variables_[task % count].write(positions_[task / count],
                                       {.bytes = result.bytes, .skippedFilters = result.skippedFilters});
    };
    runPipeline(tasks, used, {.fetch = {}, .work = pack, .store = store});
}

} // namespace Vorta::NetCdf
