#include "support/Characters.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

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
