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

    /// Has the main thread told when an answer is no longer the one that was given, where it is found out behind the
    /// caller's back. A system that is asked at each call never tells. There is one to be told, before the first
    /// question.
    virtual void onChange(const std::function<void()>& /*changed*/) {}

    /// Failures are ignored: the user can find the place on their own.
    virtual void openSettings(SettingsPlace place) = 0;
};

} // namespace quillet
