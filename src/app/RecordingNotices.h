#pragma once

#include "app/RecorderUIModel.h"
#include "capture/AudioCaptureEngine.h"
#include "platform/SleepInhibitor.h"
#include "platform/UserNotices.h"
#include "support/NotificationCenter.h"

#include <QObject>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>

namespace quillet {

/// Looks after a recording on behalf of a user who looks elsewhere: tells by the desktop's notifications that one was
/// saved or has failed, that another device than the chosen one is recorded, that a source has been silent for so long
/// that something may be unplugged, and that sound is lost because the disk does not keep up; and keeps the machine
/// awake meanwhile. Owned by the program; main thread. Its timer runs only while recording.
class RecordingNotices final : public QObject {
    Q_OBJECT
public:
    /// The references must outlive it.
    struct Services {
        std::shared_ptr<AudioCaptureEngine> engine;
        RecorderUIModel& uiModel;
        NotificationCenter& notifications;
        std::unique_ptr<UserNotices> notices;
        std::unique_ptr<SleepInhibitor> sleep;
        std::function<void(const std::filesystem::path&)> showRecording;
        std::function<void()> open; ///< the popover, where the alert can be answered
    };
    explicit RecordingNotices(Services services);

private:
    /// A source that is told of once per stretch of silence.
    struct Side {
        QString subject;
        QString title;
        QString body;
        bool isTold = false;
    };

    void recordingChanged(bool recording);
    void completed(const QVariantMap& info);
    void chosenDeviceMissing(const QVariantMap& info);
    void failed(const QString& title, const QString& message);
    void look();
    void lookAt(Side& side, FrameCount silence);
    void lookAtLoss(std::int64_t blocksDropped);

    const Services m_services;
    std::unique_ptr<SleepInhibitor::Hold> m_awake;
    QTimer m_look;
    Side m_system;
    Side m_microphone;
    bool m_isLossTold = false;
};

} // namespace quillet
