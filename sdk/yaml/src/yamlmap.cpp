#include "vorta/yaml/yamlmap.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"
#include "vorta/yamldocument/onlydocument.h"

#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace Vorta {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const YAML::Mark& mark, std::string_view words) {
    // Marks count lines from 0 and have -1, which wraps to line 0 here, without a place.
    throw IOException(atLine(file, static_cast<std::size_t>(mark.line) + 1, words));
}

// Independent of the locale, unlike the conversions of streams.
template <class T>
std::optional<T> numberIn(std::string_view text) {
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::string shortest(double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

std::string describe(Limits limits) {
    const bool lower = limits.minimum > std::numeric_limits<double>::lowest();
    const bool upper = limits.maximum < std::numeric_limits<double>::max();
    if (lower && upper)
        return "between " + shortest(limits.minimum) + " and " + shortest(limits.maximum);
    return lower ? "at least " + shortest(limits.minimum) : "at most " + shortest(limits.maximum);
}

} // namespace

YamlMap::YamlMap(std::shared_ptr<const std::filesystem::path> file, const YAML::Node& node)
    : file_(std::move(file)), node_(node) {
    if (!node_.IsMap())
        failAt(node_, "a map of 'key: value' lines is expected here.");
    std::set<std::string> seen;
    for (const auto& entry : node_) {
        if (!entry.first.IsScalar())
            failAt(entry.first, "a key must be a plain text.");
        if (!seen.insert(entry.first.Scalar()).second)
            failAt(entry.first, inQuotes(entry.first.Scalar()) + " stands here a second time.");
    }
}

YamlMap YamlMap::load(const std::filesystem::path& file, std::size_t maxBytes) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw IOException(inQuotes(file.string()) + " cannot be read: it is a folder.");
    std::ifstream stream(file, std::ios::binary);
    std::string text;
    std::array<char, 16'384> block{};
    while (stream) {
        stream.read(block.data(), block.size());
        text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
        if (text.size() > maxBytes)
            throw IOException(inQuotes(file.string()) + " has more than " + std::to_string(maxBytes) +
                              " bytes; it is another kind of file.");
    }
    if (!stream.eof())
        throw IOException(inQuotes(file.string()) + " cannot be read.");
    return parse(std::move(text), file);
}

YamlMap YamlMap::parse(std::string text, const std::filesystem::path& name) {
    try {
        const std::optional<YAML::Node> document = onlyDocument(std::move(text));
        if (!document)
            throw IOException(inQuotes(name.string()) + " holds more than one YAML document.");
        // Nothing has no line.
        return {std::make_shared<const std::filesystem::path>(name), document->IsNull() ? YAML::Node() : *document};
    } catch (const YAML::Exception& error) {
        refuse(name, error.mark, "not valid YAML, " + error.msg + ".");
    }
}

YAML::Node YamlMap::find(std::string_view key) const {
    asked_.emplace(key);
    for (const auto& entry : node_)
        if (entry.first.Scalar() == key)
            return entry.second;
    return YAML::Node(YAML::NodeType::Undefined);
}

bool YamlMap::has(std::string_view key) const {
    return find(key).IsDefined();
}

bool YamlMap::isMap(std::string_view key) const {
    return find(key).IsMap();
}

double YamlMap::parseNumber(std::string_view key, const YAML::Node& node, Limits limits) const {
    const std::optional<double> value = node.IsScalar() ? numberIn<double>(node.Scalar()) : std::nullopt;
    if (!value || !std::isfinite(*value))
        failAt(node, inQuotes(key) + " must be a number" +
                         (node.IsScalar() ? ", not " + inQuotes(node.Scalar()) + "." : std::string(".")));
    if (*value < limits.minimum || *value > limits.maximum)
        failAt(node, inQuotes(key) + " is " + node.Scalar() + " but must be " + describe(limits) + ".");
    return *value;
}

double YamlMap::number(std::string_view key, double fallback, Limits limits) const {
    const YAML::Node node = find(key);
    return node.IsDefined() ? parseNumber(key, node, limits) : fallback;
}

std::uint64_t YamlMap::count(std::string_view key, std::uint64_t fallback, std::uint64_t minimum,
                             std::uint64_t maximum) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return fallback;
    const std::optional<std::uint64_t> value = node.IsScalar() ? numberIn<std::uint64_t>(node.Scalar()) : std::nullopt;
    if (!value || *value < minimum || *value > maximum)
        failAt(node, inQuotes(key) + " must be a whole number between " + std::to_string(minimum) + " and " +
                         std::to_string(maximum) +
                         (node.IsScalar() ? ", not " + inQuotes(node.Scalar()) + "." : std::string(".")));
    return *value;
}

