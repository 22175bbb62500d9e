#include "PrivateBus.h"
#include "platform/linux/desktop/LinuxSingleInstance.h"

#include <QDBusVirtualObject>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace quillet::test {
namespace {

using Claim = SingleInstance::Claim;
constexpr RemoteCommand kAll[] = {RemoteCommand::Open, RemoteCommand::ToggleRecording, RemoteCommand::OpenSettings,
                                  RemoteCommand::Quit};

/// A start of the program.
struct Start {
    Start(const QDBusConnection& bus, const QString& folder) : instance(bus, folder) {}

    std::optional<Claim> claim(RemoteCommand command = RemoteCommand::Open) {
        std::optional<Claim> outcome;
        instance.claim(
            command, [this](RemoteCommand received) { commands.push_back(received); },
            [&](Claim claimed) { outcome = claimed; });
        waitFor([&] { return outcome.has_value(); });
        return outcome;
    }
    std::optional<bool> send(RemoteCommand command) {
        std::optional<bool> outcome;
        instance.send(command, [&](bool delivered) { outcome = delivered; });
        waitFor([&] { return outcome.has_value(); });
        return outcome;
    }

    LinuxSingleInstance instance;
    std::vector<RemoteCommand> commands;
};

class SingleInstanceTest : public BusTest {
protected:
    QTemporaryDir m_runtime;
    QString m_folder = m_runtime.filePath(u"quillet"_s);
};

TEST_F(SingleInstanceTest, ASecondStartHandsItsCommandToTheFirst) {
    const struct {
        const char* name;
        bool firstHasBus;
        bool secondHasBus;
    } rows[] = {
        {"over the bus", true, true},
        {"without any bus", false, false},
        {"a shortcut that knows no bus", true, false},
    };
    for (const auto& row : rows) {
        for (const RemoteCommand command : kAll) {
            SCOPED_TRACE(testing::Message() << row.name << ", command " << static_cast<int>(command));
            PrivateBus bus; // connections keep their names for as long as they live
            Start first(row.firstHasBus ? bus.connection() : PrivateBus::none(), m_folder);
            ASSERT_EQ(first.claim(), Claim::First);
            EXPECT_TRUE(first.commands.empty()) << "it carries out its own command by itself";

            Start second(row.secondHasBus ? bus.connection() : PrivateBus::none(), m_folder);
            EXPECT_EQ(second.claim(command), Claim::Delivered);
            EXPECT_EQ(second.send(command), true);
            EXPECT_TRUE(waitFor([&] { return first.commands == std::vector(2, command); }));
            EXPECT_TRUE(second.commands.empty());
        }
    }
}

TEST_F(SingleInstanceTest, NobodyThereIsSaidAtOnceAndLeavesNothing) {
    QElapsedTimer waiting;
    waiting.start();
    for (const QDBusConnection& bus : {m_connection, PrivateBus::none()})
        EXPECT_EQ(Start(bus, m_folder).send(RemoteCommand::Quit), false);
    EXPECT_LT(waiting.elapsed(), 2500) << "the time that is given to one who may still listen";
    EXPECT_EQ(Start(m_connection, m_folder).claim(), Claim::First);
}

TEST_F(SingleInstanceTest, TwoStartsAtOnceWithoutABusAreOneProgram) {
    Start first(PrivateBus::none(), m_folder);
    ASSERT_EQ(first.claim(), Claim::First);
    const QString socket = m_folder + QStringLiteral("/instance.socket");
    ASSERT_TRUE(QFile::rename(socket, socket + QLatin1Char('~'))); // it has the place and does not listen yet
    QTimer::singleShot(200, &first.instance, [socket] { QFile::rename(socket + QLatin1Char('~'), socket); });
    EXPECT_EQ(Start(PrivateBus::none(), m_folder).claim(), Claim::Delivered);
}

TEST_F(SingleInstanceTest, WhatADeadProcessLeftKeepsNobodyOut) {
    ASSERT_TRUE(QDir().mkpath(m_folder));
    ASSERT_TRUE(QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const pid_t child = fork();
    if (child == 0) {
        QLockFile lock(m_folder + u"/instance.lock"_s);
        _exit(lock.tryLock(0) ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    makeFile(m_folder + u"/instance.socket"_s);

    Start next(PrivateBus::none(), m_folder);
    ASSERT_EQ(next.claim(), Claim::First);
    EXPECT_EQ(Start(PrivateBus::none(), m_folder).claim(), Claim::Delivered);
}

TEST_F(SingleInstanceTest, OnlyItsUserCanReachTheSocket) {
    Start ours(PrivateBus::none(), m_folder);
    ASSERT_EQ(ours.claim(), Claim::First);
    const auto others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    EXPECT_EQ(QFile::permissions(m_folder) & others, QFile::Permissions());

    const QString open = m_runtime.filePath(u"open"_s);
    ASSERT_TRUE(QDir().mkpath(open));
    ASSERT_TRUE(QFile::setPermissions(open, QFile::permissions(open) | others));
    Start exposed(PrivateBus::none(), open);
    EXPECT_EQ(exposed.claim(), Claim::First) << "it runs all the same";
    EXPECT_TRUE(QDir(open).isEmpty(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) << "but takes no commands";
}

TEST_F(SingleInstanceTest, ARunningProgramThatDoesNotAnswerIsSaid) {
    QDBusConnection stuck = m_bus.connection();
    class : public QDBusVirtualObject {
        QString introspect(const QString&) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
            message.setDelayedReply(true);
            return true;
        }
    } silent;
    stuck.registerVirtualObject(QLatin1String(LinuxSingleInstance::kPath), &silent);
    ASSERT_TRUE(stuck.registerService(QLatin1String(LinuxSingleInstance::kName)));

    Start second(m_connection, m_folder);
    EXPECT_EQ(second.claim(), Claim::Unreached);
}

TEST_F(SingleInstanceTest, UnknownActionsDoNothing) {
    Start first(m_connection, m_folder);
    ASSERT_EQ(first.claim(), Claim::First);
    const QDBusConnection desktop = m_bus.connection();
    for (const char* action : {"no-such", "", "open; quit", "quit"}) {
        const QDBusMessage reply = callAs(desktop, QLatin1String(LinuxSingleInstance::kName),
                                          LinuxSingleInstance::kPath, "org.freedesktop.Application", "ActivateAction",
                                          {QLatin1String(action), QVariantList(), QVariantMap()});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    }
    EXPECT_TRUE(waitFor([&] { return first.commands == std::vector{RemoteCommand::Quit}; }));
}

} // namespace
} // namespace quillet::test
