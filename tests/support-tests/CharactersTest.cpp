#include "support/Characters.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

TEST(CharactersTest, ALongWordMayBreakAfterEveryThirtyCharactersAndBetweenThemOnly) {
    const auto x = [](int count) { return QString(count, u'x'); };
    const QString family = u"👨‍👩‍👧‍👦"_s;
    const QString places = QString(QChar(0x200B));
    const std::pair<QString, QString> rows[] = {
        {x(30), x(30)},
        {x(31), x(30) + places + x(1)},
        {x(61) + u'.', x(30) + places + x(30) + places + x(1) + u'.'},
        {x(29) + u' ' + x(30) + u'\n' + x(2), x(29) + u' ' + x(30) + u'\n' + x(2)},
        {family.repeated(31), family.repeated(30) + places + family},
        {u"e\u0301"_s.repeated(31), u"e\u0301"_s.repeated(30) + places + u"e\u0301"_s},
    };
    for (const auto& [text, broken] : rows) EXPECT_EQ(breakable(text), broken) << qPrintable(text);
    EXPECT_EQ(breakable(x(5), 2), x(2) + places + x(2) + places + x(1));
}

TEST(CharactersTest, ABeginningKeepsToBothLimitsAndCutsNoCharacter) {
    const QString family = u"👨‍👩‍👧‍👦"_s; // 25 bytes
    const struct {
        QString text;
        int characters;
        qsizetype bytes;
        QString beginning;
    } rows[] = {
        {u"äöü"_s, 3, 6, u"äöü"_s}, {u"äöü"_s, 2, 6, u"äö"_s},
        {u"äöü"_s, 3, 5, u"äö"_s},  {family.repeated(3), 3, 74, family.repeated(2)},
        {family, 1, 24, u""_s},     {u"a"_s, 1, -3, u""_s},
    };
    for (const auto& row : rows)
        EXPECT_EQ(firstCharactersWithin(row.text, row.characters, row.bytes), row.beginning) << qPrintable(row.text);
}

} // namespace
} // namespace quillet
