#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <vector>

namespace quillet {

/// Announcements from one part of the program to whoever cares, by name. Any thread may post; observers are added and
/// told on the main thread, at once when the post is made there.
class NotificationCenter {
public:
    static NotificationCenter& standard();

    void post(const QString& name, const QVariantMap& userInfo = {});
    /// For as long as the context lives.
    void observe(const QString& name, QObject* context, std::function<void(const QVariantMap&)> handler);

private:
    void tell(const QString& name, const QVariantMap& userInfo);

    struct Observer {
        QString name;
        QPointer<QObject> context;
        std::function<void(const QVariantMap&)> handler;
    };
    std::vector<Observer> m_observers;
};

namespace Notifications {
/// A recording's file is complete. User info: "url", the file's QUrl; "isUnfinished", true where the disk failed it
/// before the file could be finished.
inline const QString recordingDidComplete = QStringLiteral("recordingDidComplete");
/// The user has finished the introduction. No user info.
inline const QString onboardingDidComplete = QStringLiteral("onboardingDidComplete");
/// Somebody wants the settings window shown. User info: optionally "section", the raw value of the section to show,
/// which a window that is open already turns to.
inline const QString openSettingsRequested = QStringLiteral("openSettingsRequested");
/// A recording goes with the user's default, because the chosen device is not there. User info: "isMicrophone", true
/// for the microphone and false for the output.
inline const QString chosenDeviceMissing = QStringLiteral("chosenDeviceMissing");
} // namespace Notifications

} // namespace quillet
