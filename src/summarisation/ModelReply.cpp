#include "summarisation/ModelReply.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace quillet {
namespace {

/// So many times the text's length may be looked at before the search for its object is given up: each opening brace
/// may begin one, and it takes until the end of the text to know that it does not.
constexpr qsizetype kMaxPasses = 8;

std::optional<QJsonObject> parsedObject(QStringView json) {
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    if (!document.isObject()) return std::nullopt;
    return document.object();
}

/// Walks over JSON text and knows what is open at each place.
class JsonWalk {
public:
    /// False behind the end of the outermost value.
    bool step(QChar character) {
        if (m_escaped) {
            m_escaped = false;
        } else if (m_inString) {
            if (character == u'\\') m_escaped = true;
            if (character == u'"') m_inString = false;
        } else if (character == u'"') {
            m_inString = true;
        } else if (character == u'{' || character == u'[') {
            m_closers += character == u'{' ? u'}' : u']';
        } else if (character == u'}' || character == u']') {
            m_closers.chop(1);
            return !m_closers.isEmpty();
        }
        return true;
    }
    [[nodiscard]] bool inString() const { return m_inString; }
    [[nodiscard]] bool escaped() const { return m_escaped; }
    /// What would close all that is open, without the text's own quotation mark.
    [[nodiscard]] QString closers() const {
        QString reversed = m_closers;
        std::reverse(reversed.begin(), reversed.end());
        return reversed;
    }

private:
    QString m_closers;
    bool m_inString = false;
    bool m_escaped = false;
};

/// Behind the end of the object that begins here; -1 when it does not end.
qsizetype endOfObject(QStringView text, qsizetype begin) {
    JsonWalk walk;
    for (qsizetype at = begin; at < text.size(); ++at) {
        if (!walk.step(text[at])) return at + 1;
    }
    return -1;
}

/// A name as models spell it: action_items, ActionItems, "action items".
QString plainName(const QString& name) {
    QString plain;
    for (const QChar character : name) {
        if (character.isLetterOrNumber()) plain += character.toCaseFolded();
    }
    return plain;
}

std::optional<QJsonValue> valueOf(const QJsonObject& object, const QString& name) {
    if (const auto exact = object.find(name); exact != object.end()) return *exact;
    const QString plain = plainName(name);
    for (auto field = object.begin(); field != object.end(); ++field) {
        if (plainName(field.key()) == plain) return *field;
    }
    return std::nullopt;
}

/// One element of a list: a text, or an object like {"task": …, "owner": …}, whose texts say the same.
std::optional<QString> asElement(const QJsonValue& value) {
    if (value.isString()) return value.toString();
    if (!value.isObject()) return std::nullopt;
    QStringList texts;
    const QJsonObject object = value.toObject();
    for (auto field = object.begin(); field != object.end(); ++field) {
        if (field->isNull()) continue;
        if (!field->isString()) return std::nullopt;
        if (const QString text = field->toString().simplified(); !text.isEmpty())
            texts += field.key() + QLatin1String(": ") + text;
    }
    if (texts.isEmpty()) return std::nullopt;
    return texts.join(QLatin1String(", "));
}

std::optional<QJsonValue> asTexts(const QJsonValue& value) {
    if (value.isNull()) return QJsonValue(QJsonArray());
    if (value.isString()) {
        QJsonArray lines;
        const QStringList parts = value.toString().split(u'\n', Qt::SkipEmptyParts);
        for (const QString& part : parts) {
            if (const QString line = part.simplified(); !line.isEmpty()) lines += line;
        }
        return QJsonValue(lines);
    }
    if (!value.isArray()) return std::nullopt;
    QJsonArray texts;
    for (const auto& element : value.toArray()) {
        if (element.isNull()) continue;
        const auto text = asElement(element);
        if (!text) return std::nullopt;
        texts += *text;
    }
    return QJsonValue(texts);
}

std::optional<QJsonValue> asType(const QJsonValue& value, SchemaProperty::Type type) {
    if (type == SchemaProperty::Type::Texts) return asTexts(value);
    if (value.isString()) return value;
    return std::nullopt;
}

std::optional<GeneratedContent> asSchema(const QJsonObject& object, const GenerationSchema& schema) {
    std::vector<GeneratedContent::Property> properties;
    for (const SchemaProperty& property : schema.properties) {
        const auto value = valueOf(object, property.name);
        const auto typed = value ? asType(*value, property.type) : std::nullopt;
        if (!typed) return std::nullopt;
        properties.push_back({property.name, *typed});
    }
    return GeneratedContent(std::move(properties));
}

/// Also one level further in: some models put the object under a name of their own.
std::optional<GeneratedContent> asSchemaOrWrapped(const QJsonObject& object, const GenerationSchema& schema) {
    if (auto content = asSchema(object, schema)) return content;
    for (const auto& inner : object) {
        if (!inner.isObject()) continue;
        if (auto content = asSchema(inner.toObject(), schema)) return content;
    }
    return std::nullopt;
}

} // namespace

