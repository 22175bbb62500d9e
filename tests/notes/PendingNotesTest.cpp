#include "notes/PendingNotes.h"

#include "notes/RecordingNotes.h"
#include "support/FakeNotesApplication.h"
#include "support/Files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <future>

namespace quillet {
namespace {

namespace fs = std::filesystem;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

class PendingNotesTest : public testing::Test {
protected:
    fs::path folder() const { return temporary.path().toStdString() + "/data/quillet"; }
    fs::path file() const { return folder() / "pending-notes.json"; }
    void write(const QByteArray& bytes) const { test::makeFile(file(), bytes); }

    QTemporaryDir temporary;
    const WallTime completedAt{std::chrono::milliseconds(1764576479123)};
    const std::shared_ptr<test::FakeNotesApplication> application = std::make_shared<test::FakeNotesApplication>();
    MemoryUserDefaults defaults;
    const NoteIntegrator integrator{application, defaults, [] { return true; }};
};

TEST_F(PendingNotesTest, ARecordingIsFoundByAnotherProcessHoweverItsPathIsWritten) {
    EXPECT_FALSE(PendingNotes(folder()).find("/r/a.m4a"));
    ASSERT_TRUE(PendingNotes(folder()).add({"/r/Ü \"1\"\n.m4a", completedAt - std::chrono::hours(1), text("Old")}));
    ASSERT_TRUE(PendingNotes(folder()).add({"/r/b.m4a", completedAt + std::chrono::milliseconds(1), {}}));
    ASSERT_TRUE(PendingNotes(folder()).add({"/r/Ü \"1\"\n.m4a", completedAt, text("Räume/..")}));
    PendingNotes other(folder());
    ASSERT_EQ(other.all().size(), 2U);
    const auto found = other.find("/r/./x/../Ü \"1\"\n.m4a");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->completedAt, completedAt);
    EXPECT_EQ(found->folderName, text("Räume/.."));
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(folder()).permissions(), fs::perms(0700));

    ASSERT_TRUE(other.rename("/r/Ü \"1\"\n.m4a", "/r/Ü (earlier).m4a"));
    ASSERT_TRUE(other.rename("/r/never.m4a", "/r/b.m4a"));
    EXPECT_FALSE(PendingNotes(folder()).find("/r/Ü \"1\"\n.m4a"));
    EXPECT_EQ(PendingNotes(folder()).find("/r/Ü (earlier).m4a")->folderName, text("Räume/.."));

    ASSERT_TRUE(other.remove(completedAt + std::chrono::microseconds(400))) << "it was stored to the millisecond";
    ASSERT_TRUE(other.remove(completedAt + std::chrono::hours(1)));
    EXPECT_FALSE(PendingNotes(folder()).find("/r/Ü (earlier).m4a"));
    EXPECT_TRUE(PendingNotes(folder()).find("/r/b.m4a"));
}

TEST_F(PendingNotesTest, ADamagedFileIsSetAsideAndLosesOnlyWhatCannotBeRead) {
    const QByteArray good(R"({"recording":"/r/a.m4a","completedAt":"2025-12-01T08:07:59.123Z","folderName":"F"})");
    const std::pair<QByteArray, bool> rows[] = {
        // and whether one is kept
        {QByteArray(), false},
        {QByteArray("[{\"recording\":\"/r/a"), false},
        {QByteArray("{}"), false},
        {QByteArray(5'000'000, ' ') + "[" + good + "]", false},
        {"[" + good + R"(,7,{"recording":"/r/c.m4a","completedAt":"yesterday"}])", true},
    };
    int damaged = 0;
    for (const auto& [contents, keepsOne] : rows) {
        SCOPED_TRACE(contents.left(80).toStdString());
        write(contents);
        PendingNotes pending(folder());
        EXPECT_EQ(pending.find("/r/a.m4a").has_value(), keepsOne);
        EXPECT_EQ(test::contentsOf(file()), contents) << "reading changes nothing";
        ASSERT_TRUE(pending.add({"/r/b.m4a", completedAt, {}}));
        EXPECT_EQ(PendingNotes(folder()).all().size(), keepsOne ? 2U : 1U);
        EXPECT_EQ(test::contentsOf(fs::path(file().string() + ".damaged-" + std::to_string(++damaged))), contents);
    }
    write("[" + good + "]");
    ASSERT_TRUE(PendingNotes(folder()).add({"/r/b.m4a", completedAt, {}}));
    EXPECT_FALSE(fs::exists(file().string() + ".damaged-" + std::to_string(damaged + 1)));
}

