#pragma once

#include "app/RecorderUIModel.h"
#include "capture/AudioCaptureEngine.h"
#include "capture/RecordingControl.h"
#include "permissions/PermissionManager.h"
#include "storage/RecordingFileManager.h"
#include "support/UserDefaults.h"

#include <QObject>
#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace quillet {

/// What the popover shows and does, without its widgets. It keeps nothing of its own: everything is read from the
/// models at the moment of asking, and observe() tells when to ask again. Owned by the popover's view; main thread.
class MenuModel {
public:
    /// The references must outlive the model.
    struct Services {
        std::shared_ptr<PermissionManager> permissions;
        std::shared_ptr<AudioCaptureEngine> engine;
        RecordingControl& control;
        RecorderUIModel& uiModel;
        RecordingFileManager& files;
        UserDefaults& defaults;
    };
    /// How loud a source is, from 0 (nothing) to 1 (full scale), as the eye expects it: linear in decibels.
    struct Levels {
        double system = 0;
        double microphone = 0;
    };

    explicit MenuModel(Services services) : m_services(std::move(services)) {}

    /// Calls changed now and whenever anything below may have changed, for as long as the context lives. Alerts are not
    /// among it: they are told one by one, because the same alert raised twice is presented twice.
    void observe(QObject* context, const std::function<void()>& changed);
    void observeAlerts(QObject* context, const std::function<void(const std::optional<AppAlert>&)>& changed);

    /// The popover's content was shown.
    void appeared() { m_services.permissions->refreshStatus(); }

    [[nodiscard]] bool hasRequiredPermissions() const { return m_services.permissions->hasRequiredPermissions(); }
    [[nodiscard]] bool needsScreenCapture() const;
    [[nodiscard]] bool needsMicrophone() const;
    void allowScreenCapture();
    void allowMicrophone();

    [[nodiscard]] bool isRecording() const { return m_services.engine->isRecording.value(); }
    [[nodiscard]] std::optional<WallTime> recordingStartDate() const;
    [[nodiscard]] std::optional<QString> lastError() const { return m_services.engine->lastError.value(); }
    /// The finished recording to show; absent while one runs, when the file is still being written.
    [[nodiscard]] std::optional<std::filesystem::path> latestRecording() const;
    [[nodiscard]] Levels levels() const;
    /// Decided by what is true at this moment.
    void pressRecordButton();

    [[nodiscard]] bool autoCreateNote() const;
    void setAutoCreateNote(bool on);

    void showLatestRecording();
    void openRecordingsFolder();

    void dismissAlert() { m_services.uiModel.activeAlert.set(std::nullopt); }
    void openAutomationPreferences() { m_services.permissions->openAutomationPreferences(); }

private:
    const Services m_services;
};

/// The running time: minutes and seconds, with hours from the first hour on. Fractions are cut off; a start in the
/// future gives what the formats give, such as 0:-5.
[[nodiscard]] QString elapsedString(WallTime start, WallTime now);

} // namespace quillet
