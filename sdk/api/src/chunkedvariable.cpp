#include "chunkedvariable.h"

#include "netcdffile.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <hdf5.h>

namespace Vorta::NetCdf {

namespace {

constexpr std::size_t maximumRank = 3;
/// Larger blocks would take more memory for each thread than reading them in parallel is worth.
constexpr std::size_t maximumChunkBytes = std::size_t{16} << 20U;

/// An HDF5 object that is closed at the end of its scope.
class Handle {
public:
    Handle(hid_t id, herr_t (*close)(hid_t)) : id_(id), close_(close) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (id_ >= 0)
            close_(id_);
    }

    [[nodiscard]] hid_t id() const noexcept { return id_; }
    [[nodiscard]] bool isOpen() const noexcept { return id_ >= 0; }

private:
    hid_t id_;
    herr_t (*close_)(hid_t);
};

std::array<hsize_t, maximumRank> offsetOf(std::span<const std::size_t> position) {
    std::array<hsize_t, maximumRank> offset{};
    std::ranges::copy(position.first(std::min(position.size(), maximumRank)), offset.begin());
    return offset;
}

/// The type in memory of the types that are read in blocks; -1 for others.
hid_t nativeType(Type type) {
    if (type == Type::Float)
        return H5T_NATIVE_FLOAT;
    return type == Type::UnsignedByte ? H5T_NATIVE_UCHAR : hid_t{-1};
}

/// Filter `index` of a variable; empty when this library has no such filter.
std::optional<Filter> filterOf(hid_t properties, unsigned index, std::size_t elementBytes) {
    unsigned flags = 0;
    unsigned configuration = 0;
    std::array<unsigned, 8> values{};
    std::size_t count = values.size();
    switch (H5Pget_filter2(properties, index, &flags, &count, values.data(), 0, nullptr, &configuration)) {
    case H5Z_FILTER_FLETCHER32:
        return Filter::Checksum;
    case H5Z_FILTER_SHUFFLE: // its only value is the length of what it shuffles
        return count == 1 && values[0] == elementBytes ? std::optional(Filter::Shuffle) : std::nullopt;
    case H5Z_FILTER_DEFLATE:
        return Filter::Deflate;
    default:
        return std::nullopt;
    }
}

} // namespace

ChunkedVariable::ChunkedVariable(const File& file, const std::string& wholeName, const VariableInfo& info)
    : file_(file),
      name_(wholeName),
      id_(H5Dopen2(file.hdf5Id(), wholeName.c_str(), H5P_DEFAULT)),
      fileBytes_(file.isWritten() ? 0 : file.bytes()) {
    check(id_ >= 0, "opening it");
    try {
        format_ = findFormat(info);
    } catch (...) {
        H5Dclose(id_); // no destructor will
        throw;
    }
}

ChunkedVariable::~ChunkedVariable() {
    H5Dclose(id_);
}

void ChunkedVariable::check(bool success, const char* what) const {
    if (!success)
        file_.fail(std::string(what) + " of variable '" + name_ + "'");
}

std::optional<ChunkFormat> ChunkedVariable::findFormat(const VariableInfo& info) const {
    const Handle properties(H5Dget_create_plist(id_), H5Pclose);
    const Handle type(H5Dget_type(id_), H5Tclose);
    const hid_t native = nativeType(info.type);
    if (!properties.isOpen() || !type.isOpen() || native < 0 || H5Tequal(type.id(), native) <= 0 ||
        H5Pget_layout(properties.id()) != H5D_CHUNKED || info.chunk.size() > maximumRank)
        return std::nullopt;
    std::array<hsize_t, maximumRank> chunk{};
    const int rank = H5Pget_chunk(properties.id(), static_cast<int>(maximumRank), chunk.data());
    if (!std::ranges::equal(std::span(chunk).first(info.chunk.size()), info.chunk) ||
        rank != static_cast<int>(info.chunk.size()))
        return std::nullopt;
    ChunkFormat format{.filters = {}, .elementBytes = H5Tget_size(native), .chunkBytes = 0};
    format.chunkBytes = format.elementBytes;
    for (const std::size_t length : info.chunk) {
        if (length == 0 || length > maximumChunkBytes / format.chunkBytes)
            return std::nullopt;
        format.chunkBytes *= length;
    }
    const int count = H5Pget_nfilters(properties.id());
    for (int i = 0; i < count; ++i) {
        const auto filter = filterOf(properties.id(), static_cast<unsigned>(i), format.elementBytes);
        if (!filter || std::ranges::find(format.filters, *filter) != format.filters.end())
            return std::nullopt;
        format.filters.push_back(*filter);
    }
    return count >= 0 ? std::optional(format) : std::nullopt;
}

std::optional<ChunkedVariable::Stored> ChunkedVariable::find(std::span<const std::size_t> position) const {
    const auto offset = offsetOf(position);
    unsigned skipped = 0;
    haddr_t address = HADDR_UNDEF;
    hsize_t bytes = 0;
    check(H5Dget_chunk_info_by_coord(id_, offset.data(), &skipped, &address, &bytes) >= 0, "finding a block");
    if (address == HADDR_UNDEF)
        return std::nullopt;
    check(bytes > 0 && bytes <= fileBytes_ && address <= fileBytes_ - bytes && format_ &&
              bytes <= format_->maximumStoredBytes(),
          "locating a block");
    return Stored{.bytes = bytes, .skippedFilters = skipped};
}

void ChunkedVariable::read(std::span<const std::size_t> position, std::span<std::byte> bytes) const {
    keepHdf5Quiet();
    const auto offset = offsetOf(position);
    hsize_t stored = 0;
    std::uint32_t skipped = 0;
    // The buffer is as long as `find` said, and what is read is as long as the index says now.
    check(H5Dget_chunk_storage_size(id_, offset.data(), &stored) >= 0 && stored == bytes.size() &&
              H5Dread_chunk(id_, H5P_DEFAULT, offset.data(), &skipped, bytes.data()) >= 0,
          "reading a block");
}

void ChunkedVariable::write(std::span<const std::size_t> position, const ChunkCodec::Packed& packed) {
    keepHdf5Quiet();
    const auto offset = offsetOf(position);
    check(H5Dwrite_chunk(id_, H5P_DEFAULT, packed.skippedFilters, offset.data(), packed.bytes.size(),
                         packed.bytes.data()) >= 0,
          "writing a block");
}

} // namespace Vorta::NetCdf
