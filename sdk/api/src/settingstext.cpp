#include "vorta/api/settingstext.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/replacingfile.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace Vorta {

std::string settingsText(const Settings& settings) {
    const ReplacingFile file(std::filesystem::temp_directory_path() / "settings.yml"); // never put in place
    settings.save(file.temporaryPath().string());
    std::ifstream stream(file.temporaryPath(), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || text.empty())
        throw IOException("File '" + file.temporaryPath().string() + "' cannot be read back.");
    return text;
}

} // namespace Vorta
