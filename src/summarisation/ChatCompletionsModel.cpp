#include "summarisation/ChatCompletionsModel.h"

#include "summarisation/ModelReply.h"
#include "support/ServiceAddress.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

#include <memory>

namespace quillet {
namespace {

using chat::Fault;

constexpr int kHttpOk = 200;
/// Of a faulty reply, so much is shown to the model again; of an error's body, so much is looked at.
constexpr qsizetype kShownAgain = 600;
constexpr qint64 kMaxErrorBytes = 64'000;

QUrl completionsAddress(QUrl base) {
    QString path = base.path();
    while (path.endsWith(u'/')) path.chop(1);
    if (path.isEmpty()) path = QStringLiteral("/v1");
    if (!path.endsWith(QLatin1String("/chat/completions"))) path += QLatin1String("/chat/completions");
    base.setPath(path);
    return base;
}

QString complaint(ReplyFault fault) {
    switch (fault) {
    case ReplyFault::NoObject:
        return QStringLiteral("Your answer holds no JSON object.");
    case ReplyFault::CutOff:
        return QStringLiteral("The JSON object of your answer does not end. Be shorter.");
    case ReplyFault::WrongShape:
        return QStringLiteral("The JSON object of your answer lacks fields, or they have another type.");
    }
    return {};
}

/// One exchange: waits for the end of the reply, or for a reason not to.
class Exchange {
public:
    Exchange(QNetworkReply& reply, const ChatLimits& limits) : m_reply(reply), m_limits(limits) {
        for (QTimer* const timer : {&m_silence, &m_whole}) {
            timer->setSingleShot(true);
            QObject::connect(timer, &QTimer::timeout, &m_loop, [this] { stop(Fault::TimedOut); });
        }
        QObject::connect(&m_reply, &QNetworkReply::readyRead, &m_loop, [this] { read(); });
        QObject::connect(&m_reply, &QNetworkReply::finished, &m_loop, &QEventLoop::quit);
        QObject::connect(&m_reply, &QNetworkReply::uploadProgress, &m_loop, [this](qint64 sent, qint64 total) {
            if (sent > 0) m_silence.start(sent < total ? m_limits.connect : m_limits.silence);
        });
    }

    std::function<void(const QString& text)> onText;

    Result<chat::Text, Fault> run(const StopToken& stopToken) {
        m_silence.start(m_limits.connect);
        m_whole.start(m_limits.whole);
        {
            // The loop only ends by that, the token says why: no closure comes here through the toolkit's queue.
            const StopCallback onStop(stopToken,
                                      [this] { QMetaObject::invokeMethod(&m_loop, "quit", Qt::QueuedConnection); });
            if (!m_reply.isFinished()) m_loop.exec();
        }
        if (stopToken.stopRequested()) stop(Fault::Cancelled);
        if (m_stopped) return Failure{*m_stopped};
        read();
        if (m_stopped) return Failure{*m_stopped};
        const int code = status();
        if (code != 0 && code != kHttpOk) return Failure{chat::faultOfStatus(code, m_errorBody)};
        if (code == 0) return Failure{faultWithoutStatus()};
        if (m_reply.error() != QNetworkReply::NoError && !m_answer.isDone()) return Failure{Fault::BrokenOff};
        return m_answer.finish();
    }

private:
    [[nodiscard]] int status() const { return m_reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(); }
    [[nodiscard]] Fault faultWithoutStatus() const {
        switch (m_reply.error()) {
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::HostNotFoundError:
        case QNetworkReply::SslHandshakeFailedError:
        case QNetworkReply::NetworkSessionFailedError:
        case QNetworkReply::TimeoutError:
        case QNetworkReply::UnknownNetworkError:
            return Fault::NotRunning;
        case QNetworkReply::ProtocolFailure:
            return Fault::Garbage;
        default:
            return Fault::BrokenOff;
        }
    }
    void stop(Fault fault) {
        if (!m_stopped) m_stopped = fault;
        m_reply.abort();
        m_loop.quit();
    }
    void read() {
        m_silence.start(m_limits.silence);
        const QByteArray bytes = m_reply.isReadable() ? m_reply.readAll() : QByteArray();
        if (status() != kHttpOk) {
            m_errorBody += bytes;
            if (m_errorBody.size() > kMaxErrorBytes) m_loop.quit();
            return;
        }
        m_answer.add(bytes);
        if (m_answer.fault()) return stop(*m_answer.fault());
        if (onText) onText(m_answer.text());
        if (m_answer.isDone()) m_loop.quit(); // the server may keep the connection
    }

