#include "platform/linux/LinuxPermissionServices.h"

#include "permissions/PermissionManager.h"
#include "platform/Process.h"
#include "support/FakeHardware.h"
#include "support/FakeNotesApplication.h"
#include "support/WaitFor.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>

namespace quillet::test {
namespace {

TEST(LinuxPermissionServicesTest, OnlyARefusalTakesAccessAway) {
    const struct {
        const char* name;
        AuthorizationStatus server;
        bool granted;
    } rows[] = {
        {"a server that lets us in, or none at all", AuthorizationStatus::Authorized, true},
        {"a sandbox's refusal", AuthorizationStatus::Denied, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto microphone = std::make_shared<FakeMicrophone>();
        microphone->status = row.server;
        LinuxPermissionServices services(microphone);
        EXPECT_TRUE(services.preflightScreenCaptureAccess()) << "nothing is known yet, and nobody waits";

        std::atomic<int> answer = -1;
        services.requestMicrophoneAccess([&](bool granted) { answer = granted ? 1 : 0; });
        ASSERT_TRUE(waitFor([&] { return answer >= 0; }));

        EXPECT_EQ(answer == 1, row.granted);
        EXPECT_EQ(services.preflightScreenCaptureAccess(), row.granted);
        EXPECT_EQ(services.microphoneAuthorizationStatus() == AuthorizationStatus::Authorized, row.granted);
        EXPECT_EQ(microphone->starts, 0) << "no stream is opened to find out";
    }
}

TEST(LinuxPermissionServicesTest, AnotherAnswerIsPublishedWithoutLookingASecondTime) {
    const auto microphone = std::make_shared<FakeMicrophone>();
    const auto notes = std::make_shared<FakeNotesApplication>();
    MemoryUserDefaults defaults;
    microphone->status = AuthorizationStatus::Denied;
    const auto manager =
        PermissionManager::create(std::make_shared<LinuxPermissionServices>(microphone), notes, defaults);
    const auto becomes = [&manager](PermissionStatus status) {
        return waitFor([&] {
            return manager->screenCaptureStatus.value() == status && manager->microphoneStatus.value() == status;
        });
    };
    EXPECT_TRUE(becomes(PermissionStatus::Denied)) << "at the start";

    microphone->status = AuthorizationStatus::Authorized;
    manager->refreshStatus();
    EXPECT_TRUE(becomes(PermissionStatus::Granted)) << "allowed while nobody looked";
    const int questions = microphone->questions;
    EXPECT_FALSE(waitFor([&] { return microphone->questions > questions + 2; }, 100)) << "the same answer is no news";
}

TEST(LinuxPermissionServicesTest, TheSettingsOfTheDesktopAtHandAreOpened) {
    const struct {
        const char* desktop;
        QStringList installed;
        const char* opened;
    } rows[] = {
        {"ubuntu:GNOME",
         {QStringLiteral("pavucontrol"), QStringLiteral("gnome-control-center"), QStringLiteral("systemsettings")},
         "gnome-control-center sound"},
        {"KDE",
         {QStringLiteral("pavucontrol"), QStringLiteral("gnome-control-center"), QStringLiteral("systemsettings")},
         "systemsettings kcm_pulseaudio"},
        {"XFCE",
         {QStringLiteral("gnome-control-center"), QStringLiteral("systemsettings"), QStringLiteral("pavucontrol")},
         "pavucontrol"},
        {"", {QStringLiteral("gnome-control-center"), QStringLiteral("mate-volume-control")}, "mate-volume-control"},
    };
    const QByteArray path = qgetenv("PATH");
    umask(027);
    prepareProcess();
    EXPECT_FALSE(startProgram(QStringLiteral("/no/such/program"), {}));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.desktop);
        const QTemporaryDir programs;
        const QString opened = programs.filePath(QStringLiteral("opened"));
        for (const QString& name : row.installed) {
            QFile program(programs.filePath(name));
            ASSERT_TRUE(program.open(QFile::WriteOnly));
            program.write("#!/bin/sh\necho \"${0##*/}\" \"$@\" $(umask) > '" + opened.toUtf8() + ".new'\nPATH='" +
                          path + "' mv '" + opened.toUtf8() + ".new' '" + opened.toUtf8() + "'\n");
            program.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        }
        qputenv("PATH", programs.path().toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", row.desktop);
        LinuxPermissionServices(std::make_shared<FakeMicrophone>()).openSettings(SettingsPlace::Microphone);
        qputenv("PATH", path);
        qunsetenv("XDG_CURRENT_DESKTOP");
        ASSERT_TRUE(waitFor([&] { return QFile::exists(opened); }));
        QFile file(opened);
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        EXPECT_EQ(file.readAll().trimmed(), QByteArray(row.opened) + " 0027") << "its files are the user's affair";
    }
}

} // namespace
} // namespace quillet::test
