#pragma once

#include <QString>

namespace quillet {

/// The beginning of a text, counted in characters as a reader perceives them (extended grapheme clusters): a letter
/// with its accents, a family emoji and the pair of carriage return and line feed are one each. The whole text when it
/// is no longer than that. Takes no longer for a long text than for the part that is returned. Any thread.
[[nodiscard]] QString firstCharacters(const QString& text, int count);
/// The same with no more bytes in UTF-8 either, as for names of files.
[[nodiscard]] QString firstCharactersWithin(const QString& text, int count, qsizetype bytes);

/// The text with a place to break (U+200B) after every so many characters of a word: names and addresses may be one
/// long word, which would widen what it is shown in. Any thread.
[[nodiscard]] QString breakable(const QString& text, int every = 30);

} // namespace quillet
