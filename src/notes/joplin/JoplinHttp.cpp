#include "notes/joplin/JoplinHttp.h"

#include <QEventLoop>
#include <QHttpMultiPart>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <memory>

namespace quillet::joplin {
namespace {

/// More than any answer, whose largest repeats the body of a note.
constexpr qint64 kMaxAnswerBytes = qint64{64} * 1024 * 1024;
constexpr int kHttpOk = 200;
constexpr int kHttpForbidden = 403;
constexpr int kHttpNotFound = 404;

using Reply = std::unique_ptr<QNetworkReply>;

/// JSON in ASCII: Joplin turns what arrives in pieces into text piece by piece, and what lies across two is lost.
QByteArray asciiJson(const QJsonObject& object) {
    QByteArray ascii;
    for (const QChar unit : QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))) {
        if (unit.unicode() < 0x80) {
            ascii += static_cast<char>(unit.unicode());
        } else {
            ascii += "\\u" + QByteArray::number(unit.unicode(), 16).rightJustified(4, '0');
        }
    }
    return ascii;
}

QNetworkRequest requestTo(quint16 port, const QString& path, const Query& query) {
    QByteArray url = "http://127.0.0.1:" + QByteArray::number(port) + path.toUtf8();
    char separator = '?';
    for (const auto& [key, value] : query) {
        url += separator + QUrl::toPercentEncoding(key) + '=' + QUrl::toPercentEncoding(value);
        separator = '&';
    }
    QNetworkRequest request(QUrl::fromEncoded(url));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    return request;
}

void prepare(QNetworkAccessManager& manager) {
    manager.setProxy(QNetworkProxy::NoProxy);
    manager.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

Fault faultOf(const QNetworkReply& reply, int status) {
    if (status == kHttpForbidden) return Fault::Refused;
    if (status == kHttpNotFound) return Fault::NotFound;
    if (status >= 500) return Fault::ServerError;
    if (status != 0 && status != kHttpOk) return Fault::Garbage;
    const bool isOtherProtocol = reply.error() == QNetworkReply::ProtocolFailure;
    return isOtherProtocol ? Fault::Garbage : Fault::BrokenOff;
}

/// Waits for the end of the exchange. With an upload the limit begins anew at each step.
Result<QByteArray, Fault> finish(QNetworkReply& reply, std::chrono::milliseconds limit) {
    QEventLoop loop;
    QTimer timer;
    std::optional<Fault> stopped;
    const auto stop = [&](Fault fault) {
        if (!stopped) stopped = fault;
        reply.abort();
    };
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] { stop(Fault::Stalled); });
    QObject::connect(&reply, &QNetworkReply::uploadProgress, &timer, [&timer](qint64 sent, qint64) {
        if (sent > 0) timer.start();
    });
    QObject::connect(&reply, &QNetworkReply::downloadProgress, &loop, [&](qint64 received, qint64) {
        if (received > kMaxAnswerBytes) stop(Fault::Garbage);
    });
    QObject::connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timer.start(limit);
    if (!reply.isFinished()) loop.exec();
    if (stopped) return Failure{*stopped};
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply.error() != QNetworkReply::NoError || status != kHttpOk) return Failure{faultOf(reply, status)};
    return reply.readAll();
}

Result<QJsonObject, Fault> parsed(const Result<QByteArray, Fault>& answer) {
    if (!answer) return Failure{answer.error()};
    if (answer->isEmpty()) return QJsonObject();
    const QJsonDocument document = QJsonDocument::fromJson(*answer);
    if (!document.isObject()) return Failure{Fault::Garbage};
    return document.object();
}

QString disposition(const char* name) { return QStringLiteral("form-data; name=\"%1\"").arg(QLatin1String(name)); }

} // namespace

QString describe(Fault fault) {
    switch (fault) {
    case Fault::NotRunning:
        return QStringLiteral("Joplin is not running, or its Web Clipper service is switched off.");
    case Fault::Refused:
        return QStringLiteral("Joplin does not let Quillet in yet. Allow it in the settings and confirm it in Joplin.");
    case Fault::NotFound:
        return QStringLiteral("Joplin no longer has the note or its folder.");
    case Fault::Stalled:
        return QStringLiteral("Joplin did not answer in time.");
    case Fault::BrokenOff:
        return QStringLiteral("The connection to Joplin broke off.");
    case Fault::ServerError:
        return QStringLiteral("Joplin reported an internal error.");
    case Fault::Garbage:
        return QStringLiteral("Joplin gave an answer that makes no sense.");
    }
    return {};
}

Http::Http(quint16 port) : m_port(port) { prepare(m_manager); }

Result<QJsonObject, Fault> Http::request(Milliseconds limit, const QByteArray& verb, const QString& path,
                                         const Query& query, const std::optional<QJsonObject>& body) {
    QNetworkRequest request = requestTo(m_port, path, query);
    if (body) request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    const Reply reply(m_manager.sendCustomRequest(request, verb, body ? asciiJson(*body) : QByteArray()));
    return parsed(finish(*reply, limit));
}

Result<QJsonObject, Fault> Http::upload(Milliseconds stepLimit, const QString& path, const Query& query,
                                        const QJsonObject& properties, QFile& file, const QString& fileName) {
    QHttpMultiPart form(QHttpMultiPart::FormDataType);
    QHttpPart propertiesPart;
    propertiesPart.setHeader(QNetworkRequest::ContentDispositionHeader, disposition("props"));
    propertiesPart.setBody(asciiJson(properties));
    form.append(propertiesPart);
    QHttpPart filePart;
    filePart.setHeader(QNetworkRequest::ContentDispositionHeader,
                       disposition("data") + QStringLiteral("; filename=\"%1\"").arg(fileName));
    filePart.setBodyDevice(&file);
    form.append(filePart);
    const Reply reply(m_manager.post(requestTo(m_port, path, query), &form));
    return parsed(finish(*reply, stepLimit));
}

std::optional<quint16> findService(const std::vector<quint16>& ports, const Limits& limits) {
    QNetworkAccessManager manager;
    prepare(manager);
    std::vector<Reply> replies;
    QEventLoop loop;
    const auto isService = [](QNetworkReply& reply) {
        return reply.error() == QNetworkReply::NoError &&
               reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == kHttpOk &&
               reply.peek(64).trimmed() == QByteArrayLiteral("JoplinClipperServer");
    };
    // Over as soon as every port before the first that is Joplin's has said what it is.
    const auto decided = [&]() -> std::optional<std::size_t> {
        for (std::size_t i = 0; i < replies.size(); ++i) {
            if (!replies[i]->isFinished()) return std::nullopt;
            if (isService(*replies[i])) return i;
        }
        return replies.size();
    };
    for (const quint16 port : ports) {
        replies.emplace_back(manager.get(requestTo(port, QStringLiteral("/ping"), {})));
        QNetworkReply* const reply = replies.back().get();
        QObject::connect(reply, &QNetworkReply::finished, &loop, [&] {
            if (decided()) loop.quit();
        });
        QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
            if (received > 1024) reply->abort();
        });
    }
    QTimer::singleShot(limits.ping, &loop, &QEventLoop::quit);
    if (!decided()) loop.exec();
    for (std::size_t i = 0; i < replies.size(); ++i) {
        if (replies[i]->isFinished() && isService(*replies[i])) return ports[i];
    }
    return std::nullopt;
}

} // namespace quillet::joplin
