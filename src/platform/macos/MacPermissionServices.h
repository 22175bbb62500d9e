#pragma once

#include "platform/PermissionServices.h"

namespace quillet {

/// The platform's own permissions. Every answer is the system's of this moment; nothing is kept.
class MacPermissionServices final : public PermissionServices {
public:
    [[nodiscard]] bool preflightScreenCaptureAccess() override;
    void requestScreenCaptureAccess() override;
    [[nodiscard]] AuthorizationStatus microphoneAuthorizationStatus() override;
    void requestMicrophoneAccess(std::function<void(bool granted)> completion) override;
    void openSettings(SettingsPlace place) override;
};

} // namespace quillet
