#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"
#include "vorta/yamldocument/onlydocument.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <locale>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <yaml-cpp/yaml.h>

namespace Vorta {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view internalNode = "Internal";
constexpr std::string_view binaryTag = "tag:yaml.org,2002:binary";
/// Far more than any settings file needs; keeps a data file chosen by mistake from being read whole.
constexpr std::size_t largestFileBytes = 1U << 20U;

/// Why a stream failed; streams themselves do not tell.
std::error_code lastSystemError() {
    return errno != 0 ? std::error_code{errno, std::generic_category()} : std::make_error_code(std::errc::io_error);
}

/// Reads one settings file; every failure names it.
class Reader {
public:
    explicit Reader(const std::string& path) : path_(path) {}

    [[nodiscard]] Settings read() const {
        Settings settings;
        const YAML::Node document = parse(load());
        if (document.IsNull())
            fail("it holds no settings");
        readGroup(document, {}, settings);
        return settings;
    }

private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw IOException("Cannot read the settings file '" + path_ + "': " + reason + '.');
    }

    [[noreturn]] void fail(const YAML::Mark& mark, std::string reason) const {
        while (reason.ends_with('.'))
            reason.pop_back();
        fail(mark.is_null() ? reason : "line " + std::to_string(mark.line + 1) + ": " + reason);
    }

    [[nodiscard]] std::string load() const {
        std::error_code error;
        if (fs::is_directory(path_, error))
            fail("it is a folder");
        errno = 0;
        std::ifstream file{fs::path{path_}, std::ios::binary};
        if (!file)
            fail(lastSystemError().message());
        std::string content;
        std::array<char, 16'384> block{};
        do {
            file.read(block.data(), block.size());
            content.append(block.data(), static_cast<std::size_t>(file.gcount()));
            if (content.size() > largestFileBytes)
                fail("it is too large for a settings file");
        } while (file);
        if (file.bad())
            fail(lastSystemError().message());
        return content;
    }

    [[nodiscard]] YAML::Node parse(std::string content) const {
        try {
            const std::optional<YAML::Node> document = onlyDocument(std::move(content));
            if (!document)
                fail("it holds more than one YAML document");
            return *document;
        } catch (const YAML::Exception& error) {
            fail(error.mark, "it is not YAML: " + error.msg);
        }
    }

    /// Where in the file a group stands.
    struct Place {
        bool isInternal = false;
        std::string prefix; ///< what the catalogue paths of its children begin with
        std::string shown;  ///< what messages put before their names
    };

    void readGroup(const YAML::Node& group, const Place& place, Settings& settings) const {
        if (!group.IsMap())
            fail(group.Mark(), place.shown.empty() ? "it does not hold named settings"
                                                   : "'" + place.shown + "' is a group and needs settings below it");
        const auto groups = place.isInternal ? SettingsInternal::groups() : Settings::groups();
        std::set<std::string> seen;
        for (const auto& entry : group) {
            const YAML::Node& key = entry.first;
            if (!key.IsScalar())
                fail(key.Mark(), "a name is not a text");
            const std::string path = place.prefix + key.Scalar();
            const std::string shown = place.shown.empty() ? key.Scalar() : place.shown + '/' + key.Scalar();
            if (!seen.insert(path).second)
                fail(key.Mark(), "'" + shown + "' is given twice");
            if (key.Scalar().find('/') != std::string::npos) // each level of a path is a level of the file
                fail(key.Mark(), "'" + shown + "' is no setting");
            if (shown == internalNode)
                readGroup(entry.second, {.isInternal = true, .prefix = {}, .shown = shown}, settings);
            else if (std::ranges::find(groups, path, &SettingGroupDescription::path) != groups.end())
                readGroup(entry.second, {place.isInternal, path + '/', shown}, settings);
            else
                readSetting(key.Mark(), entry.second, place.isInternal, path, shown, settings);
        }
    }

    void readSetting(const YAML::Mark& mark, const YAML::Node& value, bool isInternal, const std::string& path,
                     const std::string& shown, Settings& settings) const {
        const auto catalogue = isInternal ? SettingsInternal::catalogue() : Settings::catalogue();
        const auto description = std::ranges::find(catalogue, path, &SettingDescription::path);
        if (description == catalogue.end())
            fail(mark, "'" + shown + "' is no setting");
        if (!value.IsScalar())
            fail(mark, "'" + shown + "' needs a single value: " + std::string{description->accepted});
        try {
            settings.set(path, textOf(value));
        } catch (const ArgumentException& error) {
            fail(mark, "'" + shown + "': " + error.what());
        } catch (const YAML::Exception& error) {
            fail(mark, "'" + shown + "': " + error.msg);
        }
    }

