#include "QuilletProcess.h"
#include "support/Files.h"
#include "support/WaitFor.h"
#include "support/WavFile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

class RecordCommandTest : public testing::Test {
protected:
    RecordCommandTest() {
        writeTone(system(), 2, 48000, 3.0, 440, 0.4);
        writeTone(microphone(), 1, 44100, 2.0, 1000, 0.3);
    }
    QString system() const { return quillet.folder(u"other side.wav"_s); }
    QString microphone() const { return quillet.folder(u"own side.wav"_s); }
    QStringList recordFiles(const QStringList& more = {}) const {
        return QStringList{u"record"_s, u"--system"_s, u"file:"_s + system(), u"--microphone"_s,
                           u"file:"_s + microphone()} +
               more;
    }
    /// Waits until a recording of the folder has some seconds on the disk.
    static QString waitForFile(const QString& folder, qint64 bytes) {
        QFileInfo file;
        const auto isThere = [&] {
            file = QDir(folder).entryInfoList({u"*.m4a"_s}, QDir::Files).value(0);
            return file.exists() && file.size() >= bytes;
        };
        return waitFor(isThere, 10000) ? file.filePath() : QString();
    }

    QuilletProcess quillet;
};

TEST_F(RecordCommandTest, TwoFilesBecomeOneRecordingThatPlaysAndIsItsOwnersOnly) {
    ASSERT_EQ(quillet.run(recordFiles({u"--as-fast-as-possible"_s, u"--json"_s})), 0) << quillet.errors.toStdString();

    const QJsonObject result = quillet.json();
    const QString path = result[u"path"_s].toString();
    EXPECT_EQ(result[u"frames"_s].toInt(), 141 * 1024) << "3 s, to the end of the last block";
    EXPECT_NEAR(result[u"durationSeconds"_s].toDouble(), 141 * 1024 / 48000.0, 1e-9);
    EXPECT_NEAR(result[u"systemPeak"_s].toDouble(), 0.4, 0.001);
    EXPECT_NEAR(result[u"microphonePeak"_s].toDouble(), 0.3, 0.01);
    EXPECT_EQ(result[u"blocksDropped"_s].toInt(), 0);
    EXPECT_TRUE(path.startsWith(quillet.defaultFolder() + u"/Meeting_"_s)) << path.toStdString();

    const std::vector<float> samples = decode(path);
    ASSERT_EQ(samples.size(), 2U * 141 * 1024);
    const auto bothSpeak = std::span(samples).subspan(2 * 48000, 2 * 24000);
    const auto otherSpeaks = std::span(samples).subspan(2 * 108000, 2 * 24000);
    for (const int channel : {0, 1}) {
        EXPECT_GT(amplitude(bothSpeak, channel, 440), 0.05);
        EXPECT_GT(amplitude(bothSpeak, channel, 1000), 0.05);
        EXPECT_GT(amplitude(otherSpeaks, channel, 440), 0.05);
        EXPECT_LT(amplitude(otherSpeaks, channel, 1000), 0.001) << "the shorter file goes on as silence";
    }
    using Permissions = std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(path.toStdString()).permissions(), Permissions(0600));
    EXPECT_EQ(std::filesystem::status(quillet.defaultFolder().toStdString()).permissions(), Permissions(0700));
    EXPECT_THAT(contentsOf(quillet.folder(u"data/quillet/test_log.txt"_s)).toStdString(),
                testing::EndsWith("Z " + path.toStdString() + "\n"));
}

TEST_F(RecordCommandTest, StandardOutputCarriesThePathOnly) {
    ASSERT_EQ(quillet.run(recordFiles({u"--duration"_s, u"1.5"_s})), 0);
    const QString path = quillet.output.trimmed();
    EXPECT_EQ(quillet.output, path + u'\n');
    EXPECT_EQ(decode(path).size(), 2U * 71 * 1024);
}

