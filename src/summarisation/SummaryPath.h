#pragma once

#include "summarisation/ChatCompletionsModel.h"
#include "support/Result.h"
#include "support/UserDefaults.h"

namespace quillet {

/// Where one summary is made.
enum class SummaryPath {
    None,
    LocalServer, ///< on this device, by the server that the user has set up
    SystemModel, ///< on this device, by the system's own model
    Cloud
};

/// What the user wants and what there is.
struct SummaryChoice {
    bool useLocal = true;
    bool cloudFallback = true;
    bool hasLocalServer = false;
    bool hasSystemModel = false;
    bool hasCloud = false;
};

/// On this device where that is wanted and possible, by the server before the system's model, since somebody set it up
/// on purpose. In the cloud only when the user wants nothing else, or when this device has no model and the user allows
/// it; and only when a cloud has been set up. A model that fails later does not change the path.
[[nodiscard]] SummaryPath summaryPath(const SummaryChoice& choice);

/// The servers of the settings; the error is a sentence for the user. A server of this machine is on this machine, also
/// where somebody wrote something else into the settings by hand.
[[nodiscard]] Result<ChatEndpoint, QString> localEndpoint(const UserDefaults& defaults);
[[nodiscard]] Result<ChatEndpoint, QString> cloudEndpoint(const UserDefaults& defaults);

/// Where the next summary would be made, for showing it.
struct SummaryPlan {
    SummaryPath path = SummaryPath::None;
    QString host{};   ///< of a server
    QString model{};  ///< of a server
    QString reason{}; ///< with None only: a sentence or more for the user
};

/// From the settings as they are; asks nobody. Any thread.
[[nodiscard]] SummaryPlan summaryPlan(const UserDefaults& defaults, bool hasSystemModel);

} // namespace quillet
