#include "summarisation/ChatCompletionsModel.h"

#include "summarisation/MeetingSummary.h"
#include "support/ChatServer.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <thread>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::ChatServer;
using Answer = ChatServer::Answer;
using Kind = ModelError::Kind;

const QString kGood = u"{\"overview\":\"Wir „trafen“ uns.\",\"decisions\":[\"a\"],\"actionItems\":[],\"nextSteps\":[],"
                      u"\"topics\":[]}"_s;
ModelRequest request() { return {u"Be brief."_s, u"Ada: hello"_s, MeetingSummary::generationSchema()}; }
const ChatLimits kPatient{.connect = 30s, .silence = 30s, .whole = 60s, .snapshotEvery = 0ms};
const ChatLimits kShort{.connect = 30s, .silence = 300ms, .whole = 1s, .snapshotEvery = 0ms};

ChatEndpoint endpointOf(const QString& address) {
    return {.address = QUrl(address), .model = u"small"_s, .contextTokens = 4096, .replyTokens = 500};
}

/// Answers each request with the next of the answers, and with the last from then on.
ChatServer::Script inTurn(std::vector<Answer> answers) {
    return [answers = std::move(answers), next = std::size_t{0}](const ChatServer::Request&) mutable {
        return answers[std::min(next++, answers.size() - 1)];
    };
}

TEST(ChatCompletionsModelTest, WholeAndStreamedRepliesAreTheSame) {
    ChatServer server(inTurn({{kGood}}));
    ChatCompletionsModel model(endpointOf(server.address()), {}, kPatient);
    std::vector<MeetingSummary::PartiallyGenerated> snapshots;

    const auto whole = model.respond(request(), {});
    const auto keep = [&](const GeneratedContent& content) {
        snapshots.push_back(MeetingSummary::PartiallyGenerated::from(content).value());
    };
    const auto streamed = model.streamResponse(request(), keep, {});

    ASSERT_TRUE(whole.ok() && streamed.ok());
    EXPECT_EQ(*whole, *streamed);
    EXPECT_EQ(MeetingSummary::from(*whole)->overview, u"Wir „trafen“ uns."_s);
    ASSERT_FALSE(snapshots.empty());
    EXPECT_EQ(snapshots.front().id, snapshots.back().id);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_FALSE(requests[0].isStreamed());
    EXPECT_TRUE(requests[1].isStreamed());
    EXPECT_EQ(requests[0].body[u"model"_s].toString(), u"small"_s);
    EXPECT_EQ(requests[0].prompt(), request().prompt);
    EXPECT_TRUE(requests[0].hasSchema());
    EXPECT_EQ(requests[0].authorisation, QByteArray());
}

