#include "services/filedownloader.h"

#include "studio/services/httpserver.h"
#include "support/widgets.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace std::chrono_literals;
using Vorta::Testing::HttpServer;
using Vorta::Testing::waitFor;
using VortaQt::DownloadLimits;
using VortaQt::FileDownloader;

constexpr DownloadLimits patient{.bodyBytes = 100, .silence = 30s, .wholeTime = 30s};

/// A pattern whose parts cannot be exchanged unnoticed.
QByteArray bytes(int count) {
    QByteArray data(count, Qt::Uninitialized);
    for (int i = 0; i < count; ++i)
        data[i] = static_cast<char>(i * 7 + i / 256);
    return data;
}

class FileDownloaderTest : public testing::Test {
protected:
    /// Downloads "file" to the end.
    std::unique_ptr<FileDownloader> download(const DownloadLimits& limits = VortaQt::installerLimits) {
        auto downloader = std::make_unique<FileDownloader>(address(), nullptr, limits);
        QSignalSpy downloaded(downloader.get(), &FileDownloader::downloaded);
        EXPECT_TRUE(waitFor([&] { return !downloaded.isEmpty(); }, 20'000));
        EXPECT_EQ(downloader->body().has_value(), downloader->errorText().isEmpty());
        return downloader;
    }

    /// What is said of a server that answers so; empty when the reply is taken.
    QString refusal(const HttpServer::Answer& answer, const DownloadLimits& limits = patient) {
        server_.serve(QStringLiteral("file"), answer);
        return download(limits)->errorText();
    }

    [[nodiscard]] QUrl address() const { return server_.url(QStringLiteral("file")); }
    /// An error text with the address in place of "%1".
    [[nodiscard]] QString text(const char* message) const {
        return QString::fromLatin1(message).replace(QStringLiteral("%1"), address().toString());
    }

    HttpServer server_;
};

TEST_F(FileDownloaderTest, StoresTheWholeBody) {
    const QByteArray body = bytes(3'000'000);
    server_.serve(QStringLiteral("file"), body);
    const auto downloader = download();
    ASSERT_TRUE(downloader->body());
    EXPECT_TRUE(*downloader->body() == body);
    EXPECT_EQ(downloader->errorText(), QString());
}

TEST_F(FileDownloaderTest, AnEmptyBodyIsABody) {
    server_.serve(QStringLiteral("file"), QByteArray());
    const auto downloader = download();
    ASSERT_TRUE(downloader->body());
    EXPECT_TRUE(downloader->body()->isEmpty());
}

TEST_F(FileDownloaderTest, AsksOnceAtOnceAndForNothingElse) {
    server_.serve(QStringLiteral("file"), "x");
    download();
    ASSERT_EQ(server_.requests().size(), 1);
    const QByteArray request = server_.requests().constFirst();
    EXPECT_TRUE(request.startsWith("GET /software/file HTTP/1.1\r\n")) << request.constData();
    QByteArrayList headers;
    for (const QByteArray& line : request.split('\n').mid(1))
        if (line.contains(':'))
            headers += line.left(line.indexOf(':'));
    EXPECT_THAT(headers,
                testing::IsSubsetOf({"Host", "Accept-Encoding", "Accept-Language", "Connection", "User-Agent"}));
    EXPECT_TRUE(request.contains("\r\nAccept-Encoding: identity\r\n")) << "compressed replies have no bound";
}

TEST_F(FileDownloaderTest, TakesBodiesWithoutAnAnnouncedLength) {
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\n\r\nhello")), QString());
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.0 200 OK\r\n\r\nhello")), QString());
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                      "3\r\nhel\r\n2\r\nlo\r\n0\r\n\r\n")),
              QString());
    EXPECT_EQ(*download()->body(), "hello");
}

