#pragma once

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vorta {

/// What a number may be.
struct Limits {
    double minimum = std::numeric_limits<double>::lowest();
    double maximum = std::numeric_limits<double>::max();
};

/// A YAML map read strictly: every key is asked for once, `finish` refuses the keys that nobody asked for, and every
/// refusal is an IOException that names the file, the line and what is wrong.
class YamlMap {
public:
    /// Reads a file that is one document whose root is a map. Refuses files of more than `maxBytes`, so that one chosen
    /// by mistake is not read whole.
    [[nodiscard]] static YamlMap load(const std::filesystem::path& file,
                                      std::size_t maxBytes = std::numeric_limits<std::size_t>::max());
    /// The same from a text that is at hand; `name` stands for the file in what is thrown.
    [[nodiscard]] static YamlMap parse(std::string text, const std::filesystem::path& name);

    [[nodiscard]] bool has(std::string_view key) const;

    /// Each reader returns `fallback` when the key is missing.
    [[nodiscard]] double number(std::string_view key, double fallback, Limits limits = {}) const;
    [[nodiscard]] std::uint64_t count(std::string_view key, std::uint64_t fallback, std::uint64_t minimum,
                                      std::uint64_t maximum) const;
    [[nodiscard]] bool flag(std::string_view key, bool fallback) const;
    [[nodiscard]] std::string text(std::string_view key, std::string_view fallback) const;
    /// One of `allowed`.
    [[nodiscard]] std::size_t choice(std::string_view key, std::size_t fallback,
                                     std::span<const std::string_view> allowed) const;
    /// A list of exactly `fallback.size()` numbers; a single number fills it when `spread` is set.
    [[nodiscard]] std::vector<double> numbers(std::string_view key, std::vector<double> fallback, Limits limits = {},
                                              bool spread = false) const;

    /// The map below a key, or nothing.
    [[nodiscard]] std::optional<YamlMap> map(std::string_view key) const;
    /// The maps of the list below a key; none when it is missing.
    [[nodiscard]] std::vector<YamlMap> maps(std::string_view key) const;
    /// The maps of the map below a key, by name.
    [[nodiscard]] std::vector<std::pair<std::string, YamlMap>> namedMaps(std::string_view key) const;
    /// The lists of `columns` numbers in the list below a key, one behind the other.
    [[nodiscard]] std::vector<double> table(std::string_view key, std::size_t columns) const;
    [[nodiscard]] bool isMap(std::string_view key) const;

    /// Throws IOException about this map's line.
    [[noreturn]] void fail(const std::string& words) const;
    /// Throws IOException about the key's line.
    [[noreturn]] void fail(std::string_view key, const std::string& words) const;

    /// Refuses every key that was not asked for.
    void finish() const;

    [[nodiscard]] const std::filesystem::path& file() const noexcept { return *file_; }

private:
    YamlMap(std::shared_ptr<const std::filesystem::path> file, const YAML::Node& node);

    [[nodiscard]] YAML::Node find(std::string_view key) const;
    [[nodiscard]] double parseNumber(std::string_view key, const YAML::Node& node, Limits limits) const;
    [[noreturn]] void failAt(const YAML::Node& node, const std::string& words) const;

    std::shared_ptr<const std::filesystem::path> file_;
    YAML::Node node_;
    mutable std::set<std::string, std::less<>> asked_;
};

} // namespace Vorta