TEST_F(RecordCommandTest, WrongUsageIsToldApartFromFailure) {
    const std::tuple<const char*, QStringList, int, QString> rows[] = {
        {"an unknown command", {u"recrod"_s}, 2, u"no command “recrod”"_s},
        {"an unknown option", {u"record"_s, u"--loud"_s}, 2, u"loud"_s},
        {"a stray argument", {u"record"_s, u"meeting.m4a"_s}, 2, u"meeting.m4a"_s},
        {"a duration that is none", {u"record"_s, u"--duration"_s, u"soon"_s}, 2, u"--duration"_s},
        {"a negative duration", {u"record"_s, u"--duration=-3"_s}, 2, u"--duration"_s},
        {"an empty source", {u"record"_s, u"--system"_s, u"file:"_s}, 2, u"--system"_s},
        {"live sources are never fast", {u"record"_s, u"--as-fast-as-possible"_s}, 2, u"needs files"_s},
        {"recover a missing folder", {u"recover"_s, u"--folder"_s, u"/no/such"_s}, 1, u"not a folder"_s},
        {"devices with an argument", {u"devices"_s, u"all"_s}, 2, u"is no option of devices"_s},
    };
    for (const auto& [name, arguments, status, sentence] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(quillet.run(arguments), status);
        EXPECT_TRUE(quillet.errors.contains(sentence)) << quillet.errors.toStdString();
        EXPECT_TRUE(quillet.output.isEmpty());
    }
    for (const QString& help :
         {u"--help"_s, u"--version"_s, u"record --help"_s, u"devices --help"_s, u"recover --help"_s,
          u"notes create --help"_s, u"notes test -h"_s, u"settings set --help"_s, u"templates delete --help"_s}) {
        SCOPED_TRACE(help.toStdString());
        EXPECT_EQ(quillet.run(help.split(u' ')), 0);
        EXPECT_TRUE(quillet.output.contains(u"quillet"_s));
    }
}

TEST_F(RecordCommandTest, AFileThatIsNoSourceIsRefusedInOneSentence) {
    const QString empty = makeFile(quillet.folder(u"empty.wav"_s));
    const QString text = makeFile(quillet.folder(u"text.wav"_s), QByteArray("The quick brown fox.\n").repeated(500));
    for (const QString& bad : {quillet.folder(u"missing.wav"_s), empty, text, quillet.folder()}) {
        SCOPED_TRACE(bad.toStdString());
        EXPECT_EQ(quillet.run(recordFiles({u"--as-fast-as-possible"_s, u"--system"_s, u"file:"_s + bad})), 1);
        EXPECT_TRUE(quillet.errors.contains(bad)) << quillet.errors.toStdString();
        EXPECT_EQ(quillet.errors.count(u'\n'), 1);
    }
    EXPECT_FALSE(QDir(quillet.defaultFolder()).exists());
}

TEST_F(RecordCommandTest, ARecordingAlwaysFindsAFolder) {
    const QString asFile = makeFile(quillet.folder(u"a file"_s));
    const std::tuple<const char*, QString, bool> rows[] = {
        {"a missing one is made", quillet.folder(u"new/deep er"_s), true},
        {"any script", quillet.folder(u"会議 – مقابلة 🎙"_s), true},
        {"a slash at the end, and detours", quillet.folder(u"new/../new/./deep er/"_s), true},
        {"a file in its place", asFile, false},
        {"where nobody may write", u"/proc/quillet"_s, false},
    };
    for (const auto& [name, folder, usable] : rows) {
        SCOPED_TRACE(name);
        ASSERT_EQ(quillet.run(recordFiles({u"--as-fast-as-possible"_s, u"--json"_s, u"--folder"_s, folder})), 0);
        const QFileInfo saved(quillet.json()[u"path"_s].toString());
        EXPECT_EQ(saved.canonicalPath(), QDir(usable ? folder : quillet.defaultFolder()).canonicalPath());
        EXPECT_EQ(quillet.errors.contains(u"could not be used"_s), !usable) << quillet.errors.toStdString();
        EXPECT_EQ(quillet.json()[u"warnings"_s].toArray().size(), usable ? 0 : 1);
        EXPECT_FALSE(decode(saved.filePath()).empty());
    }
    EXPECT_FALSE(QFile::exists(quillet.folder(u"config/quillet/quillet.conf"_s))) << "the folder is for this run only";

    // The folder of the settings is missed as much, and that is said when the recording begins.
    quillet.set(u"corvane.recordingsFolderBookmark"_s, asFile);
    quillet.start(recordFiles());
    EXPECT_TRUE(waitFor([&] {
        quillet.process.waitForReadyRead(20);
        return quillet.process.readAllStandardError().contains("could not be used; the recording goes to ");
    }));
    quillet.process.kill();
    quillet.process.waitForFinished();
}

