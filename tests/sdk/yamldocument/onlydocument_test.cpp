#include "vorta/yamldocument/onlydocument.h"

#include <gtest/gtest.h>

namespace Vorta {
namespace {

TEST(OnlyDocument, IsWhatATextHolds) {
    for (const char* text : {"a: 1", "a: 1\n", "---\na: 1\n...\n", "# first\na: 1\n# last"}) {
        const auto document = onlyDocument(text);
        ASSERT_TRUE(document.has_value()) << text;
        EXPECT_EQ((*document)["a"].as<int>(), 1) << text;
    }
}

TEST(OnlyDocument, IsNullWithoutContent) {
    for (const char* text : {"", "\n", "# a comment"}) {
        const auto document = onlyDocument(text);
        ASSERT_TRUE(document.has_value()) << text;
        EXPECT_TRUE(document->IsNull()) << text;
    }
}

TEST(OnlyDocument, IsNotOneOfSeveral) {
    for (const char* text : {"a: 1\n---\nb: 2\n", "a: 1\n...\n---\nb: 2\n", "a: 1\n---\n, b"})
        EXPECT_FALSE(onlyDocument(text).has_value()) << text;
}

TEST(OnlyDocument, KeepsTheLineOfWhatIsNoYaml) {
    for (const char* text : {"a: 1\nb: [2\n", "a: 1\nb: 'open"}) {
        try {
            static_cast<void>(onlyDocument(text));
            ADD_FAILURE() << "taken for YAML: " << text;
        } catch (const YAML::Exception& error) {
            EXPECT_GE(error.mark.line, 1) << text;
        }
    }
}

} // namespace
} // namespace Vorta
