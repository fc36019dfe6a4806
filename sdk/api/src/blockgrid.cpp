#include "blockgrid.h"

#include "orderedpipeline.h"

#include <algorithm>
#include <utility>

namespace Vorta::NetCdf {

class BlockGrid::Codecs {
public:
    explicit Codecs(std::span<const ChunkedVariable> variables) {
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
    variables_.reserve(variables.size());
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
    struct Scratch {
        Codecs codecs;
        std::vector<Stored> stored;
    };
    const std::size_t count = variables_.size();
    std::vector<Scratch> scratches;
    for (std::size_t thread = 0; thread < pipelineThreads(positions_.size(), threads); ++thread)
        scratches.push_back({.codecs = Codecs(variables_), .stored = std::vector<Stored>(count)});

    const auto pack = [&](std::size_t block, std::size_t thread) {
        Scratch& scratch = scratches[thread];
        for (std::size_t i = 0; i < count; ++i) {
            ChunkCodec& codec = scratch.codecs.of(i);
            give(block, i, codec.values());
            const ChunkCodec::Packed packed = codec.pack();
            scratch.stored[i].bytes.assign(packed.bytes.begin(), packed.bytes.end());
            scratch.stored[i].skippedFilters = packed.skippedFilters;
        }
    };
    const auto store = [&](std::size_t block, std::size_t thread) {
        for (std::size_t i = 0; i < count; ++i) {
            const Stored& stored = scratches[thread].stored[i];
            variables_[i].write(positions_[block], {.bytes = stored.bytes, .skippedFilters = stored.skippedFilters});
        }
    };
    runPipeline(positions_.size(), scratches.size(), {.fetch = {}, .work = pack, .store = store});
}

} // namespace Vorta::NetCdf
