#include "support/Characters.h"

#include "support/Require.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

namespace quillet {

namespace {

/// The characters of a text that outlives it, one after the other; looks no further than it is asked to.
class Characters {
public:
    explicit Characters(const QString& text)
        : m_text(false, reinterpret_cast<const char16_t*>(text.utf16()),
                 static_cast<int32_t>(std::min<qsizetype>(text.size(), std::numeric_limits<int32_t>::max()))) {
        UErrorCode status = U_ZERO_ERROR;
        m_breaks.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        require(U_SUCCESS(status), "the break rules of ICU are missing");
        m_breaks->setText(m_text);
    }

    /// Where the next so many end; absent when there are fewer.
    std::optional<qsizetype> next(int count = 1) {
        const int32_t end = m_breaks->next(count);
        return end == icu::BreakIterator::DONE ? std::nullopt : std::optional<qsizetype>(end);
    }

private:
    const icu::UnicodeString m_text; ///< ICU counts in 32 bits; the alias copies nothing
    std::unique_ptr<icu::BreakIterator> m_breaks;
};

} // namespace

QString firstCharacters(const QString& text, int count) {
    if (text.size() <= count) return text;
    return text.left(Characters(text).next(count).value_or(text.size()));
}

QString firstCharactersWithin(const QString& text, int count, qsizetype bytes) {
    const QString first = firstCharacters(text, count);
    Characters characters(first);
    qsizetype end = 0;
    for (auto next = characters.next(); next && first.left(*next).toUtf8().size() <= bytes; next = characters.next())
        end = *next;
    return first.left(end);
}

QString breakable(const QString& text, int every) {
    QString broken;
    Characters characters(text);
    int inWord = 0;
    qsizetype begin = 0;
    for (auto end = characters.next(); end; begin = *end, end = characters.next()) {
        inWord = text.at(begin).isSpace() ? 0 : inWord + 1;
        if (inWord > every) {
            broken += QChar(0x200B);
            inWord = 1;
        }
        broken += QStringView(text).mid(begin, *end - begin);
    }
    return broken;
}

} // namespace quillet
