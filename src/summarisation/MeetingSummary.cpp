#include "summarisation/MeetingSummary.h"

#include <QJsonArray>
#include <QSet>

namespace quillet {
namespace {

const QString kOverview = QStringLiteral("overview");
const QString kDecisions = QStringLiteral("decisions");
const QString kActionItems = QStringLiteral("actionItems");
const QString kNextSteps = QStringLiteral("nextSteps");
const QString kTopics = QStringLiteral("topics");
const QString kStatus = QStringLiteral("status");

/// Hands a field of a conversion over; false, with the reason kept, when the reading failed.
template <typename T>
bool take(Result<T, ConversionError> reading, T& field, std::optional<ConversionError>& error) {
    if (reading) {
        field = std::move(*reading);
    } else {
        error = reading.error();
    }
    return !error;
}

/// One line without the bullet that a model may have put before it itself.
QString withoutBullet(const QString& element) {
    QString line = element.simplified();
    while (line.startsWith(u'•') || line.startsWith(QLatin1String("- ")) || line.startsWith(QLatin1String("* ")))
        line = line.mid(1).trimmed();
    return line;
}

std::optional<QString> bullets(const QStringList& elements) {
    QStringList lines;
    for (const QString& element : elements) {
        if (const QString line = withoutBullet(element); !line.isEmpty()) lines += QStringLiteral("• ") + line;
    }
    if (lines.isEmpty()) return std::nullopt;
    return lines.join(u'\n');
}

/// What is left of a text when only its words count.
QString essence(const QString& text) {
    QString letters;
    for (const QChar character : text) {
        if (!character.isSpace() && !character.isPunct()) letters += character.toCaseFolded();
    }
    return letters.isEmpty() ? text.simplified() : letters;
}

void appendNew(QStringList& all, const QStringList& more, QSet<QString>& known) {
    for (const QString& element : more) {
        const QString key = essence(element);
        if (key.isEmpty() || known.contains(key)) continue;
        known.insert(key);
        all += element;
    }
}

} // namespace

GenerationSchema MeetingSummary::generationSchema() {
    using Type = SchemaProperty::Type;
    return {QStringLiteral("MeetingSummary"),
            {{kOverview, Type::Text, QStringLiteral("2-3 sentence overview of what was discussed")},
             {kDecisions, Type::Texts, QStringLiteral("Key decisions made during the meeting")},
             {kActionItems, Type::Texts, QStringLiteral("Action items with owner names where mentioned")},
             {kNextSteps, Type::Texts, QStringLiteral("Next steps agreed upon")},
             {kTopics, Type::Texts, QStringLiteral("Main topics discussed")}}};
}

Result<MeetingSummary, ConversionError> MeetingSummary::from(const GeneratedContent& content) {
    MeetingSummary summary;
    std::optional<ConversionError> error;
    if (take(content.text(kOverview), summary.overview, error) &&
        take(content.texts(kDecisions), summary.decisions, error) &&
        take(content.texts(kActionItems), summary.actionItems, error) &&
        take(content.texts(kNextSteps), summary.nextSteps, error) &&
        take(content.texts(kTopics), summary.topics, error))
        return summary;
    return Failure{*error};
}

GeneratedContent MeetingSummary::generatedContent() const {
    return GeneratedContent({{kOverview, overview},
                             {kDecisions, QJsonArray::fromStringList(decisions)},
                             {kActionItems, QJsonArray::fromStringList(actionItems)},
                             {kNextSteps, QJsonArray::fromStringList(nextSteps)},
                             {kTopics, QJsonArray::fromStringList(topics)}});
}

Result<MeetingSummary::PartiallyGenerated, ConversionError>
MeetingSummary::PartiallyGenerated::from(const GeneratedContent& content) {
    PartiallyGenerated partial{.id = content.id().value_or(GenerationID::createUuid())};
    std::optional<ConversionError> error;
    if (take(content.optionalText(kOverview), partial.overview, error) &&
        take(content.optionalTexts(kDecisions), partial.decisions, error) &&
        take(content.optionalTexts(kActionItems), partial.actionItems, error) &&
        take(content.optionalTexts(kNextSteps), partial.nextSteps, error) &&
        take(content.optionalTexts(kTopics), partial.topics, error))
        return partial;
    return Failure{*error};
}

GenerationSchema CheckResponse::generationSchema() {
    return {QStringLiteral("CheckResponse"), {{kStatus, SchemaProperty::Type::Text}}};
}

Result<CheckResponse, ConversionError> CheckResponse::from(const GeneratedContent& content) {
    auto status = content.text(kStatus);
    if (!status) return Failure{status.error()};
    return CheckResponse{*status};
}

GeneratedContent CheckResponse::generatedContent() const { return GeneratedContent({{kStatus, status}}); }

Result<CheckResponse::PartiallyGenerated, ConversionError>
CheckResponse::PartiallyGenerated::from(const GeneratedContent& content) {
    auto status = content.optionalText(kStatus);
    if (!status) return Failure{status.error()};
    return PartiallyGenerated{.id = content.id().value_or(GenerationID::createUuid()), .status = *status};
}

SummaryTexts summaryTexts(const MeetingSummary& summary) {
    const QString paragraph = summary.overview.simplified();
    return {.aiSummary = paragraph.isEmpty() ? std::nullopt : std::optional(paragraph),
            .keyDecisions = bullets(summary.decisions),
            .actionItems = bullets(summary.actionItems),
            .followUps = bullets(summary.nextSteps)};
}

MeetingSummary joinedSummaries(const std::vector<MeetingSummary>& parts) {
    MeetingSummary all;
    QStringList overviews;
    QSet<QString> known[5];
    for (const MeetingSummary& part : parts) {
        appendNew(overviews, {part.overview.simplified()}, known[0]);
        appendNew(all.decisions, part.decisions, known[1]);
        appendNew(all.actionItems, part.actionItems, known[2]);
        appendNew(all.nextSteps, part.nextSteps, known[3]);
        appendNew(all.topics, part.topics, known[4]);
    }
    all.overview = overviews.join(u' ');
    return all;
}

} // namespace quillet
