#include "summarisation/LocalSummariser.h"

#include <optional>

namespace quillet {

void TranscriptSummariser::summarise(std::shared_ptr<LanguageModel> model, const QString& transcript,
                                     SummaryObserver observer, StopToken stop, Completion completion) {
    m_queue.async(
        [model = std::move(model), transcript, observer = std::move(observer), stop = std::move(stop),
         completion = std::move(completion)] { completion(summariseTranscript(*model, transcript, observer, stop)); });
}

SummaryResult TranscriptSummariser::summariseAndWait(LanguageModel& model, const QString& transcript,
                                                     const SummaryObserver& observer, const StopToken& stop) {
    std::optional<SummaryResult> result;
    m_queue.sync([&] { result = summariseTranscript(model, transcript, observer, stop); });
    return std::move(*result);
}

Result<CheckResponse, ModelError> TranscriptSummariser::checkAndWait(LanguageModel& model, const StopToken& stop) {
    std::optional<Result<CheckResponse, ModelError>> result;
    m_queue.sync([&] { result = checkModel(model, stop); });
    return std::move(*result);
}

} // namespace quillet
