#include "platform/apple/FoundationLanguageModel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <condition_variable>
#include <mutex>
#include <optional>

namespace quillet::apple {
namespace {

using Reply = LanguageModel::Reply;

ModelError errorOf(std::int32_t kind) {
    using Kind = ModelError::Kind;
    switch (kind) {
    case QuilletModelUnavailable:
        return {Kind::Unavailable, QStringLiteral("The on-device model is not available.")};
    case QuilletModelContextTooLong:
        return {Kind::ContextTooLong, QStringLiteral("The text is too long for the on-device model.")};
    case QuilletModelRefused:
        return {Kind::Refused, QStringLiteral("The on-device model refused to summarise this text.")};
    case QuilletModelUnreadable:
        return {Kind::Unreadable, QStringLiteral("The on-device model gave an answer that cannot be read.")};
    case QuilletModelCancelled:
        return {Kind::Cancelled, QStringLiteral("The summary was cancelled.")};
    default:
        return {Kind::Failed, QStringLiteral("The on-device model failed.")};
    }
}

/// In the order of the schema, which an object of JSON does not keep.
Result<GeneratedContent> contentOf(const QByteArray& json, const GenerationSchema& schema,
                                   std::optional<GenerationID> id) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) return Failure{PlatformError{0, QStringLiteral("no object")}};
    const QJsonObject object = document.object();
    std::vector<GeneratedContent::Property> properties;
    for (const SchemaProperty& property : schema.properties) {
        const auto found = object.constFind(property.name);
        if (found != object.constEnd()) properties.push_back({property.name, *found});
    }
    return GeneratedContent(std::move(properties), id);
}

/// One request: the model's thread leaves its words here, the requesting thread takes them.
class Exchange {
public:
    static void take(void* context, std::int32_t kind, const char* text) {
        auto& self = *static_cast<Exchange*>(context);
        const std::lock_guard lock(self.m_mutex);
        if (kind == QuilletModelSnapshot) {
            self.m_snapshot = QByteArray(text);
        } else {
            self.m_last = Word{kind, QByteArray(text)};
        }
        self.m_changed.notify_one(); // under the lock: the exchange may be gone right after
    }

    struct Word {
        std::int32_t kind = QuilletModelFailed;
        QByteArray text;
    };
    /// Hands on the snapshots that come before the last word. Of several that came at once only the newest counts.
    Word waitForLastWord(const std::function<void(const QByteArray&)>& snapshot) {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_changed.wait(lock, [this] { return m_last || m_snapshot; });
            if (m_last) return *m_last;
            const QByteArray json = *std::exchange(m_snapshot, std::nullopt);
            lock.unlock();
            snapshot(json);
            lock.lock();
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<QByteArray> m_snapshot;
    std::optional<Word> m_last;
};

Reply ask(const FoundationModelCalls& calls, const ModelRequest& request, const LanguageModel::Snapshots& snapshots,
          const StopToken& stop) {
    if (stop.stopRequested()) return Failure{errorOf(QuilletModelCancelled)};
    const QByteArray instructions = request.instructions.toUtf8();
    const QByteArray prompt = request.prompt.toUtf8();
    const QByteArray name = request.schema.name.toUtf8();
    const QByteArray properties = propertiesJson(request.schema);
    const QuilletModelRequest native{instructions.constData(), prompt.constData(), name.constData(),
                                     properties.constData(), static_cast<bool>(snapshots)};
    Exchange exchange;
    void* const handle = calls.request(&native, &exchange, &Exchange::take);
    if (!handle) return Failure{errorOf(QuilletModelUnavailable)};

    const GenerationID id = QUuid::createUuid();
    const auto word = [&] {
        const StopCallback onStop(stop, [&calls, handle] { calls.cancel(handle); });
        return exchange.waitForLastWord([&](const QByteArray& json) {
            const auto content = contentOf(json, request.schema, id);
            if (content && snapshots) snapshots(*content);
        });
    }();
    calls.release(handle);
    if (word.kind != QuilletModelReply) return Failure{errorOf(word.kind)};
    const auto content = contentOf(word.text, request.schema, std::nullopt);
    if (!content) return Failure{errorOf(QuilletModelUnreadable)};
    return *content;
}

} // namespace

QByteArray propertiesJson(const GenerationSchema& schema) {
    QJsonArray properties;
    for (const SchemaProperty& property : schema.properties) {
        QJsonObject object{{QStringLiteral("name"), property.name},
                           {QStringLiteral("isList"), property.type == SchemaProperty::Type::Texts}};
        if (property.description) object.insert(QStringLiteral("description"), *property.description);
        properties.push_back(object);
    }
    return QJsonDocument(properties).toJson(QJsonDocument::Compact);
}

Reply FoundationLanguageModel::respond(const ModelRequest& request, const StopToken& stop) {
    return ask(m_calls, request, nullptr, stop);
}

Reply FoundationLanguageModel::streamResponse(const ModelRequest& request, const Snapshots& snapshots,
                                              const StopToken& stop) {
    return ask(m_calls, request, snapshots, stop);
}

} // namespace quillet::apple
