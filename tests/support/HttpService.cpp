#include "support/HttpService.h"

#include <QTcpSocket>

namespace quillet::test {
namespace {

constexpr qsizetype kKeptBytes = 256 * 1024;
constexpr qint64 kReadAtOnce = 1024 * 1024;

} // namespace

HttpService::HttpService(Script theScript) : script(std::move(theScript)) {
    if (!listen(QHostAddress::LocalHost)) qFatal("no port to listen on");
    m_port = serverPort();
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* const socket = nextPendingConnection()) {
            m_connections.insert(socket, {});
            socket->setReadBufferSize(kReadAtOnce);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                m_connections.remove(socket);
                socket->deleteLater();
            });
        }
    });
}

HttpService::~HttpService() { die(); }

void HttpService::die() {
    close();
    const auto sockets = m_connections.keys();
    for (QTcpSocket* const socket : sockets) socket->abort();
}

void HttpService::revive() {
    if (!listen(QHostAddress::LocalHost, m_port)) qFatal("the port is gone");
}

void HttpService::letOn(qint64 bytes) {
    stallAfterBodyBytes += bytes;
    const auto sockets = m_connections.keys();
    for (QTcpSocket* const socket : sockets) read(socket);
}

QStringList HttpService::journal() const {
    QStringList lines;
    for (const Request& request : requests) lines += QString::fromLatin1(request.verb) + u' ' + request.path;
    return lines;
}

void HttpService::read(QTcpSocket* socket) {
    while (m_connections.contains(socket) && socket->bytesAvailable() > 0) {
        Connection& connection = m_connections[socket];
        if (connection.inBody && stallAfterBodyBytes >= 0 &&
            requests[connection.request].bodyBytes >= stallAfterBodyBytes)
            return;
        const QByteArray bytes = socket->read(kReadAtOnce);
        if (received.size() < kKeptBytes) received += bytes;
        connection.pending += bytes;
        if (!connection.inBody && !readHead(connection)) return;
        Request& request = requests[connection.request];
        request.bodyBytes += connection.pending.size();
        if (request.body.size() < kKeptBytes) request.body += connection.pending;
        connection.pending.clear();
        if (dieAfterBodyBytes >= 0 && request.bodyBytes >= dieAfterBodyBytes) return die();
        if (request.bodyBytes < connection.expected) continue;
        connection.inBody = false;
        answer(socket, Request(request));
    }
}

bool HttpService::readHead(Connection& connection) {
    const qsizetype end = connection.pending.indexOf("\r\n\r\n");
    if (end < 0) return false;
    const QByteArrayList lines = connection.pending.left(end).split('\n');
    const QByteArrayList first = lines[0].split(' ');
    const QUrl url = QUrl::fromEncoded(first[1]);
    QHash<QByteArray, QByteArray> headers;
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    connection.expected = headers.value("content-length").toLongLong();
    connection.pending.remove(0, end + 4);
    connection.request = requests.size();
    connection.inBody = true;
    requests.push_back({first[0], url.path(), QUrlQuery(url), headers, {}, 0});
    return true;
}

void HttpService::answer(QTcpSocket* socket, const Request& request) {
    const Answer answer = script(request);
    if (answer.kind == Answer::Kind::Stall) return;
    if (answer.kind == Answer::Kind::Die) return die();
    if (answer.kind == Answer::Kind::Close) return socket->abort();
    const QByteArray transfer = answer.kind == Answer::Kind::Stream
                                    ? "Transfer-Encoding: chunked"
                                    : "Content-Length: " + QByteArray::number(answer.body.size());
    socket->write("HTTP/1.1 " + QByteArray::number(answer.status) + " Whatever\r\n" + answer.header + transfer +
                  "\r\n\r\n" + answer.body);
    if (answer.next) answer.next(*socket);
}

} // namespace quillet::test
