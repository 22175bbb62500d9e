#include "support/ShownTexts.h"

#include <QtGlobal>

namespace quillet {
namespace {

// As they stand where they come about; a text that is changed there is changed here too.
constexpr const char* kTexts[] = {
    // Recording
    QT_TRANSLATE_NOOP("Messages",
                      "Microphone access is required. Enable it in System Settings → Privacy & Security → Microphone."),
    QT_TRANSLATE_NOOP("Messages", "No microphone available."),
    QT_TRANSLATE_NOOP("Messages", "Microphone input failed: "),
    QT_TRANSLATE_NOOP("Messages", "Could not add microphone input."),
    QT_TRANSLATE_NOOP("Messages", "Could not add microphone output."),
    QT_TRANSLATE_NOOP("Messages", "Could not get shareable content: "),
    QT_TRANSLATE_NOOP("Messages", "No shareable content returned."),
    QT_TRANSLATE_NOOP("Messages", "No display available for system audio capture."),
    QT_TRANSLATE_NOOP("Messages", "Failed to add stream output: "),
    QT_TRANSLATE_NOOP("Messages", "Stream start failed: "),
    QT_TRANSLATE_NOOP("Messages", "Failed to setup audio writer."),
    QT_TRANSLATE_NOOP("Messages",
                      "The recording ended because its file has reached the largest size that its folder allows."),
    // The recordings folder
    QT_TRANSLATE_NOOP("Messages", "Could not create Recordings folder: "),
    QT_TRANSLATE_NOOP("Messages", "Not enough disk space to record. Free some space and try again."),
    QT_TRANSLATE_NOOP("Messages", "Recordings folder is not available."),
    QT_TRANSLATE_NOOP("Messages", "Recordings path exists but is not a directory."),
    // Alerts
    QT_TRANSLATE_NOOP("Messages", "Not Enough Space"),
    QT_TRANSLATE_NOOP("Messages",
                      "There isn’t enough free disk space to save the recording. Free some space and try again."),
    QT_TRANSLATE_NOOP("Messages", "Permission Required"),
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one text on two lines
    QT_TRANSLATE_NOOP("Messages", "Screen capture and microphone access are required to record. Please allow access in "
                                  "System Settings → Privacy & Security."),
    QT_TRANSLATE_NOOP("Messages", "Notes Access Not Allowed"),
    QT_TRANSLATE_NOOP(
        "Messages",
        "Please allow access in System Settings → Privacy & Security → Automation → enable Notes for this app."),
    QT_TRANSLATE_NOOP("Messages", "Could Not Create Note"),
    QT_TRANSLATE_NOOP("Messages", "The recording was saved, but a note in Apple Notes could not be created. You can "
                                  "open the recordings folder from the menu."),
    // Summaries
    QT_TRANSLATE_NOOP("Messages", "Requires macOS 26.0+"),
    // Details that the sound server's side gives
    QT_TRANSLATE_NOOP("Messages", "there is no output to record"),
    QT_TRANSLATE_NOOP("Messages", "there is no microphone named \""),
    QT_TRANSLATE_NOOP("Messages", "the sound server does not answer"),
    QT_TRANSLATE_NOOP("Messages", "the sound server denies access ("),
    QT_TRANSLATE_NOOP("Messages", "the sound server cannot be reached ("),
    QT_TRANSLATE_NOOP("Messages", "the sound server reports \""),
};

} // namespace

std::span<const char* const> shownTexts() { return kTexts; }

} // namespace quillet
