#pragma once

#include "onboarding/OnboardingModel.h"
#include "support/FakeExternalPrograms.h"
#include "support/PermissionsFixture.h"

namespace quillet::test {

using namespace Qt::StringLiterals;

/// The introduction with everything around it under the test's control. Nothing is allowed at first.
class OnboardingFixture : public PermissionsWindowFixture {
protected:
    OnboardingFixture() {
        permissions = PermissionManager::create(services, notes, defaults);
        services->screenCapture = false;
        services->microphone = AuthorizationStatus::NotDetermined;
        notifications.observe(Notifications::onboardingDidComplete, &context,
                              [this](const QVariantMap&) { ++completed; });
        notifications.observe(Notifications::openSettingsRequested, &context, [this](const QVariantMap& info) {
            requestedSection = info.value(u"section"_s).toString();
        });
    }
    std::shared_ptr<OnboardingModel> make() {
        return std::make_shared<OnboardingModel>(
            OnboardingServices{.permissions = permissions,
                               .programs = programs,
                               .notes = integrator,
                               .defaults = defaults,
                               .notifications = notifications,
                               .setLaunchAtLogin = [this](bool enabled) { launches = enabled; },
                               .isOnDeviceModelReady = [this] { return modelIsReady; }});
    }
    void start() {
        model = make();
        model->appeared();
    }
    bool settleNotesTest() {
        return waitFor([this] { return !model->notesTestInProgress.value(); });
    }

    NotificationCenter notifications;
    QObject context;
    int completed = 0;
    std::optional<QString> requestedSection;
    std::optional<bool> launches;
    bool modelIsReady = false;
    std::shared_ptr<FakeExternalPrograms> programs = std::make_shared<FakeExternalPrograms>();
    std::shared_ptr<OnboardingModel> model;
};

} // namespace quillet::test
