#pragma once

#include "platform/LanguageModel.h"
#include "summarisation/MeetingSummary.h"
#include "support/StopToken.h"

#include <QString>

#include <functional>
#include <optional>

namespace quillet {

/// How far a summary is.
struct SummaryProgress {
    enum class Step { Reading, Merging } step = Step::Reading;
    int part = 1;  ///< the one at hand, from 1
    int parts = 1; ///< as far as can be told
    std::optional<MeetingSummary::PartiallyGenerated> written{};
};

/// Called on the thread that makes the summary.
using SummaryObserver = std::function<void(const SummaryProgress& progress)>;

using SummaryResult = Result<MeetingSummary, ModelError>;

/// How many tokens of a model's context are left for its reply, which may be cut off beyond them.
[[nodiscard]] int longestReply(int contextTokens);

/// Has a language model summarise a meeting. A transcript longer than its context is cut where speakers or sentences
/// end, its pieces overlap, and the model merges their summaries, group by group where they are many; a model that
/// cannot merge them still leaves what it wrote, joined. With an observer the model's replies are streamed. Blocks.
[[nodiscard]] SummaryResult summariseTranscript(LanguageModel& model, const QString& transcript,
                                                const SummaryObserver& observer, const StopToken& stop);

/// Whether the model answers at all, and with an object of the schema it was given. Blocks.
[[nodiscard]] Result<CheckResponse, ModelError> checkModel(LanguageModel& model, const StopToken& stop);

} // namespace quillet