TEST_F(FileDownloaderTest, ForwardsTheReplysProgress) {
    server_.serve(QStringLiteral("file"), bytes(100'000));
    FileDownloader downloader(address());
    QSignalSpy downloaded(&downloader, &FileDownloader::downloaded);
    QSignalSpy progress(&downloader, &FileDownloader::progress);
    ASSERT_TRUE(waitFor([&] { return !downloaded.isEmpty(); }));
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_EQ(progress.constLast().at(0).toLongLong(), 100'000);
    EXPECT_EQ(progress.constLast().at(1).toLongLong(), 100'000);
}

TEST_F(FileDownloaderTest, ProgressOfAnUnknownTotalSaysSo) {
    server_.serve(QStringLiteral("file"), HttpServer::paused("HTTP/1.1 200 OK\r\n\r\nhell", {"o"}));
    FileDownloader downloader(address());
    QSignalSpy progress(&downloader, &FileDownloader::progress);
    ASSERT_TRUE(waitFor([&] { return !progress.isEmpty(); }));
    EXPECT_EQ(progress.constFirst().at(0).toLongLong(), 5);
    EXPECT_LT(progress.constFirst().at(1).toLongLong(), 1);
}

TEST_F(FileDownloaderTest, HasNothingBeforeItsEnd) {
    server_.serve(QStringLiteral("file"),
                  HttpServer::paused("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhell", {"o"}));
    FileDownloader downloader(address());
    QSignalSpy progress(&downloader, &FileDownloader::progress);
    ASSERT_TRUE(waitFor([&] { return !progress.isEmpty(); }));
    EXPECT_FALSE(downloader.body());
    EXPECT_EQ(downloader.errorText(), QString());
}

TEST_F(FileDownloaderTest, ErrorStatusIsAnError) {
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone")),
              text("Error transferring %1 - server replied: Not Found"));
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 500 Oh\r\nContent-Length: 0\r\n\r\n")),
              text("Error transferring %1 - server replied: Oh"));
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 999 Odd\r\nContent-Length: 0\r\n\r\n")),
              text("Error transferring %1 - server replied: Odd"));
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"r\"\r\n"
                                      "Content-Length: 0\r\n\r\n")),
              QStringLiteral("Host requires authentication"));
}

TEST_F(FileDownloaderTest, EveryStatusButOkIsAnError) {
    for (const int status : {201, 203, 204, 206, 304, 305}) {
        const QByteArray number = QByteArray::number(status);
        EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 " + number + " Text\r\n\r\n")),
                  text("%1 answered with status ") + QString::number(status) + QStringLiteral(" instead of 200"));
    }
}

TEST_F(FileDownloaderTest, RedirectsAreNotFollowed) {
    server_.serve(QStringLiteral("other"), "other");
    for (const char* status : {"301", "302", "303", "307", "308"})
        EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 " + QByteArray(status) + " Moved\r\nLocation: " +
                                          server_.base().toLatin1() + "/other\r\nContent-Length: 4\r\n\r\nbody")),
                  text("%1 redirects to ") + server_.base() + QStringLiteral("/other, which is not followed"))
            << status;
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\n\r\n")),
              text("%1 redirects to file:///etc/passwd, which is not followed"));
    for (const QByteArray& request : server_.requests())
        EXPECT_TRUE(request.startsWith("GET /software/file ")) << request.constData();
}

TEST_F(FileDownloaderTest, ConnectionThatEndsEarlyIsAnError) {
    const QString closed = QStringLiteral("Connection closed");
    EXPECT_EQ(refusal(HttpServer::raw("")), closed);
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello")), closed);
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n")), closed);
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhel")), closed);
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Le")), closed);
}

TEST_F(FileDownloaderTest, WhatIsNoHttpIsAnError) {
    for (const char* reply : {"1.0.2", "hello world\r\n\r\n", "\x16\x03\x01\x02\x03", "SSH-2.0-x\r\n"})
        EXPECT_FALSE(refusal(HttpServer::raw(reply)).isEmpty()) << reply;
}

TEST_F(FileDownloaderTest, NobodyListeningIsAnError) {
    server_.close();
    EXPECT_EQ(download()->errorText(), QStringLiteral("Connection refused"));
}

