#pragma once

#include <QString>
#include <QStringView>

namespace quillet {

/// How many tokens a text is at most likely to be for a language model: models differ, so this is on the safe side, at
/// three bytes of UTF-8 a token.
[[nodiscard]] qsizetype estimatedTokens(QStringView text);

/// Part of a transcript: from begin to before end.
struct TranscriptPiece {
    qsizetype begin = 0;
    qsizetype end = 0;
};

/// The piece that begins here and takes so many tokens at most. It ends with the transcript or where a speaker ends,
/// else where a sentence ends, else between words, else between characters; a break in its first half counts only when
/// there is no other. Takes at least one character.
[[nodiscard]] TranscriptPiece pieceFrom(QStringView transcript, qsizetype begin, qsizetype tokens);

/// Where the piece behind this one begins, so that the end of this one, of so many tokens at most, is read again and
/// what lies across the cut is seen whole: where a speaker or a sentence begins. Always behind the piece's own begin.
[[nodiscard]] qsizetype nextBegin(QStringView transcript, TranscriptPiece piece, qsizetype overlapTokens);

} // namespace quillet
