#include "QuilletProcess.h"
#include "notes/joplin/RealJoplin.h"
#include "support/Files.h"
#include "support/PrivateSoundServer.h"
#include "support/WavFile.h"

#include <QJsonArray>

#include <gmock/gmock.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

/// Each test records a meeting, from live devices where a sound server can be had.
class NoteRecordingTest : public testing::Test {
protected:
    void set(const QString& key, const QString& value) {
        ASSERT_EQ(quillet.run({u"settings"_s, u"set"_s, key, value}), 0) << quillet.errors.toStdString();
    }
    void useSoundServer() {
        server = std::make_unique<PrivateSoundServer>(PrivateSoundServer::Kind::PulseAudio);
        server->start();
        quillet.setEnvironment(u"PULSE_SERVER"_s, qEnvironmentVariable("PULSE_SERVER"));
        server->play(u"speakers"_s, tone(440, 20));
        server->play(u"micfeed"_s, tone(1000, 20));
    }
    QStringList recordMinute() {
        for (const QString& side : {u"a"_s, u"b"_s}) {
            const QString path = quillet.folder(side + u".wav"_s);
            if (!QFile::exists(path)) writeTone(path, 1, 48000, 60.0, 440, 0.3);
        }
        return {u"record"_s,       u"--as-fast-as-possible"_s,
                u"--note"_s,       u"--json"_s,
                u"--system"_s,     u"file:"_s + quillet.folder(u"a.wav"_s),
                u"--microphone"_s, u"file:"_s + quillet.folder(u"b.wav"_s)};
    }

    QuilletProcess quillet;
    std::unique_ptr<PrivateSoundServer> server;
};

TEST_F(NoteRecordingTest, ALiveRecordingBecomesANoteInAVault) {
    if (const std::string why = PrivateSoundServer::whyUnavailable(); !why.empty()) GTEST_SKIP() << why;
    const QString vault = quillet.folder(u"vault"_s);
    QDir().mkpath(vault);
    set(u"corvane.notesVaultFolder"_s, vault);
    set(u"corvane.notesFolderName"_s, u"  Team / Ünïon  "_s.replace(u'/', u'–'));
    set(u"corvane.autoCreateNote"_s, u"true"_s);
    useSoundServer();

    ASSERT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"3"_s, u"--json"_s}), 0) << quillet.errors.toStdString();

    EXPECT_TRUE(quillet.json()[u"noteMade"_s].toBool());
    const auto notes = QDir(vault + u"/Team – Ünïon"_s).entryInfoList({u"*.md"_s}, QDir::Files);
    ASSERT_EQ(notes.size(), 1);
    EXPECT_THAT(notes[0].fileName().toStdString(), testing::ContainsRegex("^20[0-9]{6} - Meeting Recording - "));
    const QByteArray text = contentsOf(notes[0].filePath());
    EXPECT_TRUE(text.startsWith("# 20")) << text.constData();
    EXPECT_TRUE(text.contains("## Summary\nNo summary available.\n"));
    const auto audio = QDir(vault + u"/attachments"_s).entryInfoList({u"*.m4a"_s}, QDir::Files);
    ASSERT_EQ(audio.size(), 1);
    EXPECT_EQ(contentsOf(audio[0].filePath()), contentsOf(quillet.json()[u"path"_s].toString()));
    EXPECT_FALSE(decode(audio[0].filePath()).empty());
    EXPECT_EQ(quillet.run({u"notes"_s, u"folders"_s}), 0);
    EXPECT_EQ(quillet.output, u"Team – Ünïon\n"_s)
        << "recordings have a folder of their own, which is no place for notes";
}

