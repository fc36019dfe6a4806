#include "vorta/yaml/scalaredit.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/yamlmap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Vorta::IOException;
using Vorta::withScalar;

std::string edited(const std::string& text, const std::string& value = "NEW 1.2") {
    return withScalar(text, "a.yml", "key", value);
}

std::string refusal(const std::string& text) {
    try {
        (void)edited(text);
    } catch (const IOException& error) {
        return error.what();
    }
    return "nothing was refused";
}

struct Edit {
    const char* before;
    const char* after;
};

class ScalarEdit : public testing::TestWithParam<Edit> {};

TEST_P(ScalarEdit, ReplacesTheValueAndNothingElse) {
    EXPECT_EQ(edited(GetParam().before), GetParam().after);
    EXPECT_EQ(edited(GetParam().after), GetParam().after) << "the same again changes nothing";
}

INSTANTIATE_TEST_SUITE_P(Forms, ScalarEdit,
                         testing::Values(Edit{"key: OLD\n", "key: NEW 1.2\n"}, Edit{"key: OLD", "key: NEW 1.2"},
                                         Edit{"key: OLD 1.0 \t # why\n", "key: NEW 1.2 \t # why\n"},
                                         Edit{"a: 1\r\nkey:   OLD\r\nb: 2\r\n", "a: 1\r\nkey:   NEW 1.2\r\nb: 2\r\n"},
                                         Edit{"# key: OLD\n\nb: 'key: OLD'\nkey: OLD\nc: {key: OLD}\n",
                                              "# key: OLD\n\nb: 'key: OLD'\nkey: NEW 1.2\nc: {key: OLD}\n"},
                                         Edit{"key: 'it''s # OLD: ' # why\n", "key: 'NEW 1.2' # why\n"},
                                         Edit{"key: \"a \\\" \\u00e4 # b\"\n", "key: \"NEW 1.2\"\n"},
                                         Edit{"'key': OLD\n", "'key': NEW 1.2\n"},
                                         Edit{"{a: 1, key: OLD, b: [x, y]}\n", "{a: 1, key: NEW 1.2, b: [x, y]}\n"},
                                         Edit{"{\"key\":\"OLD\"}", "{\"key\":\"NEW 1.2\"}"},
                                         Edit{"  key: OLD\n  b: 2\n", "  key: NEW 1.2\n  b: 2\n"},
                                         Edit{"? key\n: OLD\n", "? key\n: NEW 1.2\n"},
                                         Edit{"key:\n  OLD\n", "key:\n  NEW 1.2\n"},
                                         Edit{"%YAML 1.2\n---\nkey: OLD\n...\n", "%YAML 1.2\n---\nkey: NEW 1.2\n...\n"},
                                         Edit{"\xEF\xBB\xBFkey: OLD\n", "\xEF\xBB\xBFkey: NEW 1.2\n"},
                                         Edit{"\xC3\xA4: \xE2\x82\xAC # \xF0\x9F\x99\x82\nkey: \xC3\xB6 x\n",
                                              "\xC3\xA4: \xE2\x82\xAC # \xF0\x9F\x99\x82\nkey: NEW 1.2\n"},
                                         Edit{"key: 5\n", "key: NEW 1.2\n"},
                                         Edit{"key: OLD-and a.longer_one\n", "key: NEW 1.2\n"}));

TEST(ScalarEditRefusal, OfAValueThatStandsInSeveralPlacesOrLines) {
    const std::string words = "'key' cannot be replaced where it stands: write it as one line 'key: OLD 1'.";
    EXPECT_EQ(refusal("a: 1\nkey: OLD\n  1\n"), "'a.yml', line 2: " + words);
    EXPECT_EQ(refusal("key: >-\n  OLD\n  1\n"), "'a.yml', line 1: " + words);
    EXPECT_EQ(refusal("key: 'OLD\n  1'\n"), "'a.yml', line 1: " + words);
    EXPECT_EQ(refusal("key: !!str OLD 1\n"), "'a.yml', line 1: " + words);
    EXPECT_EQ(refusal("key: &shared OLD 1\nb: *shared\n"), "'a.yml', line 1: " + words);
    EXPECT_EQ(refusal("b: &shared OLD 1\nkey: *shared\n"), "'a.yml', line 1: " + words);
}

TEST(ScalarEditRefusal, OfWhatIsNoTextToReplace) {
    EXPECT_EQ(refusal("a: 1\n"), "'a.yml', line 1: 'key' is missing.");
    EXPECT_EQ(refusal("key: [OLD]\n"), "'a.yml', line 1: 'key' must be a text.");
    EXPECT_EQ(refusal("key: ''\n"), "'a.yml', line 1: 'key' must be a text.");
    EXPECT_EQ(refusal("key: OLD\nkey: OLD\n"), "'a.yml', line 2: 'key' stands here a second time.");
    EXPECT_THAT(refusal("key: \"OLD\n"), HasSubstr("not valid YAML"));
    EXPECT_THAT(refusal(""), StartsWith("'a.yml', line 0: a map"));
}

TEST(ScalarEditRefusal, OfAValueThatCouldChangeWhatStandsAroundIt) {
    for (const char* value :
         {"", " a", "a ", "1.0", "a: b", "a #b", "a\nb", "a'b", "\"a", "a,b", "a]", "-a", "\xC3\xA4"})
        EXPECT_THROW((void)edited("key: OLD\n", value), Vorta::ArgumentInvalidException) << value;
    EXPECT_EQ(edited("key: OLD\n", "VORTA-x_1.2.3 b"), "key: VORTA-x_1.2.3 b\n");
}

} // namespace
