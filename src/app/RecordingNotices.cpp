#include "app/RecordingNotices.h"

#include "support/FileUrl.h"
#include "support/ShownText.h"

#include <QFile>

#include <chrono>

namespace quillet {
namespace {

const QString kSaved = QStringLiteral("saved");
const QString kProblem = QStringLiteral("problem");
const QString kMissingOutput = QStringLiteral("missing-output");
const QString kMissingMicrophone = QStringLiteral("missing-microphone");
const QString kLoss = QStringLiteral("loss");

constexpr std::int64_t kNoticeableLossBlocks = kSampleRateHz / kBlockFrames; ///< about a second

} // namespace

RecordingNotices::RecordingNotices(Services services)
    : m_services(std::move(services)),
      m_system{
          QStringLiteral("silent-system-audio"), tr("Nothing is heard from the other side"),
          tr("The computer's sound has been silent for 10 seconds. Check that the meeting plays through the output "
             "that is recorded."),
          false},
      m_microphone{QStringLiteral("silent-microphone"), tr("The microphone is silent"),
                   tr("Nothing has come from the microphone for 10 seconds. Check that it is connected and not muted."),
                   false} {
    m_look.setInterval(std::chrono::seconds(1));
    connect(&m_look, &QTimer::timeout, this, [this] { look(); });
    m_services.notifications.observe(Notifications::recordingDidComplete, this,
                                     [this](const QVariantMap& info) { completed(info); });
    m_services.notifications.observe(Notifications::chosenDeviceMissing, this,
                                     [this](const QVariantMap& info) { chosenDeviceMissing(info); });
    m_services.engine->isRecording.subscribe(this, [this](bool recording) { recordingChanged(recording); });
    m_services.engine->lastError.subscribe(this, [this](const std::optional<QString>& error) {
        if (error)
            failed(tr("Recording problem"), *error);
        else if (!m_services.uiModel.activeAlert.value())
            m_services.notices->withdraw(kProblem);
    });
    m_services.uiModel.activeAlert.subscribe(this, [this](const std::optional<AppAlert>& alert) {
        if (alert)
            failed(shownText(alert->title), alert->message);
        else
            m_services.notices->withdraw(kProblem);
    });
}

void RecordingNotices::recordingChanged(bool recording) {
    if (recording == m_look.isActive()) return;
    if (recording) {
        m_services.notices->withdraw(kSaved);
        m_services.notices->withdraw(kLoss); // of the recording before, where it was still true when that had ended
        m_isLossTold = false;
        m_awake = m_services.sleep->hold(tr("Recording a meeting"));
        m_look.start();
        return;
    }
    m_awake.reset();
    m_look.stop();
    for (Side* const side : {&m_system, &m_microphone}) lookAt(*side, FrameCount(0));
    for (const QString& missing : {kMissingOutput, kMissingMicrophone}) m_services.notices->withdraw(missing);
}

void RecordingNotices::chosenDeviceMissing(const QVariantMap& info) {
    if (info.value(QStringLiteral("isMicrophone")).toBool()) {
        m_services.notices->show({.subject = kMissingMicrophone,
                                  .title = tr("The chosen microphone is not connected"),
                                  .body = tr("The system's default microphone is recorded instead.")});
    } else {
        m_services.notices->show({.subject = kMissingOutput,
                                  .title = tr("The chosen output is not connected"),
                                  .body = tr("What plays through the system's default output is recorded instead.")});
    }
}

void RecordingNotices::completed(const QVariantMap& info) {
    const std::filesystem::path recording = pathOf(info.value(QStringLiteral("url")).toUrl());
    const bool isUnfinished = info.value(QStringLiteral("isUnfinished")).toBool();
    const QString name = QFile::decodeName(recording.filename().c_str());
    const QString repair = tr("%1 has no note yet. Quillet repairs it when it is started the next time.").arg(name);
    m_services.notices->show({.subject = kSaved,
                              .title = isUnfinished ? tr("The recording could not be finished") : tr("Recording saved"),
                              .body = isUnfinished ? repair : name,
                              .actionTitle = tr("Show"),
                              .onAction = [show = m_services.showRecording, recording] { show(recording); }});
}

void RecordingNotices::failed(const QString& title, const QString& message) {
    m_services.notices->show({.subject = kProblem,
                              .title = title,
                              .body = shownText(message),
                              .actionTitle = tr("Open Quillet"),
                              .onAction = m_services.open,
                              .urgency = UserNotice::Urgency::Critical});
}

void RecordingNotices::look() {
    const CaptureStatistics statistics = m_services.engine->statistics();
    lookAt(m_system, statistics.system.digitalSilence);
    lookAt(m_microphone, statistics.microphone.digitalSilence);
    lookAtLoss(statistics.blocksDropped);
}

void RecordingNotices::lookAtLoss(std::int64_t blocksDropped) {
    if (m_isLossTold || blocksDropped < kNoticeableLossBlocks) return;
    m_isLossTold = true;
    m_services.notices->show({.subject = kLoss,
                              .title = tr("Parts of the recording are missing"),
                              .body = tr("The disk of the recordings folder does not keep up. Choose another folder in "
                                         "the settings for the next recording."),
                              .urgency = UserNotice::Urgency::Critical});
}

void RecordingNotices::lookAt(Side& side, FrameCount silence) {
    const bool silent = silence >= kNoticeableSilence;
    if (silent == side.isTold) return;
    side.isTold = silent;
    if (silent) {
        m_services.notices->show({.subject = side.subject, .title = side.title, .body = side.body});
    } else {
        m_services.notices->withdraw(side.subject);
    }
}

} // namespace quillet
