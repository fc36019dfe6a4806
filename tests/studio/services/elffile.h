#pragma once

#include <elf.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace Vorta::Testing {

/// The smallest ELF file with sections: nothing, the names, and one of our choice, whose headers stand at the end so
/// that every shorter file lacks something. Tests change the parts and then write them.
struct ElfFile {
    static constexpr std::size_t nameTable = 1;
    static constexpr std::size_t wanted = 2;

    ElfFile(std::string_view name, std::string_view content) {
        const std::string names = std::string("\0.shstrtab\0", 11) + std::string(name) + '\0';
        body = names + std::string(content);
        std::memcpy(header.e_ident, ELFMAG, SELFMAG);
        header.e_ident[EI_CLASS] = ELFCLASS64;
        header.e_ident[EI_DATA] = ELFDATA2LSB;
        header.e_shoff = sizeof(header) + body.size();
        header.e_shentsize = sizeof(Elf64_Shdr);
        header.e_shnum = 3;
        header.e_shstrndx = nameTable;
        sections[nameTable].sh_name = 1;
        sections[nameTable].sh_type = SHT_STRTAB;
        sections[nameTable].sh_offset = sizeof(header);
        sections[nameTable].sh_size = names.size();
        sections[wanted].sh_name = 11;
        sections[wanted].sh_type = SHT_PROGBITS;
        sections[wanted].sh_offset = sizeof(header) + names.size();
        sections[wanted].sh_size = content.size();
    }

    [[nodiscard]] std::string bytes() const {
        std::string all(sizeof(header) + body.size() + sizeof(sections), '\0');
        std::memcpy(all.data(), &header, sizeof(header));
        std::memcpy(all.data() + sizeof(header), body.data(), body.size());
        std::memcpy(all.data() + sizeof(header) + body.size(), sections, sizeof(sections));
        return all;
    }

    Elf64_Ehdr header{};
    std::string body; ///< between the header and the sections' headers
    Elf64_Shdr sections[3]{};
};

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

} // namespace Vorta::Testing
