#include "services/platform/versionsection.h"

#include "services/platform/elfsection.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>

namespace VortaQt::Platform {

namespace {

/// Far more than any record has.
constexpr std::size_t mostBytes = 65536;

/// Takes the first text off `bytes`; nothing when it has no end.
std::optional<std::string_view> takeText(std::string_view& bytes) {
    const std::size_t end = bytes.find('\0');
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view text = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    return text;
}

} // namespace

VersionTexts parseVersionSection(std::string_view bytes) {
    VersionTexts texts;
    std::set<std::string_view> seen;
    for (;;) {
        const auto key = takeText(bytes);
        const auto value = key && !key->empty() ? takeText(bytes) : std::nullopt;
        if (!value)
            return texts;
        const auto* known = std::ranges::find(versionKeys, *key, &VersionKey::name);
        if (known != versionKeys.end() && seen.insert(*key).second)
            texts.*known->text = *value;
    }
}

VersionTexts readVersionSection(const std::filesystem::path& file) {
    const std::optional<std::string> section = elfSection(file, ".vorta_version", mostBytes);
    return section ? parseVersionSection(*section) : VersionTexts{};
}

} // namespace VortaQt::Platform