    QNetworkReply& m_reply;
    const ChatLimits& m_limits;
    QEventLoop m_loop;
    QTimer m_silence;
    QTimer m_whole;
    chat::AnswerReader m_answer;
    QByteArray m_errorBody;
    std::optional<Fault> m_stopped;
};

} // namespace

ChatCompletionsModel::ChatCompletionsModel(ChatEndpoint endpoint, QString key, ChatLimits limits)
    : m_endpoint(std::move(endpoint)), m_key(std::move(key)), m_limits(limits) {}

LanguageModel::Reply ChatCompletionsModel::respond(const ModelRequest& request, const StopToken& stop) {
    return answer(request, {.model = m_endpoint.model, .messages = chat::messages(request)}, {}, stop);
}

LanguageModel::Reply ChatCompletionsModel::streamResponse(const ModelRequest& request, const Snapshots& snapshots,
                                                          const StopToken& stop) {
    return answer(
        request, {.model = m_endpoint.model, .messages = chat::messages(request), .delivery = chat::Delivery::Streamed},
        snapshots, stop);
}

LanguageModel::Reply ChatCompletionsModel::answer(const ModelRequest& request, chat::Request asked,
                                                  const Snapshots& snapshots, const StopToken& stop) {
    asked.replyTokens = m_endpoint.replyTokens;
    const Text first = ask(asked, request.schema, snapshots, stop);
    if (!first) return failure(first.error());
    auto content = readReply(first->text, request.schema);
    if (content) return std::move(*content);

    asked.messages.push_back({"assistant", first->text.left(kShownAgain)});
    asked.messages.push_back(
        {"user", complaint(content.error()) + QStringLiteral(" Answer again with the complete JSON object only.")});
    const Text second = ask(asked, request.schema, snapshots, stop);
    if (!second) return failure(second.error());
    content = readReply(second->text, request.schema);
    if (content) return std::move(*content);
    return failure(second->isCutOff ? Fault::TooLong : Fault::Garbage);
}

ChatCompletionsModel::Text ChatCompletionsModel::ask(chat::Request& asked, const GenerationSchema& schema,
                                                     const Snapshots& snapshots, const StopToken& stop) {
    Text text = send(chat::body(asked, schema), schema, snapshots, stop);
    if (text || text.error() != Fault::WrongRequest || asked.options == chat::Options::None) return text;
    asked.options = chat::Options::None;
    return send(chat::body(asked, schema), schema, snapshots, stop);
}

ChatCompletionsModel::Text ChatCompletionsModel::send(const QByteArray& body, const GenerationSchema& schema,
                                                      const Snapshots& snapshots, const StopToken& stop) {
    if (stop.stopRequested()) return Failure{Fault::Cancelled};
    QNetworkAccessManager manager;
    const QUrl address = completionsAddress(m_endpoint.address);
    manager.setProxy(m_endpoint.proxy == ChatEndpoint::Proxy::Never
                         ? QNetworkProxy(QNetworkProxy::NoProxy)
                         : QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(address)).value(0));
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("quillet"));
    if (!m_key.isEmpty()) request.setRawHeader("Authorization", "Bearer " + m_key.toUtf8());

    const std::unique_ptr<QNetworkReply> reply(manager.post(request, body));
    Exchange exchange(*reply, m_limits);
    QElapsedTimer sinceSnapshot;
    const GenerationID id = GenerationID::createUuid();
    if (snapshots) {
        exchange.onText = [&](const QString& text) {
            if (text.isEmpty() ||
                (sinceSnapshot.isValid() && !sinceSnapshot.hasExpired(m_limits.snapshotEvery.count())))
                return;
            snapshots(readUnfinishedReply(text, schema, id));
            sinceSnapshot.start();
        };
    }
    return exchange.run(stop);
}

Failure<ModelError> ChatCompletionsModel::failure(Fault fault) const {
    using Kind = ModelError::Kind;
    const QString host = hostText(m_endpoint.address);
    const auto error = [&host](Kind kind, const QString& reason) {
        return Failure{ModelError{kind, reason.contains(QLatin1String("%1")) ? reason.arg(host) : reason}};
    };
    switch (fault) {
    case Fault::NotRunning:
        return error(Kind::Unavailable, QStringLiteral("The language model's server at %1 cannot be reached."));
    case Fault::TimedOut:
        return error(Kind::TimedOut, QStringLiteral("The language model at %1 did not answer in time."));
    case Fault::BrokenOff:
        return error(Kind::Failed, QStringLiteral("The connection to the language model at %1 broke off."));
    case Fault::TooLong:
        return error(Kind::Unreadable, QStringLiteral("The language model at %1 did not come to an end."));
    case Fault::ContextTooLong:
        return error(Kind::ContextTooLong, QStringLiteral("The transcript is too long for the language model at %1."));
    case Fault::Refused:
        return error(Kind::Refused, QStringLiteral("The language model at %1 refuses to summarise this."));
    case Fault::Unauthorised:
        return error(Kind::Refused, QStringLiteral("The language model's server at %1 does not accept the key."));
    case Fault::NoSuchModel:
        return error(
            Kind::Unavailable,
            QStringLiteral("The server at %1 does not have the language model “%2”.").arg(host, m_endpoint.model));
    case Fault::WrongRequest:
        return error(Kind::Failed, QStringLiteral("The server at %1 does not understand the request."));
    case Fault::Busy:
        return error(Kind::Failed, QStringLiteral("The language model at %1 is busy or its quota is used up."));
    case Fault::ServerError:
        return error(Kind::Failed, QStringLiteral("The language model's server at %1 reported an error."));
    case Fault::Garbage:
        return error(Kind::Unreadable, QStringLiteral("The language model at %1 gave an answer that makes no sense."));
    case Fault::Cancelled:
        return error(Kind::Cancelled, QStringLiteral("The summary was cancelled."));
    }
    return error(Kind::Failed, {});
}

} // namespace quillet
