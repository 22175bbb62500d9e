#include "onboarding/OnboardingModel.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <utility>

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kLookAgainAfterAsking{1000};

constexpr const char* kContinue = QT_TRANSLATE_NOOP("quillet::OnboardingView", "Continue");
constexpr const char* kGrantAccess = QT_TRANSLATE_NOOP("quillet::OnboardingView", "Grant Access");
constexpr const char* kStartRecording = QT_TRANSLATE_NOOP("quillet::OnboardingView", "Start Recording");

} // namespace

OnboardingModel::OnboardingModel(OnboardingServices services) : m_services(std::move(services)) {}

void OnboardingModel::appeared() {
    refreshAccess();
    // The system may answer a moment later, and the user may change it elsewhere.
    PermissionManager& permissions = *m_services.permissions;
    for (auto* const status : {&permissions.microphoneStatus, &permissions.screenCaptureStatus})
        status->subscribe(&m_subscriptions, [this](PermissionStatus) { readAccess(); });
    checkAICompatibility();
}

void OnboardingModel::refreshAccess() {
    m_services.permissions->refreshStatus();
    readAccess();
}

void OnboardingModel::readAccess() {
    const PermissionManager& permissions = *m_services.permissions;
    const bool hasMicrophone = permissions.microphoneStatus.value() == PermissionStatus::Granted;
    hasMicrophoneAccess.set(hasMicrophone);
    if (hasMicrophone) microphoneWasRefused.set(false);
    hasScreenCaptureAccess.set(permissions.screenCaptureStatus.value() == PermissionStatus::Granted);
}

void OnboardingModel::checkAICompatibility() {
    // Where the model is ready there is nothing left to switch on.
    shouldShowAIStep.set(!m_services.isOnDeviceModelReady() &&
                         !m_services.defaults.boolean(DefaultsKeys::onboardingAIShown));
    aiCheckComplete.set(true);
}

OnboardingModel::Page OnboardingModel::page() const {
    const int step = currentStep.value();
    if (step >= 5 || (step == 4 && !shouldShowAIStep.value())) return Page::Ready;
    return static_cast<Page>(step);
}

const char* OnboardingModel::buttonTitle() const {
    switch (currentStep.value()) {
    case 0:
        return QT_TRANSLATE_NOOP("quillet::OnboardingView", "Get Started");
    case 1:
        return hasMicrophoneAccess.value() ? kContinue : kGrantAccess;
    case 2:
        return hasScreenCaptureAccess.value() ? kContinue : kGrantAccess;
    case 3:
        return kContinue;
    case 4:
        return shouldShowAIStep.value() ? kContinue : kStartRecording;
    case 5:
        return kStartRecording;
    default:
        return QT_TRANSLATE_NOOP("quillet::OnboardingView", "Next");
    }
}

bool OnboardingModel::isLastStep() const { return currentStep.value() == pageCount() - 1; }

void OnboardingModel::nextAction() {
    switch (currentStep.value()) {
    case 0:
    case 3:
        return advance();
    case 1:
        return hasMicrophoneAccess.value() ? advance() : askForMicrophone();
    case 2:
        if (!hasScreenCaptureAccess.value()) askForScreenCapture();
        return advance();
    case 4:
        if (!shouldShowAIStep.value()) return completeOnboarding();
        m_services.defaults.set(DefaultsKeys::onboardingAIShown, true);
        return advance();
    case 5:
        return completeOnboarding();
    default:
        return;
    }
}

void OnboardingModel::skipMicrophone() {
    if (page() == Page::Microphone) advance();
}

void OnboardingModel::askForMicrophone() {
    m_services.permissions->requestMicrophoneAccess([weak = weak_from_this()](bool) {
        const auto self = weak.lock();
        if (!self) return;
        self->refreshAccess();
        self->microphoneWasRefused.set(!self->hasMicrophoneAccess.value());
    });
}

void OnboardingModel::askForScreenCapture() {
    m_services.permissions->requestScreenCaptureAccess();
    m_services.permissions->openScreenCapturePreferences();
    QTimer::singleShot(kLookAgainAfterAsking, QCoreApplication::instance(), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->refreshAccess();
    });
}

void OnboardingModel::testNotesConnection() {
    m_testedWithoutFolder = false;
    notesTestInProgress.set(true);
    notesTestSuccess.set(std::nullopt);
    m_services.permissions->requestAutomationAccess(
        [weak = weak_from_this(), asked = m_services.permissions->notesGeneration()](bool granted) {
            const auto self = weak.lock();
            if (!self) return;
            if (asked == self->m_services.permissions->notesGeneration()) self->hasNotesAccess.set(granted);
            if (granted)
                self->testNotesFolder(asked);
            else
                self->finishNotesTest(asked, false);
        });
}

void OnboardingModel::testNotesFolder(unsigned asked) {
    const QString folder = m_services.notes.folderNameOfSettings();
    m_testedWithoutFolder = folder.isEmpty();
    m_services.notes.testFolderConnection(folder, [weak = weak_from_this(), asked](bool exists) {
        if (const auto self = weak.lock()) self->finishNotesTest(asked, exists);
    });
}

/// The result for an application that is no longer the chosen one says nothing about the other.
void OnboardingModel::finishNotesTest(unsigned asked, bool success) {
    notesTestInProgress.set(false);
    if (asked == m_services.permissions->notesGeneration()) notesTestSuccess.set(success);
}

OnboardingModel::NotesTestRemark OnboardingModel::notesTestRemark() const {
    const bool failed = notesTestSuccess.value() == std::optional(false);
    return failed && m_testedWithoutFolder ? NotesTestRemark::NotesCanBeReached : NotesTestRemark::None;
}

void OnboardingModel::openIntelligenceSettings() {
    if (m_services.programs->openLanguageModelSettings()) return;
    m_services.notifications.post(Notifications::openSettingsRequested,
                                  {{QStringLiteral("section"), QStringLiteral("AI & Privacy")}});
}

void OnboardingModel::completeOnboarding() {
    m_services.setLaunchAtLogin(true);
    m_services.defaults.set(DefaultsKeys::hasCompletedOnboarding, true);
    m_services.notifications.post(Notifications::onboardingDidComplete);
}

} // namespace quillet
