#include "templates/MeetingContext.h"

#include "support/Characters.h"

#include <mutex>
#include <utility>

namespace quillet {
namespace {

constexpr int kShortTranscriptCharacters = 500;

} // namespace

MeetingContext::MeetingContext(MeetingFacts facts)
    : MeetingFacts(std::move(facts)), shortTranscript(firstCharacters(transcript, kShortTranscriptCharacters)) {
    if (formattedDate.isEmpty()) formattedDate = formatDate(recordedAt);
}

QString MeetingContext::formatDate(WallTime time) {
    static std::mutex mutex; // a formatter serves one thread at a time
    const std::lock_guard lock(mutex);
    static const DateFormatter defaultDateFormatter = DateFormatter::longDateShortTime();
    return defaultDateFormatter.format(time);
}

} // namespace quillet
