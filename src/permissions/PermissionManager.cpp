#include "permissions/PermissionManager.h"

#include "support/MainThread.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <utility>

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kRefreshAfterRequest{500};

PermissionStatus grantedOrDenied(bool granted) {
    return granted ? PermissionStatus::Granted : PermissionStatus::Denied;
}

/// Access is looked at often and seldom another: the file of the settings is not written anew for what it says already.
void keep(UserDefaults& defaults, const QString& key, bool value) {
    if (defaults.boolean(key, !value) != value) defaults.set(key, value);
}

} // namespace

PermissionManager::PermissionManager(std::shared_ptr<PermissionServices> services,
                                     std::shared_ptr<NotesApplication> notes, UserDefaults& defaults)
    : m_services(std::move(services)), m_notes(std::move(notes)), m_defaults(defaults) {}

std::shared_ptr<PermissionManager> PermissionManager::create(std::shared_ptr<PermissionServices> services,
                                                             std::shared_ptr<NotesApplication> notes,
                                                             UserDefaults& defaults) {
    std::shared_ptr<PermissionManager> manager(new PermissionManager(std::move(services), std::move(notes), defaults));
    manager->m_services->onChange([weak = std::weak_ptr(manager)] {
        if (const auto self = weak.lock()) self->refreshStatus();
    });
    manager->refreshStatus();
    return manager;
}

void PermissionManager::refreshStatus() {
    screenCaptureStatus.set(grantedOrDenied(m_services->preflightScreenCaptureAccess()));
    microphoneStatus.set(currentMicrophoneStatus());
    automationStatus.set(currentAutomationStatus());
    updateAutomationStatusFromHelperIfNeeded();
}

bool PermissionManager::hasRequiredPermissions() const {
    return screenCaptureStatus.value() == PermissionStatus::Granted &&
           microphoneStatus.value() == PermissionStatus::Granted;
}

PermissionStatus PermissionManager::currentMicrophoneStatus() const {
    switch (m_services->microphoneAuthorizationStatus()) {
    case AuthorizationStatus::Restricted:
    case AuthorizationStatus::Denied:
        return PermissionStatus::Denied;
    case AuthorizationStatus::Authorized:
        return PermissionStatus::Granted;
    case AuthorizationStatus::NotDetermined:
        break;
    }
    return PermissionStatus::NotDetermined; // as is whatever a later system may add
}

PermissionStatus PermissionManager::currentAutomationStatus() const {
    if (!m_notes->isAvailable()) return PermissionStatus::Denied;
    const bool asksForConsent = m_notes->asksForConsent();
    if (asksForConsent && !m_defaults.boolean(DefaultsKeys::automationPromptAttempted))
        return PermissionStatus::NotDetermined;
    // Where nobody has to consent, access is there until a test says otherwise.
    return grantedOrDenied(m_defaults.boolean(DefaultsKeys::automationGrantedCached, !asksForConsent));
}

void PermissionManager::updateAutomationStatusFromHelperIfNeeded() {
    if (m_notes->asksForConsent() && !m_defaults.boolean(DefaultsKeys::automationPromptAttempted)) return;
    checkNotesAutomationAccess(LiveTest::Quiet, [weak = weak_from_this(), asked = notesGeneration()](bool granted) {
        const auto self = weak.lock();
        if (self && asked == self->notesGeneration()) self->automationStatus.set(grantedOrDenied(granted));
    });
}

bool PermissionManager::requestScreenCaptureAccess() {
    m_services->requestScreenCaptureAccess();
    QTimer::singleShot(kRefreshAfterRequest, QCoreApplication::instance(), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->refreshStatus();
    });
    return m_services->preflightScreenCaptureAccess();
}

void PermissionManager::requestMicrophoneAccess(Completion completion) {
    m_services->requestMicrophoneAccess([weak = weak_from_this(), completion = std::move(completion)](bool granted) {
        MainThread::post([weak, completion, granted] {
            if (const auto self = weak.lock()) self->refreshStatus();
            completion(granted);
        });
    });
}

void PermissionManager::requestAutomationAccess(Completion completion) {
    if (m_askers && !m_notes->asksAtMostOnce()) return m_askers->push_back(std::move(completion));
    m_askers = std::make_shared<Askers>(1, std::move(completion));
    isAskingForAutomation.set(true);
    askForAutomation([self = shared_from_this(), askers = m_askers](bool granted) {
        if (askers == self->m_askers) self->endAsking();
        for (const Completion& asker : *askers) asker(granted);
    });
}

void PermissionManager::endAsking() {
    m_askers.reset();
    isAskingForAutomation.set(false);
}

void PermissionManager::triggerNotesAutomationPermissionPromptIfNeeded() {
    if (m_notes->isAvailable()) askForAutomation([](bool) {});
}

std::shared_ptr<SerialQueue> PermissionManager::makeWorker() {
    return std::make_shared<SerialQueue>("quillet.permissions");
}

void PermissionManager::forgetNotesAccess() {
    ++*m_notesGeneration;
    m_worker = makeWorker();
    m_notes->cancelRequest();
    endAsking(); // whoever asked for that is told no when it ends
    m_defaults.remove(DefaultsKeys::automationPromptAttempted);
    m_defaults.remove(DefaultsKeys::automationGrantedCached);
}

void PermissionManager::askForAutomation(Completion completion) {
    keep(m_defaults, DefaultsKeys::automationPromptAttempted, true);
    checkNotesAutomationAccess(LiveTest::MayAskTheUser, [self = shared_from_this(), asked = notesGeneration(),
                                                         completion = std::move(completion)](bool granted) {
        if (asked == self->notesGeneration()) self->refreshStatus();
        completion(granted);
    });
}

void PermissionManager::checkNotesAutomationAccess(LiveTest test, Completion onMain) {
    const auto isOutdated = [generation = m_notesGeneration, own = m_notesGeneration->load()] {
        return *generation != own;
    };
    // What onMain holds belongs to the main thread, so it goes there whole.
    m_worker->async([worker = m_worker, notes = m_notes, defaults = &m_defaults, test, isOutdated,
                     onMain = std::move(onMain)]() mutable {
        bool granted = false;
        if (!isOutdated()) // the wish was not about the application that would be asked now
            granted =
                test == LiveTest::MayAskTheUser ? notes->requestAccess() : notes->probeAccess() == NotesAccess::Granted;
        MainThread::post([defaults, granted, isOutdated, onMain = std::move(onMain)] {
            if (isOutdated()) return onMain(false);
            keep(*defaults, DefaultsKeys::automationGrantedCached, granted);
            onMain(granted);
        });
    });
}

} // namespace quillet
