#include "support/ChatServer.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

QByteArray json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QByteArray errorBody(const QString& type, const QString& message) {
    return json({{u"error"_s, QJsonObject{{u"type"_s, type}, {u"code"_s, type}, {u"message"_s, message}}}});
}

/// Empty for a request as the protocol has it.
QString whatIsWrong(const QJsonObject& body) {
    if (!body[u"model"].isString() || !body[u"stream"].isBool()) return u"model and stream"_s;
    const QJsonArray messages = body[u"messages"].toArray();
    if (messages.isEmpty()) return u"messages"_s;
    for (const auto& message : messages) {
        const QString role = message[u"role"].toString();
        if ((role != u"system" && role != u"user" && role != u"assistant") || !message[u"content"].isString())
            return u"messages"_s;
    }
    if (!body.contains(u"response_format"_s)) return {};
    const QJsonValue format = body[u"response_format"];
    const QJsonValue schema = format[u"json_schema"][u"schema"];
    if (format[u"type"] != u"json_schema"_s || !format[u"json_schema"][u"name"].isString() ||
        schema[u"type"] != u"object"_s ||
        schema[u"properties"].toObject().size() != schema[u"required"].toArray().size())
        return u"response_format"_s;
    return {};
}

QByteArray whole(const ChatServer::Answer& answer) {
    return json({{u"id"_s, u"chatcmpl-1"_s},
                 {u"object"_s, u"chat.completion"_s},
                 {u"choices"_s, QJsonArray{QJsonObject{{u"index"_s, 0},
                                                       {u"finish_reason"_s, answer.finishReason},
                                                       {u"message"_s, QJsonObject{{u"role"_s, u"assistant"_s},
                                                                                  {u"content"_s, answer.text}}}}}},
                 {u"usage"_s, QJsonObject{{u"total_tokens"_s, 1}}}});
}

QByteArray chunkEvent(const QJsonObject& delta, const QJsonValue& finishReason) {
    return "data: " +
           json({{u"object"_s, u"chat.completion.chunk"_s},
                 {u"choices"_s,
                  QJsonArray{QJsonObject{{u"index"_s, 0}, {u"delta"_s, delta}, {u"finish_reason"_s, finishReason}}}}}) +
           "\n\n";
}

QByteArray events(const ChatServer::Answer& answer) {
    constexpr qsizetype kToken = 7;
    QByteArray all =
        ": a comment keeps the connection\n\n" + chunkEvent({{u"role"_s, u"assistant"_s}}, QJsonValue::Null);
    for (qsizetype at = 0; at < answer.text.size(); at += kToken)
        all += chunkEvent({{u"content"_s, answer.text.mid(at, kToken)}}, QJsonValue::Null);
    return all + chunkEvent({}, answer.finishReason) + "data: [DONE]\n\n";
}

/// In pieces of the transfer that end in the middle of lines and letters.
QByteArray chunked(const QByteArray& bytes) {
    constexpr qsizetype kChunk = 97;
    QByteArray all;
    for (qsizetype at = 0; at < bytes.size(); at += kChunk) {
        const QByteArray chunk = bytes.mid(at, kChunk);
        all += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    }
    return all;
}

} // namespace

QString ChatServer::Request::prompt() const {
    return body[QLatin1String("messages")].toArray().last()[QLatin1String("content")].toString();
}

qsizetype ChatServer::Request::messages() const { return body[QLatin1String("messages")].toArray().size(); }

class ChatServer::Connections : public QTcpServer {
public:
    explicit Connections(ChatServer& owner) : m_owner(owner) {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* const socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
                connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                    m_pending.remove(socket);
                    socket->deleteLater();
                });
            }
        });
    }

