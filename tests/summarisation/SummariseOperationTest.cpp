#include "summarisation/SummariseOperation.h"

#include "LongMeeting.h"
#include "summarisation/ChatCompletionsModel.h"
#include "summarisation/LocalSummariser.h"
#include "summarisation/ModelReply.h"
#include "summarisation/TranscriptPieces.h"
#include "support/ChatServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::ChatServer;
using test::LongMeeting;
using Kind = ModelError::Kind;

ChatServer::Answer takeMinutes(const ChatServer::Request& request) { return {LongMeeting::minutes(request.prompt())}; }

ChatCompletionsModel modelOf(const ChatServer& server, int contextTokens) {
    return ChatCompletionsModel({.address = QUrl(server.address()),
                                 .model = u"small"_s,
                                 .contextTokens = contextTokens,
                                 .replyTokens = contextTokens / 4});
}

/// Answers from the test without a server.
class ScriptedModel final : public LanguageModel {
public:
    using Script = std::function<Reply(const ModelRequest& request)>;
    explicit ScriptedModel(Script script, int contextTokens = 4096)
        : m_script(std::move(script)), m_contextTokens(contextTokens) {}

    [[nodiscard]] bool isAvailable() const override { return available; }
    [[nodiscard]] int contextTokens() const override { return m_contextTokens; }
    [[nodiscard]] Reply respond(const ModelRequest& request, const StopToken& stop) override {
        if (stop.stopRequested()) return Failure{ModelError{Kind::Cancelled, {}}};
        prompts += request.prompt;
        return m_script(request);
    }
    [[nodiscard]] Reply streamResponse(const ModelRequest& request, const Snapshots&, const StopToken& stop) override {
        return respond(request, stop);
    }

    bool available = true;
    QStringList prompts;

private:
    const Script m_script;
    const int m_contextTokens;
};

LanguageModel::Reply minutesOf(const ModelRequest& request) {
    return readReply(LongMeeting::minutes(request.prompt), request.schema).value();
}
ScriptedModel::Script failing(Kind kind, const std::function<bool(const QString& prompt)>& when) {
    return [kind, when](const ModelRequest& request) -> LanguageModel::Reply {
        if (when(request.prompt)) return Failure{ModelError{kind, u"No."_s}};
        return minutesOf(request);
    };
}
bool always(const QString&) { return true; }
bool isMerge(const QString& prompt) { return prompt.contains(u"{\"overview\""_s); }
bool isLong(const QString& prompt) { return estimatedTokens(prompt) > 2000; }

