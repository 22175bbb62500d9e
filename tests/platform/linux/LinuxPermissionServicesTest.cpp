#include "platform/linux/LinuxPermissionServices.h"

#include "permissions/PermissionManager.h"
#include "platform/Process.h"
#include "support/FakeHardware.h"
#include "support/FakeNotesApplication.h"
#include "support/Files.h"
#include "support/WaitFor.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

TEST(LinuxPermissionServicesTest, OnlyARefusalTakesAccessAway) {
    // A server that lets us in, or none at all; a sandbox's refusal.
    for (const auto status : {AuthorizationStatus::Authorized, AuthorizationStatus::Denied}) {
        const bool granted = status == AuthorizationStatus::Authorized;
        SCOPED_TRACE(granted);
        const auto microphone = std::make_shared<FakeMicrophone>();
        microphone->status = status;
        LinuxPermissionServices services(microphone);
        EXPECT_TRUE(services.preflightScreenCaptureAccess()) << "nothing is known yet, and nobody waits";

        std::atomic<int> answer = -1;
        services.requestMicrophoneAccess([&](bool allowed) { answer = allowed ? 1 : 0; });
        ASSERT_TRUE(waitFor([&] { return answer >= 0; }));

        EXPECT_EQ(answer == 1, granted);
        EXPECT_EQ(services.preflightScreenCaptureAccess(), granted);
        EXPECT_EQ(services.microphoneAuthorizationStatus() == AuthorizationStatus::Authorized, granted);
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
    const QStringList all = {u"pavucontrol"_s, u"gnome-control-center"_s, u"systemsettings"_s};
    const struct {
        const char* desktop;
        QStringList installed;
        const char* opened;
    } rows[] = {{"ubuntu:GNOME", all, "gnome-control-center sound"},
                {"KDE", all, "systemsettings kcm_pulseaudio"},
                {"XFCE", all, "pavucontrol"},
                {"", {u"gnome-control-center"_s, u"mate-volume-control"_s}, "mate-volume-control"}};
    const QByteArray path = qgetenv("PATH");
    umask(027);
    prepareProcess();
    EXPECT_FALSE(startProgram(u"/no/such/program"_s, {}));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.desktop);
        const QTemporaryDir programs;
        const QString opened = programs.filePath(u"opened"_s);
        for (const QString& name : row.installed) {
            const QByteArray script = "#!/bin/sh\necho \"${0##*/}\" \"$@\" $(umask) > 'OPENED.new'\nPATH='" + path +
                                      "' mv 'OPENED.new' 'OPENED'\n";
            QFile::setPermissions(
                makeFile(programs.filePath(name), QByteArray(script).replace("OPENED", opened.toUtf8())),
                QFile::ReadOwner | QFile::ExeOwner);
        }
        qputenv("PATH", programs.path().toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", row.desktop);
        LinuxPermissionServices(std::make_shared<FakeMicrophone>()).openSettings(SettingsPlace::Microphone);
        qputenv("PATH", path);
        qunsetenv("XDG_CURRENT_DESKTOP");
        ASSERT_TRUE(waitFor([&] { return QFile::exists(opened); }));
        EXPECT_EQ(contentsOf(opened).trimmed(), QByteArray(row.opened) + " 0027") << "its files are the user's affair";
    }
}

} // namespace
} // namespace quillet::test
