#pragma once

#include "chunkedvariable.h"
#include "netcdffile.h"

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Vorta::NetCdf {

/// Variables whose stored blocks lie at the same positions, moved between file and memory with all cores: packing and
/// unpacking run in parallel, the file is touched by one thread at a time and in the order of the blocks.
class BlockGrid {
public:
    /// Where a block's first value is; the last entries are ignored for variables of fewer dimensions.
    using Position = std::array<std::size_t, 3>;

    struct Member {
        std::string wholeName;
        VariableInfo info;
    };

    /// The file must stay open longer.
    BlockGrid(const File& file, std::span<const Member> variables, std::vector<Position> positions);

    /// Whether every block is in the file, stored in a way that can be read here. Otherwise netCDF's own reading has to
    /// do. Throws IOException when the file's index is damaged.
    [[nodiscard]] bool canRead();

    /// Hands the values of every block, variable by variable, to `take`, which several threads call at once. `canRead`
    /// has been asked.
    using Take = std::function<void(std::size_t block, std::span<const std::span<const std::byte>> values)>;
    void read(std::size_t threads, const Take& take) const;

    /// Asks `give`, which several threads call at once, for the values of every block.
    using Give = std::function<void(std::size_t block, std::size_t variable, std::span<std::byte> values)>;
    void write(std::size_t threads, const Give& give);

private:
    /// One codec for all variables of the same format.
    class Codecs;

    const File& file_;
    std::vector<std::string> names_;
    std::deque<ChunkedVariable> variables_; // they stay where they were made
    std::vector<Position> positions_;
    std::vector<ChunkedVariable::Stored> stored_; ///< block by block, in each one variable by variable
};

} // namespace Vorta::NetCdf
