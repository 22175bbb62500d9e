#pragma once

#include "support/DateTexts.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace quillet {

/// What is known of one meeting. Unknown texts are empty; the texts of several lines come ready with bullets and line
/// breaks.
struct MeetingFacts {
    QString title{};
    QString formattedDate{}; ///< as shown to the user; empty: made from recordedAt
    QString formattedDuration{};
    QString attendees{};
    QString aiSummary{};
    QString keyDecisions{};
    QString actionItems{};
    QString followUps{};
    QString transcript{};
    std::optional<QUrl> recordingURL{};
    WallTime recordedAt{};
};

/// The values of one meeting that fill a template. A plain value, made from the facts on any thread; making it never
/// fails. It adds what follows from the facts: the date's text where none is given, and the transcript's beginning.
struct MeetingContext : MeetingFacts {
    explicit MeetingContext(MeetingFacts facts);

    QString shortTranscript; ///< the first 500 characters of the transcript

    /// A time by the shared date formatter: long date, short time, in the language and time zone of its first use.
    [[nodiscard]] static QString formatDate(WallTime time);
};

} // namespace quillet
