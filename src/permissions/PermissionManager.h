#pragma once

#include "platform/NotesApplication.h"
#include "platform/PermissionServices.h"
#include "support/Published.h"
#include "support/SerialQueue.h"
#include "support/UserDefaults.h"

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace quillet {

enum class PermissionStatus { NotDetermined, Granted, Denied };

/// Knows and publishes whether system audio, the microphone and the notes application are open to us, asks for them,
/// and leads the user to the settings.
///
/// The first two come from the system at each refresh, and a refresh follows when the system's answer comes later and
/// is another one. Whether the notes application lets us in can only be found out by asking it, which may make it ask
/// the user; so a refresh publishes what was last known and, once the user has been asked or where nobody is asked, has
/// the application tried quietly on a worker and publishes the answer a moment later. Main thread only. Nothing fails
/// visibly: a test that fails counts as denied.
class PermissionManager final : public std::enable_shared_from_this<PermissionManager> {
public:
    using Completion = std::function<void(bool granted)>;

    /// The defaults must live as long as the main thread runs: the answer to a test is kept even without the manager.
    static std::shared_ptr<PermissionManager> create(std::shared_ptr<PermissionServices> services,
                                                     std::shared_ptr<NotesApplication> notes, UserDefaults& defaults);

    Published<PermissionStatus> screenCaptureStatus{PermissionStatus::NotDetermined};
    Published<PermissionStatus> microphoneStatus{PermissionStatus::NotDetermined};
    Published<PermissionStatus> automationStatus{PermissionStatus::NotDetermined};
    /// requestAutomationAccess() has been called and not answered.
    Published<bool> isAskingForAutomation{false};

    void refreshStatus();
    /// All that recording needs.
    [[nodiscard]] bool hasRequiredPermissions() const;

    /// The state right after asking, without waiting for the user. The statuses are refreshed half a second later.
    bool requestScreenCaptureAccess();
    /// The completions below run on the main thread, never inside the call.
    void requestMicrophoneAccess(Completion completion);
    /// An application that would ask the user anew each time is not asked again during a request: its answer counts for
    /// all who want it.
    void requestAutomationAccess(Completion completion);
    /// The same without an answer, and only when there is a notes application.
    void triggerNotesAutomationPermissionPromptIfNeeded();
    /// Before another notes application, or another place for its notes, is chosen: nothing is known of it, and what is
    /// being found out about this one is given up. A refresh afterwards finds out about the other.
    void forgetNotesAccess();
    /// Another number after each forgetting: an answer to what was asked before it is no, and means nothing.
    [[nodiscard]] unsigned notesGeneration() const { return *m_notesGeneration; }

    void openScreenCapturePreferences() { m_services->openSettings(SettingsPlace::ScreenCapture); }
    void openMicrophonePreferences() { m_services->openSettings(SettingsPlace::Microphone); }
    void openAutomationPreferences() { m_services->openSettings(SettingsPlace::Automation); }

private:
    enum class LiveTest { Quiet, MayAskTheUser };

    PermissionManager(std::shared_ptr<PermissionServices> services, std::shared_ptr<NotesApplication> notes,
                      UserDefaults& defaults);

    [[nodiscard]] PermissionStatus currentMicrophoneStatus() const;
    [[nodiscard]] PermissionStatus currentAutomationStatus() const;
    void updateAutomationStatusFromHelperIfNeeded();
    void askForAutomation(Completion completion);
    void endAsking();
    /// Runs the test on the worker, then, on the main thread, keeps the result unless it is outdated and hands it on.
    void checkNotesAutomationAccess(LiveTest test, Completion onMain);

    [[nodiscard]] static std::shared_ptr<SerialQueue> makeWorker();

    using Askers = std::vector<Completion>;

    const std::shared_ptr<PermissionServices> m_services;
    const std::shared_ptr<NotesApplication> m_notes;
    UserDefaults& m_defaults;
    /// Counts the choices of an application; a test belongs to that of its beginning. Written on the main thread.
    const std::shared_ptr<std::atomic<unsigned>> m_notesGeneration = std::make_shared<std::atomic<unsigned>>(0);
    std::shared_ptr<Askers> m_askers; ///< who waits for the newest request; null without one
    /// One test after another, so that an older answer never replaces a newer one; another queue for each choice, since
    /// a test may hang for ever. Each test holds its queue: the last of them may outlive the choice and the manager,
    /// neither of which must wait for it.
    std::shared_ptr<SerialQueue> m_worker = makeWorker();
};

} // namespace quillet
