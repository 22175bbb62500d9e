#include "notes/vault/TestVault.h"
#include "support/ThreadConditions.h"

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace quillet::test {
namespace {

constexpr int kNoSuchService = EOPNOTSUPP;
const FailingCall kNoNamelessFiles{__NR_openat, kNoSuchService, 2, O_TMPFILE & ~O_DIRECTORY};
const FailingCall kNoHardLinks{__NR_linkat, EPERM};
const FailingCall kNoCarefulRename{__NR_renameat2, EINVAL};
const FailingCall kNoCopyInKernel{__NR_copy_file_range, EXDEV};

const struct {
    const char* name;
    std::vector<FailingCall> calls;
    bool succeeds, isDenied;
} kVolumes[] = {
    {"no nameless files", {kNoNamelessFiles}, true, false},
    {"no hard links", {kNoHardLinks}, true, false},
    {"no hard links, no copying in the kernel", {kNoHardLinks, kNoCopyInKernel}, true, false},
    {"a network", {kNoNamelessFiles, kNoCarefulRename, {__NR_copy_file_range, ENOSPC}}, true, false},
    {"a stick", {kNoNamelessFiles, kNoHardLinks, kNoCopyInKernel}, true, false},
    {"hardly anything", {kNoNamelessFiles, kNoHardLinks, kNoCopyInKernel, kNoCarefulRename}, true, false},
    {"full", {{__NR_write, ENOSPC}}, false, false},
    {"full, without nameless files", {{__NR_write, ENOSPC}, kNoNamelessFiles}, false, false},
    {"broken", {{__NR_fsync, EIO}}, false, false},
    {"made read-only", {{__NR_openat, EROFS, 2, O_TMPFILE & ~O_DIRECTORY}}, false, true},
};

TEST_F(VaultTest, volumesWithFewerServicesLoseNothingAndFailuresLeaveNothing) {
    for (const auto& row : kVolumes) {
        SCOPED_TRACE(row.name);
        QDir(path("vault")).removeRecursively();
        write(path("vault/Sync.md"), "mine");
        write(path("vault/attachments/Sync.m4a"), "mine");
        NoteOutcome outcome;

        const std::string failure = runWithFailingCalls(
            row.calls, [&] { outcome = make().createNoteWithAttachment(draft(u("Sync"), u("# Sync"))); });
        if (!failure.empty()) GTEST_SKIP() << failure;

        EXPECT_EQ(outcome.success, row.succeeds) << qPrintable(outcome.reason);
        EXPECT_EQ(outcome.reason.isEmpty(), row.succeeds);
        EXPECT_EQ(outcome.isAutomationDenied, row.isDenied);
        EXPECT_EQ(read("vault/Sync.md"), "mine");
        EXPECT_EQ(read("vault/attachments/Sync.m4a"), "mine");
        EXPECT_EQ(read("talk.m4a"), recordingBytes());
        EXPECT_EQ(files().size(), row.succeeds ? 4 : 2);
        if (!row.succeeds) continue;
        EXPECT_EQ(read("vault/attachments/Sync (2).m4a"), recordingBytes());
        EXPECT_TRUE(read("vault/Sync (2).md").startsWith("# Sync\n\n[Recording]("));
    }
}

TEST_F(VaultTest, aFolderThatMayNotBeMadeLeavesNothing) {
    NoteOutcome outcome;
    const std::string failure = runWithFailingCalls(
        {{__NR_mkdirat, EACCES}}, [&] { outcome = make().createNoteWithAttachment(draft(u("Sync"))); });
    if (!failure.empty()) GTEST_SKIP() << failure;
    EXPECT_TRUE(!outcome.success && outcome.isAutomationDenied);
    EXPECT_EQ(files(), QStringList());
}

TEST_F(VaultTest, aFullVolumeIsSaidAndLeavesNothing) {
    write(path("talk.m4a"), recordingBytes() + recordingBytes() + recordingBytes());
    NoteOutcome fits;
    NoteOutcome tooLarge;
    QStringList after;

    const std::string failure = runOnVolume(Volume::OfOneMebibyte, chosen.toStdString(), [&] {
        const std::string lacking = runWithFailingCalls({kNoNamelessFiles, kNoHardLinks, kNoCarefulRename}, [&] {
            EXPECT_FALSE(make().createNoteWithAttachment(draft(u("Twice"))).success)
                << "it needs two copies for a while";
        });
        EXPECT_EQ(lacking, "");
        fits = make().createNoteWithAttachment(draft(u("One")));
        tooLarge = make().createNoteWithAttachment(draft(u("Two")));
        after = files();
        EXPECT_EQ(read("vault/attachments/One.m4a"), read("talk.m4a")) << "copied from another volume";
    });
    if (!failure.empty()) GTEST_SKIP() << failure;

    EXPECT_TRUE(fits.success) << qPrintable(fits.reason);
    EXPECT_FALSE(tooLarge.success || tooLarge.isAutomationDenied);
    EXPECT_TRUE(tooLarge.reason.contains(u("No space"))) << qPrintable(tooLarge.reason);
    EXPECT_EQ(after, (QStringList{u("vault/One.md"), u("vault/attachments/One.m4a")}));
}

TEST_F(VaultTest, aReadOnlyVolumeIsARefusal) {
    const std::string failure = runOnVolume(Volume::ReadOnly, chosen.toStdString(), [&] {
        VaultNotesApplication application = make();
        EXPECT_TRUE(application.isAvailable());
        EXPECT_EQ(application.probeAccess(), NotesAccess::Denied);
        EXPECT_FALSE(application.requestAccess());
        EXPECT_TRUE(application.createNoteWithAttachment(draft(u("One"))).isAutomationDenied);
        EXPECT_TRUE(application.fetchFolders().empty());
    });
    if (!failure.empty()) GTEST_SKIP() << failure;
}

TEST_F(VaultTest, availabilityIsKnownWithoutTheVolume) {
    bool isAvailable = false;
    const std::string failure =
        runWithFailingCalls({{__NR_newfstatat, ETIMEDOUT}, {__NR_statx, ETIMEDOUT}, {__NR_openat, ETIMEDOUT}},
                            [&] { isAvailable = make().isAvailable(); });
    if (!failure.empty()) GTEST_SKIP() << failure;
    EXPECT_TRUE(isAvailable) << "the main thread asks, and would wait for a network that is gone";
}

TEST_F(VaultTest, accessFollowsTheFolder) {
    VaultNotesApplication application = make();
    EXPECT_FALSE(application.asksForConsent());
    EXPECT_EQ(application.probeAccess(), NotesAccess::Granted);

    QDir(path("vault")).removeRecursively();
    EXPECT_EQ(application.probeAccess(), NotesAccess::Granted) << "it can be made again";
    EXPECT_FALSE(QFileInfo::exists(path("vault"))) << "looking makes nothing of the user's choice";
    EXPECT_TRUE(application.fetchFolders().empty());
    QDir(path("vault")).removeRecursively();
    EXPECT_TRUE(application.createNoteWithAttachment(draft(u("Again"))).success);
    EXPECT_EQ(read("vault/attachments/Again.m4a"), recordingBytes());

    for (const QString& bad : {path("gone/vault"), u("relative"), path("talk.m4a"), path("talk.m4a/vault")}) {
        chosen = bad;
        VaultNotesApplication nowhere = make();
        EXPECT_EQ(nowhere.isAvailable(), QDir::isAbsolutePath(bad)) << qPrintable(bad);
        EXPECT_EQ(nowhere.probeAccess(), NotesAccess::Denied) << qPrintable(bad);
        EXPECT_FALSE(nowhere.requestAccess());
        EXPECT_FALSE(nowhere.createNoteWithAttachment(draft(u("Lost"))).success);
        EXPECT_FALSE(nowhere.testFolderConnection(u("vault")));
    }
    EXPECT_EQ(read("talk.m4a"), recordingBytes());

    chosen.clear();
    VaultNotesApplication standard = make();
    EXPECT_TRUE(standard.isAvailable());
    EXPECT_EQ(standard.probeAccess(), NotesAccess::Granted);
    EXPECT_TRUE(QFileInfo(path("documents/Quillet Notes")).isDir()) << "the default one is there from the start";
}

TEST_F(VaultTest, aNoteGetsTheRecordingThatItWasAskedForWhateverTakesItsName) {
    VaultNotesApplication slow([this] {
        QFile::rename(path("talk.m4a"), path("talk (earlier).m4a"));
        write(path("talk.m4a"), "the next one");
        return chosen;
    });
    EXPECT_TRUE(slow.createNoteWithAttachment(draft(u("One"))).success);
    EXPECT_EQ(read("vault/attachments/One.m4a"), recordingBytes());
}

TEST_F(VaultTest, aRecordingIsAFileAndAnUnreadableOneNoRefusalOfTheVault) {
    NoteDraft note = draft(u("One"));
    for (const QString& bad : {path("missing.m4a"), path("vault"), u("/dev/null")}) {
        note.attachment = bad.toStdString();
        const NoteOutcome outcome = make().createNoteWithAttachment(note);
        EXPECT_FALSE(outcome.success || outcome.isAutomationDenied);
        EXPECT_TRUE(outcome.reason.contains(bad));
    }
    EXPECT_EQ(files(), QStringList());

    ASSERT_TRUE(QFile::link(path("talk.m4a"), path("link.m4a")));
    note.attachment = path("link.m4a").toStdString();
    EXPECT_TRUE(make().createNoteWithAttachment(note).success);
    EXPECT_FALSE(QFileInfo(path("vault/attachments/One.m4a")).isSymLink()) << "what a link leads to is stored";
    EXPECT_EQ(read("vault/attachments/One.m4a"), recordingBytes());
}

TEST_F(VaultTest, aLinkedAttachmentFolderDoesNotLeadOutOfTheVault) {
    QDir().mkpath(path("outside"));
    ASSERT_TRUE(QFile::link(path("outside"), path("vault/attachments")));

    EXPECT_FALSE(make().createNoteWithAttachment(draft(u("One"))).success);

    EXPECT_EQ(files(), QStringList());
}

TEST_F(VaultTest, anotherProgramWritingTheSameNamesLosesNothing) {
    constexpr int kNotes = 60;
    constexpr int kTheirs = 3000;
    QDir().mkpath(path("vault/attachments"));
    std::atomic<bool> stop = false;
    QStringList theirs;
    std::thread synchronisation([&] {
        for (int i = 1; i <= kTheirs && !stop; ++i) {
            const QString name = path("vault/") + (i == 1 ? u("S") : u("S (%1)").arg(i)) + u(".md");
            const int fd = open(name.toUtf8(), O_WRONLY | O_CREAT | O_EXCL, 0600);
            if (fd < 0) continue;
            theirs += name;
            EXPECT_EQ(::write(fd, "theirs", 6), 6);
            close(fd);
            std::this_thread::yield();
        }
    });
    std::atomic<int> made = 0;
    const auto create = [&](const QString& body) {
        for (int i = 0; i < kNotes; ++i) made += make().createNoteWithAttachment(draft(u("S"), body)).success ? 1 : 0;
    };
    std::thread second([&] { create(u("# second")); });
    create(u("# first"));
    second.join();
    stop = true;
    synchronisation.join();

    EXPECT_EQ(made, 2 * kNotes);
    int ours = 0;
    for (const QString& file : files()) {
        if (file.endsWith(u(".md")) && !theirs.contains(path(file)))
            ours += read(path(file)).contains("[Recording](attachments/S") ? 1 : 0;
    }
    EXPECT_EQ(ours, 2 * kNotes) << "every note is there, whole";
    EXPECT_FALSE(theirs.isEmpty());
    for (const QString& file : theirs) EXPECT_EQ(read(file), "theirs") << qPrintable(file);
}

} // namespace
} // namespace quillet::test
