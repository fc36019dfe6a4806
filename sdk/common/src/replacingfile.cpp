#include "vorta/common/replacingfile.h"

#include "vorta/common/exceptions.h"

#include <cerrno>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace Vorta {

namespace {

/// Hidden where a leading dot hides, and unlike any other file's name.
std::string temporaryName(const std::string& fileName) {
    constexpr std::string_view digits = "0123456789abcdefghijklmnopqrstuv";
    std::random_device random;
    std::string name = ".";
    name.append(fileName).append(1, '.');
    for (int i = 0; i < 12; ++i)
        name += digits[random() % digits.size()];
    return name.append(".part");
}

/// A link is followed, so that what it points at is replaced and not the link.
std::filesystem::path resolve(const std::filesystem::path& target) {
    std::error_code error;
    const auto status = std::filesystem::status(target, error);
    if (!std::filesystem::exists(status))
        return std::filesystem::absolute(target);
    if (!std::filesystem::is_regular_file(status))
        throw IOException("File '" + target.string() + "' cannot be written: it is not a regular file.");
    return std::filesystem::canonical(target);
}

} // namespace

ReplacingFile::ReplacingFile(const std::filesystem::path& target)
    : target_(resolve(target)), temporary_(target_.parent_path() / temporaryName(target_.filename().string())) {
    errno = 0;
    if (!std::ofstream(temporary_, std::ios::binary))
        throw IOException("File '" + target_.string() +
                          "' cannot be written: " + std::generic_category().message(errno) + ".");
}

ReplacingFile::~ReplacingFile() {
    if (committed_)
        return;
    std::error_code ignored; // nothing may have been written yet, and the caller already knows what went wrong
    std::filesystem::remove(temporary_, ignored);
}

void ReplacingFile::commit() {
    std::error_code error;
    std::filesystem::rename(temporary_, target_, error);
    if (error)
        throw IOException("File '" + target_.string() + "' cannot be replaced: " + error.message() + ".");
    committed_ = true;
}

} // namespace Vorta
