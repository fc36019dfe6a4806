#pragma once

#include "chunkcodec.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Vorta::NetCdf {

class File;
struct VariableInfo;

/// The stored blocks of one variable, past netCDF's and HDF5's own filters, which use one core. Blocks are addressed by
/// the position of their first value. The file must stay open longer. One thread at a time, any thread.
///
/// Failures throw IOException that names the file and the variable.
class ChunkedVariable {
public:
    /// Opens a variable of an open file that is stored in blocks; of a new file once its definitions have ended.
    ChunkedVariable(const File& file, const std::string& wholeName, const VariableInfo& info);
    ChunkedVariable(const ChunkedVariable&) = delete;
    ChunkedVariable& operator=(const ChunkedVariable&) = delete;
    ~ChunkedVariable();

    /// How blocks are stored; empty when that is not a way that `ChunkCodec` knows, or values are not stored as this
    /// machine computes with them.
    [[nodiscard]] const std::optional<ChunkFormat>& format() const noexcept { return format_; }

    /// What the file's index says of a block.
    struct Stored {
        std::size_t bytes = 0;
        std::uint32_t skippedFilters = 0;
    };

    /// Empty when the block is not in the file. Throws when the index says what cannot be: a block beyond the file's
    /// end or longer than its format allows.
    [[nodiscard]] std::optional<Stored> find(std::span<const std::size_t> position) const;

    /// Reads a block that `find` has found into `bytes`, which is as long as that said.
    void read(std::span<const std::size_t> position, std::span<std::byte> bytes) const;

    void write(std::span<const std::size_t> position, const ChunkCodec::Packed& packed);

private:
    [[nodiscard]] std::optional<ChunkFormat> findFormat(const VariableInfo& info) const;
    void check(bool success, const char* what) const;

    const File& file_;
    std::string name_;
    std::int64_t id_ = -1;
    std::size_t fileBytes_ = 0; ///< length of a file that is read
    std::optional<ChunkFormat> format_;
};

} // namespace Vorta::NetCdf