    [[nodiscard]] static std::string textOf(const YAML::Node& value) {
        if (value.Tag() != binaryTag)
            return value.Scalar();
        const auto bytes = value.as<YAML::Binary>();
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    const std::string& path_;
};

/// Whether YAML can hold the text as it is; other texts (a path in a legacy encoding) are written as base64.
bool isUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
        const std::uint8_t lead = byte(i);
        const std::size_t length = lead < 0x80U ? 1 : lead >= 0xC2U && lead < 0xE0U ? 2 : lead < 0xF0U ? 3 : 4;
        if ((lead >= 0x80U && lead < 0xC2U) || lead > 0xF4U || i + length > text.size())
            return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((byte(i + k) & 0xC0U) != 0x80U)
                return false;
        // Overlong forms, surrogates and numbers beyond U+10FFFF are excluded by the second byte.
        if ((lead == 0xE0U && byte(i + 1) < 0xA0U) || (lead == 0xEDU && byte(i + 1) > 0x9FU) ||
            (lead == 0xF0U && byte(i + 1) < 0x90U) || (lead == 0xF4U && byte(i + 1) > 0x8FU))
            return false;
        i += length;
    }
    return true;
}

std::string scalar(const SettingDescription& description, const std::string& text) {
    if (description.type != Detail::typeName<std::string>())
        return text;
    YAML::Emitter emitter;
    if (isUtf8(text))
        emitter << YAML::DoubleQuoted << text;
    else
        emitter << YAML::Binary(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    return emitter.c_str();
}

/// Writes the settings of one catalogue as a tree, each below a comment that says what it is and what it accepts.
class TreeWriter {
public:
    TreeWriter(std::ostream& out, std::size_t depth, const Settings& settings)
        : out_(out), depth_(depth), settings_(settings) {}

    void write(std::span<const SettingDescription> catalogue, std::span<const SettingGroupDescription> groups) {
        for (const SettingDescription& description : catalogue) {
            openGroups(description, groups);
            const std::size_t depth = depth_ + levelOf(description.path);
            line(depth) << "# " << description.meaning << '\n';
            line(depth) << "# " << sentence(description) << '\n';
            line(depth) << description.name << ": " << scalar(description, settings_.getString(description.path))
                        << '\n';
        }
    }

private:
    static std::size_t levelOf(std::string_view path) {
        return static_cast<std::size_t>(std::ranges::count(path, '/'));
    }

    static std::string sentence(const SettingDescription& description) {
        std::string text{description.accepted};
        if ('a' <= text.front() && text.front() <= 'z')
            text.front() = static_cast<char>(text.front() - 'a' + 'A');
        const bool quoted = description.type == Detail::typeName<std::string>() || description.type == "switch" ||
                            description.type == "choice";
        const std::string quote = quoted ? "\"" : "";
        return text + "; default " + quote + std::string{description.defaultText} + quote + '.';
    }

    void openGroups(const SettingDescription& description, std::span<const SettingGroupDescription> groups) {
        for (const SettingGroupDescription& group : groups)
            if (description.path.starts_with(std::string{group.path} + '/') && open_.insert(group.path).second) {
                const std::size_t depth = depth_ + levelOf(group.path);
                line(depth) << "# " << group.meaning << '\n';
                line(depth) << group.name << ":\n";
            }
    }

    std::ostream& line(std::size_t depth) { return out_ << std::string(2 * depth, ' '); }

    std::ostream& out_;
    std::size_t depth_;
    const Settings& settings_;
    std::set<std::string_view> open_;
};

std::string toYaml(const Settings& settings) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << "# Camera settings of Vorta Studio. A setting that is left out has its default.\n\n";
    TreeWriter{out, 0, settings}.write(Settings::catalogue(), Settings::groups());
    out << "\n# Expert settings.\n" << internalNode << ":\n";
    TreeWriter{out, 1, settings}.write(SettingsInternal::catalogue(), SettingsInternal::groups());
    return std::move(out).str();
}

/// Puts a file in another's place only when it is complete, and leaves nothing behind when that fails.
void replaceFile(const fs::path& target, std::string_view content) {
    std::random_device random;
    fs::path temporary = target;
    temporary += '.' + std::to_string(random()) + ".tmp";
    const auto discard = [&] {
        std::error_code ignored; // the failure that led here is the one to report
        fs::remove(temporary, ignored);
    };
    errno = 0;
    std::ofstream file{temporary, std::ios::binary};
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        const std::error_code error = lastSystemError();
        discard();
        throw std::system_error(error);
    }
    std::error_code error;
    // Some file systems have no permissions to keep; that is no reason to refuse.
    if (const fs::file_status earlier = fs::status(target, error); fs::exists(earlier))
        fs::permissions(temporary, earlier.permissions(), error);
    fs::rename(temporary, target, error);
    if (error) {
        discard();
        throw std::system_error(error);
    }
}

} // namespace

Settings::Settings(const std::string& path) : Settings(Reader{path}.read()) {}

void Settings::save(const std::string& path) const {
    const auto fail = [&](const std::string& reason) {
        throw IOException("Cannot write the settings file '" + path + "': " + reason + '.');
    };
    try {
        // Through a link to the file behind it, which is what the user means to change.
        std::error_code error;
        const fs::path target = fs::is_symlink(path, error) ? fs::canonical(path) : fs::path{path};
        if (const fs::file_status status = fs::status(target, error); fs::is_directory(status))
            fail("it is a folder");
        else if (fs::exists(status) && (status.permissions() & fs::perms::owner_write) == fs::perms::none)
            fail("it is write-protected");
        replaceFile(target, toYaml(*this));
    } catch (const std::system_error& error) {
        fail(error.code().message());
    }
}

} // namespace Vorta
