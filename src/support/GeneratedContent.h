#pragma once

#include "support/Result.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>
#include <vector>

namespace quillet {

/// Names one generated object through its snapshots.
using GenerationID = QUuid;

/// One field of the object that a language model is to answer with.
struct SchemaProperty {
    enum class Type { Text, Texts };
    QString name;
    Type type = Type::Text;
    std::optional<QString> description{};
};

/// The object that a language model is to answer with: its fields in the order in which they are asked for. The order
/// matters, because a model writes them one after another.
struct GenerationSchema {
    QString name;
    std::vector<SchemaProperty> properties;

    /// As a JSON schema, which keeps the order.
    [[nodiscard]] QByteArray json() const;
};

/// Why an object is not what it was asked to be.
struct ConversionError {
    enum class Kind { Missing, WrongType };
    Kind kind = Kind::Missing;
    QString property;
};

/// What a language model wrote, as properties in their order; a snapshot of an unfinished one has an id. The typed
/// readings fail for a property that is missing or of another type; the optional ones take a missing one for absent.
class GeneratedContent {
public:
    struct Property {
        QString name;
        QJsonValue value;
        bool operator==(const Property&) const = default;
    };

    GeneratedContent() = default;
    explicit GeneratedContent(std::vector<Property> properties, std::optional<GenerationID> id = std::nullopt)
        : m_properties(std::move(properties)), m_id(id) {}

    [[nodiscard]] const std::vector<Property>& properties() const { return m_properties; }
    [[nodiscard]] const std::optional<GenerationID>& id() const { return m_id; }

    [[nodiscard]] Result<QString, ConversionError> text(const QString& name) const;
    [[nodiscard]] Result<QStringList, ConversionError> texts(const QString& name) const;
    [[nodiscard]] Result<std::optional<QString>, ConversionError> optionalText(const QString& name) const;
    [[nodiscard]] Result<std::optional<QStringList>, ConversionError> optionalTexts(const QString& name) const;

    /// The object as JSON, without the id.
    [[nodiscard]] QByteArray json() const;

    bool operator==(const GeneratedContent&) const = default;

private:
    [[nodiscard]] const QJsonValue* find(const QString& name) const;

    std::vector<Property> m_properties;
    std::optional<GenerationID> m_id;
};

/// Any JSON value as text; QJsonDocument itself writes arrays and objects only.
[[nodiscard]] QByteArray jsonText(const QJsonValue& value);

} // namespace quillet
