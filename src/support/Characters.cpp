#include "support/Characters.h"

#include "support/Require.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace quillet {

QString firstCharacters(const QString& text, int count) {
    if (text.size() <= count) return text;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    require(U_SUCCESS(status), "the break rules of ICU are missing");
    // ICU counts in 32 bits; the alias copies nothing.
    const auto size = static_cast<int32_t>(std::min<qsizetype>(text.size(), std::numeric_limits<int32_t>::max()));
    const icu::UnicodeString alias(false, reinterpret_cast<const char16_t*>(text.utf16()), size);
    characters->setText(alias);
    const int32_t end = characters->next(count);
    return end == icu::BreakIterator::DONE ? text : text.left(end);
}

QString firstCharactersWithin(const QString& text, int count, qsizetype bytes) {
    QString first = firstCharacters(text, count);
    while (count > 0 && first.toUtf8().size() > bytes) first = firstCharacters(first, --count);
    return first;
}

} // namespace quillet
