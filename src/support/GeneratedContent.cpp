#include "support/GeneratedContent.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace quillet {
namespace {

QByteArray propertySchema(const SchemaProperty& property) {
    QByteArray json = "{";
    if (property.description) json += "\"description\":" + jsonText(*property.description) + ',';
    json += property.type == SchemaProperty::Type::Text ? QByteArrayLiteral("\"type\":\"string\"}")
                                                        : QByteArrayLiteral("\"type\":\"array\",\"items\":{\"type\":"
                                                                            "\"string\"}}");
    return json;
}

std::optional<QStringList> toTexts(const QJsonValue& value) {
    if (!value.isArray()) return std::nullopt;
    QStringList texts;
    for (const auto& element : value.toArray()) {
        if (!element.isString()) return std::nullopt;
        texts += element.toString();
    }
    return texts;
}

Failure<ConversionError> missing(const QString& name) {
    return Failure{ConversionError{ConversionError::Kind::Missing, name}};
}
Failure<ConversionError> wrongType(const QString& name) {
    return Failure{ConversionError{ConversionError::Kind::WrongType, name}};
}

} // namespace

QByteArray jsonText(const QJsonValue& value) {
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QByteArray GenerationSchema::json() const {
    QByteArrayList fields;
    QByteArrayList names;
    for (const SchemaProperty& property : properties) {
        names += jsonText(property.name);
        fields += names.last() + ':' + propertySchema(property);
    }
    return "{\"type\":\"object\",\"properties\":{" + fields.join(',') + "},\"required\":[" + names.join(',') +
           "],\"additionalProperties\":false}";
}

const QJsonValue* GeneratedContent::find(const QString& name) const {
    const auto found = std::find_if(m_properties.begin(), m_properties.end(),
                                    [&name](const Property& property) { return property.name == name; });
    return found == m_properties.end() ? nullptr : &found->value;
}

Result<std::optional<QString>, ConversionError> GeneratedContent::optionalText(const QString& name) const {
    const QJsonValue* const value = find(name);
    if (!value) return std::optional<QString>();
    if (!value->isString()) return wrongType(name);
    return std::optional(value->toString());
}

Result<std::optional<QStringList>, ConversionError> GeneratedContent::optionalTexts(const QString& name) const {
    const QJsonValue* const value = find(name);
    if (!value) return std::optional<QStringList>();
    auto texts = toTexts(*value);
    if (!texts) return wrongType(name);
    return texts;
}

Result<QString, ConversionError> GeneratedContent::text(const QString& name) const {
    auto text = optionalText(name);
    if (!text) return Failure{text.error()};
    if (!*text) return missing(name);
    return **text;
}

Result<QStringList, ConversionError> GeneratedContent::texts(const QString& name) const {
    auto texts = optionalTexts(name);
    if (!texts) return Failure{texts.error()};
    if (!*texts) return missing(name);
    return **texts;
}

QByteArray GeneratedContent::json() const {
    QByteArrayList fields;
    for (const Property& property : m_properties) fields += jsonText(property.name) + ':' + jsonText(property.value);
    return '{' + fields.join(',') + '}';
}

} // namespace quillet
