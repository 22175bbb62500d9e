#include "platform/linux/LinuxPermissionServices.h"

#include "platform/Process.h"
#include "support/MainThread.h"
#include "support/NotificationCenter.h"

#include <QStandardPaths>
#include <QStringList>

#include <utility>

namespace quillet {
namespace {

/// A program that shows sound settings, and the desktop that it belongs to; none for one that is at home everywhere.
struct SoundSettings {
    QString desktop;
    QStringList command;
    bool worksElsewhere = true;
};

const SoundSettings kSoundSettings[] = {
    {QString(), {QStringLiteral("pavucontrol")}},
    {QString(), {QStringLiteral("pavucontrol-qt")}},
    // It ends at once on another desktop, without a word to anybody.
    {QStringLiteral("GNOME"), {QStringLiteral("gnome-control-center"), QStringLiteral("sound")}, false},
    {QStringLiteral("KDE"), {QStringLiteral("systemsettings"), QStringLiteral("kcm_pulseaudio")}},
    {QStringLiteral("MATE"), {QStringLiteral("mate-volume-control")}},
    {QStringLiteral("X-Cinnamon"), {QStringLiteral("cinnamon-settings"), QStringLiteral("sound")}},
};

bool start(const QStringList& command) {
    const QString program = QStandardPaths::findExecutable(command.constFirst());
    return !program.isEmpty() && startProgram(program, command.mid(1));
}

} // namespace

LinuxPermissionServices::LinuxPermissionServices(std::shared_ptr<MicrophoneSource> microphone)
    : m_microphone(std::move(microphone)) {}

bool LinuxPermissionServices::preflightScreenCaptureAccess() {
    const bool denied = m_denied; // the last answer, however quick the next one is
    if (!m_asking.exchange(true)) ask({});
    return !denied;
}

AuthorizationStatus LinuxPermissionServices::microphoneAuthorizationStatus() {
    return preflightScreenCaptureAccess() ? AuthorizationStatus::Authorized : AuthorizationStatus::Denied;
}

void LinuxPermissionServices::requestMicrophoneAccess(std::function<void(bool granted)> completion) {
    ask(std::move(completion));
}

void LinuxPermissionServices::ask(std::function<void(bool granted)> completion) {
    m_worker.async([this, changed = m_changed, completion = std::move(completion)] {
        const bool denied = m_microphone->authorizationStatus() == AuthorizationStatus::Denied;
        const bool isNews = m_denied.exchange(denied) != denied;
        m_asking = false;
        if (completion) completion(!denied);
        if (isNews && changed) MainThread::post(changed);
    });
}

void LinuxPermissionServices::openSettings(SettingsPlace place) {
    if (place == SettingsPlace::Automation) {
        // The system knows nothing of it: notes applications are asked for access in our own settings.
        return NotificationCenter::standard().post(Notifications::openSettingsRequested,
                                                   {{QStringLiteral("section"), QStringLiteral("General")}});
    }
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const SoundSettings& own : kSoundSettings) {
        if (desktops.contains(own.desktop) && start(own.command)) return;
    }
    for (const SoundSettings& any : kSoundSettings) {
        if (any.worksElsewhere && start(any.command)) return;
    }
}

} // namespace quillet
