#include "notes/joplin/FakeService.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

QByteArray json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

/// Of the file at the end of a form.
qint64 fileBytes(const FakeService::Request& request) {
    const qsizetype begin = request.body.indexOf("\r\n\r\n", request.body.indexOf("filename=")) + 4;
    const qsizetype boundary = request.body.indexOf("\r\n"); // with the dashes before it
    return request.bodyBytes - begin - boundary - 6;
}

} // namespace

FakeService::Answer FakeService::asJoplin(const Request& request) {
    const auto reply = [](const QByteArray& body, int status = 200) {
        return Answer{Answer::Kind::Reply, status, body};
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

FakeService::Script FakeService::asking(std::function<Answer()> look) {
    return [look = std::move(look)](const Request& request) {
        const QString asked = request.query.queryItemValue(QStringLiteral("auth_token"));
        if (request.path == u"/auth") return Answer{.body = R"({"auth_token":"one"})"};
        if (asked.isEmpty()) return asJoplin(request);
        EXPECT_EQ(asked, u"one");
        return look();
    };
}

} // namespace quillet::test
