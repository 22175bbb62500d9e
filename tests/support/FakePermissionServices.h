#pragma once

#include "platform/PermissionServices.h"

#include <functional>
#include <vector>

namespace quillet::test {

/// A system that answers as told and writes down what it is asked for.
class FakePermissionServices final : public PermissionServices {
public:
    bool screenCapture = true;
    AuthorizationStatus microphone = AuthorizationStatus::Authorized;
    int screenCaptureRequests = 0;
    int looks = 0;
    std::function<void(bool)> microphoneCompletion;
    std::vector<SettingsPlace> opened;

    bool preflightScreenCaptureAccess() override {
        ++looks;
        return screenCapture;
    }
    void requestScreenCaptureAccess() override { ++screenCaptureRequests; }
    AuthorizationStatus microphoneAuthorizationStatus() override { return microphone; }
    void requestMicrophoneAccess(std::function<void(bool)> completion) override {
        microphoneCompletion = std::move(completion);
    }
    void openSettings(SettingsPlace place) override { opened.push_back(place); }
};

} // namespace quillet::test
