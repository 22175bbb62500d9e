#include "support/ChatServer.h"

#include <QJsonArray>
#include <QJsonDocument>
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

/// A whole answer in JSON.
HttpService::Answer reply(int status, const QByteArray& body, const QByteArray& header = {}) {
    return {.status = status, .body = body, .header = header + "Content-Type: application/json\r\n"};
}

HttpService::Answer stream(const QByteArray& body, std::function<void(QTcpSocket&)> next = {}) {
    return {.kind = HttpService::Answer::Kind::Stream,
            .body = body,
            .header = "Content-Type: text/event-stream\r\n",
            .next = std::move(next)};
}

void trickle(QTcpSocket& socket, const QString& text) {
    auto* const timer = new QTimer(&socket);
    QObject::connect(timer, &QTimer::timeout, &socket, [&socket, text] {
        socket.write(chunked(chunkEvent({{u"content"_s, text}}, QJsonValue::Null)));
    });
    timer->start(100);
}

HttpService::Answer asHttp(const ChatServer::Answer& said, bool isStreamed) {
    switch (said.kind) {
    case ChatServer::Answer::Kind::Raw:
        return reply(said.status, said.text.toUtf8(), said.header);
    case ChatServer::Answer::Kind::Model:
        return isStreamed ? stream(chunked(events(said)) + "0\r\n\r\n") : reply(200, whole(said));
    case ChatServer::Answer::Kind::Breaking: {
        const QByteArray all = chunked(events(said));
        return stream(all.left(all.size() / 2), [](QTcpSocket& socket) { socket.disconnectFromHost(); });
    }
    case ChatServer::Answer::Kind::Trickling:
        return stream({}, [text = said.text](QTcpSocket& socket) { trickle(socket, text); });
    case ChatServer::Answer::Kind::Never:
        break;
    }
    return {.kind = HttpService::Answer::Kind::Stall};
}

} // namespace

QString ChatServer::Request::prompt() const {
    return body[QLatin1String("messages")].toArray().last()[QLatin1String("content")].toString();
}

qsizetype ChatServer::Request::messages() const { return body[QLatin1String("messages")].toArray().size(); }

ChatServer::ChatServer(Script script, std::optional<int> contextTokens)
    : m_script(std::move(script)), m_contextTokens(contextTokens) {
    auto* const service = new HttpService([this](const HttpService::Request& request) { return answer(request); });
    m_port = service->serverPort();
    service->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, service, &QObject::deleteLater);
    // The thread sanitizer does not see Qt's own wait for a thread, but it sees a lock that passes from one to the
    // other.
    QObject::connect(
        &m_thread, &QThread::finished, service, [this] { const std::lock_guard lock(m_mutex); }, Qt::DirectConnection);
    m_thread.start();
}

ChatServer::~ChatServer() {
    m_thread.quit();
    m_thread.wait();
    const std::lock_guard lock(m_mutex);
}

HttpService::Answer ChatServer::answer(const HttpService::Request& http) {
    if (http.verb != "POST" || http.path != u"/v1/chat/completions" || !http.query.isEmpty())
        return reply(404, errorBody(u"not_found"_s, u"no such path"_s));
    const Request request{http.headers.value("authorization"), QJsonDocument::fromJson(http.body).object()};
    if (const QString wrong = whatIsWrong(request.body); !wrong.isEmpty())
        return reply(400, errorBody(u"invalid_request_error"_s, wrong));
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    // A token of English is four bytes, and the answer has to find room too.
    const auto replyTokens = request.body[QLatin1String("max_tokens")].toInt(0);
    if (m_contextTokens && http.bodyBytes / 4 + replyTokens > *m_contextTokens)
        return reply(400, errorBody(u"context_length_exceeded"_s, u"the context is full"_s));
    return asHttp(m_script(request), request.isStreamed());
}

std::vector<ChatServer::Request> ChatServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

} // namespace quillet::test
