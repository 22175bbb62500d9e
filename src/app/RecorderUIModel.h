#pragma once

#include "support/Published.h"

#include <QString>
#include <QUuid>

#include <optional>

namespace quillet {

/// One message to the user. The id is its identity: the same text raised twice is presented twice.
struct AppAlert {
    QUuid id;
    QString title;
    QString message;
    bool isAutomationDenied = false; ///< offers the way to the system's settings besides the dismissal
};

/// The one slot for alerts between the parts that run into trouble and the popover that shows it. A newer alert
/// replaces the current one; there is no queue. Main thread only.
class RecorderUIModel {
public:
    Published<std::optional<AppAlert>> activeAlert;
    Published<bool> requestShowSettings{false};

    void showDiskFull();
    void showPermissionDenied();
    void showNotesAutomationDenied();
    void showAppleScriptFailure();

private:
    void show(const char* title, const char* message, bool isAutomationDenied = false);
};

} // namespace quillet
