#include "vorta/common/exceptions.h"
#include "vorta/common/semversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <string_view>

namespace {

using Vorta::SemVersion;

TEST(SemVersion, HasItsParts) {
    const SemVersion version("1.0.1-rc.2+3607.8a7510c4");
    EXPECT_EQ(version.majorNumber(), 1U);
    EXPECT_EQ(version.minorNumber(), 0U);
    EXPECT_EQ(version.patchNumber(), 1U);
    EXPECT_EQ(version.preRelease(), "rc.2");
    EXPECT_EQ(version.build(), "3607.8a7510c4");
    EXPECT_EQ(version.toString(), "1.0.1-rc.2+3607.8a7510c4");
}

TEST(SemVersion, DefaultIsZero) {
    EXPECT_EQ(SemVersion().toString(), "0.0.0");
    EXPECT_EQ(SemVersion(), SemVersion("0.0.0"));
}

TEST(SemVersion, BuildTextMayHoldHyphensAndLeadingZeros) {
    const SemVersion version("1.0.0+0.build.1-rc.10000aaa-kk-0.001");
    EXPECT_EQ(version.preRelease(), "");
    EXPECT_EQ(version.build(), "0.build.1-rc.10000aaa-kk-0.001");
}

TEST(SemVersion, NumbersBeyond64BitsReadAsTheLargest) {
    const SemVersion version("99999999999999999999999.18446744073709551615.18446744073709551616");
    EXPECT_EQ(version.majorNumber(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(version.minorNumber(), 18446744073709551615U);
    EXPECT_EQ(version.patchNumber(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(version.toString(), "99999999999999999999999.18446744073709551615.18446744073709551616");
}

class ValidVersions : public testing::TestWithParam<const char*> {};

TEST_P(ValidVersions, RoundTrip) {
    EXPECT_EQ(SemVersion(GetParam()).toString(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(SemVersion, ValidVersions,
                         testing::Values("0.0.4", "1.2.3", "10.20.30", "1.1.2-prerelease+meta", "1.1.2+meta",
                                         "1.0.0-alpha", "1.0.0-alpha.0valid", "1.0.0-alpha-a.b-c-somethinglong+b.1-aef",
                                         "1.0.0-0A.is.legal", "1.2.3----RC-SNAPSHOT.12.9.1--.12+788", "2.0.0-0",
                                         "1.0.0--", "1.0.0+-", "1.0.0-0-0"));

struct Invalid {
    const char* text;
    const char* reason;
};

class InvalidVersions : public testing::TestWithParam<Invalid> {};

TEST_P(InvalidVersions, AreRefusedWithTheReason) {
    const auto& [text, reason] = GetParam();
    try {
        const SemVersion version{text};
        FAIL() << text << " was taken for " << version.toString();
    } catch (const Vorta::ArgumentInvalidException& error) {
        EXPECT_EQ(error.what(), "This is no semantic version: " + std::string{reason} +
                                    ". Invalid parameter: version = '" + text + "'");
    }
}

constexpr const char* notThreeNumbers = "it does not begin with three numbers separated by dots";
constexpr const char* emptyPreRelease = "an identifier of its pre-release is empty";
constexpr const char* emptyBuild = "an identifier of its build text is empty";
constexpr const char* zeroInPreRelease = "a number of its pre-release has a leading zero";
constexpr const char* zeroInNumber = "one of its three numbers has a leading zero";
constexpr const char* strangePreRelease = "its pre-release holds something else than letters, digits and hyphens";
constexpr const char* strangeBuild = "its build text holds something else than letters, digits and hyphens";

INSTANTIATE_TEST_SUITE_P(SemVersion, InvalidVersions,
                         testing::Values(Invalid{"", notThreeNumbers}, Invalid{"1", notThreeNumbers},
                                         Invalid{"1.2", notThreeNumbers}, Invalid{"1.2.3.4", notThreeNumbers},
                                         Invalid{"1.2.", notThreeNumbers}, Invalid{".1.2", notThreeNumbers},
                                         Invalid{"1..2", notThreeNumbers}, Invalid{"v1.2.3", notThreeNumbers},
                                         Invalid{" 1.2.3", notThreeNumbers}, Invalid{"1.2.3 ", notThreeNumbers},
                                         Invalid{"1.2.3\n", notThreeNumbers}, Invalid{"-1.2.3", notThreeNumbers},
                                         Invalid{"1.2.x", notThreeNumbers}, Invalid{"alpha", notThreeNumbers},
                                         Invalid{"01.1.1", zeroInNumber}, Invalid{"1.01.1", zeroInNumber},
                                         Invalid{"1.1.00", zeroInNumber}, Invalid{"1.2.3-", emptyPreRelease},
                                         Invalid{"1.2.3-+b", emptyPreRelease}, Invalid{"1.2.3-a..b", emptyPreRelease},
                                         Invalid{"1.2.3-a.", emptyPreRelease}, Invalid{"1.2.3-.a", emptyPreRelease},
                                         Invalid{"1.2.3-.", emptyPreRelease}, Invalid{"1.2.3-0123", zeroInPreRelease},
                                         Invalid{"1.2.3-a.00", zeroInPreRelease},
                                         Invalid{"1.2.3-a_b", strangePreRelease},
                                         Invalid{"1.2.3-\xC3\xA4", strangePreRelease}, Invalid{"1.2.3+", emptyBuild},
                                         Invalid{"1.2.3+a..b", emptyBuild}, Invalid{"1.2.3+a+b", strangeBuild},
                                         Invalid{"1.2.3-a+", emptyBuild}));

TEST(SemVersion, PrecedenceIsTotalAlongTheChain) {
    // Each comes before all that follow it.
    const std::array chain{"0.0.0-0",
                           "0.0.0",
                           "0.9.21",
                           "0.10.0",
                           "1.0.0-0",
                           "1.0.0-2",
                           "1.0.0-11",
                           "1.0.0-99999999999999999999",
                           "1.0.0-100000000000000000000",
                           "1.0.0--",
                           "1.0.0-0a",
                           "1.0.0-A",
                           "1.0.0-alpha",
                           "1.0.0-alpha.1",
                           "1.0.0-alpha.1.0",
                           "1.0.0-alpha.beta",
                           "1.0.0-beta",
                           "1.0.0-beta.2",
                           "1.0.0-beta.11",
                           "1.0.0-rc.1",
                           "1.0.0",
                           "1.0.1",
                           "1.1.0",
                           "2.0.0",
                           "10.0.0",
                           "18446744073709551616.0.0",
                           "18446744073709551617.0.0"};
    for (std::size_t i = 0; i < chain.size(); ++i)
        for (std::size_t k = 0; k < chain.size(); ++k) {
            const SemVersion left(chain[i]);
            const SemVersion right(chain[k]);
            EXPECT_EQ(left < right, i < k) << chain[i] << " and " << chain[k];
            EXPECT_EQ(left > right, i > k) << chain[i] << " and " << chain[k];
            EXPECT_EQ(left == right, i == k) << chain[i] << " and " << chain[k];
            EXPECT_EQ(left >= right, i >= k) << chain[i] << " and " << chain[k];
        }
}

TEST(SemVersion, BuildTextDoesNotCount) {
    EXPECT_EQ(SemVersion("1.0.1+3607.8a7510c4"), SemVersion("1.0.1"));
    EXPECT_EQ(SemVersion("1.0.1-rc+a"), SemVersion("1.0.1-rc+b"));
    EXPECT_LE(SemVersion("1.0.1+9"), SemVersion("1.0.1+1"));
    EXPECT_GE(SemVersion("1.0.1+1"), SemVersion("1.0.1+9"));
    EXPECT_NE(SemVersion("1.0.1+a"), SemVersion("1.0.2+a"));
    EXPECT_NE(SemVersion("1.0.1-rc+a"), SemVersion("1.0.1+a"));
}

} // namespace