TEST_F(FileDownloaderTest, AnAddressThatCannotBeAskedIsAnError) {
    for (const QUrl& url :
         {QUrl(), QUrl(QStringLiteral("updates/latest_version")), QUrl(QStringLiteral("nothing://x/y")),
          QUrl(QStringLiteral("file:///etc/hostname")), QUrl(QStringLiteral("data:,1.0.2"))}) {
        FileDownloader downloader(url);
        QSignalSpy downloaded(&downloader, &FileDownloader::downloaded);
        ASSERT_TRUE(waitFor([&] { return !downloaded.isEmpty(); })) << qPrintable(url.toString());
        EXPECT_FALSE(downloader.body()) << qPrintable(url.toString());
        EXPECT_EQ(downloader.errorText(), QStringLiteral("'%1' is no web address").arg(url.toString()));
    }
}

TEST_F(FileDownloaderTest, BodyOfTheLargestSizeIsTaken) {
    const QByteArray body = bytes(100);
    EXPECT_EQ(refusal(HttpServer::whole(body)), QString());
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\n\r\n" + body)), QString());
}

TEST_F(FileDownloaderTest, LongerBodyIsRefused) {
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\n\r\n" + bytes(101))),
              text("%1 sends more than the 100 bytes that are taken"));
    EXPECT_EQ(refusal(HttpServer::whole(bytes(101))), text("%1 announces 101 bytes; at most 100 are taken"));
}

TEST_F(FileDownloaderTest, BodyWithoutEndIsRefused) {
    const DownloadLimits limits{.bodyBytes = 1'000'000, .silence = 30s, .wholeTime = 30s};
    EXPECT_EQ(refusal(HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", bytes(10'000)), limits),
              text("%1 sends more than the 1000000 bytes that are taken"));
    EXPECT_EQ(refusal(HttpServer::endless("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                                          "2710\r\n" + bytes(10'000) + "\r\n"),
                      limits),
              text("%1 sends more than the 1000000 bytes that are taken"));
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; })) << "it is hung up on";
}

TEST_F(FileDownloaderTest, AnnouncedLengthIsRefusedBeforeAnythingCame) {
    EXPECT_EQ(refusal(HttpServer::unfinished("HTTP/1.1 200 OK\r\nContent-Length: 1073741825\r\n\r\n"),
                      VortaQt::installerLimits),
              text("%1 announces 1073741825 bytes; at most 1073741824 are taken"));
    EXPECT_EQ(refusal(HttpServer::unfinished("HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551615\r\n\r\n")),
              text("%1 announces 18446744073709551615 bytes; at most 100 are taken"));
}

TEST_F(FileDownloaderTest, LengthThatIsNoneIsRefused) {
    for (const char* length : {"-5", "abc", "5x", "0x5", "18446744073709551616", "5, 5"})
        EXPECT_EQ(
            refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray(length) + "\r\n\r\nhello")),
            text("%1 announces a length that is no number: ") + QLatin1String(length));
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: 3\r\n\r\nhello")),
              text("%1 announces a length that is no number: 5, 3"));
}

TEST_F(FileDownloaderTest, WhatFollowsTheAnnouncedLengthIsNotTaken) {
    server_.serve(QStringLiteral("file"), HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nhello"));
    EXPECT_EQ(*download()->body(), "hel");
}

TEST_F(FileDownloaderTest, CompressedDataIsRefused) {
    const QByteArray packed = qCompress(QByteArray(1'000'000, '\0')).mid(4);
    for (const char* encoding : {"deflate", "gzip", "br"})
        EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Encoding: " + QByteArray(encoding) + "\r\n\r\n" +
                                          packed)),
                  text("%1 sends data compressed by ") + QLatin1String(encoding) +
                      QStringLiteral(", which nobody asked for"));
    EXPECT_EQ(refusal(HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Encoding: Identity\r\n\r\nhello")), QString());
}

TEST_F(FileDownloaderTest, SilentServerIsGivenUp) {
    const DownloadLimits limits{.bodyBytes = 100, .silence = 200ms, .wholeTime = 30s};
    const QString silent = text("%1 sent nothing for 0.2 seconds");
    EXPECT_EQ(refusal(HttpServer::unfinished(""), limits), silent);
    EXPECT_EQ(refusal(HttpServer::unfinished("HTTP/1.1 200 OK\r\n"), limits), silent);
    EXPECT_EQ(refusal(HttpServer::unfinished("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello"), limits), silent);
    EXPECT_EQ(refusal(HttpServer::endless("HTTP/1.1 200 OK\r\n", "X-More: of it\r\n"), limits), silent)
        << "headers are no data";
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; })) << "it is hung up on";
}

