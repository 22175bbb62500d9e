#include "notes/NoteIntegrator.h"

#include "support/FakeNotesApplication.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <gmock/gmock.h>

namespace quillet {
namespace {

using testing::IsEmpty;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

class NoteIntegratorTest : public testing::Test {
protected:
    NoteIntegratorTest() {
        qputenv("TZ", "Europe/Berlin");
        qputenv("LC_ALL", "en_GB.UTF-8");
    }
    ~NoteIntegratorTest() override {
        for (const char* variable : {"TZ", "LC_ALL", "LC_TIME", "LANG"}) qunsetenv(variable);
    }

    NoteDraft draftOf(const MeetingDetails& details) {
        EXPECT_TRUE(integrator.createNote("/r/Meeting.m4a", recordedAt, details)->success);
        return application->drafts.back();
    }

    std::shared_ptr<test::FakeNotesApplication> application = std::make_shared<test::FakeNotesApplication>();
    MemoryUserDefaults defaults;
    bool granted = true;
    const WallTime recordedAt{std::chrono::seconds(1764576479)}; // 2025-12-01 08:07:59 UTC
    WallTime now = recordedAt + std::chrono::hours(15);
    NoteIntegrator integrator{application, defaults, [this] { return granted; }, [this] { return now; }};
};

TEST_F(NoteIntegratorTest, ARecordingAloneGivesItsDateAndThePlaceholders) {
    qputenv("LC_ALL", "ar_EG.UTF-8"); // the title is the same whatever the language
    EXPECT_EQ(draftOf({}).title, text("20251201 - Meeting Recording - 09:07"));
    qputenv("LC_ALL", "en_GB.UTF-8");
    const NoteDraft draft = draftOf({});
    EXPECT_EQ(draft.attachment, "/r/Meeting.m4a");
    EXPECT_FALSE(draft.folderName.has_value());
    EXPECT_EQ(draft.body, text("# 20251201 - Meeting Recording - 09:07 — 1 December 2025 at 09:07\n\n"
                               "## Attendees\nUnknown\n\n"
                               "## Summary\nNo summary available.\n\n"
                               "## Key Decisions\n• None recorded\n\n"
                               "## Action Items\n• None recorded\n\n"
                               "## Follow-ups\n• None recorded\n\n"));
}

TEST_F(NoteIntegratorTest, DetailsFillTheirSectionsAndEmptyOnesStayEmpty) {
    defaults.set(DefaultsKeys::includeConsentTimestamp, true);
    const NoteDraft full = draftOf({.durationSeconds = 3725,
                                    .title = text("Weekly \"sync\"\nof ../us"),
                                    .attendees = text("Ann, بن"),
                                    .aiSummary = text("All\r\nwell"),
                                    .keyDecisions = text("• Go"),
                                    .actionItems = text("• Do"),
                                    .followUps = text("• Ask"),
                                    .transcript = text("Ann: ![x](file:///etc/passwd)")});
    EXPECT_EQ(full.title, text("Weekly \"sync\""));
    EXPECT_EQ(full.body, text("# Weekly \"sync\"\nof ../us — 1 December 2025 at 09:07\n\n"
                              "**Duration:** 1h 2m 5s\n\n"
                              "## Attendees\nAnn, بن\n\n## Summary\nAll\r\nwell\n\n## Key Decisions\n• Go\n\n"
                              "## Action Items\n• Do\n\n## Follow-ups\n• Ask\n\n"
                              "## Transcript\nAnn: ![x](file:///etc/passwd)"
                              "\n\n---\nParticipant consent acknowledged: 2 December 2025 at 00:07"));

    const QString empty = text("");
    const NoteDraft hollow = draftOf({0.0, empty, empty, empty, empty, empty, empty, empty});
    EXPECT_EQ(hollow.title, empty);
    EXPECT_EQ(hollow.body, text("#  — 1 December 2025 at 09:07\n\n"
                                "## Attendees\n\n\n## Summary\n\n\n## Key Decisions\n\n\n"
                                "## Action Items\n\n\n## Follow-ups\n\n\n"
                                "\n\n---\nParticipant consent acknowledged: 2 December 2025 at 00:07"));
}

TEST_F(NoteIntegratorTest, ARepeatIsKnownByWhatIsAskedForNotByHowItReads) {
    defaults.set(DefaultsKeys::includeConsentTimestamp, true);
    const NoteDraft first = draftOf({.durationSeconds = 60});
    qputenv("TZ", "Asia/Kathmandu");
    qputenv("LC_ALL", "de_DE.UTF-8");
    now += std::chrono::minutes(1);
    const NoteDraft repeat = draftOf({.durationSeconds = 60});
    EXPECT_NE(repeat.title, first.title);
    EXPECT_NE(repeat.body, first.body);
    EXPECT_EQ(repeat.identity, first.identity);
    for (const MeetingDetails& other : {MeetingDetails{}, MeetingDetails{.durationSeconds = 60, .attendees = text("")}})
        EXPECT_NE(draftOf(other).identity, first.identity);
}

TEST_F(NoteIntegratorTest, DatesAndDurationsSpeakTheUsersLanguage) {
    const WallTime afternoon{std::chrono::seconds(1741007100)}; // 2025-03-03 13:05 UTC
    const std::string longCountry = "de_" + std::string(200, 'Q');
    const struct {
        const char *all, *time, *lang;
        const char *date, *duration;
    } rows[] = {
        {"en_US.UTF-8", "de_DE", "de_DE", "March 3, 2025 at 2:05\u202fPM", "1h 2m 5s"},
        {"", "de_DE.UTF-8@euro", "en_US.UTF-8", "3. März 2025 um 14:05", "1 Std., 2 Min. und 5 Sek."},
        {"", "", "fr", "3 mars 2025 à 14:05", "1h 2min 5s"},
        {"sr_RS@latin", "", "", "3. mart 2025. 14:05", "1 č, 2 m i 5 s"},
        {"C.UTF-8", "", "de_DE", "March 3, 2025 at 2:05\u202fPM", "1h 2m 5s"},
        {"xx_YY.UTF-8", "", "", "March 3, 2025 at 2:05\u202fPM", "1h 2m 5s"},
        {"\xff/../..@@", "", "", "March 3, 2025 at 2:05\u202fPM", "1h 2m 5s"},
        {longCountry.c_str(), "", "", "March 3, 2025 at 2:05\u202fPM", "1h 2m 5s"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.date);
        qputenv("LC_ALL", row.all);
        qputenv("LC_TIME", row.time);
        qputenv("LANG", row.lang);
        EXPECT_EQ(longDateShortTime(afternoon).toStdString(), row.date);
        EXPECT_EQ(abbreviatedDuration(3725).toStdString(), row.duration);
    }
    const std::pair<double, const char*> durations[] = {{3600, "1h"},  {3605.99, "1h 5s"}, {7260, "2h 1m"},
                                                        {59.9, "59s"}, {360000, "100h"},   {0.99, ""},
                                                        {0, ""},       {-0.5, ""},         {HUGE_VAL, ""}};
    for (const auto& [seconds, expected] : durations) EXPECT_EQ(abbreviatedDuration(seconds).toStdString(), expected);
}

TEST_F(NoteIntegratorTest, TheFolderIsTheSettingsUnlessOneIsGiven) {
    const struct {
        std::optional<QString> setting, given, expected;
    } rows[] = {
        {{}, {}, {}},
        {text("   "), {}, {}},
        {text("\n Mee tings\t"), {}, text("Mee tings")},
        {text("Meetings"), text(" Other "), text("Other")},
        {text("Meetings"), text(""), {}},
    };
    for (const auto& row : rows) {
        defaults.remove(DefaultsKeys::notesFolderName);
        if (row.setting) defaults.set(DefaultsKeys::notesFolderName, *row.setting);
        ASSERT_TRUE(integrator.makeNote({"/r/Meeting.m4a", recordedAt, {}, row.given}));
        EXPECT_EQ(application->drafts.back().folderName, row.expected);
    }
}

TEST_F(NoteIntegratorTest, ARefusalIsToldFromAFailureAndFromNoAttempt) {
    granted = false; // not asked for here: the application says no by itself
    application->outcome = {false, true, text("Joplin refused.")};
    EXPECT_TRUE(integrator.createNote("/r/Meeting.m4a", recordedAt)->isAutomationDenied);
    EXPECT_EQ(integrator.makeNote({"/r/Meeting.m4a", recordedAt, {}, {}})->reason, text("Joplin refused."));
    application->outcome = {false, false, text("Full.")};
    const auto failed = integrator.createNote("/r/Meeting.m4a", recordedAt);
    ASSERT_TRUE(failed);
    EXPECT_FALSE(failed->success || failed->isAutomationDenied);
    application->drafts.clear();
    EXPECT_FALSE(integrator.createNote({}, recordedAt).has_value());
    application->available = false;
    EXPECT_FALSE(integrator.createNote("/r/Meeting.m4a", recordedAt).has_value());
    EXPECT_THAT(application->drafts, IsEmpty());
}

TEST_F(NoteIntegratorTest, FoldersAreAskedForOnAWorkerAndAnsweredOnTheMainThread) {
    const struct {
        const char* name;
        std::vector<QString> folders;
        const char* tested;
        bool available, granted, failed, exists;
        int calls; ///< of the application, for both operations together
    } rows[] = {
        {"granted", {text("Work"), text("Home")}, "\tWork ", true, true, false, true, 2},
        {"none there", {}, "Home", true, true, true, false, 2},
        {"nameless", {text("Work")}, " \n", true, true, false, false, 1},
        {"not granted", {text("Work")}, "Work", true, false, true, false, 0},
        {"not available", {text("Work")}, "Work", false, true, true, false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        application->available = row.available;
        granted = row.granted;
        application->folders = row.folders;
        application->folderCalls = 0;
        int answers = 0;
        integrator.fetchFoldersAsyncDetailed([&](const std::vector<QString>& folders, bool failed) {
            ++answers;
            EXPECT_TRUE(MainThread::isCurrent());
            EXPECT_EQ(folders, row.failed ? std::vector<QString>() : row.folders);
            EXPECT_EQ(failed, row.failed);
        });
        integrator.testFolderConnection(text(row.tested), [&](bool exists) {
            ++answers;
            EXPECT_TRUE(MainThread::isCurrent());
            EXPECT_EQ(exists, row.exists);
        });
        EXPECT_EQ(answers, 0);
        ASSERT_TRUE(test::waitFor([&] { return answers == 2; }));
        EXPECT_EQ(application->folderCalls, row.calls);
    }
    EXPECT_FALSE(application->wasAskedOnTheMainThread);
}

} // namespace
} // namespace quillet
