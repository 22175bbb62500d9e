#include "notes/joplin/JoplinTestSupport.h"
#include "notes/joplin/RealJoplin.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

namespace quillet::test {
namespace {

using testing::IsSupersetOf;

class JoplinTest : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string reason = RealJoplin::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
        ASSERT_TRUE(joplin.start());
        ASSERT_TRUE(secrets->keepToken(joplin.token()));
    }

    NoteOutcome create(const NoteDraft& draft) {
        return onWorker([&] { return application.createNoteWithAttachment(draft); });
    }
    NotesAccess probe() {
        return onWorker([&] { return application.probeAccess(); });
    }

    RealJoplin joplin;
    JoplinUser user;
    std::shared_ptr<FileJoplinSecrets> secrets = user.secrets();
    JoplinNotesApplication application{secrets,
                                       {.ports = [this] { return std::vector<quint16>{joplin.port()}; },
                                        .limits = {},
                                        .lockFolder = user.path("").toStdString(),
                                        .consentPoll = std::chrono::milliseconds(50)}};
};

TEST_F(JoplinTest, notesArriveWithTheirTextAndTheirSound) {
    QString large = u("# Big — today\n\n");
    while (large.size() < 100'000)
        large += u("Žluťoučký 漢字 😀 ‏שלום‏ ![x](file:///etc/passwd) <img src=\"http://x\">\n• a\n");
    const std::pair<QString, QString> rows[] = {
        {u("20250314 - Meeting Recording - 09:05"),
         u("# T — today\n\n## Attendees\nUnknown\n\n## Decisions\n• None\n\n")},
        {u("\"q\" \\ 'a' `$(b)` \r\n\t😀 ‏שלום‏ ../.x CON"), large},
        {u("x").repeated(10'000), u("no heading ![x](file:///etc/passwd)")},
        {u(""), u("")},
    };
    int number = 0;
    for (const auto& [title, text] : rows) {
        SCOPED_TRACE(title.left(40).toStdString());
        const QString folder = u("Folder %1").arg(++number);
        NoteDraft draft = user.draft(title, text);
        draft.folderName = folder;

        const NoteOutcome outcome = create(draft);

        EXPECT_TRUE(outcome.success) << qPrintable(outcome.reason);
        const QJsonArray notes = joplin.notesIn(folder);
        ASSERT_EQ(notes.size(), 1);
        EXPECT_EQ(notes[0][u("title")].toString(), title);
        const QJsonArray resources = joplin.list(u("/notes/") + notes[0][u("id")].toString() +
                                                 u("/resources?fields=id,title,mime,size,file_extension"));
        ASSERT_EQ(resources.size(), 1) << "nothing that the user's text names was fetched";
        const QString id = resources[0][u("id")].toString();
        const QJsonObject expected{{u("id"), id},
                                   {u("title"), u("talk.m4a")},
                                   {u("mime"), u("audio/mp4")},
                                   {u("size"), user.read("talk.m4a").size()},
                                   {u("file_extension"), u("m4a")}};
        EXPECT_EQ(resources[0].toObject(), expected);
        EXPECT_EQ(joplin.call("GET", u("/resources/") + id + u("/file")), user.read("talk.m4a"));
        const QString player = u("\n\n[talk.m4a](:/") + id + u(")");
        QString body = text;
        body = body.contains(u("\n\n")) ? body.replace(body.indexOf(u("\n\n")), 0, player) : body + player + u("\n");
        EXPECT_EQ(notes[0][u("body")].toString(), body.replace(u("\n• "), u("\n- ")));
    }
    EXPECT_EQ(joplin.list(u("/resources")).size(), number);
}

TEST_F(JoplinTest, aFolderIsFoundByItsExactTitleAndMadeOnce) {
    for (int i = 0; i < 105; ++i) joplin.makeFolder(u("F%1").arg(i));
    const QString parent = joplin.makeFolder(u("Parent"));
    const QString nested = joplin.makeFolder(u("Twice"), parent);
    const QString top = joplin.makeFolder(u("Twice"));
    joplin.makeFolder(u("Child"), parent);
    joplin.call("DELETE", u("/folders/") + joplin.makeFolder(u("Trashed")));

    const auto listed = onWorker([&] { return application.fetchFolders(); });
    EXPECT_EQ(listed.size(), 105U + 2U) << "all pages, the top level only, nothing from the trash";
    EXPECT_THAT(listed, IsSupersetOf({u("F104"), u("Twice"), u("Parent")}));

    const struct {
        QString name;
        bool exists;
        bool usable;
    } rows[] = {
        {u("F104"), true, true},        {u(" Twice\r\n"), true, true},
        {u("twice"), false, true},      {u("Child"), true, true},
        {u("Trashed"), false, true},    {u("../x"), false, true},
        {u("/\\x"), false, true},       {u("\"q\"\\'`\n\r漢😀 ‏שלום‏"), false, true},
        {u("CON"), false, true},        {u("x").repeated(10'000), false, true},
        {u("Conflicts"), false, false}, {u("//"), false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.left(40).toStdString());
        EXPECT_EQ(onWorker([&] { return application.testFolderConnection(row.name); }), row.exists);
        EXPECT_EQ(application.canNameFolder(row.name.trimmed()), row.usable);
        const qsizetype before = joplin.list(u("/folders")).size();
        for (const char* title : {"one", "two"}) {
            NoteDraft draft = user.draft(u(title));
            draft.folderName = row.name;
            const NoteOutcome outcome = create(draft);
            EXPECT_EQ(outcome.success, row.usable) << qPrintable(outcome.reason);
            EXPECT_EQ(outcome.reason.contains(u("cannot be called")), !row.usable) << qPrintable(outcome.reason);
            EXPECT_FALSE(outcome.isAutomationDenied);
        }
        EXPECT_EQ(joplin.list(u("/folders")).size() - before, row.usable && !row.exists ? 1 : 0);
    }
    EXPECT_EQ(joplin.list(u("/folders/") + top + u("/notes")).size(), 2) << "the top level is preferred";
    EXPECT_EQ(joplin.list(u("/folders/") + nested + u("/notes")).size(), 0);
    EXPECT_FALSE(onWorker([&] { return application.testFolderConnection(u(" ")); }));
}

TEST_F(JoplinTest, withoutAFolderTheNoteIsWhereTheUserSeesIt) {
    for (const QJsonValue folder : joplin.list(u("/folders")))
        joplin.call("DELETE", u("/folders/") + folder[u("id")].toString());
    EXPECT_TRUE(create(user.draft(u("first"))).success);
    EXPECT_EQ(joplin.notesIn(u("Quillet Notes")).size(), 1) << "when there is no folder at all";

    joplin.makeFolder(u("Newest"));
    joplin.call("DELETE", u("/folders/") + joplin.makeFolder(u("In the trash")));
    EXPECT_TRUE(create(user.draft(u("second"))).success);
    EXPECT_EQ(joplin.notesIn(u("Newest")).size(), 1);
}

TEST_F(JoplinTest, consentIsAskedForAndRemembered) {
    ASSERT_TRUE(secrets->keepToken({}));
    const auto request = [&](const std::function<void()>& press) {
        return onWorker([&] {
            std::atomic<bool> over = false;
            // Pressed until it counts: the request may not have arrived yet.
            std::thread finger([&] {
                while (!over) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(100));
                    if (!over) press();
                }
            });
            const bool answer = application.requestAccess();
            over = true;
            finger.join();
            return answer;
        });
    };
    EXPECT_EQ(probe(), NotesAccess::NotDetermined);
    EXPECT_TRUE(create(user.draft()).isAutomationDenied) << "it is not let in yet";

    EXPECT_FALSE(request([&] { joplin.reject(); }));
    EXPECT_EQ(probe(), NotesAccess::Denied) << "Joplin forgets a refusal, Quillet does not";

    EXPECT_FALSE(request([&] { joplin.call("POST", u("/auth"), {{u("x"), 1}}); })) << "another program asks as well";
    EXPECT_EQ(probe(), NotesAccess::NotDetermined) << "that is no refusal";

    EXPECT_TRUE(request([&] { joplin.accept(); }));
    EXPECT_EQ(probe(), NotesAccess::Granted);
    EXPECT_TRUE(create(user.draft()).success);
}

TEST_F(JoplinTest, aNoteIsMadeOnceAndAgainWhenItWasThrownAway) {
    NoteDraft draft = user.draft();
    draft.folderName = u("Work");
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_TRUE(create(draft).success);
        const QJsonArray notes = joplin.notesIn(u("Work"));
        ASSERT_EQ(notes.size(), 1);
        EXPECT_EQ(joplin.list(u("/resources")).size(), 1);
        if (attempt == 1) joplin.call("DELETE", u("/notes/") + notes[0][u("id")].toString());
    }
}

} // namespace
} // namespace quillet::test