TEST_F(FileDownloaderTest, ServerThatNeverComesToAnEndIsGivenUp) {
    const DownloadLimits limits{.bodyBytes = 1'000'000, .silence = 30s, .wholeTime = 300ms};
    const auto trickle = [](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\n\r\n");
        auto* timer = new QTimer(&socket);
        QObject::connect(timer, &QTimer::timeout, &socket, [&socket] { socket.write("x"); });
        timer->start(10);
    };
    EXPECT_EQ(refusal(trickle, limits), text("%1 took longer than 0.3 seconds"));
}

TEST_F(FileDownloaderTest, SlowServerIsWaitedForWhileItSends) {
    // Two seconds in all, in steps that are far below the silence that is allowed.
    const DownloadLimits limits{.bodyBytes = 100, .silence = 1500ms, .wholeTime = 60s};
    const auto trickle = [](QTcpSocket& socket) {
        socket.write("HTTP/1.1 200 OK\r\n\r\n");
        auto* timer = new QTimer(&socket);
        QObject::connect(timer, &QTimer::timeout, &socket, [&socket, count = 0]() mutable {
            socket.write("x");
            if (++count == 20)
                socket.disconnectFromHost();
        });
        timer->start(100);
    };
    QElapsedTimer time;
    time.start();
    EXPECT_EQ(refusal(trickle, limits), QString());
    EXPECT_GE(time.elapsed(), 1700) << "too fast to tell anything";
}

TEST_F(FileDownloaderTest, EmitsItsEndOnceAndFromTheEventLoop) {
    server_.serve(QStringLiteral("file"), HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", bytes(1000)));
    FileDownloader downloader(address(), nullptr, patient);
    QSignalSpy downloaded(&downloader, &FileDownloader::downloaded);
    ASSERT_TRUE(waitFor([&] { return !downloaded.isEmpty(); }));
    EXPECT_FALSE(waitFor([&] { return downloaded.size() > 1; }, 100));
}

TEST_F(FileDownloaderTest, MayBeDestroyedInMidTransfer) {
    server_.serve(QStringLiteral("file"), HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", bytes(1000)));
    auto downloader = std::make_unique<FileDownloader>(address());
    QSignalSpy progress(downloader.get(), &FileDownloader::progress);
    ASSERT_TRUE(waitFor([&] { return !progress.isEmpty(); }));
    downloader.reset();
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
    std::make_unique<FileDownloader>(address()).reset(); // before anything was sent
}

TEST_F(FileDownloaderTest, MayBeDestroyedByItsReceivers) {
    server_.serve(QStringLiteral("file"), bytes(1000));
    auto* atTheEnd = new FileDownloader(address());
    bool gone = false;
    QObject::connect(atTheEnd, &QObject::destroyed, [&gone] { gone = true; });
    QObject::connect(atTheEnd, &FileDownloader::downloaded, [atTheEnd] { delete atTheEnd; });
    EXPECT_TRUE(waitFor([&] { return gone; }));
}

TEST_F(FileDownloaderTest, CancelledItSaysNothingMore) {
    server_.serve(QStringLiteral("file"), HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", bytes(1000)));
    FileDownloader downloader(address());
    QSignalSpy progress(&downloader, &FileDownloader::progress);
    QSignalSpy downloaded(&downloader, &FileDownloader::downloaded);
    ASSERT_TRUE(waitFor([&] { return !progress.isEmpty(); }));
    downloader.cancel();
    progress.clear();
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
    downloader.cancel();
    EXPECT_FALSE(waitFor([&] { return !downloaded.isEmpty() || !progress.isEmpty(); }, 100));
    EXPECT_FALSE(downloader.body());
}

TEST_F(FileDownloaderTest, CancellingAfterTheEndKeepsTheBody) {
    server_.serve(QStringLiteral("file"), "hello");
    const auto downloader = download();
    downloader->cancel();
    EXPECT_EQ(*downloader->body(), "hello");
}

} // namespace
