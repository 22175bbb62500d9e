#include "app/MenuModel.h"

#include <algorithm>
#include <cmath>

namespace quillet {
namespace {

/// The quietest level that a meter shows; the mixer does not tell quieter ones apart. Speech lies between -30 and -15.
constexpr double kMeterFloorDb = -40;

double meterValue(float level) {
    const double db = 20 * std::log10(std::max(static_cast<double>(level), 1e-6));
    return std::clamp(1 - db / kMeterFloorDb, 0.0, 1.0);
}

} // namespace

void MenuModel::observe(QObject* context, const std::function<void()>& changed) {
    const auto tell = [changed](const auto&) { changed(); };
    m_services.permissions->screenCaptureStatus.subscribe(context, tell);
    m_services.permissions->microphoneStatus.subscribe(context, tell);
    m_services.engine->isRecording.subscribe(context, tell);
    m_services.engine->recordingStartDate.subscribe(context, tell);
    m_services.engine->lastError.subscribe(context, tell);
    m_services.engine->outputURL.subscribe(context, tell);
}

void MenuModel::observeAlerts(QObject* context, const std::function<void(const std::optional<AppAlert>&)>& changed) {
    m_services.uiModel.activeAlert.subscribe(context, changed);
}

bool MenuModel::needsScreenCapture() const {
    return m_services.permissions->screenCaptureStatus.value() != PermissionStatus::Granted;
}

bool MenuModel::needsMicrophone() const {
    return m_services.permissions->microphoneStatus.value() != PermissionStatus::Granted;
}

void MenuModel::allowScreenCapture() {
    m_services.permissions->requestScreenCaptureAccess();
    m_services.permissions->openScreenCapturePreferences();
}

void MenuModel::allowMicrophone() {
    m_services.permissions->requestMicrophoneAccess([permissions = m_services.permissions](bool) {
        if (permissions->microphoneStatus.value() != PermissionStatus::Granted)
            permissions->openMicrophonePreferences();
    });
}

std::optional<WallTime> MenuModel::recordingStartDate() const {
    return isRecording() ? m_services.engine->recordingStartDate.value() : std::nullopt;
}

std::optional<std::filesystem::path> MenuModel::latestRecording() const {
    return isRecording() ? std::nullopt : m_services.engine->outputURL.value();
}

MenuModel::Levels MenuModel::levels() const {
    const CaptureStatistics statistics = m_services.engine->statistics();
    return {.system = meterValue(statistics.system.level), .microphone = meterValue(statistics.microphone.level)};
}

void MenuModel::pressRecordButton() { m_services.control.toggle(); }

bool MenuModel::autoCreateNote() const { return m_services.defaults.boolean(DefaultsKeys::autoCreateNote); }
void MenuModel::setAutoCreateNote(bool on) { m_services.defaults.set(DefaultsKeys::autoCreateNote, on); }

void MenuModel::showLatestRecording() {
    if (const auto recording = latestRecording()) m_services.files.showInFinderSelecting(*recording);
}

void MenuModel::openRecordingsFolder() { m_services.files.openRecordingsFolderInFinder(); }

QString elapsedString(WallTime start, WallTime now) {
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(now - start).count();
    if (elapsed < 3600) return QString::asprintf("%d:%02d", int(elapsed / 60), int(elapsed % 60));
    return QString::asprintf("%d:%02d:%02d", int(elapsed / 3600), int(elapsed / 60 % 60), int(elapsed % 60));
}

} // namespace quillet