TEST_F(RecordCommandTest, ASecondOneInTheSameMinuteAndFolderLeavesTheFirstAlone) {
    QuilletProcess second;
    QFileInfo first, other;
    bool overlapped = false;
    for (int attempt = 0; !overlapped || first.fileName() != other.fileName(); ++attempt) {
        ASSERT_LT(attempt, 3) << "a minute cannot end each time";
        const QString folder = quillet.folder(QString::number(attempt));
        quillet.start(recordFiles({u"--folder"_s, folder}));
        first = QFileInfo(waitForFile(folder, 1000));
        const QStringList fast{u"--as-fast-as-possible"_s, u"--folder"_s, folder};
        ASSERT_EQ(second.run(recordFiles(fast)), 0) << second.errors.toStdString();
        overlapped = !quillet.process.waitForFinished(0);
        other = QFileInfo(second.output.trimmed());
        ASSERT_EQ(quillet.finish(), 0);
    }
    EXPECT_EQ(other.path().toStdString(), second.defaultFolder().toStdString());
    EXPECT_TRUE(second.errors.contains(u"could not be used"_s)) << second.errors.toStdString();
    for (const QFileInfo& file : {first, other})
        EXPECT_EQ(decode(file.filePath()).size(), 2U * 141 * 1024) << file.filePath().toStdString();
}

TEST_F(RecordCommandTest, AFolderWhoseNameIsNoTextIsAFolderToo) {
    quillet.startByShell(uR"sh(XDG_DATA_HOME=/$XDG_DATA_HOME/$(printf 'jos\351'); export XDG_DATA_HOME
                             out=$("$@") && test -f "$out" &&
                             LC_ALL=C grep -aF " $out" "$XDG_DATA_HOME/quillet/test_log.txt")sh"_s,
                         recordFiles({u"--as-fast-as-possible"_s}));
    EXPECT_EQ(quillet.finish(), 0) << quillet.errors.toStdString();

    quillet.startByShell(uR"sh("$@" --folder "$(printf 'jos\351')")sh"_s, recordFiles({u"--as-fast-as-possible"_s}));
    EXPECT_EQ(quillet.finish(), 2) << "as an argument it would become another name on its way";
    EXPECT_TRUE(quillet.errors.contains(u"UTF-8"_s)) << quillet.errors.toStdString();
}

TEST_F(RecordCommandTest, InterruptAndTerminateFinishTheFileCleanly) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const QString folder = quillet.folder(QString::number(signal));
        quillet.start(recordFiles({u"--json"_s, u"--folder"_s, folder}));
        ASSERT_FALSE(waitForFile(folder, 20000).isEmpty());
        ::kill(static_cast<pid_t>(quillet.process.processId()), signal);
        ASSERT_EQ(quillet.finish(5000), 0);
        const QJsonObject result = quillet.json();
        EXPECT_GT(result[u"frames"_s].toInt(), 20000);
        EXPECT_EQ(decode(result[u"path"_s].toString()).size(),
                  2U * static_cast<std::size_t>(result[u"frames"_s].toInt()));
    }
}

TEST_F(RecordCommandTest, WhatBecomesOfItsTerminalAndItsReadersIsNoneOfItsBusiness) {
    const QString folder = quillet.folder(u"alone"_s);
    quillet.startByShell(u"trap '' HUP; exec \"$@\" <&- >&- 2>&-"_s, recordFiles({u"--folder"_s, folder}));
    ASSERT_FALSE(waitForFile(folder, 20000).isEmpty());
    const auto pid = static_cast<pid_t>(quillet.process.processId());
    for (const int number : {0, 1, 2})
        EXPECT_EQ(QFile::symLinkTarget(u"/proc/%1/fd/%2"_s.arg(pid).arg(number)), u"/dev/null"_s);
    ::kill(pid, SIGHUP);
    EXPECT_EQ(quillet.finish(), 0);
    EXPECT_EQ(decode(QDir(folder).entryInfoList(QDir::Files).at(0).filePath()).size(), 2U * 141 * 1024);

    for (const QString& script :
         {u"{ \"$@\"; echo \"status $?\" >&2; } | true"_s, u"\"$@\" >/dev/full; echo \"status $?\" >&2"_s}) {
        quillet.startByShell(script, recordFiles({u"--as-fast-as-possible"_s, u"--folder"_s, folder}));
        quillet.finish();
        EXPECT_TRUE(quillet.errors.contains(folder + u"/Meeting_"_s)) << quillet.errors.toStdString();
        EXPECT_TRUE(quillet.errors.endsWith(u"status 0\n"_s)) << quillet.errors.toStdString();
    }
}

