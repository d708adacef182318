#pragma once
// A small HTTP/1.1 server on 127.0.0.1 for the import tests, run by the
// test's own event loop: each path answers as its route says (a status, a
// body, validators honoured with 304, a redirect, a delay), and every
// request is logged with the validators it asked with.

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

namespace qrt::test {

class LoopbackHttpServer
{
public:
    struct Route
    {
        int status = 200;
        QByteArray body;
        QByteArray etag;         // sent, and a matching If-None-Match gets 304
        QByteArray lastModified; // likewise with If-Modified-Since
        QByteArray location;     // for a redirect
        int delayMs = 0;         // before the answer
    };
    struct Request
    {
        QByteArray path;
        bool conditional = false;
    };

    LoopbackHttpServer()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection())
                serve(socket);
        });
    }

    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    QUrl url(const QByteArray &path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2")
                        .arg(m_server.serverPort())
                        .arg(QString::fromLatin1(path)));
    }

    QHash<QByteArray, Route> routes;
    QList<Request> requests;

private:
    void serve(QTcpSocket *socket)
    {
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
            // The head may come in pieces: it waits in the socket until whole.
            if (socket->peek(1 << 16).contains("\r\n\r\n"))
                answer(socket, socket->readAll());
        });
    }

    static QByteArray header(const QByteArray &head, const QByteArray &name)
    {
        for (const QByteArray &line : head.split('\n'))
            if (line.toLower().startsWith(QByteArray(name.toLower() + ':')))
                return line.mid(name.size() + 1).trimmed();
        return {};
    }

    void answer(QTcpSocket *socket, const QByteArray &head)
    {
        const QByteArray path = head.split(' ').value(1);
        const Route route = routes.value(path, Route{404, "not here", {}, {}, {}, 0});
        const QByteArray ifNoneMatch = header(head, "If-None-Match");
        const QByteArray ifModifiedSince = header(head, "If-Modified-Since");
        requests << Request{path, !ifNoneMatch.isEmpty() || !ifModifiedSince.isEmpty()};
        const bool unchanged =
            (!route.etag.isEmpty() && ifNoneMatch == route.etag) ||
            (!route.lastModified.isEmpty() && ifModifiedSince == route.lastModified);
        const int status = unchanged ? 304 : route.status;
        const QByteArray reason = status == 404 ? "Not Found" : "Other";
        QByteArray response = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason + "\r\n";
        const QByteArray body = unchanged ? QByteArray() : route.body;
        if (!route.etag.isEmpty())
            response += "ETag: " + route.etag + "\r\n";
        if (!route.lastModified.isEmpty())
            response += "Last-Modified: " + route.lastModified + "\r\n";
        if (!route.location.isEmpty())
            response += "Location: " + route.location + "\r\n";
        response += "Content-Type: application/xml\r\nConnection: close\r\nContent-Length: " +
                    QByteArray::number(body.size()) + "\r\n\r\n" + body;
        QTimer::singleShot(route.delayMs, socket, [socket, response] {
            socket->write(response);
            socket->disconnectFromHost();
        });
    }

    QTcpServer m_server;
};

} // namespace qrt::test
