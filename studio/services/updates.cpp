#include "services/updates.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/semversion.h"

#include <QCryptographicHash>
#include <QDir>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace VortaQt {

namespace {

std::uint8_t decodeNibble(char c) {
    if (c >= '0' && c <= '9')
        return static_cast<std::uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<std::uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return static_cast<std::uint8_t>(c - 'A' + 10);
    throw Vorta::ArgumentInvalidException("Argument is not a valid hexadecimal character", "byte");
}

} // namespace

const Vorta::SemVersion& installedVersion() {
    static const Vorta::SemVersion version{VORTA_PRODUCT_VERSION};
    return version;
}

QString updateBaseAddress() {
    QString address = qEnvironmentVariable("VORTA_UPDATE_URL");
    if (address.isEmpty())
        address = QStringLiteral(VORTA_UPDATE_URL);
    while (address.endsWith(QLatin1Char('/')))
        address.chop(1);
    return address;
}

UpdateAddresses::UpdateAddresses(QString base) : base_(std::move(base)) {}

QUrl UpdateAddresses::latestVersion() const {
    return QUrl(base_ + QStringLiteral("/latest_version"));
}

QUrl UpdateAddresses::latestChecksum() const {
    return QUrl(base_ + QStringLiteral("/latest_checksum"));
}

QUrl UpdateAddresses::installer(const QString& fileName) const {
    return QUrl(base_ + QLatin1Char('/') + fileName);
}

QString installerFileName(const Vorta::SemVersion& version) {
    return QStringLiteral("VortaSetup_") + QString::fromStdString(version.toString()) + QStringLiteral(".exe");
}

QString installerPath(const QUrl& installer) {
    return QDir::tempPath() + QLatin1Char('/') + installer.fileName();
}

std::string printableText(const QByteArray& reply) {
    std::string text;
    std::ranges::copy_if(reply, std::back_inserter(text),
                         [](char c) { return std::isprint(static_cast<unsigned char>(c)) != 0; });
    return text;
}

Digest decodeDigest(std::string_view hexadecimal) {
    Digest digest{};
    for (std::uint8_t& byte : digest) {
        if (hexadecimal.empty())
            break;
        if (hexadecimal.size() == 1)
            throw Vorta::ArgumentInvalidException("Could not convert hex string to binary", "In");
        const std::uint8_t high = decodeNibble(hexadecimal[0]);
        byte = static_cast<std::uint8_t>(high << 4 | decodeNibble(hexadecimal[1]));
        hexadecimal.remove_prefix(2);
    }
    return digest;
}

Digest digestOf(const QByteArray& data) {
    Digest digest{};
    const QByteArray hash = QCryptographicHash::hash(data, QCryptographicHash::Sha1);
    std::ranges::transform(hash, digest.begin(), [](char c) { return static_cast<std::uint8_t>(c); });
    return digest;
}

ProgressBarState progressBarState(std::int64_t received, std::int64_t total) {
    if (total < 1)
        return {};
    const double percent = static_cast<double>(received) * 100.0 / static_cast<double>(total);
    // More than the total is the server's mistake, and must fit an int.
    return {.maximum = 100, .value = static_cast<int>(std::clamp(percent, 0.0, 100.0))};
}

} // namespace VortaQt
