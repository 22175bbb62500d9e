#include "app/RecorderUIModel.h"

namespace quillet {

void RecorderUIModel::showDiskFull() {
    show("Not Enough Space",
         "There isn’t enough free disk space to save the recording. Free some space and try again.");
}

void RecorderUIModel::showPermissionDenied() {
    show("Permission Required", "Screen capture and microphone access are required to record. Please allow access in "
                                "System Settings → Privacy & Security.");
}

void RecorderUIModel::showNotesAutomationDenied() {
    show("Notes Access Not Allowed",
         "Please allow access in System Settings → Privacy & Security → Automation → enable Notes for this app.", true);
}

void RecorderUIModel::showAppleScriptFailure() {
    show("Could Not Create Note", "The recording was saved, but a note in Apple Notes could not be created. You can "
                                  "open the recordings folder from the menu.");
}

void RecorderUIModel::show(const char* title, const char* message, bool isAutomationDenied) {
    activeAlert.set(AppAlert{.id = QUuid::createUuid(),
                             .title = QString::fromUtf8(title),
                             .message = QString::fromUtf8(message),
                             .isAutomationDenied = isAutomationDenied});
}

} // namespace quillet
