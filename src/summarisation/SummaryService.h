#pragma once

#include "platform/LanguageModel.h"
#include "summarisation/LocalSummariser.h"
#include "summarisation/SummaryPath.h"
#include "support/UserDefaults.h"

#include <functional>
#include <memory>

namespace quillet {

/// What became of a summary: it, or a sentence for the user that says why there is none.
struct SummaryOutcome {
    std::optional<MeetingSummary> summary{};
    QString reason{};
    bool isCancelled = false;

    [[nodiscard]] SummaryTexts texts() const { return summary ? summaryTexts(*summary) : SummaryTexts(); }
};

/// Makes a meeting's summary where the settings of this moment say. A transcript goes to the cloud only when the plan
/// says so, and a failure elsewhere never sends it there. One summary at a time; any worker may ask and waits. The
/// defaults and the system must outlive it. Every failure is a sentence in the outcome.
class SummaryService {
public:
    using KeySource = std::function<std::optional<QString>(const StopToken& stop)>;

    /// The key of the cloud's service is asked for when the cloud is used, and not kept.
    SummaryService(const UserDefaults& defaults, SystemLanguageModel& system, KeySource cloudKey,
                   ChatLimits limits = {});

    /// Any thread; asks nobody.
    [[nodiscard]] SummaryPlan plan() const { return summaryPlan(m_defaults, m_hasSystemModel); }
    [[nodiscard]] SummaryOutcome summarise(const QString& transcript, const SummaryObserver& observer,
                                           const StopToken& stop);
    /// Whether the model of the plan answers; the error is a sentence for the user.
    [[nodiscard]] Result<void, QString> check(const StopToken& stop);

private:
    struct Way {
        std::shared_ptr<LanguageModel> model;
        TranscriptSummariser* summariser = nullptr;
    };
    [[nodiscard]] Result<Way, QString> way(const StopToken& stop);

    const UserDefaults& m_defaults;
    SystemLanguageModel& m_system;
    const bool m_hasSystemModel;
    const KeySource m_cloudKey;
    const ChatLimits m_limits;
    LocalSummariser m_local;
    CloudSummariser m_cloud;
};

/// The environment's QUILLET_CLOUD_KEY, else the keyring's.
[[nodiscard]] std::optional<QString> cloudModelKey(const StopToken& stop);

} // namespace quillet
