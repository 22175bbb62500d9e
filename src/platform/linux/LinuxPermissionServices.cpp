#include "platform/linux/LinuxPermissionServices.h"

#include "support/NotificationCenter.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <utility>

namespace quillet {
namespace {

/// Programs that show sound settings, the desktop's own before the one that works everywhere.
const QStringList kSoundSettings[] = {
    {QStringLiteral("gnome-control-center"), QStringLiteral("sound")},
    {QStringLiteral("systemsettings"), QStringLiteral("kcm_pulseaudio")},
    {QStringLiteral("cinnamon-settings"), QStringLiteral("sound")},
    {QStringLiteral("mate-volume-control")},
    {QStringLiteral("pavucontrol")},
};

} // namespace

LinuxPermissionServices::LinuxPermissionServices(std::shared_ptr<MicrophoneSource> microphone)
    : m_microphone(std::move(microphone)) {}

bool LinuxPermissionServices::preflightScreenCaptureAccess() {
    if (!m_asking.exchange(true)) ask({});
    return !m_denied;
}

AuthorizationStatus LinuxPermissionServices::microphoneAuthorizationStatus() {
    return preflightScreenCaptureAccess() ? AuthorizationStatus::Authorized : AuthorizationStatus::Denied;
}

void LinuxPermissionServices::requestMicrophoneAccess(std::function<void(bool granted)> completion) {
    ask(std::move(completion));
}

void LinuxPermissionServices::ask(std::function<void(bool granted)> completion) {
    m_worker.async([this, completion = std::move(completion)] {
        m_denied = m_microphone->authorizationStatus() == AuthorizationStatus::Denied;
        m_asking = false;
        if (completion) completion(!m_denied);
    });
}

void LinuxPermissionServices::openSettings(SettingsPlace place) {
    if (place == SettingsPlace::Automation) {
        // The system knows nothing of it: notes applications are asked for access in our own settings.
        return NotificationCenter::standard().post(Notifications::openSettingsRequested,
                                                   {{QStringLiteral("section"), QStringLiteral("General")}});
    }
    for (const QStringList& command : kSoundSettings) {
        const QString program = QStandardPaths::findExecutable(command.constFirst());
        if (!program.isEmpty() && QProcess::startDetached(program, command.mid(1))) return;
    }
}

} // namespace quillet
