#pragma once

#include "notes/NoteIntegrator.h"
#include "permissions/PermissionManager.h"
#include "platform/ExternalPrograms.h"
#include "support/NotificationCenter.h"
#include "support/Published.h"
#include "support/UserDefaults.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace quillet {

/// What the introduction needs of the program around it. The references must outlive it.
struct OnboardingServices {
    std::shared_ptr<PermissionManager> permissions;
    std::shared_ptr<ExternalPrograms> programs;
    const NoteIntegrator& notes;
    UserDefaults& defaults;
    NotificationCenter& notifications;
    std::function<void(bool)> setLaunchAtLogin;
    /// Whether the system's own language model could be used right now; false where there is none.
    std::function<bool()> isOnDeviceModelReady;
};

/// The introduction at the first start: pages that go forward only, from the welcome over microphone, system audio,
/// notes and, where there is something to switch on, summaries on the device, to the end, which remembers that it was
/// reached and switches starting at login on. Owned by its window; what is answered after that is gone is dropped. Main
/// thread. A refusal never holds the user up.
class OnboardingModel final : public std::enable_shared_from_this<OnboardingModel> {
public:
    enum class Page { Welcome, Microphone, ScreenCapture, Notes, OnDeviceAI, Ready };
    /// What is said below a failed test of the notes.
    enum class NotesTestRemark {
        None,
        NotesCanBeReached ///< no folder was chosen that could have been tested; everything else works
    };

    explicit OnboardingModel(OnboardingServices services);

    Published<int> currentStep{0};
    Published<bool> hasMicrophoneAccess{false};
    Published<bool> microphoneWasRefused{false}; ///< the last request was answered with no
    Published<bool> hasScreenCaptureAccess{false};
    Published<bool> hasNotesAccess{false};
    Published<bool> notesTestInProgress{false};
    Published<std::optional<bool>> notesTestSuccess;
    Published<bool> shouldShowAIStep{false};
    Published<bool> aiCheckComplete{false};

    /// Once, when the first page is shown: what the system allows already need not be asked for. From then on access is
    /// what the permission manager publishes.
    void appeared();
    void checkAICompatibility();

    [[nodiscard]] Page page() const;
    [[nodiscard]] int pageCount() const { return shouldShowAIStep.value() ? 6 : 5; }
    /// Before translation.
    [[nodiscard]] const char* buttonTitle() const;
    [[nodiscard]] bool isLastStep() const;
    [[nodiscard]] NotesTestRemark notesTestRemark() const;

    /// The main button.
    void nextAction();
    /// On from the microphone's page without it: the main button would only ask again.
    void skipMicrophone();
    void testNotesConnection();
    /// Where the user switches the system's language model on, or else our own settings on summaries.
    void openIntelligenceSettings();
    void completeOnboarding();

private:
    void advance() { currentStep.set(currentStep.value() + 1); }
    void askForMicrophone();
    void askForScreenCapture();
    void refreshAccess();
    void readAccess();
    void finishNotesTest(unsigned asked, bool success);
    void testNotesFolder(unsigned asked);

    const OnboardingServices m_services;
    QObject m_subscriptions;            ///< to what the permission manager publishes
    bool m_testedWithoutFolder = false; ///< the last test of the notes was let in and had no folder to look for
};

} // namespace quillet
