#include "QuilletProcess.h"
#include "summarisation/LongMeeting.h"
#include "support/ChatServer.h"
#include "support/Files.h"

#include <QElapsedTimer>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <csignal>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

ChatServer::Answer takeMinutes(const ChatServer::Request& request) { return {LongMeeting::minutes(request.prompt())}; }

class SummariseCommandTest : public testing::Test {
protected:
    void setUp(const ChatServer& server, const QString& which = u"local"_s) {
        quillet.set(u"corvane.%1ModelAddress"_s.arg(which), server.address());
        quillet.set(u"corvane.%1ModelName"_s.arg(which), u"small"_s);
    }
    QString write(const QString& name, const QByteArray& bytes) { return makeFile(quillet.folder(name), bytes); }

    void SetUp() override { quillet.environment.insert(u"QUILLET_CLOUD_KEY"_s, QString()); }

    QuilletProcess quillet;
};

TEST_F(SummariseCommandTest, ALongTranscriptBecomesTextsOnStandardOutput) {
    const LongMeeting meeting(27'000);
    ChatServer server(takeMinutes, 4096);
    setUp(server);

    ASSERT_EQ(quillet.run({u"summarise"_s, write(u"meeting.txt"_s, meeting.transcript.toUtf8()), u"--json"_s}), 0)
        << quillet.errors.toStdString();
    EXPECT_EQ(quillet.json()[u"decisions"_s].toString(), u"• "_s + meeting.expectedDecisions().join(u"\n• "_s));
    EXPECT_TRUE(quillet.json()[u"followUps"_s].isNull());
    EXPECT_TRUE(quillet.errors.startsWith(u"reading part 1 of "_s)) << quillet.errors.toStdString();
    EXPECT_TRUE(quillet.errors.endsWith(u"merging\n"_s)) << quillet.errors.toStdString();

    quillet.start({u"summarise"_s, u"-"_s});
    quillet.process.write("Ada: we decide on item 1. I take task 2.");
    quillet.process.closeWriteChannel();
    ASSERT_EQ(quillet.finish(), 0);
    EXPECT_EQ(quillet.output, u"The team „went through“ its open points.\n\nKey decisions\n• Beschluss 1 – gefasst\n\n"
                              u"Action items\n• Aufgabe 2\n\nFollow-ups\n• None recorded\n"_s);
}

TEST_F(SummariseCommandTest, WhatCannotBeSummarisedIsSaid) {
    const QString good = write(u"good.txt"_s, "Ada: hi");
    EXPECT_EQ(quillet.run({u"summarise"_s, good}), 1);
    EXPECT_TRUE(quillet.errors.contains(u"corvane.localModelAddress"_s)) << "how to get one";

    ChatServer server(takeMinutes);
    setUp(server);
    const std::tuple<QString, int, const char*> rows[] = {
        {write(u"empty.txt"_s, ""), 1, "is empty"},
        {write(u"sound.m4a"_s, QByteArray("\0\0\0\1ftyp\xff\xfe", 10)), 1, "is no text."},
        {write(u"latin1.txt"_s, "J\xfcrgen: hi"), 0, "read as Latin-1"},
        {quillet.folder(u"nowhere.txt"_s), 1, "cannot be read"},
        {quillet.folder(), 1, "cannot be read"},
        {u"/proc/self/mem"_s, 1, "cannot be read: Input/output error."}, // it opens
        {u"--jsson"_s, 2, "jsson"},
    };
    for (const auto& [path, status, says] : rows) {
        EXPECT_EQ(quillet.run({u"summarise"_s, path}), status) << path.toStdString();
        EXPECT_TRUE(quillet.errors.contains(QLatin1String(says))) << quillet.errors.toStdString();
        EXPECT_EQ(quillet.output.isEmpty(), status != 0);
    }
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_TRUE(server.requests()[0].prompt().endsWith(u"Jürgen: hi"_s));
}

TEST_F(SummariseCommandTest, CtrlCEndsItSoon) {
    ChatServer server([](const auto&) { return ChatServer::Answer{{}, ChatServer::Answer::Kind::Never}; });
    setUp(server);
    quillet.start({u"summarise"_s, write(u"good.txt"_s, "Ada: hi")});
    QElapsedTimer timer;
    timer.start();
    while (server.requests().empty() && timer.elapsed() < 20'000) quillet.process.waitForReadyRead(20);
    ASSERT_EQ(server.requests().size(), 1U);
    ::kill(static_cast<pid_t>(quillet.process.processId()), SIGINT);
    EXPECT_EQ(quillet.finish(10'000), 1);
    EXPECT_TRUE(quillet.errors.contains(u"cancelled"_s)) << quillet.errors.toStdString();
}

TEST_F(SummariseCommandTest, TheCloudIsNamedAndItsKeyIsNot) {
    ChatServer server(takeMinutes);
    setUp(server, u"cloud"_s);
    const QString good = write(u"good.txt"_s, "Ada: hi");
    // The machine's own keyring is none of the test's business.
    const QString bin = quillet.folder(u"bin"_s);
    const QString tool = write(u"bin/secret-tool"_s, "#!/bin/sh\nexit 1\n");
    const QFile::Permissions executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QFile::setPermissions(tool, executable);
    quillet.environment.insert(u"PATH"_s, bin + u':' + qEnvironmentVariable("PATH"));

    EXPECT_EQ(quillet.run({u"summarise"_s, good}), 1);
    EXPECT_TRUE(quillet.errors.contains(u"QUILLET_CLOUD_KEY"_s)) << quillet.errors.toStdString();
    EXPECT_EQ(server.requests().size(), 0U);

    makeFile(tool, "#!/bin/sh\n[ \"$*\" = 'lookup application quillet purpose summaries' ] && printf fr0m-keyring\n");
    EXPECT_EQ(quillet.run({u"summarise"_s, good}), 0) << quillet.errors.toStdString();
    EXPECT_TRUE(quillet.errors.contains(u"is sent to 127.0.0.1:"_s)) << quillet.errors.toStdString();

    quillet.environment.insert(u"QUILLET_CLOUD_KEY"_s, u"fr0m-environment"_s);
    EXPECT_EQ(quillet.run({u"summarise"_s, good}), 0);
    EXPECT_FALSE((quillet.errors + quillet.output).contains(u"fr0m"_s));
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests()[0].authorisation, "Bearer fr0m-keyring");
    EXPECT_EQ(server.requests()[1].authorisation, "Bearer fr0m-environment");

    quillet.set(u"cloudFallbackEnabled"_s, u"false"_s);
    EXPECT_EQ(quillet.run({u"summarise"_s, good}), 1);
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(SummariseCommandTest, ANoteGetsTheTextsOrASentenceWhyNot) {
    const QDir vault(quillet.folder(u"vault"_s));
    vault.mkpath(u"."_s);
    quillet.set(u"corvane.notesVaultFolder"_s, vault.path());
    const auto makeNote = [&](const QString& name, const QStringList& more) {
        const QString recording = write(name + u".m4a"_s, "sound");
        return quillet.run(QStringList{u"notes"_s, u"create"_s, recording, u"--title"_s, name} + more);
    };
    const auto note = [&](const QString& name) {
        return QString::fromUtf8(contentsOf(vault.filePath(name + u".md"_s)));
    };
    const QString transcript = write(u"t.txt"_s, "Ada: we decide on item 3. I take task 4.");

    EXPECT_EQ(makeNote(u"Alone"_s, {u"--transcript"_s, transcript, u"--summarise"_s}), 0);
    EXPECT_TRUE(quillet.errors.contains(u"The note has no summary. "_s)) << quillet.errors.toStdString();
    EXPECT_TRUE(note(u"Alone"_s).contains(u"No summary available."_s)) << note(u"Alone"_s).toStdString();
    EXPECT_TRUE(note(u"Alone"_s).contains(u"we decide on item 3"_s));

    ChatServer server(takeMinutes);
    setUp(server);
    EXPECT_EQ(makeNote(u"Helped"_s, {u"--transcript"_s, transcript, u"--summarise"_s, u"--actions"_s, u"Mine"_s}), 0);
    const QString text = note(u"Helped"_s);
    EXPECT_TRUE(text.contains(u"The team „went through“ its open points."_s)) << text.toStdString();
    EXPECT_TRUE(text.contains(u"- Beschluss 3 – gefasst"_s)) << text.toStdString();
    EXPECT_TRUE(text.contains(u"Mine"_s) && !text.contains(u"Aufgabe"_s)) << "what the user gives stays";

    EXPECT_EQ(makeNote(u"Bare"_s, {u"--summarise"_s}), 2);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(SummariseCommandTest, TheCheckSaysWhetherTheModelAnswers) {
    ChatServer server([](const ChatServer::Request& request) {
        return ChatServer::Answer{request.hasSchema() ? u"{\"status\":\"ok\"}"_s : QString()};
    });
    setUp(server);
    EXPECT_EQ(quillet.run({u"summarise"_s, u"--check"_s}), 0) << quillet.errors.toStdString();
    EXPECT_TRUE(quillet.output.startsWith(u"“small” at 127.0.0.1:"_s)) << quillet.output.toStdString();
    quillet.set(u"corvane.localModelAddress"_s, u"http://127.0.0.1:1"_s);
    EXPECT_EQ(quillet.run({u"summarise"_s, u"--check"_s}), 1);
}

} // namespace
} // namespace quillet::test
