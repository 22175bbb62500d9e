#include "notes/vault/TestVault.h"

#include <QRegularExpression>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace quillet::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(VaultTest, noteHasHeadingPlayerAndBulletsAndIsItsOwnersOnly) {
    const QString theirs =
        u("Žluťoučký 漢字 😀 ‏שלום‏\r\n![x](file:///etc/passwd) <img src=\"http://x\"> ```\n")
            .repeated(9000);

    EXPECT_TRUE(make()
                    .createNoteWithAttachment(
                        draft(u("Sync - 09:05"), u("# Sync - 09:05 — today\n\n## Attendees\n"
                                                   "Unknown\n\n## Key Decisions\n• One\n  • Two\nnot a • bullet\n\n") +
                                                     theirs))
                    .success);

    EXPECT_EQ(read("vault/Sync - 09-05.md"),
              "# Sync - 09:05 — today\n\n[Recording](attachments/Sync%20-%2009-05.m4a)\n\n## Attendees\nUnknown\n\n"
              "## Key Decisions\n- One\n  - Two\nnot a • bullet\n\n" +
                  theirs.toUtf8());
    EXPECT_EQ(read("vault/attachments/Sync - 09-05.m4a"), recordingBytes());
    struct stat status {};
    ASSERT_EQ(stat(path("vault/Sync - 09-05.md").toUtf8(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(stat(path("vault/attachments/Sync - 09-05.m4a").toUtf8(), &status), 0);
    EXPECT_EQ(status.st_nlink, 2U) << "a finished recording costs no second place on the disk";
}

TEST_F(VaultTest, anyTitleBecomesAReadableFileName) {
    const std::pair<QString, QString> rows[] = {
        {u("a*b|c/d\\e:f\"g<h>i?j#k^l[m]n%o"), u("a-b-c-d-e-f-g-h-i-j-k-l-m-n-o")},
        {u("../../etc/passwd"), u("-..-etc-passwd")},
        {u(" ...hidden"), u("hidden")},
        {u("one\ntwo\r\nthree\rfour\u2028five\u0085six\tseven"), u("one two three four five six seven")},
        {u("CON"), u("_CON")},
        {u("lpt1.meeting"), u("_lpt1.meeting")},
        {u("console"), u("console")},
        {u("   "), u("Recording")},
        {u("..."), u("Recording")},
        {u("Budget 2025. "), u("Budget 2025")},
        {u("👩‍👩‍👧 ‏שלום‏"), u("👩‍👩‍👧 ‏שלום‏")},
        {u("invoice\u202Ea4m.exe"), u("invoicea4m.exe")},
        {QString(QChar(0xD83D)) + u("half"), u("-half")},
        {u("nul\0byte").left(3) + QChar::Null + u("byte"), u("nul byte")},
        {QString(10'000, u'x'), QString(100, u'x')},
        {u("👨‍👩‍👧‍👦").repeated(100), u("👨‍👩‍👧‍👦").repeated(9)},
        {u("漢").repeated(300), u("漢").repeated(79)},
    };
    for (const auto& [title, name] : rows) {
        SCOPED_TRACE(title.left(60).toStdString());
        QDir(path("vault")).removeRecursively();
        QDir().mkpath(path("vault"));

        EXPECT_TRUE(make().createNoteWithAttachment(draft(title, u("# ") + title)).success);

        const QStringList all = files();
        ASSERT_EQ(all.size(), 2);
        for (const QString& file : all) {
            EXPECT_EQ(QFileInfo(file).completeBaseName(), name);
            EXPECT_LE(QFileInfo(file).fileName().toUtf8().size(), 255);
        }
        EXPECT_TRUE(read(path("vault/") + name + u(".md")).startsWith((u("# ") + title).toUtf8()));
        EXPECT_EQ(read(path("vault/attachments/") + name + u(".m4a")), recordingBytes());
    }
}

TEST_F(VaultTest, takenNamesAreLeftAloneAndCounted) {
    write(path("vault/Sync.md"), "mine");
    write(path("vault/attachments/Plan.m4a"), "mine too");
    VaultNotesApplication application = make();

    EXPECT_TRUE(application.createNoteWithAttachment(draft(u("Sync"))).success);
    EXPECT_TRUE(application.createNoteWithAttachment(draft(u("Sync"))).success);
    write(path("talk.m4a"), "another recording");
    EXPECT_TRUE(application.createNoteWithAttachment(draft(u("Plan"))).success);

    EXPECT_EQ(read("vault/Sync.md"), "mine");
    EXPECT_EQ(read("vault/attachments/Plan.m4a"), "mine too");
    EXPECT_EQ(files(), (QStringList{u("vault/Plan (2).md"), u("vault/Sync (2).md"), u("vault/Sync (3).md"),
                                    u("vault/Sync.md"), u("vault/attachments/Plan (2).m4a"),
                                    u("vault/attachments/Plan.m4a"), u("vault/attachments/Sync.m4a")}))
        << "the same recording is put there once, another one beside what is there";
    EXPECT_TRUE(read("vault/Plan (2).md").contains("(attachments/Plan%20%282%29.m4a)"));
}

TEST_F(VaultTest, eachKindOfVaultGetsItsOwnPlacesAndLinks) {
    using Traces = std::vector<std::pair<const char*, const char*>>;
    const Traces nothing;
    const auto obsidian = [](const char* settings) { return Traces{{".obsidian/app.json", settings}}; };
    const Traces logseq{{"logseq/config.edn", "{}"}, {"pages/x.md", ""}};
    const Traces zettlr{{".ztr-directory", "{}"}};
    const char* const inFolder = R"({"attachmentFolderPath":"files/audio"})";
    const char* const beside = R"({"attachmentFolderPath":"./"})";
    const char* const below = R"({"attachmentFolderPath":"./in"})";
    const char* const outside = R"({"attachmentFolderPath":"../../x"})";
    const auto top = std::nullopt;
    const auto work = std::optional(u("Team"));
    const struct {
        Traces traces;
        std::optional<QString> folder;
        const char* note;
        const char* recording;
        const char* player;
        bool frontMatter;
    } rows[] = {
        {nothing, work, "Team/A b.md", "attachments/A b.m4a", "[Recording](../attachments/A%20b.m4a)", false},
        {{{".obsidian/x", ""}}, top, "A b.md", "A b.m4a", "![[A b.m4a]]", true},
        {obsidian(inFolder), work, "Team/A b.md", "files/audio/A b.m4a", "![[files/audio/A b.m4a]]", true},
        {obsidian(beside), work, "Team/A b.md", "Team/A b.m4a", "![[Team/A b.m4a]]", true},
        {obsidian(below), work, "Team/A b.md", "Team/in/A b.m4a", "![[Team/in/A b.m4a]]", true},
        {obsidian(outside), top, "A b.md", "A b.m4a", "![[A b.m4a]]", true},
        {obsidian("{{{"), top, "A b.md", "A b.m4a", "![[A b.m4a]]", true},
        {logseq, top, "pages/A b.md", "assets/A b.m4a", "![A b.m4a](../assets/A%20b.m4a)", false},
        {logseq, work, "pages/Team/A b.md", "assets/A b.m4a", "![A b.m4a](../../assets/A%20b.m4a)", false},
        {zettlr, top, "A b.md", "attachments/A b.m4a", "[Recording](attachments/A%20b.m4a)", true},
    };
    for (const auto& row : rows) {
        chosen = path(u("vault of row %1").arg(&row - rows));
        SCOPED_TRACE(chosen.toStdString());
        QDir().mkpath(chosen);
        for (const auto& [file, contents] : row.traces) write(chosen + u'/' + u(file), contents);
        NoteDraft note = draft(u("A b"), u("# A \"b\" — today\n\nText"));
        note.folderName = row.folder;

        EXPECT_TRUE(make().createNoteWithAttachment(note).success);

        const QString text = QString::fromUtf8(read(chosen + u'/' + u(row.note)));
        const QString body = u("# A \"b\" — today\n\n") + u(row.player) + u("\n\nText");
        EXPECT_TRUE(text.endsWith(body)) << qPrintable(text);
        const QString head = text.chopped(body.size());
        const QRegularExpression properties(
            u("^---\ntitle: \"A b\"\ndate: \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\ntags:\n  - recording\n---\n\n$"));
        EXPECT_TRUE(row.frontMatter ? properties.match(head).hasMatch() : head.isEmpty()) << qPrintable(head);
        EXPECT_EQ(read(chosen + u'/' + u(row.recording)), recordingBytes());
    }
}

TEST_F(VaultTest, propertiesOfAHostileTitleStayOneLine) {
    write(path("vault/.obsidian/app.json"), "{}");
    EXPECT_TRUE(make().createNoteWithAttachment(draft(u("\"x\"\\: - \u2028tags: [evil] 😀"))).success);
    EXPECT_TRUE(read(path("vault/-x--- - tags- -evil- 😀.md"))
                    .startsWith(u("---\ntitle: \"\\\"x\\\"\\\\: - \\u2028tags: [evil] 😀\"\ndate: ").toUtf8()));
}

TEST_F(VaultTest, aFolderIsExactlyTheOneNamedAndNeverOutsideTheVault) {
    for (const char* folder :
         {"vault/Team", "vault/team 2", "vault/.hidden", "vault/Team/Sub", "vault/attachments", "outside"})
        QDir().mkpath(path(folder));
    ASSERT_TRUE(QFile::link(path("outside"), path("vault/Link")));
    write(path("vault/File"), "no folder");
    VaultNotesApplication application = make();

    EXPECT_THAT(application.fetchFolders(), ElementsAre(u("Team"), u("team 2"))) << "recordings have theirs";
    const std::tuple<QString, bool, bool> rows[] = {
        {u("Team"), true, true},
        {u(" Team\r\n"), true, true},
        {u("WORK"), false, true},
        {u("Link"), false, false},
        {u("File"), false, false},
        {u(".hidden"), false, false},
        {u(".."), false, false},
        {u("../outside"), false, false},
        {path("outside"), false, false},
        {u("Team/Sub"), false, false},
        {u("a\\b"), false, true},
        {u("CON"), false, true},
        {u("q\"'`$()"), false, true},
        {u("one\ntwo\rthree"), false, true},
        {u("😀 ‏שלום‏"), false, true},
        {u("x").repeated(10'000), false, false},
        {u("nul") + QChar::Null + u("byte"), false, false},
    };
    for (const auto& [name, exists, usable] : rows) {
        SCOPED_TRACE(name.left(40).toStdString());
        const QStringList before = files();
        EXPECT_EQ(application.testFolderConnection(name), exists);
        const bool isInTheWay = name == u("Link") || name == u("File");
        EXPECT_EQ(application.canNameFolder(name.trimmed()), usable || isInTheWay);
        NoteDraft note = draft(u("N"));
        note.folderName = name;

        const NoteOutcome outcome = application.createNoteWithAttachment(note);

        EXPECT_EQ(outcome.success, usable) << qPrintable(outcome.reason);
        EXPECT_NE(outcome.success, !outcome.reason.isEmpty());
        EXPECT_FALSE(outcome.isAutomationDenied);
        EXPECT_EQ(application.testFolderConnection(name), usable);
        if (usable) {
            EXPECT_TRUE(files().contains(u("vault/") + name.trimmed() + u("/N.md")));
        } else {
            EXPECT_EQ(files(), before) << "nothing is left of a note that failed";
        }
    }
    EXPECT_FALSE(application.testFolderConnection(QString()));
    EXPECT_THAT(QDir(path("outside")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), IsEmpty());
}

} // namespace
} // namespace quillet::test
