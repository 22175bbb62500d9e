#include "app/NotesServices.h"

#include "notes/joplin/FakeService.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace quillet {
namespace {

TEST(NotesServicesTest, AChoiceOfTheNotesApplicationCountsAtOnce) {
    MemoryUserDefaults defaults;
    const auto notes = makeNotesApplication(defaults);
    const struct {
        const char* stored;
        bool asks, asksAtMostOnce;
    } rows[] = {{"vault", false, true}, {"joplin", true, false}, {"paper", false, true}, {"joplin", true, false}};
    for (const auto& row : rows) {
        defaults.set(DefaultsKeys::notesApplication, QString::fromLatin1(row.stored));
        EXPECT_EQ(notes->asksForConsent(), row.asks) << row.stored;
        EXPECT_EQ(notes->asksAtMostOnce(), row.asksAtMostOnce) << row.stored;
    }
}

TEST(NotesServicesTest, WaitingForTheUserOfJoplinCanBeEnded) {
    using test::FakeService;
    int looks = 0;
    FakeService joplin([&looks](const FakeService::Request& request) -> FakeService::Answer {
        if (request.path == QStringLiteral("/auth")) return {.body = R"({"auth_token":"one"})", .header = {}};
        if (!request.query.hasQueryItem(QStringLiteral("auth_token"))) return FakeService::asJoplin(request);
        ++looks;
        return {.body = R"({"status":"waiting"})", .header = {}};
    });
    MemoryUserDefaults defaults;
    defaults.set(DefaultsKeys::notesApplication, QStringLiteral("joplin"));
    defaults.set(DefaultsKeys::joplinPort, QString::number(joplin.serverPort()));
    const auto notes = makeNotesApplication(defaults);
    std::atomic<bool> isAnswered = false;
    std::thread worker([&] {
        EXPECT_FALSE(notes->requestAccess());
        isAnswered = true;
    });
    EXPECT_TRUE(test::waitFor([&] { return looks > 0; }));
    notes->cancelRequest();
    EXPECT_TRUE(test::waitFor([&] { return isAnswered.load(); }));
    joplin.die();
    worker.join();
}

TEST(NotesServicesTest, AVaultThatIsGoneIsAFailureAndTheNoteIsKeptForLater) {
    MemoryUserDefaults defaults;
    defaults.set(DefaultsKeys::notesVaultFolder, QByteArray("/nonexistent/drive/vault"));
    NotesServices notes(defaults, [] { return true; });
    const std::filesystem::path recording = "/nonexistent/Meeting.m4a";

    const auto result = notes.makeNote(recording, std::chrono::system_clock::now());

    ASSERT_TRUE(result.has_value()) << "nothing would be said";
    EXPECT_FALSE(result->success);
    EXPECT_TRUE(notes.pending.find(recording).has_value());
}

} // namespace
} // namespace quillet
