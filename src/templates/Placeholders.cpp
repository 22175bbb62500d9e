#include "templates/Placeholders.h"

#include <QtGlobal>

namespace quillet {

const std::array<Placeholder, 10>& placeholderReference() {
    static const std::array<Placeholder, 10> placeholders{{
        {QStringLiteral("{{meeting_title}}"), QT_TRANSLATE_NOOP("Placeholders", "Meeting title (detected or manual)")},
        {QStringLiteral("{{date}}"), QT_TRANSLATE_NOOP("Placeholders", "Formatted date")},
        {QStringLiteral("{{duration}}"), QT_TRANSLATE_NOOP("Placeholders", "Recording duration")},
        {QStringLiteral("{{attendees}}"), QT_TRANSLATE_NOOP("Placeholders", "Speaker list from diarization")},
        {QStringLiteral("{{ai_summary}}"), QT_TRANSLATE_NOOP("Placeholders", "AI-generated 3-5 sentence summary")},
        {QStringLiteral("{{key_decisions}}"), QT_TRANSLATE_NOOP("Placeholders", "Bulleted list of decisions")},
        {QStringLiteral("{{action_items}}"), QT_TRANSLATE_NOOP("Placeholders", "Bulleted list with owners")},
        {QStringLiteral("{{follow_ups}}"), QT_TRANSLATE_NOOP("Placeholders", "Questions needing answers")},
        {QStringLiteral("{{transcript}}"), QT_TRANSLATE_NOOP("Placeholders", "Full transcript with speaker labels")},
        // The cut is by characters; the wording is kept.
        {QStringLiteral("{{short_transcript}}"), QT_TRANSLATE_NOOP("Placeholders", "First 500 words of transcript")},
    }};
    return placeholders;
}

} // namespace quillet
