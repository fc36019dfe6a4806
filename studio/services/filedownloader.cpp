#include "services/filedownloader.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <utility>

namespace VortaQt {

namespace {

/// How much may wait to be read: the server is slowed down to what is taken.
constexpr qint64 readBufferBytes = 65'536;

constexpr int statusOk = 200;

QNetworkRequest plainRequest(const QUrl& url) {
    QNetworkRequest request(url);
    // The toolkit sends this header anyway, but asks for compression, and unpacks without a limit: two megabytes can
    // become two gigabytes before anybody can stop it.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

QString inSeconds(std::chrono::milliseconds time) {
    return QString::number(static_cast<double>(time.count()) / 1000.0);
}

void startOnce(QTimer& timer, std::chrono::milliseconds time) {
    timer.setSingleShot(true);
    timer.start(time);
}

} // namespace

FileDownloader::FileDownloader(const QUrl& url, QObject* parent, const DownloadLimits& limits)
    : QObject(parent),
      limits_(limits),
      manager_(new QNetworkAccessManager(this)),
      reply_(manager_->get(plainRequest(url))) {
    reply_->setReadBufferSize(readBufferBytes);
    connect(reply_, &QNetworkReply::metaDataChanged, this, &FileDownloader::checkHeaders);
    connect(reply_, &QNetworkReply::readyRead, this, &FileDownloader::takeAvailable);
    connect(reply_, &QNetworkReply::downloadProgress, this, &FileDownloader::progress);
    // Out of the reply's own code, which is not made for receivers that throw or destroy this object.
    connect(reply_, &QNetworkReply::finished, this, &FileDownloader::complete, Qt::QueuedConnection);
    connect(&silence_, &QTimer::timeout, this, [this] {
        refuse(QStringLiteral("%1 sent nothing for %2 seconds").arg(address(), inSeconds(limits_.silence)));
    });
    connect(&wholeTime_, &QTimer::timeout, this, [this] {
        refuse(QStringLiteral("%1 took longer than %2 seconds").arg(address(), inSeconds(limits_.wholeTime)));
    });
    startOnce(silence_, limits_.silence);
    startOnce(wholeTime_, limits_.wholeTime);
    // The toolkit reads other things too, files of this machine among them.
    if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        refusal_ = QStringLiteral("'%1' is no web address").arg(address());
}

void FileDownloader::cancel() {
    if (!reply_)
        return;
    silence_.stop();
    wholeTime_.stop();
    QNetworkReply* reply = std::exchange(reply_, nullptr);
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}

void FileDownloader::checkHeaders() {
    const QByteArray encoding = reply_->rawHeader("Content-Encoding");
    if (!encoding.isEmpty() && encoding.toLower() != "identity") {
        refuse(QStringLiteral("%1 sends data compressed by %2, which nobody asked for")
                   .arg(address(), QString::fromLatin1(encoding)));
        return;
    }
    const QByteArray header = reply_->rawHeader("Content-Length");
    if (header.isNull())
        return; // the reply comes in chunks, or ends with the connection
    bool isNumber = false;
    const qulonglong length = header.toULongLong(&isNumber);
    if (!isNumber)
        refuse(
            QStringLiteral("%1 announces a length that is no number: %2").arg(address(), QString::fromLatin1(header)));
    else if (length > static_cast<qulonglong>(limits_.bodyBytes))
        refuse(QStringLiteral("%1 announces %2 bytes; at most %3 are taken")
                   .arg(address())
                   .arg(length)
                   .arg(limits_.bodyBytes));
}

void FileDownloader::takeAvailable() {
    if (!reply_ || !refusal_.isEmpty())
        return;
    startOnce(silence_, limits_.silence);
    // One byte more than is allowed tells a reply that is too long from one that is just not.
    while (received_.size() <= limits_.bodyBytes) {
        const QByteArray piece = reply_->read(qMin(readBufferBytes, qint64{limits_.bodyBytes} + 1 - received_.size()));
        if (piece.isEmpty())
            return;
        received_ += piece;
    }
    refuse(QStringLiteral("%1 sends more than the %2 bytes that are taken").arg(address()).arg(limits_.bodyBytes));
}

void FileDownloader::refuse(const QString& reason) {
    refusal_ = reason;
    reply_->abort();
}

void FileDownloader::complete() {
    if (!reply_)
        return; // cancelled after its end
    takeAvailable();
    silence_.stop();
    wholeTime_.stop();
    errorText_ = fault();
    if (errorText_.isEmpty())
        body_ = std::move(received_);
    received_ = QByteArray();
    std::exchange(reply_, nullptr)->deleteLater();
    Q_EMIT downloaded(); // the last that is done here: a receiver may have destroyed this object
}

QString FileDownloader::fault() const {
    if (!refusal_.isEmpty())
        return refusal_;
    if (reply_->error() != QNetworkReply::NoError) {
        const QString text = reply_->errorString();
        return text.isEmpty() ? QStringLiteral("%1 cannot be read").arg(address()) : text;
    }
    const int status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QUrl target = reply_->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isValid())
        return QStringLiteral("%1 redirects to %2, which is not followed").arg(address(), target.toDisplayString());
    if (status != statusOk)
        return QStringLiteral("%1 answered with status %2 instead of %3").arg(address()).arg(status).arg(statusOk);
    const QByteArray announced = reply_->rawHeader("Content-Length");
    if (!announced.isNull() && announced.toLongLong() != received_.size())
        return QStringLiteral("%1 announced %2 bytes and sent %3")
            .arg(address(), QString::fromLatin1(announced))
            .arg(received_.size());
    return {};
}

QString FileDownloader::address() const {
    return reply_->url().toDisplayString();
}

} // namespace VortaQt
