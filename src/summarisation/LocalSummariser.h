#pragma once

#include "summarisation/SummariseOperation.h"
#include "support/SerialQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace quillet {

/// Makes summaries one at a time on a thread of its own, whoever asks; it keeps nothing of a meeting. Each call takes
/// the model that it is for. Everything that goes wrong is in the result. Any thread may ask; the destructor waits for
/// what has been asked for, so stop it first.
class TranscriptSummariser {
public:
    using Completion = std::function<void(SummaryResult result)>;

    explicit TranscriptSummariser(std::string label) : m_queue(std::move(label)) {}

    /// Observer and completion run on the summariser's thread.
    void summarise(std::shared_ptr<LanguageModel> model, const QString& transcript, SummaryObserver observer,
                   StopToken stop, Completion completion);
    /// The same for a caller on a worker, who waits.
    [[nodiscard]] SummaryResult summariseAndWait(LanguageModel& model, const QString& transcript,
                                                 const SummaryObserver& observer, const StopToken& stop);
    [[nodiscard]] Result<CheckResponse, ModelError> checkAndWait(LanguageModel& model, const StopToken& stop);

private:
    SerialQueue m_queue;
};

/// Summaries by a model on this device: the system's own, or one behind a server on this machine.
class LocalSummariser final : public TranscriptSummariser {
public:
    using MeetingSummary = quillet::MeetingSummary;
    using CheckResponse = quillet::CheckResponse;

    LocalSummariser() : TranscriptSummariser("quillet.summary") {}
};

/// Summaries by a model elsewhere, to which the transcript is sent.
class CloudSummariser final : public TranscriptSummariser {
public:
    CloudSummariser() : TranscriptSummariser("quillet.cloud") {}
};

} // namespace quillet