Result<GeneratedContent, ReplyFault> readReply(const QString& text, const GenerationSchema& schema) {
    if (const auto whole = parsedObject(text)) {
        if (auto content = asSchemaOrWrapped(*whole, schema)) return std::move(*content);
        return Failure{ReplyFault::WrongShape};
    }
    ReplyFault fault = ReplyFault::NoObject;
    std::optional<GeneratedContent> last; // what comes before it may have been a draft
    qsizetype at = text.indexOf(u'{');
    for (qsizetype looks = kMaxPasses * text.size(); at >= 0 && looks > 0;) {
        const qsizetype end = endOfObject(text, at);
        looks -= (end < 0 ? text.size() : end) - at;
        const auto object = end < 0 ? std::nullopt : parsedObject(QStringView(text).mid(at, end - at));
        if (object) {
            fault = ReplyFault::WrongShape;
            if (auto content = asSchemaOrWrapped(*object, schema)) last = std::move(content);
        } else if (end < 0 && fault == ReplyFault::NoObject) {
            fault = ReplyFault::CutOff;
        }
        at = text.indexOf(u'{', object ? end : at + 1);
    }
    if (last) return std::move(*last);
    return Failure{fault};
}

GeneratedContent readUnfinishedReply(const QString& text, const GenerationSchema& schema, const GenerationID& id) {
    const qsizetype begin = text.indexOf(u'{');
    if (begin < 0) return GeneratedContent({}, id);
    JsonWalk walk;
    JsonWalk whereWhole; // at the last place where everything before it is whole
    qsizetype whole = begin + 1;
    qsizetype end = begin;
    bool isOpen = true;
    for (; end < text.size() && isOpen; ++end) {
        // An escape sequence that has only begun would spoil the whole text.
        if (walk.inString() && !walk.escaped() && text[end] == u'\\' && end + 6 > text.size() &&
            (end + 1 == text.size() || text[end + 1] == u'u'))
            break;
        if (text[end] == u',' && !walk.inString()) whole = end;
        isOpen = walk.step(text[end]);
        if (!walk.inString() && (text[end] == u'[' || text[end] == u'{')) whole = end + 1;
    }
    const QStringView view(text);
    QString completed = view.mid(begin, end - begin).toString();
    if (walk.inString()) completed += u'"';
    auto object = parsedObject(completed + walk.closers());
    if (!object) {
        JsonWalk again;
        for (qsizetype at = begin; at < whole; ++at) again.step(text[at]);
        object = parsedObject(view.mid(begin, whole - begin).toString() + again.closers());
    }
    std::vector<GeneratedContent::Property> properties;
    for (const SchemaProperty& property : schema.properties) {
        const auto value = object ? valueOf(*object, property.name) : std::nullopt;
        const auto typed = value ? asType(*value, property.type) : std::nullopt;
        if (typed) properties.push_back({property.name, *typed});
    }
    return GeneratedContent(std::move(properties), id);
}

} // namespace quillet
