#include "notes/joplin/JoplinClient.h"

#include <QJsonArray>
#include <QUuid>

namespace quillet::joplin {
namespace {

constexpr int kMaxPages = 1000; ///< of a hundred folders each: whoever has more pages than that does not count them

QString textOf(const QJsonObject& object, const char* key) { return object.value(QLatin1String(key)).toString(); }

qint64 sizeOf(const QJsonObject& resource) {
    return static_cast<qint64>(resource.value(QLatin1String("size")).toDouble(-1));
}

/// Whether the answer speaks of the item that the request was about.
Result<void, Fault> confirmed(const Result<QJsonObject, Fault>& answer, const QString& id) {
    if (!answer) return Failure{answer.error()};
    if (textOf(*answer, "id") != id) return Failure{Fault::Garbage};
    return {};
}

} // namespace

QString newId() { return QUuid::createUuid().toString(QUuid::Id128); }

Query Client::authorised(Query query) const {
    query.emplace_back(QStringLiteral("token"), m_token);
    return query;
}

Result<bool, Fault> Client::isValid(const QString& token) {
    const auto answer =
        m_http.request(m_limits.answer, "GET", QStringLiteral("/auth/check"), {{QStringLiteral("token"), token}});
    if (!answer) return Failure{answer.error()};
    const QJsonValue valid = answer->value(QLatin1String("valid"));
    if (!valid.isBool()) return Failure{Fault::Garbage};
    return valid.toBool();
}

Result<QString, Fault> Client::requestConsent() {
    const auto answer = m_http.request(m_limits.answer, "POST", QStringLiteral("/auth"), {}, QJsonObject());
    if (!answer) return Failure{answer.error()};
    const QString request = textOf(*answer, "auth_token");
    if (request.isEmpty()) return Failure{Fault::Garbage};
    return request;
}

Result<Consent, Fault> Client::consent(const QString& request) {
    const auto answer = m_http.request(m_limits.answer, "GET", QStringLiteral("/auth/check"),
                                       {{QStringLiteral("auth_token"), request}});
    if (!answer) return Failure{answer.error()};
    const QString status = textOf(*answer, "status");
    if (status == QLatin1String("waiting")) return Consent{};
    if (status == QLatin1String("rejected")) return Consent{Consent::Status::Rejected, {}};
    const QString token = textOf(*answer, "token");
    if (status != QLatin1String("accepted") || token.isEmpty()) return Failure{Fault::Garbage};
    return Consent{Consent::Status::Accepted, token};
}

Result<std::vector<JoplinFolder>, Fault> Client::folders() {
    std::vector<JoplinFolder> folders;
    for (int page = 1; page <= kMaxPages; ++page) {
        const auto answer =
            m_http.request(m_limits.answer, "GET", QStringLiteral("/folders"),
                           authorised({{QStringLiteral("fields"),
                                        QStringLiteral("id,title,parent_id,created_time,encryption_applied")},
                                       {QStringLiteral("order_by"), QStringLiteral("id")},
                                       {QStringLiteral("limit"), QStringLiteral("100")},
                                       {QStringLiteral("page"), QString::number(page)}}));
        if (!answer) return Failure{answer.error()};
        const QJsonValue items = answer->value(QLatin1String("items"));
        if (!items.isArray()) return Failure{Fault::Garbage};
        for (const QJsonValue value : items.toArray()) {
            const QJsonObject item = value.toObject();
            if (item.value(QLatin1String("encryption_applied")).toInt() != 0) continue;
            if (textOf(item, "id").isEmpty()) return Failure{Fault::Garbage};
            folders.push_back({.id = textOf(item, "id"),
                               .title = textOf(item, "title"),
                               .parentId = textOf(item, "parent_id"),
                               .createdMs = item.value(QLatin1String("created_time")).toDouble()});
        }
        if (!answer->value(QLatin1String("has_more")).toBool()) return folders;
    }
    return Failure{Fault::Garbage};
}

Result<QString, Fault> Client::makeFolder(const QString& title) {
    const QString id = newId();
    const QJsonObject folder{{QLatin1String("id"), id}, {QLatin1String("title"), title}};
    auto made =
        confirmed(m_http.request(m_limits.answer, "POST", QStringLiteral("/folders"), authorised(), folder), id);
    if (!made) return Failure{made.error()};
    return id;
}

Result<std::optional<Client::Note>, Fault> Client::note(const QString& id) {
    const auto answer =
        m_http.request(m_limits.answer, "GET", QStringLiteral("/notes/") + id,
                       authorised({{QStringLiteral("fields"), QStringLiteral("id,body,deleted_time")}}));
    if (!answer && answer.error() == Fault::NotFound) return std::optional<Note>();
    if (auto same = confirmed(answer, id); !same) return Failure{same.error()};
    return std::optional(Note{.isInTrash = answer->value(QLatin1String("deleted_time")).toDouble() > 0,
                              .hasBody = !textOf(*answer, "body").isEmpty()});
}

Result<std::optional<qint64>, Fault> Client::resourceBytes(const QString& id) {
    const auto answer = m_http.request(m_limits.answer, "GET", QStringLiteral("/resources/") + id,
                                       authorised({{QStringLiteral("fields"), QStringLiteral("id,size")}}));
    if (!answer && answer.error() == Fault::NotFound) return std::optional<qint64>();
    if (auto same = confirmed(answer, id); !same) return Failure{same.error()};
    return std::optional(sizeOf(*answer));
}

Result<void, Fault> Client::makeNote(const QString& id, const QString& title, const QString& folderId) {
    const QJsonObject note{
        {QLatin1String("id"), id}, {QLatin1String("title"), title}, {QLatin1String("parent_id"), folderId}};
    return confirmed(m_http.request(m_limits.answer, "POST", QStringLiteral("/notes"), authorised(), note), id);
}

Result<void, Fault> Client::setBody(const QString& noteId, const QString& body) {
    const QJsonObject change{{QLatin1String("body"), body}};
    return confirmed(m_http.request(m_limits.answer, "PUT", QStringLiteral("/notes/") + noteId, authorised(), change),
                     noteId);
}

Result<void, Fault> Client::makeResource(const QString& id, const QString& title, QFile& file, const QString& suffix) {
    const QJsonObject properties{{QLatin1String("id"), id}, {QLatin1String("title"), title}};
    // Joplin takes the kind of the file from the name in the form; the title is what its user sees.
    const auto answer = m_http.upload(m_limits.upload, QStringLiteral("/resources"), authorised(), properties, file,
                                      QLatin1String("recording") + suffix);
    if (auto same = confirmed(answer, id); !same) return same;
    // A recording that arrived in part would pass for the whole one.
    if (sizeOf(*answer) != file.size()) return Failure{Fault::Garbage};
    return {};
}

void Client::removeNote(const QString& id) { remove(QStringLiteral("/notes/") + id); }
void Client::removeResource(const QString& id) { remove(QStringLiteral("/resources/") + id); }

void Client::remove(const QString& path) {
    // Not into the trash: nobody has seen it yet. What cannot be removed now is taken up by the next attempt.
    const auto answer =
        m_http.request(m_limits.ping, "DELETE", path, authorised({{QStringLiteral("permanent"), QStringLiteral("1")}}));
    static_cast<void>(answer);
}

} // namespace quillet::joplin