TEST(SummariseOperationTest, ThreeHoursOfTalkLoseNoDecision) {
    const LongMeeting meeting(27'000); // 150 words a minute for three hours
    ASSERT_GE(meeting.transcript.split(u' ').size(), 25'000);
    constexpr int kContext = 4096;
    for (const bool streams : {false, true}) {
        SCOPED_TRACE(streams ? "streamed" : "whole");
        ChatServer server(takeMinutes, kContext);
        auto model = modelOf(server, kContext);
        int reading = 0, partsSeen = 0, written = 0;
        bool merging = false;
        const SummaryObserver observer = [&](const SummaryProgress& progress) {
            EXPECT_LE(progress.part, progress.parts);
            if (progress.written) {
                ++written;
            } else if (progress.step == SummaryProgress::Step::Reading) {
                EXPECT_FALSE(merging);
                EXPECT_EQ(progress.part, ++reading);
                partsSeen = progress.parts;
            } else {
                merging = true;
            }
        };
        const auto summary = summariseTranscript(model, meeting.transcript, streams ? observer : SummaryObserver(), {});
        ASSERT_TRUE(summary.ok()) << summary.error().reason.toStdString();
        EXPECT_EQ(summary->decisions, meeting.expectedDecisions());
        EXPECT_EQ(summary->actionItems, meeting.expectedTasks());
        QString read;
        for (const auto& request : server.requests()) {
            EXPECT_EQ(request.isStreamed(), streams);
            read += request.prompt() + u'\n';
        }
        for (const QString& line : meeting.transcript.split(u'\n'))
            ASSERT_TRUE(read.contains(line)) << "every turn is read as a whole: " << line.toStdString();
        if (!streams) continue;
        EXPECT_EQ(reading, partsSeen) << "the last estimate is right";
        EXPECT_TRUE(merging);
        EXPECT_GT(written, reading) << "each reply is seen while it is written";
    }
}

TEST(SummariseOperationTest, DecisionsSurviveWhatCanBeHelped) {
    const LongMeeting meeting(9'000), longer(30'000);
    QString line = longer.transcript;
    line.replace(u'\n', u' ');
    while (line.size() < 5'000'000) line += line;
    line.truncate(5'000'000);
    const struct {
        const char* what;
        const LongMeeting& meeting;
        const QString& transcript;
        ScriptedModel::Script script;
        int contextTokens;
    } rows[] = {
        {"a context smaller than stated", meeting, meeting.transcript, failing(Kind::ContextTooLong, isLong), 9000},
        {"no merging", meeting, meeting.transcript, failing(Kind::Unreadable, isMerge), 4096},
        {"five megabytes on one line", longer, line, minutesOf, 32'768},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ScriptedModel model(row.script, row.contextTokens);
        const auto summary = summariseTranscript(model, row.transcript, {}, {});
        ASSERT_TRUE(summary.ok()) << summary.error().reason.toStdString();
        EXPECT_EQ(summary->decisions, row.meeting.expectedDecisions());
    }
}

TEST(SummariseOperationTest, EveryFailureIsAReasonAndTakesFewRequests) {
    const auto part = [](const ModelRequest&) -> LanguageModel::Reply {
        return GeneratedContent({{u"overview"_s, u"x"_s}});
    };
    const auto empty = [](const ModelRequest&) -> LanguageModel::Reply { return MeetingSummary().generatedContent(); };
    const QString meeting = LongMeeting(3000).transcript;
    const struct {
        const char* what;
        QString transcript;
        ScriptedModel::Script script;
        int contextTokens;
        Kind kind;
        qsizetype requests;
    } rows[] = {
        {"empty", u""_s, minutesOf, 4096, Kind::Failed, 0},
        {"blank", u" \n\t\n "_s, minutesOf, 4096, Kind::Failed, 0},
        {"no room", meeting, minutesOf, 1024, Kind::ContextTooLong, 0},
        {"gone", meeting, failing(Kind::Unavailable, always), 4096, Kind::Unavailable, 1},
        {"refused", meeting, failing(Kind::Refused, always), 4096, Kind::Refused, 1},
        {"always too long", meeting, failing(Kind::ContextTooLong, always), 4096, Kind::ContextTooLong, 4},
        {"always unreadable", meeting, failing(Kind::Unreadable, always), 4096, Kind::Unreadable, 2},
        {"gone while merging", meeting, failing(Kind::Unavailable, isMerge), 4096, Kind::Unavailable, 4},
        {"fields missing", meeting, part, 4096, Kind::Unreadable, 2},
        {"nothing to say", u"Ada: hm"_s, empty, 4096, Kind::Unreadable, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ScriptedModel model(row.script, row.contextTokens);
        const auto summary = summariseTranscript(model, row.transcript, {}, {});
        ASSERT_FALSE(summary.ok());
        EXPECT_EQ(summary.error().kind, row.kind);
        EXPECT_FALSE(summary.error().reason.isEmpty());
        EXPECT_EQ(model.prompts.size(), row.requests);
    }
    ScriptedModel unavailable(minutesOf);
    unavailable.available = false;
    EXPECT_EQ(summariseTranscript(unavailable, meeting, {}, {}).error().kind, Kind::Unavailable);
}

TEST(SummariseOperationTest, StopsBetweenPieces) {
    StopSource stop;
    ScriptedModel model([&](const ModelRequest& request) {
        stop.requestStop();
        return minutesOf(request);
    });
    const auto summary = summariseTranscript(model, LongMeeting(9'000).transcript, {}, stop.token());
    ASSERT_FALSE(summary.ok());
    EXPECT_EQ(summary.error().kind, Kind::Cancelled);
    EXPECT_EQ(model.prompts.size(), 1);
}

TEST(LocalSummariserTest, WorksOneAtATimeOffTheCallersThread) {
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    const auto caller = std::this_thread::get_id();
    const auto model = std::make_shared<ScriptedModel>([&](const ModelRequest& request) {
        EXPECT_NE(std::this_thread::get_id(), caller);
        most = std::max(most.load(), ++running);
        std::this_thread::sleep_for(20ms);
        --running;
        return minutesOf(request);
    });
    LocalSummariser summariser;
    std::vector<std::promise<bool>> done(4);
    for (auto& one : done)
        summariser.summarise(model, u"Ada: we decide on item 1."_s, {}, {},
                             [&one](const SummaryResult& result) { one.set_value(result.ok()); });
    for (auto& one : done) EXPECT_TRUE(one.get_future().get());
    EXPECT_EQ(most, 1);
}

} // namespace
} // namespace quillet
