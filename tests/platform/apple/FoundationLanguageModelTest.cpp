#include "platform/apple/FoundationLanguageModel.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillet::apple::test {
namespace {

using Words = std::vector<std::pair<std::int32_t, const char*>>;

/// The model that the calls below reach; it speaks from a thread of its own, as the real one does.
struct FakeModel {
    Words words;
    bool isThere = true;
    QByteArray properties;
    std::atomic<bool> asked = false;
    std::atomic<bool> cancelled = false;
    int releases = 0;
    std::thread thread;
};
FakeModel* model = nullptr;

void* request(const QuilletModelRequest* asked, void* context, QuilletModelAnswer answer) {
    if (!model->isThere) return nullptr;
    model->properties = asked->propertiesJson;
    model->thread = std::thread([context, answer] {
        // Without words it says nothing until it is cancelled.
        while (model->words.empty() && !model->cancelled) std::this_thread::yield();
        for (const auto& [kind, text] : model->words) answer(context, kind, text);
        if (model->words.empty()) answer(context, QuilletModelCancelled, "");
    });
    model->asked = true;
    return model;
}

const FoundationModelCalls kCalls{.opensSession = [] { return true; },
                                  .isReady = [] { return model->isThere; },
                                  .request = request,
                                  .cancel = [](void*) { model->cancelled = true; },
                                  .release = [](void*) { ++model->releases; }};

const ModelRequest kRequest{
    QStringLiteral("Summarise."), QStringLiteral("We agreed."),
    GenerationSchema{QStringLiteral("MeetingSummary"),
                     {{QStringLiteral("overview"), SchemaProperty::Type::Text, QStringLiteral("An “overview”")},
                      {QStringLiteral("decisions"), SchemaProperty::Type::Texts}}}};

class FoundationLanguageModelTest : public testing::Test {
protected:
    FoundationLanguageModelTest() { model = &fake; }
    ~FoundationLanguageModelTest() override {
        if (fake.thread.joinable()) fake.thread.join();
    }
    FakeModel fake;
    FoundationLanguageModel languageModel{kCalls};
};

TEST_F(FoundationLanguageModelTest, theReplyIsReadByTheSchema) {
    fake.words = {{QuilletModelReply, R"({"decisions": ["Ship"], "more": 1, "overview": "Short."})"}};
    const auto reply = languageModel.respond(kRequest, StopToken());
    ASSERT_TRUE(reply.ok());
    ASSERT_EQ(reply->properties().size(), 2U) << "what was not asked for is left out";
    EXPECT_EQ(reply->properties()[0].name, QStringLiteral("overview")) << "in the order of the schema";
    EXPECT_EQ(*reply->text(QStringLiteral("overview")), QStringLiteral("Short."));
    EXPECT_EQ(*reply->texts(QStringLiteral("decisions")), QStringList{QStringLiteral("Ship")});
    EXPECT_FALSE(reply->id().has_value());
    EXPECT_EQ(fake.releases, 1);

    EXPECT_EQ(QJsonDocument::fromJson(fake.properties),
              QJsonDocument::fromJson(R"([{"name": "overview", "description": "An “overview”", "isList": false},
                                          {"name": "decisions", "isList": true}])"));
}

TEST_F(FoundationLanguageModelTest, snapshotsComeBeforeTheReplyUnderOneId) {
    fake.words = {{QuilletModelSnapshot, R"({"overview": "Sh"})"},
                  {QuilletModelSnapshot, "half {"},
                  {QuilletModelSnapshot, R"({"overview": "Short."})"},
                  {QuilletModelReply, R"({"overview": "Short.", "decisions": []})"}};
    std::vector<GenerationID> ids;
    const auto reply = languageModel.streamResponse(
        kRequest, [&](const GeneratedContent& snapshot) { ids.push_back(snapshot.id().value()); }, StopToken());
    ASSERT_TRUE(reply.ok());
    for (const GenerationID& id : ids) EXPECT_EQ(id, ids.front());
    EXPECT_LE(ids.size(), 2U);
}

TEST_F(FoundationLanguageModelTest, everyFailureHasItsKind) {
    using Kind = ModelError::Kind;
    const std::pair<Words, Kind> rows[] = {
        {{{QuilletModelUnavailable, "Apple Intelligence is off"}}, Kind::Unavailable},
        {{{QuilletModelContextTooLong, ""}}, Kind::ContextTooLong},
        {{{QuilletModelRefused, ""}}, Kind::Refused},
        {{{QuilletModelUnreadable, ""}}, Kind::Unreadable},
        {{{QuilletModelFailed, ""}}, Kind::Failed},
        {{{99, ""}}, Kind::Failed},
        {{{QuilletModelReply, "I am afraid"}}, Kind::Unreadable},
        {{{QuilletModelReply, "[]"}}, Kind::Unreadable},
    };
    for (const auto& [words, expected] : rows) {
        fake.words = words;
        const ModelError error = languageModel.respond(kRequest, StopToken()).error();
        EXPECT_EQ(error.kind, expected);
        EXPECT_FALSE(error.reason.isEmpty());
        fake.thread.join();
    }
    EXPECT_TRUE(languageModel.isAvailable());
    fake.isThere = false;
    EXPECT_FALSE(languageModel.isAvailable());
    EXPECT_EQ(languageModel.respond(kRequest, StopToken()).error().kind, Kind::Unavailable);
}

TEST_F(FoundationLanguageModelTest, aStopCancelsTheRequestAndWaitsForItsEnd) {
    StopSource source;
    std::thread stopper([&source] {
        while (!model->asked) std::this_thread::yield();
        source.requestStop();
    });
    const auto reply = languageModel.respond(kRequest, source.token());
    stopper.join();
    ASSERT_FALSE(reply.ok());
    EXPECT_EQ(reply.error().kind, ModelError::Kind::Cancelled);
    EXPECT_TRUE(fake.cancelled);
    EXPECT_EQ(fake.releases, 1);
}

} // namespace
} // namespace quillet::apple::test