TEST(ChatCompletionsModelTest, BadAnswersAreMendedOnceOrBecomeAReason) {
    const Answer good{kGood}, prose{u"They talked about the plan."_s},
        half{kGood.left(60), Answer::Kind::Model, 200, u"length"_s};
    const Answer wrongTypes{QString(kGood).replace(u"[\"a\"]"_s, u"[1]"_s)};
    const auto raw = [](int status, const QByteArray& body, const QByteArray& header = {}) {
        return Answer{QString::fromUtf8(body), Answer::Kind::Raw, status, {}, header};
    };
    const struct {
        const char* what;
        std::vector<Answer> answers;
        std::optional<Kind> failure;
        std::size_t requests;
        const ChatLimits& limits = kPatient;
    } rows[] = {
        {"prose, then what was asked for", {prose, good}, {}, 2},
        {"half, then whole", {half, good}, {}, 2},
        {"wrong types, then right ones", {wrongTypes, good}, {}, 2},
        {"in a code fence", {{u"```json\n"_s + kGood + u"\n```"_s}}, {}, 1},
        {"prose for ever", {prose}, Kind::Unreadable, 2},
        {"half for ever", {half}, Kind::Unreadable, 2},
        {"an empty reply", {{u""_s}}, Kind::Unreadable, 2},
        {"options that it refuses", {raw(400, "{\"error\":{\"message\":\"response_format?\"}}"), good}, {}, 2},
        {"all that it refuses", {raw(400, "{}")}, Kind::Failed, 2},
        {"500", {raw(500, "{\"error\":{\"message\":\"panic\"}}")}, Kind::Failed, 1},
        {"500 after prose", {prose, raw(500, "")}, Kind::Failed, 2},
        {"no such model", {raw(404, "{}")}, Kind::Unavailable, 1},
        {"a wrong key", {raw(401, "{\"error\":{\"message\":\"Incorrect API key: s3cret\"}}")}, Kind::Refused, 1},
        {"too long", {raw(400, "{\"error\":{\"code\":\"context_length_exceeded\"}}")}, Kind::ContextTooLong, 1},
        {"another place", {raw(307, "", "Location: http://127.0.0.1:1/v1\r\n")}, Kind::Unreadable, 1},
        {"broken off", {{kGood, Answer::Kind::Breaking}}, Kind::Failed, 1},
        {"never", {{{}, Answer::Kind::Never}}, Kind::TimedOut, 1, kShort},
        {"too slowly", {{u" "_s, Answer::Kind::Trickling}}, Kind::TimedOut, 1, kShort},
        {"too much", {{u"x"_s.repeated(1'100'000)}}, Kind::Unreadable, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ChatServer server(inTurn(row.answers));
        ChatCompletionsModel model(endpointOf(server.address()), u"s3cret"_s, row.limits);
        const auto reply = model.respond(request(), {});
        EXPECT_EQ(reply.ok(), !row.failure);
        if (!reply && row.failure) {
            EXPECT_EQ(reply.error().kind, *row.failure);
            EXPECT_TRUE(reply.error().reason.endsWith(u'.')) << reply.error().reason.toStdString();
            EXPECT_FALSE(reply.error().reason.contains(u"s3cret"_s)) << "keys stay where they are";
        }
        const auto requests = server.requests();
        ASSERT_EQ(requests.size(), row.requests);
        EXPECT_EQ(requests[0].authorisation, "Bearer s3cret");
        if (requests.size() == 1 || row.answers[0].text != prose.text) continue;
        EXPECT_EQ(requests[1].messages(), requests[0].messages() + 2) << "the model is shown its reply";
        EXPECT_EQ(requests[1].body[u"messages"_s][2][u"content"_s].toString(), prose.text);
    }
}

TEST(ChatCompletionsModelTest, AServerThatIsNotThereIsNamed) {
    const QString address = ChatServer(inTurn({{kGood}})).address();
    const auto reply = ChatCompletionsModel(endpointOf(address), {}, kPatient).respond(request(), {});
    ASSERT_FALSE(reply.ok());
    EXPECT_EQ(reply.error().kind, Kind::Unavailable);
    EXPECT_TRUE(reply.error().reason.contains(u"127.0.0.1:"_s));
}

TEST(ChatCompletionsModelTest, AThoughtfulModelIsWaitedFor) {
    ChatServer server([](const ChatServer::Request&) {
        std::this_thread::sleep_for(600ms);
        return Answer{kGood};
    });
    const ChatLimits limits{.connect = 300ms, .silence = 5s, .whole = 10s, .snapshotEvery = 0ms};
    EXPECT_TRUE(ChatCompletionsModel(endpointOf(server.address()), {}, limits).respond(request(), {}).ok())
        << "the limit for taking a request is none for thinking about it";
}

TEST(ChatCompletionsModelTest, StopsAtOnceWhenAsked) {
    for (const Answer::Kind kind : {Answer::Kind::Never, Answer::Kind::Trickling}) {
        ChatServer server(inTurn({{u" "_s, kind}}));
        ChatCompletionsModel model(endpointOf(server.address()), {}, {});
        StopSource stop;
        QElapsedTimer timer;
        timer.start();
        std::thread stopper([&] {
            while (server.requests().empty() && timer.elapsed() < 5000) std::this_thread::yield();
            stop.requestStop();
        });
        const auto reply = model.respond(request(), stop.token());
        stopper.join();
        ASSERT_FALSE(reply.ok());
        EXPECT_EQ(reply.error().kind, Kind::Cancelled);
        EXPECT_LT(timer.elapsed(), 5000);
        EXPECT_EQ(model.respond(request(), stop.token()).error().kind, Kind::Cancelled);
        EXPECT_EQ(server.requests().size(), 1U) << "nothing is sent after that";
    }
}

} // namespace
} // namespace quillet