TEST_F(PendingNotesTest, TheListStaysSmallAndForgetsTheOldestFirst) {
    QByteArray full("[");
    for (std::size_t i = 0; i < PendingNotes::kMostEntries; ++i)
        full += R"({"recording":"/r/)" + QByteArray::number(i) + R"(","completedAt":"2025-12-01T08:07:59.123Z"},)";
    full.back() = ']';
    write(full);
    PendingNotes pending(folder());
    EXPECT_EQ(pending.all().size(), PendingNotes::kMostEntries);
    ASSERT_TRUE(pending.add({"/r/new", completedAt, {}}));
    EXPECT_EQ(pending.all().size(), PendingNotes::kMostEntries);
    EXPECT_EQ(pending.all().front().recording, "/r/1");
    EXPECT_EQ(pending.all().back().recording, "/r/new");
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(pending.add({"/long/" + std::to_string(i), completedAt, QString(1'500'000, QLatin1Char('x'))}));
    EXPECT_LT(fs::file_size(file()), 4'000'000U);
    EXPECT_TRUE(PendingNotes(folder()).find("/long/3"));
    EXPECT_TRUE(PendingNotes(folder()).find("/long/2"));
}

TEST_F(PendingNotesTest, WritersAtTheSameTimeLoseNothing) {
    {
        std::vector<std::future<void>> writers;
        for (const char* name : {"/r/a-", "/r/b-", "/r/c-"}) {
            writers.push_back(std::async(std::launch::async, [this, name] {
                PendingNotes pending(folder());
                for (int i = 0; i < 15; ++i) EXPECT_TRUE(pending.add({name + std::to_string(i), completedAt, {}}));
            }));
        }
    }
    EXPECT_EQ(PendingNotes(folder()).all().size(), 45U);
}

TEST_F(PendingNotesTest, ANoteThatFailedIsMadeLaterAsItWouldHaveBeen) {
    qputenv("TZ", "UTC");
    defaults.set(DefaultsKeys::notesFolderName, text("Then"));
    PendingNotes pending(folder());
    RecordingNotes notes(integrator, pending);
    write("[]");
    const fs::path recording = folder() / "Meeting.m4a";
    const fs::path foreign = folder() / "foreign.m4a";
    std::ofstream(foreign).put('x');

    application->outcome = {false, false, text("The application is closed.")};
    EXPECT_EQ(notes.makeNote(recording, completedAt)->reason, text("The application is closed."));
    application->available = false;
    EXPECT_FALSE(notes.makeNoteLater(recording).has_value());
    EXPECT_FALSE(notes.makeNote("/r/unattempted.m4a", completedAt).has_value());
    EXPECT_TRUE(pending.find("/r/unattempted.m4a"));

    application->available = true;
    application->outcome = {true, false, {}};
    defaults.set(DefaultsKeys::notesFolderName, text("Now"));
    EXPECT_TRUE(notes.makeNoteLater(recording)->success);
    const NoteDraft& later = application->drafts.back();
    EXPECT_EQ(later.title, text("20251201 - Meeting Recording - 08:07"));
    EXPECT_EQ(later.body, application->drafts.front().body);
    EXPECT_EQ(later.folderName, text("Then"));
    EXPECT_FALSE(pending.find(recording));
    ASSERT_TRUE(pending.add({recording, completedAt, text(".never")}));
    EXPECT_TRUE(notes.makeNoteLater(recording)->success);
    EXPECT_EQ(application->drafts.back().folderName, text("Now")) << "the settings have been mended since";

    fs::last_write_time(foreign, std::chrono::file_clock::from_sys(completedAt + std::chrono::hours(24)));
    EXPECT_TRUE(notes.makeNoteLater(foreign)->success);
    EXPECT_EQ(application->drafts.back().title, text("20251202 - Meeting Recording - 08:07"));
    EXPECT_EQ(application->drafts.back().folderName, text("Now"));
    qunsetenv("TZ");
}

TEST_F(PendingNotesTest, AListThatCannotBeKeptDoesNotKeepTheNoteFromBeingMade) {
    test::makeFile(temporary.filePath(text("data"))); // a file where the folder should be
    PendingNotes pending(folder());
    EXPECT_FALSE(pending.add({"/r/a.m4a", completedAt, {}}));
    EXPECT_TRUE(RecordingNotes(integrator, pending).makeNote("/r/a.m4a", completedAt)->success);
}

} // namespace
} // namespace quillet