TEST_F(NoteRecordingTest, ALiveRecordingBecomesANoteInJoplin) {
    for (const std::string& why : {PrivateSoundServer::whyUnavailable(), RealJoplin::whyUnavailable()}) {
        if (!why.empty()) GTEST_SKIP() << why;
    }
    RealJoplin joplin;
    ASSERT_TRUE(joplin.start());
    set(u"corvane.notesApplication"_s, u"joplin"_s);
    set(u"corvane.joplinPort"_s, QString::number(joplin.port()));
    set(u"corvane.joplinToken"_s, joplin.token());
    set(u"corvane.notesFolderName"_s, u"Meetings 🎙"_s);
    useSoundServer();

    ASSERT_EQ(quillet.run({u"record"_s, u"--duration"_s, u"3"_s, u"--json"_s, u"--note"_s}), 0)
        << quillet.errors.toStdString();

    EXPECT_TRUE(quillet.json()[u"noteMade"_s].toBool()) << quillet.errors.toStdString();
    const QJsonArray folders = joplin.list(u"/folders?fields=id,title"_s);
    ASSERT_FALSE(folders.isEmpty());
    QString folder;
    for (const auto& entry : folders) {
        if (entry[u"title"_s].toString() == u"Meetings 🎙"_s) folder = entry[u"id"_s].toString();
    }
    const QJsonArray notes = joplin.list(u"/folders/%1/notes?fields=id,title,body"_s.arg(folder));
    ASSERT_EQ(notes.size(), 1);
    EXPECT_TRUE(notes[0][u"title"_s].toString().contains(u" - Meeting Recording - "_s));
    EXPECT_TRUE(notes[0][u"body"_s].toString().startsWith(u"# "_s + notes[0][u"title"_s].toString()));
    const QJsonArray resources = joplin.list(u"/notes/%1/resources?fields=id"_s.arg(notes[0][u"id"_s].toString()));
    ASSERT_EQ(resources.size(), 1);
    EXPECT_EQ(joplin.call("GET", u"/resources/%1/file"_s.arg(resources[0][u"id"_s].toString())),
              contentsOf(quillet.json()[u"path"_s].toString()));
    ASSERT_EQ(quillet.run({u"settings"_s, u"list"_s}), 0);
    EXPECT_FALSE(quillet.output.contains(joplin.token()));
}

TEST_F(NoteRecordingTest, ANoteThatFailsIsSaidAndMadeLater) {
    set(u"corvane.notesVaultFolder"_s, makeFile(quillet.folder(u"not a vault"_s)));
    ASSERT_EQ(quillet.run(recordMinute()), 0) << "the recording itself is safe";
    EXPECT_FALSE(quillet.json()[u"noteMade"_s].toBool());
    EXPECT_TRUE(quillet.errors.contains(u"no note could be made"_s)) << quillet.errors.toStdString();
    const QString recording = quillet.json()[u"path"_s].toString();

    ASSERT_EQ(quillet.run(recordMinute()), 0);
    // Within the same minute the first one has been set aside, and what is known of it has followed.
    const QString second = quillet.json()[u"path"_s].toString();
    const QString first = second == recording ? QString(recording).replace(u".m4a"_s, u" (earlier).m4a"_s) : recording;
    quillet.run({u"notes"_s, u"status"_s});
    for (const QString& path : {first, second})
        EXPECT_TRUE(quillet.output.contains(path)) << quillet.output.toStdString();
    const QString vault = quillet.folder(u"vault"_s);
    QDir().mkpath(vault);
    set(u"corvane.notesVaultFolder"_s, vault);
    ASSERT_EQ(quillet.run({u"notes"_s, u"create"_s, recording, u"--summary"_s, u"• Done"_s}), 0)
        << quillet.errors.toStdString();
    const auto notes = QDir(vault).entryInfoList({u"*.md"_s}, QDir::Files);
    ASSERT_EQ(notes.size(), 1);
    EXPECT_TRUE(contentsOf(notes[0].filePath()).contains("## Summary\n- Done\n"));
    EXPECT_EQ(quillet.run({u"notes"_s, u"status"_s}), 0);
    EXPECT_FALSE(quillet.output.contains(recording)) << "nothing is left to be made";
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s, quillet.folder(u"missing.m4a"_s)}), 1);
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s}), 2);
    EXPECT_EQ(quillet.run({u"notes"_s, u"create"_s, u""_s}), 2);
}

} // namespace
} // namespace quillet::test
