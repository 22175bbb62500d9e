#pragma once

#include "platform/LanguageModel.h"
#include "summarisation/ChatProtocol.h"

#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

namespace quillet {

/// A model behind a server that speaks the chat-completions protocol.
struct ChatEndpoint {
    QUrl address; ///< the protocol's base, such as http://127.0.0.1:11434/v1
    QString model;
    int contextTokens = 0;
    std::optional<int> replyTokens{}; ///< where a reply is to be cut off
    enum class Proxy { Never, AsTheSystemSays } proxy = Proxy::Never;
};

/// How long a server may take. A model on an ordinary processor reads a long prompt for minutes before it says a word.
struct ChatLimits {
    std::chrono::milliseconds connect{10'000}; ///< for taking a request
    std::chrono::milliseconds silence{300'000};
    std::chrono::milliseconds whole{1'800'000};
    std::chrono::milliseconds snapshotEvery{100};
};

/// Speaks to such a server, one request on one connection. Structured output is asked for by the schema; a reply that
/// still is none of its objects is sent back once with the request to mend it, and a server that refuses the options is
/// asked again without them. Follows no redirection, so that what is sent reaches the configured host and nothing else.
/// The key goes into one header and appears nowhere else. Used by one worker thread at a time, whose events run
/// meanwhile.
class ChatCompletionsModel final : public LanguageModel {
public:
    explicit ChatCompletionsModel(ChatEndpoint endpoint, QString key = {}, ChatLimits limits = {});

    [[nodiscard]] bool isAvailable() const override { return true; }
    [[nodiscard]] int contextTokens() const override { return m_endpoint.contextTokens; }
    [[nodiscard]] Reply respond(const ModelRequest& request, const StopToken& stop) override;
    [[nodiscard]] Reply streamResponse(const ModelRequest& request, const Snapshots& snapshots,
                                       const StopToken& stop) override;

private:
    using Text = Result<chat::Text, chat::Fault>;
    [[nodiscard]] Reply answer(const ModelRequest& request, chat::Request asked, const Snapshots& snapshots,
                               const StopToken& stop);
    [[nodiscard]] Text ask(chat::Request& asked, const GenerationSchema& schema, const Snapshots& snapshots,
                           const StopToken& stop);
    [[nodiscard]] Text send(const QByteArray& body, const GenerationSchema& schema, const Snapshots& snapshots,
                            const StopToken& stop);
    [[nodiscard]] Failure<ModelError> failure(chat::Fault fault) const;

    const ChatEndpoint m_endpoint;
    const QString m_key;
    const ChatLimits m_limits;
};

} // namespace quillet
