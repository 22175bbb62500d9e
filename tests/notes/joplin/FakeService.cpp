#include "notes/joplin/FakeService.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

namespace quillet::test {
namespace {

constexpr qsizetype kKeptBytes = 256 * 1024;
constexpr qint64 kReadAtOnce = 1024 * 1024;

QByteArray json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

/// Of the file at the end of a form.
qint64 fileBytes(const FakeService::Request& request) {
    const qsizetype begin = request.body.indexOf("\r\n\r\n", request.body.indexOf("filename=")) + 4;
    const qsizetype boundary = request.body.indexOf("\r\n"); // with the dashes before it
    return request.bodyBytes - begin - boundary - 6;
}

} // namespace

FakeService::FakeService(Script theScript) : script(std::move(theScript)) {
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

FakeService::~FakeService() { die(); }

void FakeService::die() {
    close();
    const auto sockets = m_connections.keys();
    for (QTcpSocket* const socket : sockets) socket->abort();
}

void FakeService::revive() {
    if (!listen(QHostAddress::LocalHost, m_port)) qFatal("the port is gone");
}

void FakeService::letOn(qint64 bytes) {
    stallAfterBodyBytes += bytes;
    const auto sockets = m_connections.keys();
    for (QTcpSocket* const socket : sockets) read(socket);
}

QStringList FakeService::journal() const {
    QStringList lines;
    for (const Request& request : requests) lines += QString::fromLatin1(request.verb) + u' ' + request.path;
    return lines;
}

void FakeService::read(QTcpSocket* socket) {
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

bool FakeService::readHead(Connection& connection) {
    const qsizetype end = connection.pending.indexOf("\r\n\r\n");
    if (end < 0) return false;
    const QByteArrayList lines = connection.pending.left(end).split('\n');
    const QByteArrayList first = lines[0].split(' ');
    const QUrl url = QUrl::fromEncoded(first[1]);
    connection.expected = 0;
    for (const QByteArray& line : lines) {
        if (line.toLower().startsWith("content-length:")) connection.expected = line.mid(15).trimmed().toLongLong();
    }
    connection.pending.remove(0, end + 4);
    connection.request = requests.size();
    connection.inBody = true;
    requests.push_back({first[0], url.path(), QUrlQuery(url), {}, 0});
    return true;
}

void FakeService::answer(QTcpSocket* socket, const Request& request) {
    const Answer answer = script(request);
    if (answer.kind == Answer::Kind::Stall) return;
    if (answer.kind == Answer::Kind::Die) return die();
    if (answer.kind == Answer::Kind::Close) return socket->abort();
    socket->write("HTTP/1.1 " + QByteArray::number(answer.status) + " Whatever\r\n" + answer.header +
                  "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n\r\n" + answer.body);
}

FakeService::Answer FakeService::asJoplin(const Request& request) {
    const auto reply = [](const QByteArray& body, int status = 200) {
        return Answer{Answer::Kind::Reply, status, body, {}};
    };
    if (request.path == u"/ping") return reply("JoplinClipperServer");
    const QString token = request.query.queryItemValue(QStringLiteral("token"), QUrl::FullyDecoded);
    const bool authorised = token == QLatin1String(kToken);
    if (request.path == u"/auth/check") return reply(json({{QStringLiteral("valid"), authorised}}));
    if (!authorised) return reply("{\"error\":\"Forbidden\"}", 403);
    if (request.path == u"/folders" && request.verb == "GET")
        return reply(R"({"items":[{"id":"f","title":"Work","parent_id":"","created_time":1}],"has_more":false})");
    if (request.verb == "GET") return reply("{\"error\":\"Not Found\"}", 404);
    if (request.verb == "DELETE") return reply({});
    if (request.verb == "PUT") return reply(json({{QStringLiteral("id"), request.path.section(u'/', -1)}}));
    // Both kinds of body name the id; the form's has it among other things.
    const qsizetype id = request.body.indexOf("\"id\":\"") + 6;
    return reply("{\"id\":\"" + request.body.mid(id, 32) + "\",\"size\":" + QByteArray::number(fileBytes(request)) +
                 "}");
}

} // namespace quillet::test
