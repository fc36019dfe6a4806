#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace VortaQt {

/// What a server may ask of a download before it is given up. Whoever answers is not trusted: not to be brief, not to
/// come to an end, not to answer at all.
struct DownloadLimits {
    int bodyBytes = 0;                      ///< largest body
    std::chrono::milliseconds silence{0};   ///< longest time without a byte of the body, connecting included
    std::chrono::milliseconds wholeTime{0}; ///< longest time from the request to the last byte
};

/// For replies of one line.
inline constexpr DownloadLimits textLimits{
    .bodyBytes = 4096, .silence = std::chrono::seconds{15}, .wholeTime = std::chrono::minutes{1}};

/// For installers: a gigabyte, at slow lines too.
inline constexpr DownloadLimits installerLimits{
    .bodyBytes = 1 << 30, .silence = std::chrono::seconds{30}, .wholeTime = std::chrono::hours{6}};

/// One GET request, sent at once. Only a complete reply with status 200 within the limits has a body; everything else
/// ends with an error text. Redirects are not followed: the server's address is the one that was configured.
///
///     auto* downloader = new FileDownloader(url, this);
///     connect(downloader, &FileDownloader::downloaded, this, [=] { use(downloader->body()); });
///
/// May be destroyed at any time, also by what receives `downloaded`. GUI thread.
class FileDownloader : public QObject {
    Q_OBJECT

public:
    explicit FileDownloader(const QUrl& url, QObject* parent = nullptr, const DownloadLimits& limits = installerLimits);

    /// The reply's body, once it is there without an error.
    [[nodiscard]] const std::optional<QByteArray>& body() const noexcept { return body_; }
    /// Why there is no body; empty before the end and when there is one.
    [[nodiscard]] const QString& errorText() const noexcept { return errorText_; }

    /// Gives the request up, if it still runs. Nothing is emitted any more.
    void cancel();

Q_SIGNALS:
    /// The request has ended, well or not. Comes from the event loop, once: receivers may throw and open boxes.
    void downloaded();
    /// Bytes of the body; `total` is -1 or 0 when unknown.
    void progress(qint64 received, qint64 total);

private:
    void checkHeaders();
    void takeAvailable();
    void refuse(const QString& reason);
    void complete();
    [[nodiscard]] QString fault() const;
    [[nodiscard]] QString address() const;

    DownloadLimits limits_;
    QNetworkAccessManager* manager_;
    QNetworkReply* reply_;
    QTimer silence_;
    QTimer wholeTime_;
    QByteArray received_;
    QString refusal_; ///< why the request was given up here; empty when the server ended it
    std::optional<QByteArray> body_;
    QString errorText_;
};

} // namespace VortaQt
