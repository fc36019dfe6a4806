#include "vorta/yaml/yamlmap.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Vorta::inQuotes;
using Vorta::IOException;
using Vorta::YamlMap;

std::string refusalOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const IOException& error) {
        return error.what();
    }
    return "nothing was refused";
}

std::string refusal(const std::string& text) {
    return refusalOf([&] { (void)YamlMap::parse(text, "a.yml"); });
}

TEST(YamlMap, ReadsATextAsAFile) {
    const YamlMap yaml = YamlMap::parse("size: 3\nlist: [1, -2.5]", "a.yml");
    EXPECT_EQ(yaml.file(), "a.yml");
    EXPECT_EQ(yaml.count("size", 0, 1, 5), 3U);
    EXPECT_EQ(yaml.numbers("list", {0.0, 0.0}), (std::vector<double>{1.0, -2.5}));
    EXPECT_EQ(yaml.number("missing", 7.5), 7.5);
    yaml.finish();
}

TEST(YamlMap, RefusesWhatIsNoMapWithFileAndLine) {
    EXPECT_THAT(refusal(""), StartsWith("'a.yml', line 0: a map"));
    EXPECT_THAT(refusal("# nothing\n"), StartsWith("'a.yml', line 0: a map"));
    EXPECT_THAT(refusal("\n- 1\n- 2\n"), StartsWith("'a.yml', line 2: a map of 'key: value' lines is expected"));
    EXPECT_EQ(refusal("a: 1\nb: 2\na: 3\n"), "'a.yml', line 3: 'a' stands here a second time.");
    EXPECT_EQ(refusal("[1]: 2\n"), "'a.yml', line 1: a key must be a plain text.");
}

TEST(YamlMap, RefusesWhatIsNotOneDocument) {
    EXPECT_EQ(refusal("a: 1\n---\nb: 2\n"), "'a.yml' holds more than one YAML document.");
    EXPECT_THAT(refusal("a: 1\n---\n, b"), HasSubstr("more than one YAML document"));
    EXPECT_THAT(refusal(", a: 1\n"), StartsWith("'a.yml', line "));
    EXPECT_THAT(refusal("a: \"open\n"), AllOf(StartsWith("'a.yml', line "), HasSubstr("not valid YAML")));
    EXPECT_THAT(refusal("a: [1, 2\n"), HasSubstr("not valid YAML"));
}

TEST(YamlMap, RefusesFilesThatAreMissingFoldersOrTooLarge) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "vorta_yamlmap";
    std::filesystem::create_directories(folder);
    const std::string file = (folder / "a.yml").string();
    std::ofstream(file, std::ios::binary) << "a: 1\n# " << std::string(100, 'x') << '\n';
    EXPECT_EQ(YamlMap::load(file).number("a", 0.0), 1.0);
    EXPECT_EQ(YamlMap::load(file, 108).number("a", 0.0), 1.0);
    EXPECT_EQ(refusalOf([&] { (void)YamlMap::load(file, 107); }),
              inQuotes(file) + " has more than 107 bytes; it is another kind of file.");
    EXPECT_EQ(refusalOf([&] { (void)YamlMap::load(folder); }),
              inQuotes(folder.string()) + " cannot be read: it is a folder.");
    EXPECT_EQ(refusalOf([&] { (void)YamlMap::load(folder / "none.yml"); }),
              inQuotes((folder / "none.yml").string()) + " cannot be read.");
    std::filesystem::remove_all(folder);
}

} // namespace
