#include "fileseal.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
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

// The seal: eight letters, the length of the file without it, its CRC-32; numbers with the low byte first.
constexpr std::array<char, 8> magic{'V', 'O', 'R', 'T', 'A', 'C', 'R', 'C'};
constexpr std::size_t sealBytes = magic.size() + 8 + 4;
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

/// The seal of the file's first `length` bytes; empty when they cannot be read.
std::optional<Seal> sealOf(std::ifstream& stream, std::uint64_t length) {
    std::vector<char> block(std::size_t{1} << 18U);
    std::uint32_t checksum = 0;
    stream.clear();
    stream.seekg(0);
    for (std::uint64_t left = length; left > 0;) {
        const auto count = std::min<std::uint64_t>(left, block.size());
        if (!stream.read(block.data(), static_cast<std::streamsize>(count)))
            return std::nullopt;
        checksum = libdeflate_crc32(checksum, block.data(), count);
        left -= count;
    }
    Seal seal{};
    std::ranges::copy(magic, seal.begin());
    putNumber(std::span(seal).subspan(magic.size(), 8), length);
    putNumber(std::span(seal).last(4), checksum);
    return seal;
}

/// Length of the file as its HDF5 header (the superblock of the HDF5 file format specification) states it; empty when
/// there is no such header.
std::optional<std::uint64_t> statedLength(std::ifstream& stream) {
    std::array<char, 64> header{};
    stream.read(header.data(), header.size());
    const auto count = static_cast<std::size_t>(stream.gcount());
    if (count < 48 || !std::equal(signature.begin(), signature.end(), header.begin()))
        return std::nullopt;
    const int version = header[8];
    const std::size_t addressSizeAt = version < 2 ? 13 : 9;
    if (version < 0 || version > 3 || header.at(addressSizeAt) != 8)
        return std::nullopt;
    const std::size_t at = version == 0 ? 40 : version == 1 ? 44 : 28;
    return number(std::span(header).subspan(at, 8));
}

} // namespace

void append(const std::filesystem::path& file, const std::string& name) {
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    const auto seal = error ? std::nullopt : sealOf(stream, length);
    std::ofstream end(file, std::ios::binary | std::ios::app);
    if (!seal || !end.write(seal->data(), std::streamsize{sealBytes}).flush())
        throw IOException("File '" + name + "' cannot be written: " + std::generic_category().message(errno) + ".");
}

std::string complaint(const std::filesystem::path& file) {
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
    if (length != *stated + sealBytes || !stream || sealOf(stream, *stated) != found)
        return "it is damaged: its checksum is wrong.";
    return {};
}

} // namespace Vorta::FileSeal
