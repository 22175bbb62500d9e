#include "summarisation/ChatProtocol.h"

#include <gtest/gtest.h>

namespace quillet::chat {
namespace {

using namespace Qt::StringLiterals;

Result<Text, Fault> readInPieces(const QByteArray& answer, qsizetype size) {
    AnswerReader reader;
    for (qsizetype at = 0; at < answer.size(); at += size) reader.add(answer.mid(at, size));
    return reader.finish();
}

QByteArray said(const QByteArray& content) {
    return "data: {\"choices\":[{\"delta\":{\"content\":\"" + content + "\"}}]}\n\n";
}

TEST(ChatProtocolTest, AnAnswerIsTheSameHoweverItIsCut) {
    const QByteArray end = "data: {\"choices\":[{\"delta\":{},\"finish_reason\":\"stop\"}]}\n\n";
    const QByteArray done = "data: [DONE]\n\n";
    const auto none = std::nullopt;
    const QByteArray filtered =
        said("a") + "data: {\"choices\":[{\"delta\":{},\"finish_reason\":\"content_filter\"}]}\n";
    const QByteArray otherEnds =
        "event: x\r\nid: 1\r\n" + said("a").replace("\n", "\r\n") + "data:{\"choices\":[],\"usage\":{}}\r\n\r\n" + done;
    const struct {
        const char* what;
        QByteArray answer;
        std::optional<QString> text;
        Fault fault{}; ///< without a text
    } rows[] = {
        {"stream", ": hi\n\n" + said("Jü") + said("rgen") + end + done, u"Jürgen"_s},
        {"stream with other fields and ends of lines", otherEnds, u"a"_s},
        {"without its last event", said("a") + end, u"a"_s},
        {"without the last line's end", said("a") + "data: [DONE]", u"a"_s},
        {"broken off", said("a") + said("b").chopped(9), none, Fault::BrokenOff},
        {"broken off between events", said("a"), none, Fault::BrokenOff},
        {"an error in the middle", said("a") + "data: {\"error\":{\"message\":\"no\"}}\n\n", none, Fault::ServerError},
        {"the context is full", "data: {\"error\":{\"code\":\"context_length_exceeded\"}}\n\n", none,
         Fault::ContextTooLong},
        {"filtered", filtered, none, Fault::Refused},
        {"events of something else", "data: [1]\n\n", none, Fault::Garbage},
        {"whole", "\n {\"choices\":[{\"message\":{\"content\":\"Jü\\nx\"},\"finish_reason\":\"stop\"}]}", u"Jü\nx"_s},
        {"whole without a choice", "{\"choices\":[]}", none, Fault::Garbage},
        {"whole refusal", "{\"choices\":[{\"message\":{\"content\":null,\"refusal\":\"no\"}}]}", none, Fault::Refused},
        {"half", "{\"choices\":[{\"message\":{\"cont", none, Fault::Garbage},
        {"a page", "<html>Welcome</html>", none, Fault::Garbage},
        {"nothing", "", none, Fault::Garbage},
    };
    for (const auto& row : rows) {
        for (qsizetype size = 1; size <= row.answer.size() + 1; ++size) {
            SCOPED_TRACE(testing::Message() << row.what << " in pieces of " << size);
            const auto text = readInPieces(row.answer, size);
            ASSERT_EQ(text.ok(), row.text.has_value());
            if (text) {
                ASSERT_EQ(text->text, *row.text);
            } else {
                ASSERT_EQ(text.error(), row.fault);
            }
        }
    }
}

TEST(ChatProtocolTest, AnAnswerWithoutEndIsLeft) {
    AnswerReader reader;
    const QByteArray event = said(QByteArray(10'000, 'x'));
    for (int i = 0; i < 101 && !reader.fault(); ++i) reader.add(event);
    EXPECT_EQ(reader.fault(), Fault::TooLong);

    AnswerReader line;
    line.add("data: ");
    const QByteArray spaces(1'000'000, ' ');
    for (int i = 0; i < 65 && !line.fault(); ++i) line.add(spaces);
    EXPECT_EQ(line.fault(), Fault::TooLong);
}

TEST(ChatProtocolTest, StatusesSayWhatIsWrong) {
    const std::tuple<int, QByteArray, Fault> rows[] = {
        {400, "{\"error\":{\"code\":\"context_length_exceeded\"}}", Fault::ContextTooLong},
        {400, "{\"error\":{\"type\":\"exceed_context_size_error\"}}", Fault::ContextTooLong},
        {500, "{\"error\":\"input exceeds the context window\"}", Fault::ContextTooLong},
        {413, "", Fault::ContextTooLong},
        {400, "{\"error\":{\"message\":\"response_format unknown\"}}", Fault::WrongRequest},
        {422, "no json", Fault::WrongRequest},
        {401, "{\"error\":{\"message\":\"Incorrect key: sk-1\"}}", Fault::Unauthorised},
        {404, "{\"error\":{\"message\":\"model 'x' not found\"}}", Fault::NoSuchModel},
        {429, "", Fault::Busy},
        {500, "<html>", Fault::ServerError},
        {302, "", Fault::Garbage},
    };
    for (const auto& [status, body, fault] : rows)
        EXPECT_EQ(faultOfStatus(status, body), fault) << status << body.constData();
}

} // namespace
} // namespace quillet::chat