TEST_F(RecordCommandTest, AStalledReaderOfStandardErrorHoldsUpNoStop) {
    writeTone(system(), 2, 48000, 30.0, 440, 0.4);
    const QString pipe = quillet.folder(u"pipe"_s);
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    const int display = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(grantpt(display) == 0 && unlockpt(display) == 0);
    const QString terminal = QString::fromLocal8Bit(ptsname(display));
    const QStringList unusable{u"--folder"_s, u"/proc/quillet"_s};
    const std::tuple<const char*, QString, int, QStringList, bool> rows[] = {
        {"progress only", pipe, SIGTERM, {}, false},
        {"something to complain of", pipe, SIGINT, unusable, false},
        {"a complaint, and the reader goes on in time for it", pipe, SIGINT, unusable, true},
        {"a terminal that shows nothing more", terminal, 0, {u"--duration"_s, u"1"_s}, false},
    };
    for (const auto& [name, reader, signal, options, goesOn] : rows) {
        SCOPED_TRACE(name);
        QDir(quillet.defaultFolder()).removeRecursively();
        const int fd = ::open(reader.toLocal8Bit().constData(), O_RDWR | O_NONBLOCK | O_NOCTTY);
        QByteArray bytes(4096, '.');
        while (::write(fd, bytes.constData(), 4096) > 0) continue;
        quillet.startByShell(u"exec \"$@\" 2>"_s + reader, recordFiles(options));
        EXPECT_FALSE(waitForFile(quillet.defaultFolder(), 1).isEmpty());
        const auto isTold = [&bytes, fd = fd] {
            const ssize_t size = ::read(fd, bytes.data(), 4096);
            return size > 0 && bytes.first(size).contains("could not be used");
        };
        EXPECT_TRUE(!goesOn || waitFor(isTold));
        if (signal != 0) ::kill(static_cast<pid_t>(quillet.process.processId()), signal);
        EXPECT_EQ(quillet.finish(8000), 0);
        EXPECT_FALSE(decode(quillet.output.trimmed()).empty());
        quillet.process.kill();
        quillet.process.waitForFinished();
        ::close(fd);
    }
    ::close(display);
}

TEST_F(RecordCommandTest, ADiskThatHangsAtTheEndIsNamedAndLeftToRecoveryByTheThirdRequestOnly) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer wants to be loaded first, and stands between the program and its disk itself";
#endif
    writeTone(system(), 2, 48000, 60.0, 440, 0.4);
    const QString folder = quillet.folder(u"hanging"_s);
    const QString flag = quillet.folder(u"flag"_s);
    quillet.environment.insert(u"LD_PRELOAD"_s, QStringLiteral(QUILLET_HANGING_DISK));
    quillet.environment.insert(u"QUILLET_TEST_HANGS"_s, flag);
    quillet.start(recordFiles({u"--folder"_s, folder}));
    ASSERT_FALSE(waitForFile(folder, 20000).isEmpty());
    makeFile(flag);

    const auto request = [this] { ::kill(static_cast<pid_t>(quillet.process.processId()), SIGINT); };
    const auto isTold = [this](const char* sentence) {
        return waitFor(
            [&] {
                quillet.process.waitForReadyRead(20);
                return quillet.process.readAllStandardError().contains(sentence);
            },
            9000);
    };
    request();
    EXPECT_TRUE(isTold("disk with ")) << "by itself";
    request();
    EXPECT_TRUE(isTold("for “quillet recover”"));
    QElapsedTimer sinceThen;
    sinceThen.start();
    const auto hasEnded = [&] { return request(), quillet.process.waitForFinished(200); };
    EXPECT_TRUE(waitFor(hasEnded));
    EXPECT_GT(sinceThen.elapsed(), 1500) << "time to read that";
    EXPECT_EQ(quillet.finish(), 1);

    QFile::remove(flag);
    EXPECT_EQ(quillet.run({u"recover"_s, u"--folder"_s, folder}), 0);
    EXPECT_TRUE(quillet.output.startsWith(u"repaired: "_s)) << quillet.output.toStdString();
}

