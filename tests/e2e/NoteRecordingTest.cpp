#include "QuilletProcess.h"
#include "notes/joplin/RealJoplin.h"
#include "support/Files.h"
#include "support/ThreadConditions.h"
#include "support/WavFile.h"

#include <QEventLoop>

#include <cerrno>
#include <sys/syscall.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

/// Each test records meetings.
class NoteRecordingTest : public testing::Test {
protected:
    void record(const QStringList& more = {}) { ASSERT_EQ(record(quillet, more), 0) << quillet.errors.toStdString(); }
    static int record(QuilletProcess& by, const QStringList& more) {
        const QString sound = by.folder(u"a.wav"_s);
        writeTone(sound, 1, 48000, 5.0, 440, 0.3);
        const QStringList arguments{u"record"_s,        u"--as-fast-as-possible"_s, u"--json"_s,       u"--system"_s,
                                    u"file:"_s + sound, u"--microphone"_s,          u"file:"_s + sound};
        return by.run(arguments + more);
    }

    QuilletProcess quillet;
};

TEST_F(NoteRecordingTest, ARecordingBecomesANoteInJoplin) {
    if (const std::string why = RealJoplin::whyUnavailable(); !why.empty()) GTEST_SKIP() << why;
    RealJoplin joplin;
    ASSERT_TRUE(joplin.start());
    quillet.set(u"corvane.notesApplication"_s, u"joplin"_s);
    quillet.set(u"corvane.joplinPort"_s, QString::number(joplin.port()));
    quillet.set(u"corvane.joplinToken"_s, joplin.token());
    quillet.set(u"corvane.notesFolderName"_s, u"Meetings 🎙"_s);

    record({u"--note"_s});

    EXPECT_TRUE(quillet.json()[u"noteMade"_s].toBool()) << quillet.errors.toStdString();
    EXPECT_EQ(joplin.notesIn(u"Meetings 🎙"_s).size(), 1);
    EXPECT_EQ(quillet.run({u"notes"_s, u"folders"_s}), 0);
    EXPECT_TRUE(quillet.output.contains(u"Meetings 🎙\n"_s)) << quillet.output.toStdString();
    ASSERT_EQ(quillet.run({u"settings"_s, u"list"_s}), 0);
    EXPECT_FALSE(quillet.output.contains(joplin.token()));
}

TEST_F(NoteRecordingTest, ANoteThatFailsIsSaidAndMadeLater) {
    quillet.set(u"corvane.notesVaultFolder"_s, makeFile(quillet.folder(u"not a vault"_s)));
    record({u"--note"_s});
    EXPECT_FALSE(quillet.json()[u"noteMade"_s].toBool());
    EXPECT_TRUE(quillet.errors.contains(u"no note could be made"_s)) << quillet.errors.toStdString();
    const QString recording = quillet.json()[u"path"_s].toString();

    record({u"--note"_s});
    // Within the same minute the first one has been set aside, and what is known of it has followed.
    const QString second = quillet.json()[u"path"_s].toString();
    const QString first = second == recording ? QString(recording).replace(u".m4a"_s, u" (earlier).m4a"_s) : recording;
    quillet.run({u"notes"_s, u"status"_s});
    for (const QString& path : {first, second})
        EXPECT_TRUE(quillet.output.contains(path)) << quillet.output.toStdString();
    const QString vault = quillet.folder(u"vault"_s);
    QDir().mkpath(vault);
    quillet.set(u"corvane.notesVaultFolder"_s, vault);
    EXPECT_EQ(quillet.run({u"notes"_s, u"authorise"_s}), 0);
    for (const QString& key : {u"corvane.automationPromptAttempted"_s, u"corvane.automationGrantedCached"_s}) {
        quillet.run({u"settings"_s, u"get"_s, key});
        EXPECT_EQ(quillet.output, u"true\n"_s) << key.toStdString();
    }
    ASSERT_EQ(quillet.run({u"notes"_s, u"create"_s, recording, u"--summary"_s, u"• Done"_s}), 0)
        << quillet.errors.toStdString();
    const auto notes = QDir(vault).entryInfoList({u"*.md"_s}, QDir::Files);
    ASSERT_EQ(notes.size(), 1);
    EXPECT_TRUE(contentsOf(notes[0].filePath()).contains("## Summary\n- Done\n"));
    EXPECT_EQ(quillet.run({u"notes"_s, u"status"_s}), 0);
    EXPECT_FALSE(quillet.output.contains(recording)) << "nothing is left to be made";
    quillet.set(u"corvane.autoCreateNote"_s, u"true"_s);
    record();
    EXPECT_TRUE(quillet.json()[u"noteMade"_s].toBool()) << "the settings ask for it";
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s, quillet.folder(u"missing.m4a"_s)}), 1);
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s}), 2);
    EXPECT_EQ(quillet.run({u"settings"_s, u"set"_s, u"corvane.notesFolderName"_s, u"Team/2026"_s}), 2);
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s, u""_s}), 2);
}

TEST_F(NoteRecordingTest, WhatCouldNotBeFinishedIsSaidAndGetsItsNoteOnceRepaired) {
    constexpr std::uint32_t kStartOfRecording = 8192; // what finishing reads first
    const FailingCall noLookBack{__NR_pread64, EIO, 2, kStartOfRecording};
    const QString vault = quillet.folder(u"vault"_s);
    QDir().mkpath(vault);
    quillet.set(u"corvane.notesVaultFolder"_s, vault);
    const std::string why = runWithFailingCalls({noLookBack}, [this] {
        const QEventLoop toWatchProcesses; // as the main thread has one
        QuilletProcess failing;
        failing.environment = quillet.environment;
        EXPECT_EQ(record(failing, {u"--note"_s}), 1);
        EXPECT_TRUE(failing.output.isEmpty()) << failing.output.toStdString();
        EXPECT_TRUE(failing.errors.contains(u"“quillet recover” may still repair it."_s))
            << failing.errors.toStdString();
    });
    if (!why.empty()) GTEST_SKIP() << why;

    const auto kept = QDir(quillet.defaultFolder()).entryInfoList({u"*.m4a"_s}, QDir::Files);
    ASSERT_EQ(kept.size(), 1);
    const QStringList create{u"notes"_s, u"create"_s, kept[0].filePath()};
    EXPECT_EQ(quillet.run(create), 1);
    EXPECT_TRUE(QDir(vault).isEmpty()) << "it would keep the unfinished file";
    EXPECT_EQ(quillet.run({u"recover"_s}), 0);
    quillet.run({u"notes"_s, u"status"_s});
    EXPECT_TRUE(quillet.output.contains(kept[0].filePath())) << quillet.output.toStdString();
    EXPECT_EQ(quillet.run(create), 0) << quillet.errors.toStdString();
}

} // namespace
} // namespace quillet::test
