#pragma once

#include "platform/LanguageModel.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace quillet::chat {

/// The chat-completions protocol as far as it is needed: what is sent, and how what comes back is read. No network.

struct Message {
    const char* role = "user";
    QString content;
};

enum class Delivery { Whole, Streamed };
/// What a request asks for beside its messages. Some servers refuse options that they do not know.
enum class Options { All, None };

struct Request {
    QString model;
    std::vector<Message> messages;
    Delivery delivery = Delivery::Whole;
    Options options = Options::All;
    std::optional<int> replyTokens{}; ///< where a reply is to be cut off
};

/// Instructions and prompt, with the schema in words too, for servers that do not take it otherwise.
[[nodiscard]] std::vector<Message> messages(const ModelRequest& request);
/// The body of the request.
[[nodiscard]] QByteArray body(const Request& request, const GenerationSchema& schema);

/// Why there is no text. The words of a server are not kept: some repeat the key.
enum class Fault {
    NotRunning,
    TimedOut,
    BrokenOff,
    TooLong, ///< an answer beyond all limits
    ContextTooLong,
    Refused,      ///< by a filter or the model itself
    Unauthorised, ///< no key, or a wrong one
    NoSuchModel,
    WrongRequest, ///< the server does not take what was sent
    Busy,
    ServerError,
    Garbage,
    Cancelled
};

struct Text {
    QString text;
    bool isCutOff = false; ///< the model was stopped at its limit
};

/// What a status other than 200 means, with the beginning of its body.
[[nodiscard]] Fault faultOfStatus(int status, const QByteArray& body);

/// Takes an answer as it arrives: a stream of events, or, from a server that does not stream, all in one. Where the
/// pieces are cut does not matter.
class AnswerReader {
public:
    /// More than any answer: the text itself, and all that comes around it.
    static constexpr qsizetype kMaxCharacters = 1'000'000;
    static constexpr qsizetype kMaxBytes = 64'000'000;

    void add(const QByteArray& bytes);
    /// Of a stream so far.
    [[nodiscard]] const QString& text() const { return m_text; }
    /// Known already to be useless.
    [[nodiscard]] const std::optional<Fault>& fault() const { return m_fault; }
    /// The stream has said that it ends.
    [[nodiscard]] bool isDone() const { return m_isDone; }
    /// At the end.
    [[nodiscard]] Result<Text, Fault> finish();

private:
    void takeLine(const QByteArray& line);
    void takeEvent(const QByteArray& json);
    void takeWhole();
    void append(const QString& text);

    enum class Form { Unknown, Events, Whole } m_form = Form::Unknown;
    QByteArray m_pending;
    qsizetype m_searched = 0; ///< of the pending bytes, without a line's end
    qsizetype m_bytes = 0;
    QString m_text;
    std::optional<Fault> m_fault;
    bool m_isCutOff = false;
    bool m_isDone = false;
};

} // namespace quillet::chat
