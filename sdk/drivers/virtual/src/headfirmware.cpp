#include "vorta/virtual/headfirmware.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/replacingfile.h"
#include "vorta/yaml/scalaredit.h"
#include "vorta/yaml/words.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace Vorta::Virtual {

namespace {

std::string readAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw IOException("File " + inQuotes(file.string()) + " cannot be read.");
    return text;
}

// Replacing a file needs no right to write to it; who took that right away means it all the same.
std::filesystem::perms writablePermissions(const std::filesystem::path& file) {
    using std::filesystem::perms;
    std::error_code failure; // a file that is gone has no permissions and is refused like one that is protected
    const perms permissions = std::filesystem::status(file, failure).permissions();
    constexpr perms write = perms::owner_write | perms::group_write | perms::others_write;
    if (failure || (permissions & write) == perms::none)
        throw IOException("File " + inQuotes(file.string()) +
                          " cannot be written: it is write-protected; allow writing to it.");
    return permissions;
}

// In blocks of a tenth, as the progress is told.
void write(const std::filesystem::path& file, std::string_view text, const WriteProgress& progress) {
    constexpr std::size_t blocks = 10;
    std::ofstream stream(file, std::ios::binary);
    for (std::size_t block = 0; block < blocks && stream; ++block) {
        const std::size_t begin = text.size() * block / blocks;
        const std::size_t end = text.size() * (block + 1) / blocks;
        stream.write(text.data() + begin, static_cast<std::streamsize>(end - begin)).flush();
        if (stream)
            progress(static_cast<unsigned>(100 * (block + 1) / blocks));
    }
    stream.close();
    if (!stream)
        throw IOException("File " + inQuotes(file.string()) + " cannot be written; is the disk full?");
}

} // namespace

void writeFirmware(const HeadDescription& head, std::string_view firmware, const WriteProgress& progress) {
    const std::filesystem::perms permissions = writablePermissions(head.file);
    const std::string before = readAll(head.file);
    const std::string after = head.faults.update.empty() ? withScalar(before, head.file, "firmware", firmware) : before;

    ReplacingFile file(head.file);
    write(file.temporaryPath(), after, progress);
    if (after == before)
        return;
    std::filesystem::permissions(file.temporaryPath(), permissions);
    if (readAll(head.file) != before)
        throw IOException("File " + inQuotes(head.file.string()) +
                          " cannot be written: it was changed meanwhile; update the head again.");
    file.commit();
}

} // namespace Vorta::Virtual
