#include "vorta/yaml/scalaredit.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"
#include "vorta/yaml/yamlmap.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cstddef>
#include <optional>

namespace Vorta {

namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isPlain(std::string_view value) {
    const auto allowed = [](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == ' ' || c == '.' || c == '-' || c == '_';
    };
    return !value.empty() && isLetter(value.front()) && value.back() != ' ' && std::ranges::all_of(value, allowed);
}

std::optional<std::size_t> quotedLength(std::string_view token) {
    const char quote = token.front();
    for (std::size_t i = 1; i < token.size() && token[i] != '\n'; ++i) {
        const bool escapes = quote == '"' ? token[i] == '\\' : token.substr(i).starts_with("''");
        if (escapes)
            ++i;
        else if (token[i] == quote)
            return i + 1;
    }
    return std::nullopt;
}

/// The length of the scalar that `token` begins with and that reads as `scalar`; nothing where it does not stand there
/// as such on one line, as behind an anchor or a tag.
std::optional<std::size_t> lengthOf(std::string_view token, std::string_view scalar) {
    if (token.starts_with('\'') || token.starts_with('"'))
        return quotedLength(token);
    // Without quotes nothing is escaped: what stands there is what is read.
    return token.starts_with(scalar) ? std::optional(scalar.size()) : std::nullopt;
}

} // namespace

std::string withScalar(const std::string& text, const std::filesystem::path& name, std::string_view key,
                       std::string_view value) {
    if (!isPlain(value))
        throw ArgumentInvalidException("This text cannot be put into a file", "value", std::string(value));
    const YamlMap map = YamlMap::parse(text, name);
    if (!map.has(key))
        map.fail(inQuotes(key) + " is missing.");
    const std::string present = map.text(key, {});

    // Read again for the places, which the map does not tell.
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::size_t begin = text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    for (const auto& entry : YAML::Load(text))
        if (entry.first.Scalar() == key)
            begin += static_cast<std::size_t>(entry.second.Mark().pos);
    const auto length = lengthOf(std::string_view(text).substr(std::min(begin, text.size())), present);
    if (!length)
        map.fail(key, inQuotes(key) + " cannot be replaced where it stands: write it as one line '" + std::string(key) +
                          ": " + present + "'.");

    const bool quoted = text[begin] == '\'' || text[begin] == '"';
    std::string result = text;
    result.replace(begin + (quoted ? 1 : 0), *length - (quoted ? 2 : 0), value);
    if (YamlMap::parse(result, name).text(key, {}) != value)
        map.fail(key, inQuotes(key) + " cannot be replaced where it stands.");
    return result;
}

} // namespace Vorta
