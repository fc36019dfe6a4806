#include "fileseal.h"

#include "orderedpipeline.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <libdeflate.h>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

namespace Vorta::FileSeal {

namespace {

// The seal: eight letters, the length of the file without it, and a checksum, numbers with the low byte first. The
// checksum is the CRC-32 of the CRC-32s of the file's pieces, so that several cores can work on it.
constexpr std::array<char, 8> magic{'V', 'O', 'R', 'T', 'A', 'C', 'R', 'C'};
constexpr std::size_t sealBytes = magic.size() + 8 + 4;
constexpr std::uint64_t pieceBytes = std::uint64_t{1} << 20U;
using Seal = std::array<char, sealBytes>;

constexpr std::array<char, 8> signature{'\x89', 'H', 'D', 'F', '\r', '\n', '\x1a', '\n'};

void putNumber(std::span<char> bytes, std::uint64_t value) {
    for (char& byte : bytes) {
        byte = static_cast<char>(value & 0xFFU);
        value >>= 8U;
    }
}

std::uint64_t number(std::span<const char> bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = (value << 8U) | static_cast<std::uint8_t>(bytes[i]);
    return value;
}

/// The CRC-32 of a piece of the file; empty when it cannot be read.
std::optional<std::uint32_t> checksumOf(std::ifstream& stream, std::uint64_t start, std::uint64_t length,
                                        std::span<char> buffer) {
    std::uint32_t checksum = 0;
    stream.seekg(static_cast<std::streamoff>(start));
    for (std::uint64_t left = length; left > 0;) {
        const auto count = std::min<std::uint64_t>(left, buffer.size());
        if (!stream.read(buffer.data(), static_cast<std::streamsize>(count)))
            return std::nullopt;
        checksum = libdeflate_crc32(checksum, buffer.data(), count);
        left -= count;
    }
    return checksum;
}

/// The seal of the file's first `length` bytes; empty when they cannot be read.
std::optional<Seal> sealOf(const std::filesystem::path& file, std::uint64_t length, std::size_t threads) {
    struct Scratch {
        std::ifstream stream;
        std::vector<char> buffer;
    };
    const auto pieces = static_cast<std::size_t>((length + pieceBytes - 1) / pieceBytes);
    std::vector<Scratch> scratches(pipelineThreads(pieces, threads));
    for (Scratch& scratch : scratches)
        scratch = {.stream = std::ifstream(file, std::ios::binary), .buffer = std::vector<char>(1U << 18U)};
    std::vector<char> checksums(4 * pieces);
    std::atomic<bool> isReadable = true;
    runPipeline(pieces, scratches.size(),
                {.fetch = {},
                 .work =
                     [&](std::size_t piece, std::size_t thread) {
                         const std::uint64_t start = piece * pieceBytes;
                         const auto checksum =
                             checksumOf(scratches[thread].stream, start, std::min(pieceBytes, length - start),
                                        scratches[thread].buffer);
                         if (!checksum)
                             isReadable = false;
                         putNumber(std::span(checksums).subspan(4 * piece, 4), checksum.value_or(0));
                     },
                 .store = {}});
    if (!isReadable)
        return std::nullopt;
    Seal seal{};
    std::ranges::copy(magic, seal.begin());
    putNumber(std::span(seal).subspan(magic.size(), 8), length);
    putNumber(std::span(seal).last(4), libdeflate_crc32(0, checksums.data(), checksums.size()));
    return seal;
}

/// Length of the file as its HDF5 header (the superblock, versions 0 to 3) states it; empty when there is no such
/// header.
std::optional<std::uint64_t> statedLength(std::ifstream& stream) {
    std::array<char, 64> header{};
    stream.read(header.data(), header.size());
    const auto count = static_cast<std::size_t>(stream.gcount());
    if (count < 48 || !std::equal(signature.begin(), signature.end(), header.begin()))
        return std::nullopt;
    const auto version = static_cast<std::uint8_t>(header[8]);
    const std::size_t addressSizeAt = version < 2 ? 13 : 9;
    if (version > 3 || header.at(addressSizeAt) != 8)
        return std::nullopt;
    const std::size_t at = version == 0 ? 40 : version == 1 ? 44 : 28;
    return number(std::span(header).subspan(at, 8));
}

} // namespace

void append(const std::filesystem::path& file, const std::string& name, std::size_t threads) {
    errno = 0;
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    const auto seal = error ? std::nullopt : sealOf(file, length, threads);
    std::ofstream end(file, std::ios::binary | std::ios::app);
    if (!seal || !end.write(seal->data(), std::streamsize{sealBytes}).flush())
        throw IOException("File '" + name + "' cannot be written: " + std::generic_category().message(errno) + ".");
}

std::string complaint(const std::filesystem::path& file, std::size_t threads) {
    std::ifstream stream(file, std::ios::binary);
    const auto stated = statedLength(stream);
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    if (!stated || error)
        return "it is damaged: its header is no header of HDF5.";
    if (length < *stated)
        return "it is cut short: it has " + std::to_string(length) + " of its " + std::to_string(*stated) + " bytes.";
    if (length == *stated)
        return {};
    Seal found{};
    stream.clear();
    stream.seekg(static_cast<std::streamoff>(*stated));
    stream.read(found.data(), found.size());
    if (length != *stated + sealBytes || !stream || sealOf(file, *stated, threads) != found)
        return "it is damaged: its checksum is wrong.";
    return {};
}

} // namespace Vorta::FileSeal
