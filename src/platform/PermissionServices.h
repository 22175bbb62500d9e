#pragma once

#include "platform/AuthorizationStatus.h"

#include <functional>

namespace quillet {

/// The places in the system's settings where the user changes a permission.
enum class SettingsPlace { ScreenCapture, Microphone, Automation };

/// The system's own permissions. Main thread only; nothing here blocks or opens a device.
class PermissionServices {
public:
    virtual ~PermissionServices() = default;

    /// Whether system audio may be recorded, from what is known now.
    [[nodiscard]] virtual bool preflightScreenCaptureAccess() = 0;
    /// Asks the user if the system would; does not wait for the answer.
    virtual void requestScreenCaptureAccess() = 0;

    [[nodiscard]] virtual AuthorizationStatus microphoneAuthorizationStatus() = 0;
    /// Asks the user if need be. The completion may come on any thread, and at once.
    virtual void requestMicrophoneAccess(std::function<void(bool granted)> completion) = 0;

    /// Failures are ignored: the user can find the place on their own.
    virtual void openSettings(SettingsPlace place) = 0;
};

} // namespace quillet
