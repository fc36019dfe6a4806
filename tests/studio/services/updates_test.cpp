#include "services/updates.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/semversion.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace VortaQt;
using Vorta::SemVersion;

/// What decoding the text throws.
std::string refusal(const std::string& text) {
    try {
        static_cast<void>(decodeDigest(text));
    } catch (const Vorta::ArgumentInvalidException& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

const std::string invalidCharacter = "Argument is not a valid hexadecimal character. Invalid parameter: byte";
const std::string oddLength = "Could not convert hex string to binary. Invalid parameter: In";

constexpr Digest counting{0x00, 0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0xff,
                          0x10, 0x32, 0x54, 0x76, 0x98, 0xba, 0xdc, 0xfe, 0x7f, 0x80};
const std::string countingText = "00012345"
                                 "6789abcd"
                                 "efff1032"
                                 "547698ba"
                                 "dcfe7f80";

TEST(DecodeDigest, ReadsTwoDigitsAByte) {
    EXPECT_EQ(decodeDigest(countingText), counting);
}

TEST(DecodeDigest, ReadsCapitalLettersToo) {
    EXPECT_EQ(decodeDigest("000123456789ABCDEFff1032547698bADcFe7f80"), counting);
}

TEST(DecodeDigest, ReadsTheFirstFortyDigitsOnly) {
    EXPECT_EQ(decodeDigest(countingText + "1234"), counting);
    EXPECT_EQ(decodeDigest(countingText + "1"), counting);
    EXPECT_EQ(decodeDigest(countingText + "  VortaSetup_1.0.2.exe\n"), counting);
}

TEST(DecodeDigest, LeavesWhatIsNotThereZero) {
    EXPECT_EQ(decodeDigest(""), Digest{});
    EXPECT_EQ(decodeDigest("ff01"), (Digest{0xff, 0x01}));
}

TEST(DecodeDigest, RefusesASingleDigitAtTheEnd) {
    EXPECT_EQ(refusal("a"), oddLength);
    EXPECT_EQ(refusal("abc"), oddLength);
    EXPECT_EQ(refusal(countingText.substr(0, 39)), oddLength);
    EXPECT_EQ(refusal("ab\n"), oddLength) << "whatever the single character is";
}

TEST(DecodeDigest, RefusesWhatIsNoDigit) {
    for (const char* text : {"zz", "0g", "g0", "0G", " 0", "0/", "0:", "0@", "0`", "\xc3\xa4", "0x12", "-1"})
        EXPECT_EQ(refusal(text), invalidCharacter) << text;
    EXPECT_EQ(refusal(std::string(2, '\0')), invalidCharacter);
    EXPECT_EQ(refusal(countingText.substr(0, 38) + "zz"), invalidCharacter);
    EXPECT_EQ(refusal("zza"), invalidCharacter) << "found before the single character";
}

TEST(DigestOf, IsSha1) {
    // As sha1sum prints them.
    EXPECT_EQ(digestOf("abc"), decodeDigest("a9993e364706816aba3e25717850c26c9cd0d89d"));
    EXPECT_EQ(digestOf(""), decodeDigest("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
}

TEST(PrintableText, DropsLineEndsAndOtherControlBytes) {
    EXPECT_EQ(printableText("1.0.2\r\n"), "1.0.2");
    EXPECT_EQ(printableText(QByteArray("\0\x01"
                                       "1\t.\x1b"
                                       "0.\x7f"
                                       "2\n\n",
                                       11)),
              "1.0.2");
    EXPECT_EQ(printableText("\xef\xbb\xbf"
                            "1.0.2"),
              "1.0.2")
        << "a byte order mark";
    EXPECT_EQ(printableText(""), "");
}

TEST(PrintableText, KeepsBlanks) {
    EXPECT_EQ(printableText(" 1.0 ~2 "), " 1.0 ~2 ");
}

TEST(InstalledVersion, IsThisRelease) {
    EXPECT_EQ(installedVersion().toString(), "1.0.1+3607.8a7510c4");
    EXPECT_EQ(installedVersion().build(), "3607.8a7510c4");
}

TEST(InstallerFileName, HoldsTheWholeVersion) {
    EXPECT_EQ(installerFileName(SemVersion("1.0.2")), QStringLiteral("VortaSetup_1.0.2.exe"));
    EXPECT_EQ(installerFileName(SemVersion("1.1.0-rc.1+4000.abc")),
              QStringLiteral("VortaSetup_1.1.0-rc.1+4000.abc.exe"));
}

TEST(InstallerFileName, NeverLeavesItsFolder) {
    // The name is made of a version, and none of these is one.
    for (const char* text : {"../../x", "1.0.2/../../x", "1.0.2-../x", "1.0.2+../x", "1.0.2+a/b", "1.0.2-a\\b", "..",
                             "/etc/passwd", R"(C:\x)", "1.0.2-a:b", "1.0.2 ", "1.0.2%2f..", R"(\\host\x)"})
        EXPECT_THROW(SemVersion{text}, Vorta::ArgumentInvalidException) << text;
}

TEST(InstallerPath, IsInTheTemporaryFolder) {
    const QUrl url(QStringLiteral("http://host/software/VortaSetup_1.0.2+5.exe"));
    EXPECT_EQ(installerPath(url), QDir::tempPath() + QStringLiteral("/VortaSetup_1.0.2+5.exe"));
}

TEST(UpdateAddresses, StandBelowTheBase) {
    const UpdateAddresses addresses(QStringLiteral("http://host:8080/software"));
    EXPECT_EQ(addresses.latestVersion().toString(), QStringLiteral("http://host:8080/software/latest_version"));
    EXPECT_EQ(addresses.latestChecksum().toString(), QStringLiteral("http://host:8080/software/latest_checksum"));
    EXPECT_EQ(addresses.installer(QStringLiteral("VortaSetup_1.0.2+5.exe")).toString(),
              QStringLiteral("http://host:8080/software/VortaSetup_1.0.2+5.exe"));
}

class UpdateBaseAddress : public testing::Test {
protected:
    void TearDown() override { qputenv("VORTA_UPDATE_URL", before_); }

private:
    QByteArray before_ = qgetenv("VORTA_UPDATE_URL");
};

TEST_F(UpdateBaseAddress, ComesFromTheEnvironment) {
    qputenv("VORTA_UPDATE_URL", "http://elsewhere/software");
    EXPECT_EQ(updateBaseAddress(), QStringLiteral("http://elsewhere/software"));
    EXPECT_EQ(UpdateAddresses().latestVersion().toString(), QStringLiteral("http://elsewhere/software/latest_version"));
    qputenv("VORTA_UPDATE_URL", "http://elsewhere/software//");
    EXPECT_EQ(updateBaseAddress(), QStringLiteral("http://elsewhere/software"));
}

TEST_F(UpdateBaseAddress, IsBuiltIn) {
    qunsetenv("VORTA_UPDATE_URL");
    const QString builtIn = updateBaseAddress();
    EXPECT_TRUE(builtIn.startsWith(QStringLiteral("http"))) << qPrintable(builtIn);
    EXPECT_TRUE(builtIn.endsWith(QStringLiteral("/software"))) << qPrintable(builtIn);
    qputenv("VORTA_UPDATE_URL", "");
    EXPECT_EQ(updateBaseAddress(), builtIn);
}

struct Progress {
    std::int64_t received;
    std::int64_t total;
    int maximum;
    int value;
};

class ProgressBar : public testing::TestWithParam<Progress> {};

TEST_P(ProgressBar, ShowsWholePercentOrIsBusy) {
    const ProgressBarState state = progressBarState(GetParam().received, GetParam().total);
    EXPECT_EQ(state.maximum, GetParam().maximum);
    EXPECT_EQ(state.value, GetParam().value);
}

constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(Updates, ProgressBar,
                         testing::Values(Progress{0, 100, 100, 0}, Progress{50, 100, 100, 50},
                                         Progress{100, 100, 100, 100}, Progress{1, 3, 100, 33}, Progress{2, 3, 100, 66},
                                         Progress{999, 1000, 100, 99}, Progress{0, 1, 100, 0}, Progress{1, 1, 100, 100},
                                         Progress{3'000'000'000, 4'000'000'000, 100, 75},
                                         Progress{huge, huge, 100, 100}, Progress{7, 0, 0, 0}, Progress{7, -1, 0, 0},
                                         Progress{0, 0, 0, 0}, Progress{huge, 1, 100, 100}));

} // namespace
