#pragma once

#include "support/HttpService.h"

#include <QJsonObject>
#include <QString>
#include <QThread>

#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace quillet::test {

/// A server on a port of this machine that speaks the chat-completions protocol, on a thread of its own. It refuses
/// what is no proper request, and counts as a server would what goes into its model's context; the model's words are
/// the test's. Streams come in pieces that are cut anywhere.
class ChatServer {
public:
    struct Request {
        QByteArray authorisation;
        QJsonObject body;

        [[nodiscard]] bool isStreamed() const { return body[QLatin1String("stream")].toBool(); }
        [[nodiscard]] bool hasSchema() const { return body.contains(QLatin1String("response_format")); }
        /// What the user says last.
        [[nodiscard]] QString prompt() const;
        [[nodiscard]] qsizetype messages() const;
    };
    struct Answer {
        enum class Kind {
            Model, ///< the text, as the request wants it: whole or streamed
            Raw,   ///< the text as it is, with the status
            Never,
            Breaking, ///< half of the text, then the connection's end
            Trickling ///< a piece now and then, without an end
        };
        QString text;
        Kind kind = Kind::Model;
        int status = 200;
        QString finishReason = QStringLiteral("stop");
        QByteArray header{}; ///< one more line
    };
    using Script = std::function<Answer(const Request& request)>; ///< on the server's thread

    explicit ChatServer(Script script, std::optional<int> contextTokens = std::nullopt);
    ~ChatServer();

    [[nodiscard]] QString address() const { return QStringLiteral("http://127.0.0.1:%1/v1").arg(m_port); }
    /// Those that the script has been asked about.
    [[nodiscard]] std::vector<Request> requests() const;

private:
    HttpService::Answer answer(const HttpService::Request& http);

    QThread m_thread;
    const Script m_script;
    const std::optional<int> m_contextTokens;
    quint16 m_port = 0;
    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
};

} // namespace quillet::test
