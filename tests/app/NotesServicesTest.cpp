#include "app/NotesServices.h"

#include "notes/joplin/FakeService.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

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
    FakeService joplin(FakeService::asking([&looks] {
        ++looks;
        return FakeService::Answer{.body = R"({"status":"waiting"})"};
    }));
    MemoryUserDefaults defaults;
    defaults.set(DefaultsKeys::notesApplication, QStringLiteral("joplin"));
    defaults.set(DefaultsKeys::joplinPort, QString::number(joplin.serverPort()));
    const auto notes = makeNotesApplication(defaults);
    auto answer = std::async(std::launch::async, [&] { return notes->requestAccess(); });
    EXPECT_TRUE(test::waitFor([&] { return looks > 0; }));
    notes->cancelRequest();
    EXPECT_TRUE(test::waitFor([&] { return test::isReady(answer); }));
    joplin.die();
    EXPECT_FALSE(answer.get());
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
