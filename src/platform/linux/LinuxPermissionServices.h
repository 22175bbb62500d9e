#pragma once

#include "platform/MicrophoneSource.h"
#include "platform/PermissionServices.h"
#include "support/SerialQueue.h"

#include <atomic>
#include <functional>
#include <memory>

namespace quillet {

/// On Linux only the sound server can refuse us, inside a sandbox for example, and it does so for both sources alike. A
/// missing device or server counts as granted: it fails at the start, in words that fit, and must not take the stop
/// button away meanwhile. The server is asked on a worker; what is read here is its last answer, and one that
/// differs is told of. Main thread.
class LinuxPermissionServices final : public PermissionServices {
public:
    explicit LinuxPermissionServices(std::shared_ptr<MicrophoneSource> microphone);

    /// The last answer; asks anew for the next time.
    [[nodiscard]] bool preflightScreenCaptureAccess() override;
    void requestScreenCaptureAccess() override { ask({}); }
    [[nodiscard]] AuthorizationStatus microphoneAuthorizationStatus() override;
    void requestMicrophoneAccess(std::function<void(bool granted)> completion) override;
    void onChange(const std::function<void()>& changed) override { m_changed = changed; }
    /// The desktop's sound settings; for the notes application there is no such place.
    void openSettings(SettingsPlace place) override;

private:
    void ask(std::function<void(bool granted)> completion);

    const std::shared_ptr<MicrophoneSource> m_microphone;
    std::function<void()> m_changed;
    std::atomic<bool> m_denied = false;
    std::atomic<bool> m_asking = false;
    SerialQueue m_worker{"quillet.access"};
};

} // namespace quillet