TEST_F(RecordCommandTest, ARecordingThatSomebodyDeletesIsNotCalledSaved) {
    const QString folder = quillet.folder(u"deleted"_s);
    quillet.start(recordFiles({u"--folder"_s, folder}));
    ASSERT_FALSE(waitForFile(folder, 20000).isEmpty());
    ASSERT_TRUE(QDir(folder).removeRecursively());
    EXPECT_EQ(quillet.finish(), 1);
    EXPECT_TRUE(quillet.errors.contains(u"moved or deleted"_s)) << quillet.errors.toStdString();
    EXPECT_TRUE(quillet.output.isEmpty());
}

TEST_F(RecordCommandTest, AKilledRecordingIsRepairedUpToItsLastSecondByCommandOrByTheNextOne) {
    const QString folder = quillet.folder(u"killed"_s);
    const QString aside = quillet.folder(u"killed/Meeting_2020-01-01_00-00.m4a"_s);
    const QStringList recover{u"recover"_s, u"--folder"_s, folder};
    writeTone(system(), 2, 48000, 30.0, 440, 0.4);
    for (const QStringList& next : {recover, recordFiles({u"--duration"_s, u"1"_s, u"--folder"_s, folder})}) {
        SCOPED_TRACE(next[0].toStdString());
        QDir(folder).removeRecursively();
        quillet.start(recordFiles({u"--folder"_s, folder}));
        const QString unfinished = waitForFile(folder, 1);
        ASSERT_FALSE(unfinished.isEmpty());
        QElapsedTimer sinceFirstFragment;
        sinceFirstFragment.start();
        ASSERT_FALSE(quillet.process.waitForFinished(4000));
        quillet.process.kill();
        const double heard = static_cast<double>(sinceFirstFragment.elapsed()) / 1000;
        ASSERT_EQ(quillet.finish(), -1);
        ASSERT_TRUE(QFile::rename(unfinished, aside));

        ASSERT_EQ(quillet.run(next), 0);
        EXPECT_EQ(quillet.output.startsWith(u"repaired: "_s), next == recover) << quillet.output.toStdString();
        const std::vector<float> samples = decode(aside);
        EXPECT_GT(static_cast<double>(samples.size()) / 2 / 48000, heard - 1.0);
        EXPECT_GT(amplitude(std::span(samples).last(9600), 0, 440), 0.05) << "sound up to the end";
        ASSERT_EQ(quillet.run(recover), 0);
        EXPECT_TRUE(quillet.output.isEmpty()) << "a finished file is none of its business";
    }
}

TEST_F(RecordCommandTest, ALimitOnTheSizeOfFilesEndsInAFinishedFileAndASentence) {
    writeWav(system(), 2, 48000, 25 * 48000, [](qint64 frame, int) { return ((frame * 7919) % 8192) / 8192.0 - 0.5; });
    const QString folder = quillet.folder(u"limited"_s);
    const QStringList arguments = recordFiles({u"--as-fast-as-possible"_s, u"--json"_s, u"--folder"_s, folder});
    const QString sentence = u"its file has reached the largest size"_s;

    quillet.startByShell(u"ulimit -f 900; exec \"$@\""_s, arguments); // of 512 bytes
    EXPECT_EQ(quillet.finish(), 0);
    EXPECT_TRUE(quillet.errors.contains(sentence)) << quillet.errors.toStdString();
    const QJsonObject result = quillet.json();
    const auto frames = decode(result[u"path"_s].toString()).size() / 2;
    EXPECT_GT(frames, 48000U);
    EXPECT_EQ(static_cast<std::size_t>(result[u"frames"_s].toInteger()), frames);
    const double lost = result[u"blocksDropped"_s].toDouble() * 1024 / 48000;
    EXPECT_TRUE(lost > 0 && lost < 8) << lost << " s: what waited is told, and the file is not read on for nothing";

#ifndef __SANITIZE_THREAD__ // it writes to a file of its own before main() and dies of the limit
    quillet.startByShell(u"ulimit -f 0; exec \"$@\""_s, arguments);
    EXPECT_EQ(quillet.finish(), 1);
    EXPECT_TRUE(quillet.errors.contains(sentence)) << quillet.errors.toStdString();
#endif
}

} // namespace
} // namespace quillet::test
