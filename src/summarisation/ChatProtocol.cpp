#include "summarisation/ChatProtocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace quillet::chat {
namespace {

/// Small models wander at their usual temperature; minutes want none of it.
constexpr double kTemperature = 0.2;

QString typeInWords(SchemaProperty::Type type) {
    return type == SchemaProperty::Type::Text ? QStringLiteral("text") : QStringLiteral("list of texts");
}

QString schemaInWords(const GenerationSchema& schema) {
    QString words = QStringLiteral("Answer with one JSON object and nothing else. Its fields, all of them required:");
    for (const SchemaProperty& property : schema.properties) {
        words += QStringLiteral("\n\"%1\" (%2)").arg(property.name, typeInWords(property.type));
        if (property.description) words += QLatin1String(": ") + *property.description;
    }
    return words;
}

Fault faultOfError(const QJsonValue& error) {
    // Type and code say what it is about; there is no agreement on more than that.
    const QJsonObject object = error.toObject();
    QString about = object.value(QLatin1String("type")).toString() + u' ' +
                    object.value(QLatin1String("code")).toString() + u' ' +
                    object.value(QLatin1String("message")).toString() + u' ' + error.toString();
    about = about.toLower();
    if (about.contains(QLatin1String("context")) &&
        (about.contains(QLatin1String("length")) || about.contains(QLatin1String("size")) ||
         about.contains(QLatin1String("exceed")) || about.contains(QLatin1String("window"))))
        return Fault::ContextTooLong;
    if (about.contains(QLatin1String("content_filter")) || about.contains(QLatin1String("safety")))
        return Fault::Refused;
    if (about.contains(QLatin1String("model")) && about.contains(QLatin1String("not found"))) return Fault::NoSuchModel;
    return Fault::ServerError;
}

} // namespace

std::vector<Message> messages(const ModelRequest& request) {
    return {{"system", request.instructions + QLatin1String("\n\n") + schemaInWords(request.schema)},
            {"user", request.prompt}};
}

QByteArray body(const Request& request, const GenerationSchema& schema) {
    QJsonArray messages;
    for (const Message& message : request.messages)
        messages += QJsonObject{{QLatin1String("role"), QLatin1String(message.role)},
                                {QLatin1String("content"), message.content}};
    QByteArray json = "{\"model\":" + jsonText(request.model) + ",\"messages\":" + jsonText(messages) +
                      ",\"stream\":" + (request.delivery == Delivery::Streamed ? "true" : "false");
    if (request.options == Options::All) {
        json += ",\"temperature\":" + QByteArray::number(kTemperature);
        if (request.replyTokens) json += ",\"max_tokens\":" + QByteArray::number(*request.replyTokens);
        // Written by hand, because a JSON object of Qt's forgets the order of its fields.
        json += ",\"response_format\":{\"type\":\"json_schema\",\"json_schema\":{\"name\":" + jsonText(schema.name) +
                ",\"strict\":true,\"schema\":" + schema.json() + "}}";
    }
    return json + '}';
}

Fault faultOfStatus(int status, const QByteArray& body) {
    const QJsonValue error = QJsonDocument::fromJson(body).object().value(QLatin1String("error"));
    const Fault said = faultOfError(error);
    if (said == Fault::ContextTooLong || status == 413) return Fault::ContextTooLong;
    if (status == 401 || status == 403) return Fault::Unauthorised;
    if (status == 404) return Fault::NoSuchModel;
    if (status == 408 || status == 504) return Fault::TimedOut;
    if (status == 429 || status == 503) return Fault::Busy;
    if (status == 400 || status == 422) return said == Fault::ServerError ? Fault::WrongRequest : said;
    if (status >= 500) return said;
    return Fault::Garbage;
}

void AnswerReader::add(const QByteArray& bytes) {
    if (m_fault || m_isDone) return;
    m_bytes += bytes.size();
    if (m_bytes > kMaxBytes) {
        m_fault = Fault::TooLong;
        return;
    }
    m_pending += bytes;
    if (m_form == Form::Unknown) {
        // Gone at once, lest an endless blank be looked at again and again.
        const auto isBlank = [](char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); };
        m_pending.erase(m_pending.cbegin(), std::find_if_not(m_pending.cbegin(), m_pending.cend(), isBlank));
        if (m_pending.isEmpty()) return;
        // Fields of an event have names; comments begin with a colon.
        m_form = QByteArrayView("{[<").contains(m_pending.front()) ? Form::Whole : Form::Events;
    }
    if (m_form == Form::Whole) return;
    qsizetype begin = 0;
    for (qsizetype end = m_pending.indexOf('\n', m_searched); end >= 0 && !m_fault && !m_isDone;
         end = m_pending.indexOf('\n', begin)) {
        takeLine(m_pending.mid(begin, end - begin));
        begin = end + 1;
    }
    m_pending.remove(0, begin);
    m_searched = m_pending.size();
}

Result<Text, Fault> AnswerReader::finish() {
    if (!m_fault && !m_isDone) {
        if (m_form == Form::Whole) {
            takeWhole();
        } else if (m_form == Form::Events) {
            takeLine(m_pending); // the last line may lack its end
            if (!m_isDone && m_fault.value_or(Fault::Garbage) == Fault::Garbage) m_fault = Fault::BrokenOff;
        } else {
            m_fault = Fault::Garbage;
        }
    }
    if (m_fault) return Failure{*m_fault};
    return Text{m_text, m_isCutOff};
}

void AnswerReader::takeLine(const QByteArray& line) {
    if (!line.startsWith("data:")) return; // comments, other fields and the empty line behind an event
    const QByteArray data = line.mid(5).trimmed();
    if (data == "[DONE]") {
        m_isDone = true;
    } else if (!data.isEmpty()) {
        takeEvent(data);
    }
}

void AnswerReader::takeEvent(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        m_fault = Fault::Garbage;
        return;
    }
    const QJsonObject event = document.object();
    if (const QJsonValue error = event.value(QLatin1String("error")); error.isObject() || error.isString()) {
        m_fault = faultOfError(error);
        return;
    }
    const QJsonArray choices = event.value(QLatin1String("choices")).toArray();
    if (choices.isEmpty()) return; // figures on the usage, for example
    const QJsonObject choice = choices.at(0).toObject();
    const QJsonObject part = choice.value(QLatin1String(m_form == Form::Whole ? "message" : "delta")).toObject();
    append(part.value(QLatin1String("content")).toString());
    if (part.value(QLatin1String("refusal")).isString()) m_fault = Fault::Refused;
    const QString reason = choice.value(QLatin1String("finish_reason")).toString();
    if (reason == QLatin1String("content_filter")) m_fault = Fault::Refused;
    m_isCutOff = m_isCutOff || reason == QLatin1String("length");
    // Some servers leave out the last event.
    if (m_form == Form::Events && !reason.isEmpty() && !m_fault) m_isDone = true;
}

void AnswerReader::takeWhole() {
    takeEvent(m_pending);
    if (m_fault) return;
    const QJsonObject answer = QJsonDocument::fromJson(m_pending).object();
    if (answer.value(QLatin1String("choices")).toArray().isEmpty()) m_fault = Fault::Garbage;
}

void AnswerReader::append(const QString& text) {
    m_text += text;
    if (m_text.size() > kMaxCharacters) m_fault = Fault::TooLong;
}

} // namespace quillet::chat
