#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct libdeflate_compressor;
struct libdeflate_decompressor;

namespace Vorta::NetCdf {

/// The steps by which HDF5 turns a block of values into stored bytes.
enum class Filter : std::uint8_t {
    Checksum, ///< appends a Fletcher-32 sum
    Shuffle,  ///< all first bytes of the elements, then all second ones, ...
    Deflate,  ///< as a zlib stream
};

/// How one variable's blocks are stored.
struct ChunkFormat {
    std::vector<Filter> filters;  ///< in the order in which they are applied when writing
    std::size_t elementBytes = 1; ///< of one value
    std::size_t chunkBytes = 0;   ///< of one block's values

    /// The most bytes that a stored block can have when none of the filters blew it up.
    [[nodiscard]] std::size_t maximumStoredBytes() const noexcept;
    [[nodiscard]] bool operator==(const ChunkFormat&) const = default;
};

/// The Fletcher-32 sum of HDF5: over 16-bit words, high byte first; an odd last byte is a word's high byte. (Algorithm:
/// J. G. Fletcher, "An Arithmetic Checksum for Serial Transmissions", 1982, with sums modulo 65535 in which 65535
/// stands for a multiple that is not 0.)
[[nodiscard]] std::uint32_t fletcher32(std::span<const std::byte> bytes) noexcept;

/// Packs and unpacks blocks of one format exactly as HDF5's own filters do, to the layout that any netCDF program
/// reads. Keeps its memory from block to block; one thread at a time.
class ChunkCodec {
public:
    explicit ChunkCodec(ChunkFormat format);
    ChunkCodec(ChunkCodec&&) noexcept;
    ChunkCodec& operator=(ChunkCodec&&) noexcept;
    ~ChunkCodec();

    /// Where the values of the next block to pack are to be put: `chunkBytes` of them, arbitrary at first.
    [[nodiscard]] std::span<std::byte> values() noexcept;

    struct Packed {
        std::span<const std::byte> bytes; ///< valid until the next call
        std::uint32_t skippedFilters = 0; ///< bit i: filter i was not applied, since it would not have shortened
    };

    /// Packs `values()`, which hold arbitrary bytes afterwards.
    [[nodiscard]] Packed pack();

    /// The `chunkBytes` values of a stored block, valid until the next call; empty when the block is damaged.
    [[nodiscard]] std::span<const std::byte> unpack(std::span<const std::byte> stored, std::uint32_t skippedFilters);

private:
    [[nodiscard]] bool undo(Filter filter, std::size_t expected, std::span<const std::byte>& bytes);
    [[nodiscard]] std::span<std::byte> other(std::span<const std::byte> bytes) noexcept;

    struct Free {
        void operator()(libdeflate_compressor* compressor) const noexcept;
        void operator()(libdeflate_decompressor* decompressor) const noexcept;
    };

    ChunkFormat format_;
    std::vector<std::byte> front_; // the filters work from one into the other
    std::vector<std::byte> back_;
    std::unique_ptr<libdeflate_compressor, Free> compressor_;
    std::unique_ptr<libdeflate_decompressor, Free> decompressor_;
};

} // namespace Vorta::NetCdf
