#include "summarisation/TranscriptPieces.h"

#include "LongMeeting.h"
#include "summarisation/TranscriptFile.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

std::vector<TranscriptPiece> cut(const QString& text, qsizetype tokens, qsizetype overlap) {
    std::vector<TranscriptPiece> pieces;
    for (qsizetype begin = 0; begin < text.size();) {
        pieces.push_back(pieceFrom(text, begin, tokens));
        begin = nextBegin(text, pieces.back(), overlap);
    }
    return pieces;
}

TEST(TranscriptPiecesTest, CutsWhereSpeakersOrSentencesEndAndLosesNothing) {
    const QString meeting = test::LongMeeting(8000).transcript;
    QString oneLine = meeting;
    oneLine.replace(u'\n', u' ');
    QString words = u"word "_s.repeated(20'000);
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s;
    const struct {
        const char* what;
        QString text;
        std::function<bool(QStringView before, QStringView after)> isGoodCut;
        bool overlaps;
    } rows[] = {
        {"speakers", meeting,
         [](QStringView before, QStringView after) { return before.endsWith(u'\n') && after.left(15).contains(u": "); },
         true},
        {"one line", oneLine,
         [](QStringView before, QStringView after) {
             const QStringView end = before.trimmed();
             return (end.endsWith(u'.') || end.endsWith(u'!') || end.endsWith(u'?')) && !after.startsWith(u' ');
         },
         true},
        {"no sentences", words, [](QStringView, QStringView after) { return after.startsWith(u'w'); }, false},
        {"no words", u"x"_s.repeated(100'000), [](QStringView, QStringView) { return true; }, false},
        {"characters of many units", family.repeated(5000),
         [&family](QStringView, QStringView after) { return after.startsWith(family); }, false},
    };
    const auto& endsSentence = rows[1].isGoodCut;
    constexpr qsizetype kTokens = 900;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const QStringView text(row.text);
        const auto pieces = cut(row.text, kTokens, kTokens / 20);
        ASSERT_GT(pieces.size(), 5U);
        qsizetype overlapping = 0;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const auto [begin, end] = pieces[i];
            ASSERT_LE(estimatedTokens(text.mid(begin, end - begin)), kTokens);
            if (i == 0) continue;
            ASSERT_LE(begin, pieces[i - 1].end) << "nothing is left out";
            ASSERT_GT(begin, pieces[i - 1].begin);
            overlapping += begin < pieces[i - 1].end;
            EXPECT_TRUE(row.isGoodCut(text.left(pieces[i - 1].end), text.mid(pieces[i - 1].end)));
            EXPECT_TRUE(begin == pieces[i - 1].end || endsSentence(text.left(begin), text.mid(begin)));
        }
        EXPECT_EQ(pieces.front().begin, 0);
        EXPECT_EQ(pieces.back().end, text.size());
        EXPECT_LT(pieces.size(), static_cast<std::size_t>(2 * estimatedTokens(text) / kTokens + 2));
        if (row.overlaps) {
            EXPECT_EQ(overlapping, static_cast<qsizetype>(pieces.size()) - 1);
        }
    }
}

TEST(TranscriptFileTest, ReadsTextOfAnyMakingAndRefusesTheRest) {
    const struct {
        const char* what;
        QByteArray bytes;
        std::optional<QString> text;
        bool isGuessed;
    } rows[] = {
        {"empty", "", u""_s, false},
        {"UTF-8", "Jürgen: ja\r\nAda: ok\n", u"Jürgen: ja\nAda: ok\n"_s, false},
        {"UTF-8 with a mark", "\xEF\xBB\xBFhi", u"hi"_s, false},
        {"UTF-16 with a mark", QByteArray("\xFF\xFEh\0i\0", 6), u"hi"_s, false},
        {"Latin-1", "J\xFCrgen", u"Jürgen"_s, true},
        {"an audio file", QByteArray("\0\0\0\1ftypM4A \xFF\xFE\x80", 15), std::nullopt, false},
        {"too long", QByteArray(33 * 1024 * 1024, 'x'), std::nullopt, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto transcript = decodeTranscript(row.bytes);
        ASSERT_EQ(transcript.ok(), row.text.has_value());
        if (!transcript) continue;
        EXPECT_EQ(transcript->text, *row.text);
        EXPECT_EQ(transcript->isGuessed, row.isGuessed);
    }
}

} // namespace
} // namespace quillet
