#include "templates/TemplateRecords.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillet::TemplateRecords {
namespace {

const QString kId = QStringLiteral("id");
const QString kName = QStringLiteral("name");
const QString kContent = QStringLiteral("content");
const QString kIsDefault = QStringLiteral("isDefault");
const QString kIsBuiltIn = QStringLiteral("isBuiltIn");

QJsonObject toObject(const MeetingTemplate& meetingTemplate) {
    return {{kId, uuidText(meetingTemplate.id)},
            {kName, meetingTemplate.name},
            {kContent, meetingTemplate.content},
            {kIsDefault, meetingTemplate.isDefault},
            {kIsBuiltIn, meetingTemplate.isBuiltIn}};
}

/// The error says what is wrong with the record.
Result<MeetingTemplate, QString> fromValue(const QJsonValue& value) {
    if (!value.isObject()) return Failure{QStringLiteral("is no object")};
    const QJsonObject record = value.toObject();
    for (const QString& key : {kId, kName, kContent}) {
        if (!record.value(key).isString()) return Failure{QStringLiteral("has no text “%1”").arg(key)};
    }
    for (const QString& key : {kIsDefault, kIsBuiltIn}) {
        if (!record.value(key).isBool()) return Failure{QStringLiteral("has no “%1” that is true or false").arg(key)};
    }
    const auto id = parseUuid(record.value(kId).toString());
    if (!id) return Failure{QStringLiteral("has an “id” that is no UUID")};
    return MeetingTemplate{.id = *id,
                           .name = record.value(kName).toString(),
                           .content = record.value(kContent).toString(),
                           .isDefault = record.value(kIsDefault).toBool(),
                           .isBuiltIn = record.value(kIsBuiltIn).toBool()};
}

Result<QJsonDocument, QString> parse(const QByteArray& json) {
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return Failure{QStringLiteral("This is no JSON: %1 at byte %2.").arg(error.errorString()).arg(error.offset)};
    return document;
}

Result<std::vector<MeetingTemplate>, QString> fromArray(const QJsonArray& array) {
    std::vector<MeetingTemplate> templates;
    templates.reserve(static_cast<std::size_t>(array.size()));
    for (const auto& value : array) {
        auto decoded = fromValue(value);
        if (!decoded) return Failure{QStringLiteral("Template %1 %2.").arg(templates.size() + 1).arg(decoded.error())};
        templates.push_back(std::move(*decoded));
    }
    return templates;
}

} // namespace

QByteArray encode(const MeetingTemplate& meetingTemplate) {
    return QJsonDocument(toObject(meetingTemplate)).toJson(QJsonDocument::Compact);
}

QByteArray encode(const std::vector<MeetingTemplate>& templates) {
    QJsonArray array;
    for (const MeetingTemplate& each : templates) array.append(toObject(each));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

Result<std::vector<MeetingTemplate>, QString> decodeList(const QByteArray& json) {
    const auto document = parse(json);
    if (!document) return Failure{document.error()};
    if (!document->isArray()) return Failure{QStringLiteral("This is no list of templates.")};
    return fromArray(document->array());
}

Result<std::vector<MeetingTemplate>, QString> decodeListOrRecord(const QByteArray& json) {
    const auto document = parse(json);
    if (!document) return Failure{document.error()};
    return fromArray(document->isArray() ? document->array() : QJsonArray{document->object()});
}

QString uuidText(const QUuid& id) { return id.toString(QUuid::WithoutBraces).toUpper(); }

std::optional<QUuid> parseUuid(const QString& text) {
    // QUuid itself also takes braces and ignores what follows.
    constexpr qsizetype kLength = 36;
    if (text.size() != kLength) return std::nullopt;
    for (qsizetype i = 0; i < kLength; ++i) {
        const char16_t c = text.at(i).unicode();
        const bool isDigit = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
        const bool isHyphenPlace = i == 8 || i == 13 || i == 18 || i == 23;
        if (isHyphenPlace ? c != u'-' : !isDigit) return std::nullopt;
    }
    return QUuid::fromString(text);
}

} // namespace quillet::TemplateRecords
