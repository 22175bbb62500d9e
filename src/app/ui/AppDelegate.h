#pragma once

#include "app/UpdaterManager.h"
#include "capture/AudioCaptureEngine.h"
#include "capture/RecordingControl.h"
#include "platform/StatusItem.h"
#include "support/NotificationCenter.h"
#include "support/UserDefaults.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace quillet {

class MenuView;
class Popover;

/// The shell of the program: the status item with its icon, menu and popover, and the windows for the settings and the
/// introduction, each made when it is wanted. What happens in the windows is not its business, nor is what happens when
/// a recording ends. One per process, owned by TrayProgram; main thread. It shows no alerts: without a place for a
/// status item, the popover's content becomes an ordinary window from which all is reached.
class AppDelegate final : public QObject {
    Q_OBJECT
public:
    /// What the delegate needs of the program around it; the references must outlive it.
    struct Services {
        std::shared_ptr<AudioCaptureEngine> engine;
        RecordingControl& control;
        UserDefaults& defaults;
        NotificationCenter& notifications;
        std::unique_ptr<UpdaterManager> updaterManager;
        std::function<std::unique_ptr<StatusItem>(StatusItem::Handlers)> makeStatusItem;
        std::function<MenuView*()> makeMenuView;
        std::function<QWidget*(const QString& section)> makeSettingsView;
        std::function<QWidget*()> makeOnboardingView;
        std::function<void()> terminate; ///< ends the process
    };

    explicit AppDelegate(Services services);
    ~AppDelegate() override;

    /// Stores what the arguments say of the introduction, for this start or the next; whether they say anything.
    static bool rememberAboutOnboarding(const QStringList& arguments, UserDefaults& defaults);
    void applicationDidFinishLaunching(const QStringList& arguments);

    /// What the menu's entries do; also for requests from outside.
    /// A new window begins with the section of that name, where one is named.
    void menuOpenSettings(const QString& section = {});
    void menuStartStopRecording();
    void menuCheckForUpdates();
    void menuQuit();
    /// Somebody started the program once more, or asks for its window.
    void showPopover();

    [[nodiscard]] std::vector<MenuEntry> makeContextMenu();
    void statusItemViewTogglePopover(const ActivationHint& hint);
    void updateMenuBarIcon(bool recording);

private:
    void setupMenuBar();
    void observeRecordingState();
    void showOnboarding();
    void onboardingIsOver();
    void keepSettingsAboveOnboarding();
    void showStatusImage();
    void presenceChanged(StatusItem::Presence presence);
    void showWindowWithoutTray();
    Popover& popover();
    [[nodiscard]] QWidget* makeWindowBar();

    Services m_services;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<Popover> m_popover;
    QTimer m_recordingBlinkTimer;
    bool m_blinkState = false;
    StatusImage m_image;
    bool m_hasShownOnboarding = false;
    bool m_onboardingComesFirst = false; ///< until it has been completed, or closed before its end
    QPointer<QWidget> m_onboardingWindow;
    QPointer<QWidget> m_settingsWindow;
    QTimer m_patienceWithTheTray; ///< runs for a while after a start at login
    bool m_wasInTray = false;
    bool m_hasShownWindow = false;
};

} // namespace quillet
