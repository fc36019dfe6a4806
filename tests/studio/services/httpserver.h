// A server on the loopback interface that answers as its test tells it to, also as no server should.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <utility>

namespace Vorta::Testing {

/// Serves the paths it was given, every other with status 404. On the thread that makes it, from its event loop.
class HttpServer : public QObject {
public:
    using Answer = std::function<void(QTcpSocket&)>;

    HttpServer() {
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection())
                accept(socket);
        });
        if (!server_.listen(QHostAddress::LocalHost))
            qFatal("The test's server cannot listen: %s", qPrintable(server_.errorString()));
    }

    [[nodiscard]] QString base() const {
        return QStringLiteral("http://127.0.0.1:%1/software").arg(server_.serverPort());
    }
    [[nodiscard]] QUrl url(const QString& name) const { return QUrl(base() + QLatin1Char('/') + name); }

    /// What to answer to a request for `name` below the base.
    void serve(const QString& name, Answer answer) {
        answers_[QStringLiteral("/software/") + name] = std::move(answer);
    }
    void serve(const QString& name, const QByteArray& body) { serve(name, whole(body)); }

    /// Ends listening: connections are refused from now on.
    void close() { server_.close(); }

    /// The requests in the order of their coming, as they were sent.
    [[nodiscard]] const QByteArrayList& requests() const noexcept { return requests_; }
    /// How many connections are open.
    [[nodiscard]] int connections() const noexcept { return connections_; }

    /// A proper reply.
    static Answer whole(const QByteArray& body) {
        return raw("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    }
    /// These bytes, and then the end of the connection.
    static Answer raw(const QByteArray& bytes) {
        return [bytes](QTcpSocket& socket) {
            socket.write(bytes);
            socket.disconnectFromHost();
        };
    }
    /// These bytes, and then nothing more, on a connection that stays open.
    static Answer unfinished(const QByteArray& bytes) {
        return [bytes](QTcpSocket& socket) { socket.write(bytes); };
    }
    /// `beginning` at once, then the pieces one by one with a pause before each, and then nothing more. A client may
    /// tell of its progress ten times a second only; the pause is longer.
    static Answer paused(const QByteArray& beginning, const QByteArrayList& pieces) {
        return [=](QTcpSocket& socket) {
            auto* timer = new QTimer(&socket);
            connect(timer, &QTimer::timeout, &socket, [&socket, timer, left = pieces]() mutable {
                if (left.isEmpty())
                    timer->stop();
                else
                    socket.write(left.takeFirst());
            });
            timer->start(150);
            socket.write(beginning);
        };
    }
    /// `beginning` once, and then `piece` for ever.
    static Answer endless(const QByteArray& beginning, const QByteArray& piece) {
        return [=](QTcpSocket& socket) {
            connect(&socket, &QTcpSocket::bytesWritten, &socket, [&socket, piece] {
                if (socket.bytesToWrite() == 0)
                    socket.write(piece);
            });
            socket.write(beginning + piece);
        };
    }

private:
    void accept(QTcpSocket* socket) {
        ++connections_;
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            --connections_;
            socket->deleteLater();
        });
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            QByteArray& request = pending_[socket];
            request += socket->readAll();
            if (!request.endsWith("\r\n\r\n"))
                return;
            requests_ += request;
            answer(*socket, QString::fromLatin1(request.split(' ').value(1)));
            pending_.remove(socket);
        });
    }

    void answer(QTcpSocket& socket, const QString& path) {
        const auto found = answers_.constFind(path);
        if (found == answers_.cend())
            raw("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone")(socket);
        else
            (*found)(socket);
    }

    QTcpServer server_;
    QMap<QString, Answer> answers_;
    QMap<QTcpSocket*, QByteArray> pending_;
    QByteArrayList requests_;
    int connections_ = 0;
};

} // namespace Vorta::Testing