bool YamlMap::flag(std::string_view key, bool fallback) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return fallback;
    if (!node.IsScalar() || (node.Scalar() != "true" && node.Scalar() != "false"))
        failAt(node, inQuotes(key) + " must be true or false.");
    return node.Scalar() == "true";
}

std::string YamlMap::text(std::string_view key, std::string_view fallback) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return std::string(fallback);
    if (!node.IsScalar() || node.Scalar().empty())
        failAt(node, inQuotes(key) + " must be a text.");
    return node.Scalar();
}

std::size_t YamlMap::choice(std::string_view key, std::size_t fallback,
                            std::span<const std::string_view> allowed) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return fallback;
    std::string names;
    for (std::size_t i = 0; i < allowed.size(); ++i) {
        if (node.IsScalar() && node.Scalar() == allowed[i])
            return i;
        names.append(i == 0 ? "" : ", ").append(allowed[i]);
    }
    failAt(node, inQuotes(key) + " must be one of " + names +
                     (node.IsScalar() ? ", not " + inQuotes(node.Scalar()) + "." : std::string(".")));
}

std::vector<double> YamlMap::numbers(std::string_view key, std::vector<double> fallback, Limits limits,
                                     bool spread) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return fallback;
    if (spread && node.IsScalar()) {
        fallback.assign(fallback.size(), parseNumber(key, node, limits));
        return fallback;
    }
    if (!node.IsSequence() || node.size() != fallback.size())
        failAt(node, inQuotes(key) + " must be " + (spread ? "a number or " : "") + "a list of " +
                         std::to_string(fallback.size()) + " numbers.");
    for (std::size_t i = 0; i < fallback.size(); ++i)
        fallback[i] = parseNumber(key, node[i], limits);
    return fallback;
}

std::optional<YamlMap> YamlMap::map(std::string_view key) const {
    const YAML::Node node = find(key);
    if (!node.IsDefined())
        return std::nullopt;
    return YamlMap(file_, node);
}

std::vector<YamlMap> YamlMap::maps(std::string_view key) const {
    const YAML::Node node = find(key);
    std::vector<YamlMap> result;
    if (!node.IsDefined())
        return result;
    if (!node.IsSequence())
        failAt(node, inQuotes(key) + " must be a list.");
    for (const auto& entry : node)
        result.push_back(YamlMap(file_, entry));
    return result;
}

std::vector<std::pair<std::string, YamlMap>> YamlMap::namedMaps(std::string_view key) const {
    std::vector<std::pair<std::string, YamlMap>> result;
    if (const std::optional<YamlMap> parent = map(key))
        for (const auto& entry : parent->node_)
            result.emplace_back(entry.first.Scalar(), YamlMap(file_, entry.second));
    return result;
}

std::vector<double> YamlMap::table(std::string_view key, std::size_t columns) const {
    const YAML::Node node = find(key);
    if (!node.IsSequence())
        failAt(node.IsDefined() ? node : node_, inQuotes(key) + " must be a list.");
    std::vector<double> values;
    for (const auto& row : node) {
        if (!row.IsSequence() || row.size() != columns)
            failAt(row,
                   "each entry of " + inQuotes(key) + " must be a list of " + std::to_string(columns) + " numbers.");
        for (const auto& cell : row)
            values.push_back(parseNumber(key, cell, {}));
    }
    return values;
}

void YamlMap::finish() const {
    for (const auto& entry : node_)
        if (!asked_.contains(entry.first.Scalar())) {
            std::string known;
            for (const std::string& key : asked_)
                known.append(known.empty() ? "" : ", ").append(key);
            failAt(entry.first, "unknown key " + inQuotes(entry.first.Scalar()) + "; known here are " + known + ".");
        }
}

void YamlMap::fail(const std::string& words) const {
    failAt(node_, words);
}

void YamlMap::fail(std::string_view key, const std::string& words) const {
    const YAML::Node node = find(key);
    failAt(node.IsDefined() ? node : node_, words);
}

void YamlMap::failAt(const YAML::Node& node, const std::string& words) const {
    refuse(*file_, node.Mark(), words);
}

} // namespace Vorta
