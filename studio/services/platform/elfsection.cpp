#include "services/platform/elfsection.h"

#include <elf.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <system_error>
#include <type_traits>

namespace VortaQt::Platform {

namespace {

/// A file that gives what lies wholly inside it, and nothing else.
class BoundedFile {
public:
    explicit BoundedFile(const std::filesystem::path& path) {
        std::error_code error;
        // A pipe would wait for its writer, a folder has no end.
        if (!std::filesystem::is_regular_file(path, error))
            return;
        const std::uintmax_t size = std::filesystem::file_size(path, error);
        if (error)
            return;
        size_ = size;
        file_.open(path, std::ios::binary);
    }

    [[nodiscard]] std::optional<std::string> bytes(std::uint64_t offset, std::uint64_t count) {
        if (offset > size_ || count > size_ - offset)
            return std::nullopt;
        std::string read(static_cast<std::size_t>(count), '\0');
        if (!file_.seekg(static_cast<std::streamoff>(offset)) ||
            !file_.read(read.data(), static_cast<std::streamsize>(count)))
            return std::nullopt;
        return read;
    }

    template <class T>
    [[nodiscard]] std::optional<T> value(std::uint64_t offset) {
        static_assert(std::is_trivially_copyable_v<T>);
        const std::optional<std::string> read = bytes(offset, sizeof(T));
        if (!read)
            return std::nullopt;
        T result{};
        std::memcpy(&result, read->data(), sizeof(T));
        return result;
    }

private:
    std::ifstream file_;
    std::uintmax_t size_ = 0;
};

bool isReadable(const Elf64_Ehdr& header) {
    constexpr unsigned char nativeOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == ELFCLASS64 &&
           header.e_ident[EI_DATA] == nativeOrder && header.e_shentsize == sizeof(Elf64_Shdr);
}

std::optional<Elf64_Shdr> sectionHeader(BoundedFile& file, const Elf64_Ehdr& header, std::uint64_t index) {
    // An offset near the end of the numbers would wrap round to the file's start.
    if (index >= header.e_shnum || header.e_shoff > UINT64_MAX - index * sizeof(Elf64_Shdr))
        return std::nullopt;
    return file.value<Elf64_Shdr>(header.e_shoff + index * sizeof(Elf64_Shdr));
}

/// Whether the text at `offset` of the table of names is `name`.
bool isNamed(BoundedFile& file, const Elf64_Shdr& names, std::uint64_t offset, std::string_view name) {
    if (offset > names.sh_size || name.size() >= names.sh_size - offset || names.sh_offset > UINT64_MAX - offset)
        return false;
    const std::optional<std::string> text = file.bytes(names.sh_offset + offset, name.size() + 1);
    return text && text->compare(0, name.size(), name) == 0 && text->back() == '\0';
}

} // namespace

std::optional<std::string> elfSection(const std::filesystem::path& file, std::string_view name, std::size_t mostBytes) {
    BoundedFile input(file);
    const auto header = input.value<Elf64_Ehdr>(0);
    if (!header || !isReadable(*header))
        return std::nullopt;
    const auto names = sectionHeader(input, *header, header->e_shstrndx);
    if (!names || names->sh_type != SHT_STRTAB)
        return std::nullopt;
    for (std::uint64_t index = 0; index < header->e_shnum; ++index) {
        const auto section = sectionHeader(input, *header, index);
        if (!section)
            return std::nullopt;
        if (!isNamed(input, *names, section->sh_name, name))
            continue;
        // Others have their content elsewhere, or packed.
        if (section->sh_type != SHT_PROGBITS || (section->sh_flags & SHF_COMPRESSED) != 0 ||
            section->sh_size > mostBytes)
            return std::nullopt;
        return input.bytes(section->sh_offset, section->sh_size);
    }
    return std::nullopt;
}

} // namespace VortaQt::Platform