private:
    void read(QTcpSocket* socket) {
        QByteArray& pending = m_pending[socket];
        pending += socket->readAll();
        const qsizetype headEnd = pending.indexOf("\r\n\r\n");
        if (headEnd < 0) return;
        qsizetype length = 0;
        Request request;
        const QByteArrayList lines = pending.left(headEnd).split('\n');
        for (const QByteArray& line : lines) {
            const QByteArray name = line.left(line.indexOf(':')).toLower();
            const QByteArray value = line.mid(line.indexOf(':') + 1).trimmed();
            if (name == "content-length") length = value.toLongLong();
            if (name == "authorization") request.authorisation = value;
        }
        if (pending.size() < headEnd + 4 + length) return;
        const QByteArray body = pending.mid(headEnd + 4, length);
        pending.clear();
        if (!lines[0].startsWith("POST /v1/chat/completions HTTP/1.1"))
            return send(socket, 404, errorBody(u"not_found"_s, u"no such path"_s), {});
        request.body = QJsonDocument::fromJson(body).object();
        if (const QString wrong = whatIsWrong(request.body); !wrong.isEmpty())
            return send(socket, 400, errorBody(u"invalid_request_error"_s, wrong), {});
        answer(socket, request, body.size());
    }

    void answer(QTcpSocket* socket, const Request& request, qsizetype bodyBytes) {
        {
            const std::lock_guard lock(m_owner.m_mutex);
            m_owner.m_requests.push_back(request);
        }
        // A token of English is four bytes, and the answer has to find room too.
        const auto replyTokens = request.body[QLatin1String("max_tokens")].toInt(0);
        if (m_owner.m_contextTokens && bodyBytes / 4 + replyTokens > *m_owner.m_contextTokens)
            return send(socket, 400, errorBody(u"context_length_exceeded"_s, u"the context is full"_s), {});
        const Answer said = m_owner.m_script(request);
        switch (said.kind) {
        case Answer::Kind::Never:
            return;
        case Answer::Kind::Raw:
            return send(socket, said.status, said.text.toUtf8(), said.header);
        case Answer::Kind::Model:
            if (!request.isStreamed()) return send(socket, 200, whole(said), {});
            begin(socket);
            socket->write(chunked(events(said)) + "0\r\n\r\n");
            return;
        case Answer::Kind::Breaking: {
            begin(socket);
            const QByteArray all = chunked(events(said));
            socket->write(all.left(all.size() / 2));
            return socket->disconnectFromHost();
        }
        case Answer::Kind::Trickling: {
            begin(socket);
            auto* const timer = new QTimer(socket);
            connect(timer, &QTimer::timeout, socket, [socket, text = said.text] {
                socket->write(chunked(chunkEvent({{u"content"_s, text}}, QJsonValue::Null)));
            });
            return timer->start(100);
        }
        }
    }

    static void begin(QTcpSocket* socket) {
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n");
    }
    static void send(QTcpSocket* socket, int status, const QByteArray& body, const QByteArray& header) {
        socket->write("HTTP/1.1 " + QByteArray::number(status) + " Whatever\r\n" + header +
                      "Content-Type: application/json\r\nContent-Length: " + QByteArray::number(body.size()) +
                      "\r\n\r\n" + body);
    }

    ChatServer& m_owner;
    QHash<QTcpSocket*, QByteArray> m_pending;
};

ChatServer::ChatServer(Script script, std::optional<int> contextTokens)
    : m_script(std::move(script)), m_contextTokens(contextTokens) {
    auto* const connections = new Connections(*this);
    if (!connections->listen(QHostAddress::LocalHost)) qFatal("no port to listen on");
    m_port = connections->serverPort();
    connections->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, connections, &QObject::deleteLater);
    // The thread sanitizer does not see Qt's own wait for a thread, but it sees a lock that passes from one to the
    // other.
    QObject::connect(
        &m_thread, &QThread::finished, connections, [this] { const std::lock_guard lock(m_mutex); },
        Qt::DirectConnection);
    m_thread.start();
}

ChatServer::~ChatServer() {
    m_thread.quit();
    m_thread.wait();
    const std::lock_guard lock(m_mutex);
}

std::vector<ChatServer::Request> ChatServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

} // namespace quillet::test
