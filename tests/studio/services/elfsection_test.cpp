#include "services/platform/elfsection.h"

#include "studio/services/elffile.h"

#include <sys/stat.h>

#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>

using namespace Vorta::Testing;
using VortaQt::Platform::elfSection;

namespace {

constexpr std::size_t mostBytes = 100;
const std::string content = "what we look for";

class ElfSection : public testing::Test {
protected:
    [[nodiscard]] std::optional<std::string> read(std::string_view bytes, std::string_view name = ".wanted") const {
        writeFile(path, bytes);
        return elfSection(path, name, mostBytes);
    }

    QTemporaryDir folder;
    std::filesystem::path path{folder.filePath(QStringLiteral("file")).toStdString()};
};

TEST_F(ElfSection, isReadByItsName) {
    const std::string file = ElfFile(".wanted", content).bytes();
    EXPECT_EQ(read(file), content);
    EXPECT_EQ(read(file, ".shstrtab"), std::nullopt) << "holds names";
    for (const char* other : {".wante", ".wanted2", "wanted", "", ".text"})
        EXPECT_EQ(read(file, other), std::nullopt) << other;
}

TEST_F(ElfSection, mayBeEmptyOrAsLongAsAllowed) {
    EXPECT_EQ(read(ElfFile(".wanted", "").bytes()), std::string());
    const std::string longest(mostBytes, 'x');
    EXPECT_EQ(read(ElfFile(".wanted", longest).bytes()), longest);
    EXPECT_EQ(read(ElfFile(".wanted", longest + 'x').bytes()), std::nullopt);
}

TEST_F(ElfSection, theFirstOfTwoCounts) {
    ElfFile file(".wanted", "first second");
    file.sections[0] = file.sections[ElfFile::wanted];
    file.sections[0].sh_size = 5;
    EXPECT_EQ(read(file.bytes()), "first");
}

TEST_F(ElfSection, isNotInWhatIsNoFile) {
    EXPECT_EQ(elfSection(folder.path().toStdString(), ".wanted", mostBytes), std::nullopt) << "a folder";
    EXPECT_EQ(elfSection(path, ".wanted", mostBytes), std::nullopt) << "nothing";
    EXPECT_EQ(elfSection({}, ".wanted", mostBytes), std::nullopt) << "no name";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(elfSection(path, ".wanted", mostBytes), std::nullopt) << "a pipe without a writer";
}

TEST_F(ElfSection, isNotInOtherFiles) {
    EXPECT_EQ(read(""), std::nullopt);
    EXPECT_EQ(read("MZ"), std::nullopt);
    EXPECT_EQ(read(std::string(1000, '\0')), std::nullopt);
    EXPECT_EQ(read("#!/bin/sh\n" + std::string(1000, 'x')), std::nullopt);
    EXPECT_EQ(read(std::string(1000, '\xff')), std::nullopt);
}

TEST_F(ElfSection, isNotInATruncatedFile) {
    const std::string file = ElfFile(".wanted", content).bytes();
    for (std::size_t size = 0; size < file.size(); ++size)
        EXPECT_EQ(read(file.substr(0, size)), std::nullopt) << size;
}

TEST_F(ElfSection, noDamagedByteLeadsOutOfTheFile) {
    const std::string file = ElfFile(".wanted", content).bytes();
    int unharmed = 0;
    for (std::size_t at = 0; at < file.size(); ++at)
        for (const char pattern : {'\xff', '\x80', '\x01'}) {
            std::string damaged = file;
            damaged[at] = static_cast<char>(damaged[at] ^ pattern);
            const auto section = read(damaged);
            EXPECT_LE(section.value_or(std::string()).size(), mostBytes) << at;
            unharmed += section == content;
        }
    EXPECT_GT(unharmed, 0) << "what does not matter may be anything";
}

struct Damage {
    const char* what;
    std::function<void(ElfFile&)> apply;
};

// Names the case in a failure's message.
void PrintTo(const Damage& damage, std::ostream* out) { // NOLINT(readability-identifier-naming)
    *out << damage.what;
}

Elf64_Shdr& names(ElfFile& file) {
    return file.sections[ElfFile::nameTable];
}

Elf64_Shdr& wanted(ElfFile& file) {
    return file.sections[ElfFile::wanted];
}

const Damage damages[] = {
    {"wrong magic", [](ElfFile& file) { file.header.e_ident[EI_MAG3] = 'G'; }},
    {"32 bits", [](ElfFile& file) { file.header.e_ident[EI_CLASS] = ELFCLASS32; }},
    {"other byte order", [](ElfFile& file) { file.header.e_ident[EI_DATA] = ELFDATA2MSB; }},
    {"other size of section headers", [](ElfFile& file) { file.header.e_shentsize = 40; }},
    {"no section headers", [](ElfFile& file) { file.header.e_shnum = 0; }},
    {"section headers beyond the end", [](ElfFile& file) { file.header.e_shoff += 1; }},
    {"section headers far beyond the end", [](ElfFile& file) { file.header.e_shoff = UINT64_MAX - 64; }},
    {"section headers that wrap round", [](ElfFile& file) { file.header.e_shoff = UINT64_MAX - 63; }},
    {"more section headers than the file holds, none of them wanted",
     [](ElfFile& file) {
         file.header.e_shnum = UINT16_MAX;
         wanted(file).sh_name = 1;
     }},
    {"names in no section", [](ElfFile& file) { file.header.e_shstrndx = 3; }},
    {"names in section 65535", [](ElfFile& file) { file.header.e_shstrndx = SHN_XINDEX; }},
    {"names in a section of another kind", [](ElfFile& file) { names(file).sh_type = SHT_PROGBITS; }},
    {"names beyond the end", [](ElfFile& file) { names(file).sh_offset = UINT64_MAX; }},
    {"names that wrap round", [](ElfFile& file) { names(file).sh_offset = UINT64_MAX - 10; }},
    {"no names", [](ElfFile& file) { names(file).sh_size = 0; }},
    {"names that end before the name", [](ElfFile& file) { names(file).sh_size = 11; }},
    {"names that end within the name", [](ElfFile& file) { names(file).sh_size -= 1; }},
    {"name beyond the names", [](ElfFile& file) { wanted(file).sh_name = UINT32_MAX; }},
    {"name beyond the end, with names without end",
     [](ElfFile& file) {
         names(file).sh_size = UINT64_MAX;
         wanted(file).sh_name = UINT32_MAX;
     }},
    {"content beyond the end", [](ElfFile& file) { wanted(file).sh_offset = 100000; }},
    {"content that starts within and ends beyond",
     [](ElfFile& file) { wanted(file).sh_offset = file.header.e_shoff + sizeof(file.sections) - 4; }},
    {"content at the last number", [](ElfFile& file) { wanted(file).sh_offset = UINT64_MAX; }},
    {"content that wraps round", [](ElfFile& file) { wanted(file).sh_offset = UINT64_MAX - content.size() + 1; }},
    {"giant content", [](ElfFile& file) { wanted(file).sh_size = UINT64_MAX; }},
    {"content in memory only", [](ElfFile& file) { wanted(file).sh_type = SHT_NOBITS; }},
    {"compressed content", [](ElfFile& file) { wanted(file).sh_flags = SHF_COMPRESSED; }},
};

class DamagedElfFile : public ElfSection, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedElfFile, hasNoSection) {
    ElfFile file(".wanted", content);
    ASSERT_EQ(read(file.bytes()), content);
    GetParam().apply(file);
    EXPECT_EQ(read(file.bytes()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, DamagedElfFile, testing::ValuesIn(damages));

} // namespace
