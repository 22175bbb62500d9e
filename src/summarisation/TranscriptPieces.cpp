#include "summarisation/TranscriptPieces.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace quillet {
namespace {

constexpr qsizetype kBytesPerToken = 3;

int utf8Bytes(QChar unit) {
    if (unit.unicode() < 0x80) return 1;
    if (unit.unicode() < 0x800) return 2;
    return unit.isSurrogate() ? 2 : 3;
}

/// How far a text that begins here may go to take so many bytes.
qsizetype forward(QStringView text, qsizetype begin, qsizetype bytes) {
    qsizetype end = begin;
    while (end < text.size() && (bytes -= utf8Bytes(text[end])) >= 0) ++end;
    return end;
}

qsizetype backward(QStringView text, qsizetype end, qsizetype bytes) {
    qsizetype begin = end;
    while (begin > 0 && (bytes -= utf8Bytes(text[begin - 1])) >= 0) --begin;
    return begin;
}

/// Whether a line that begins here names its speaker: "Ada Lovelace: ", "[00:12:04] Ada: ".
bool namesSpeaker(QStringView text, qsizetype line) {
    constexpr qsizetype kLongestName = 80;
    const QStringView start = text.mid(line, kLongestName);
    const qsizetype end = start.indexOf(u'\n');
    const QStringView head = end < 0 ? start : start.left(end);
    for (qsizetype i = 1; i < head.size(); ++i) {
        // A colon inside a time is followed by a digit.
        if (head[i] == u':' && (i + 1 == head.size() || head[i + 1].isSpace())) return true;
        if (head[i] == u'.' || head[i] == u'?' || head[i] == u'!') return false;
    }
    return false;
}

enum class Break { Speaker, Line, Sentence, Word };

bool isBreak(QStringView text, qsizetype at, Break kind) {
    if (at <= 0 || at >= text.size()) return false;
    switch (kind) {
    case Break::Speaker:
        return text[at - 1] == u'\n' && namesSpeaker(text, at);
    case Break::Line:
        return text[at - 1] == u'\n';
    case Break::Word:
        return text[at - 1].isSpace() && !text[at].isSpace();
    case Break::Sentence:
        break;
    }
    return false;
}

/// The last break of the kind from lowest to highest; -1 for none.
qsizetype lastBreak(QStringView text, qsizetype lowest, qsizetype highest, Break kind) {
    if (kind != Break::Sentence) {
        for (qsizetype at = highest; at >= lowest; --at) {
            if (isBreak(text, at, kind)) return at;
        }
        return -1;
    }
    // A little beyond, to know whether a sentence ends right there.
    const QStringView window = text.mid(lowest, highest - lowest + 2);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Sentence, window.data(), window.size());
    finder.setPosition(std::min(highest - lowest + 1, window.size()));
    const qsizetype at = finder.toPreviousBoundary();
    return at > 0 ? lowest + at : -1;
}

qsizetype firstBreak(QStringView text, qsizetype lowest, qsizetype highest, Break kind) {
    if (kind != Break::Sentence) {
        for (qsizetype at = lowest; at < highest; ++at) {
            if (isBreak(text, at, kind)) return at;
        }
        return -1;
    }
    const QStringView window = text.mid(lowest, highest - lowest);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Sentence, window.data(), window.size());
    const qsizetype at = finder.toNextBoundary();
    return at > 0 && at < window.size() ? lowest + at : -1;
}

qsizetype characterBreak(QStringView text, qsizetype begin, qsizetype highest) {
    const QStringView window = text.mid(begin, highest - begin + 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window.data(), window.size());
    finder.setPosition(window.size());
    const qsizetype at = finder.toPreviousBoundary();
    if (at > 0) return begin + at;
    finder.toStart(); // one character longer than all there is room for
    return begin + std::max<qsizetype>(finder.toNextBoundary(), 1);
}

} // namespace

qsizetype estimatedTokens(QStringView text) {
    qsizetype bytes = 0;
    for (const QChar unit : text) bytes += utf8Bytes(unit);
    return (bytes + kBytesPerToken - 1) / kBytesPerToken;
}

TranscriptPiece pieceFrom(QStringView transcript, qsizetype begin, qsizetype tokens) {
    const qsizetype limit = forward(transcript, begin, tokens * kBytesPerToken);
    if (limit >= transcript.size()) return {begin, transcript.size()};
    const qsizetype half = begin + (limit - begin) / 2;
    for (const qsizetype lowest : {half + 1, begin + 1}) {
        for (const Break kind : {Break::Speaker, Break::Line, Break::Sentence, Break::Word}) {
            if (const qsizetype at = lastBreak(transcript, lowest, limit, kind); at > begin) return {begin, at};
        }
    }
    return {begin, characterBreak(transcript, begin, limit)};
}

qsizetype nextBegin(QStringView transcript, TranscriptPiece piece, qsizetype overlapTokens) {
    if (piece.end >= transcript.size()) return transcript.size();
    // Never more than half of a piece again, so that all pieces together stay within twice the transcript.
    const qsizetype lowest = std::max(backward(transcript, piece.end, overlapTokens * kBytesPerToken),
                                      piece.begin + (piece.end - piece.begin + 1) / 2);
    for (const Break kind : {Break::Speaker, Break::Line, Break::Sentence}) {
        if (const qsizetype at = firstBreak(transcript, lowest, piece.end, kind); at > piece.begin) return at;
    }
    return piece.end;
}

} // namespace quillet
