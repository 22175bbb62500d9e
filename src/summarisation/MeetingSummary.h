#pragma once

#include "support/GeneratedContent.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace quillet {

/// What a language model makes of a meeting. The names and descriptions of its schema are all that steers the model.
struct MeetingSummary {
    QString overview;
    QStringList decisions;
    QStringList actionItems;
    QStringList nextSteps;
    QStringList topics;

    /// The same while it is being written: what has not come yet is absent.
    struct PartiallyGenerated {
        GenerationID id; ///< of the snapshots that belong together
        std::optional<QString> overview{};
        std::optional<QStringList> decisions{};
        std::optional<QStringList> actionItems{};
        std::optional<QStringList> nextSteps{};
        std::optional<QStringList> topics{};

        [[nodiscard]] static Result<PartiallyGenerated, ConversionError> from(const GeneratedContent& content);
        bool operator==(const PartiallyGenerated&) const = default;
    };

    [[nodiscard]] static GenerationSchema generationSchema();
    [[nodiscard]] static Result<MeetingSummary, ConversionError> from(const GeneratedContent& content);
    [[nodiscard]] GeneratedContent generatedContent() const;
    /// How it stands in instructions and prompts.
    [[nodiscard]] QString promptRepresentation() const { return QString::fromUtf8(generatedContent().json()); }

    bool operator==(const MeetingSummary&) const = default;
};

/// The answer to a probe of the model.
struct CheckResponse {
    QString status;

    struct PartiallyGenerated {
        GenerationID id;
        std::optional<QString> status{};

        [[nodiscard]] static Result<PartiallyGenerated, ConversionError> from(const GeneratedContent& content);
        bool operator==(const PartiallyGenerated&) const = default;
    };

    [[nodiscard]] static GenerationSchema generationSchema();
    [[nodiscard]] static Result<CheckResponse, ConversionError> from(const GeneratedContent& content);
    [[nodiscard]] GeneratedContent generatedContent() const;
    [[nodiscard]] QString promptRepresentation() const { return QString::fromUtf8(generatedContent().json()); }

    bool operator==(const CheckResponse&) const = default;
};

/// A meeting's texts as its note wants them: a paragraph, and lists of one line per element, each behind a bullet.
/// Absent where there is nothing to say.
struct SummaryTexts {
    std::optional<QString> aiSummary{};
    std::optional<QString> keyDecisions{};
    std::optional<QString> actionItems{};
    std::optional<QString> followUps{};

    [[nodiscard]] bool isEmpty() const { return !aiSummary && !keyDecisions && !actionItems && !followUps; }
};

[[nodiscard]] SummaryTexts summaryTexts(const MeetingSummary& summary);

/// One summary of a meeting from those of its parts, in their order, without asking a model: overviews one behind the
/// other, and lists without what is said twice.
[[nodiscard]] MeetingSummary joinedSummaries(const std::vector<MeetingSummary>& parts);

} // namespace quillet
