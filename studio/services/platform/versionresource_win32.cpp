// Without Qt, so that this file compiles wherever there is a compiler for Windows.
#include "services/platform/versionresource.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace VortaQt::Platform {

namespace {

/// An entry of the resource's table of translations.
struct Translation {
    WORD language;
    WORD codePage;
};

/// The text that the resource has under the key, empty when it has none.
std::string textOf(const std::vector<std::byte>& resource, const Translation& translation, const char* key) {
    std::array<char, 64> path{};
    std::snprintf(path.data(), path.size(), "\\StringFileInfo\\%04x%04x\\%s", unsigned{translation.language},
                  unsigned{translation.codePage}, key);
    void* text = nullptr;
    UINT length = 0;
    if (VerQueryValueA(resource.data(), path.data(), &text, &length) == FALSE || text == nullptr)
        return {};
    // The length counts the zero at the end, and some that stand behind it.
    return {static_cast<const char*>(text), strnlen(static_cast<const char*>(text), length)};
}

} // namespace

VersionTexts readVersionResource(const char* path) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    std::vector<std::byte> resource(size);
    if (size == 0 || GetFileVersionInfoA(path, 0, size, resource.data()) == FALSE)
        return {};
    void* table = nullptr;
    UINT bytes = 0;
    if (VerQueryValueA(resource.data(), "\\VarFileInfo\\Translation", &table, &bytes) == FALSE || table == nullptr ||
        bytes < sizeof(Translation))
        return {};
    Translation first{};
    std::memcpy(&first, table, sizeof(first));
    VersionTexts texts;
    for (const VersionKey& key : versionKeys)
        texts.*key.text = textOf(resource, first, key.name);
    return texts;
}

} // namespace VortaQt::Platform
