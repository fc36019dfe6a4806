#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vorta {
class SemVersion;
} // namespace Vorta

/// What the updater computes, apart from its window.
namespace VortaQt {

/// The bytes of a SHA-1 digest.
using Digest = std::array<std::uint8_t, 20>;

/// The version that is running. Its build text is kept, and counts in no comparison.
[[nodiscard]] const Vorta::SemVersion& installedVersion();

/// Where updates come from, without a slash at its end: the environment variable VORTA_UPDATE_URL, or what the program
/// was built with when that is unset or empty.
[[nodiscard]] QString updateBaseAddress();

/// The addresses below a base address.
class UpdateAddresses {
public:
    explicit UpdateAddresses(QString base = updateBaseAddress());

    [[nodiscard]] QUrl latestVersion() const;
    [[nodiscard]] QUrl latestChecksum() const;
    [[nodiscard]] QUrl installer(const QString& fileName) const;

private:
    QString base_;
};

/// "VortaSetup_<version>.exe" on every system. A version has letters, digits, ".", "-" and "+" only, so that this never
/// names another folder.
[[nodiscard]] QString installerFileName(const Vorta::SemVersion& version);

/// Where the installer of that address is kept: under its file name in the system's temporary folder.
[[nodiscard]] QString installerPath(const QUrl& installer);

/// The printable characters of a reply, in their order: without line ends and other control bytes.
[[nodiscard]] std::string printableText(const QByteArray& reply);

/// Reads up to 40 hexadecimal digits, two a byte; what follows them is ignored, and bytes that the text does not reach
/// are zero. Throws ArgumentInvalidException for another character and for a single digit at the end.
[[nodiscard]] Digest decodeDigest(std::string_view hexadecimal);

/// The SHA-1 digest of the data.
[[nodiscard]] Digest digestOf(const QByteArray& data);

/// What a progress bar that begins at 0 shows.
struct ProgressBarState {
    int maximum = 0; ///< 0 shows a busy bar
    int value = 0;
};

/// Of byte counts; a total below 1 is an unknown one.
[[nodiscard]] ProgressBarState progressBarState(std::int64_t received, std::int64_t total);

} // namespace VortaQt
