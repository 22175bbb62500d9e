#include "templates/MeetingTemplate.h"

#include "support/Characters.h"
#include "templates/Placeholders.h"

#include <QCryptographicHash>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <limits>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

MeetingContext contextWith(MeetingFacts facts) {
    if (facts.formattedDate.isEmpty()) facts.formattedDate = u"DATE"_s;
    return MeetingContext(std::move(facts));
}

QString rendered(const QString& content, MeetingFacts facts) {
    return MeetingTemplate{.content = content}.render(contextWith(std::move(facts)));
}

TEST(MeetingTemplateTest, BuiltInTemplatesAreTheFourByteForByte) {
    const std::pair<const char*, const char*> rows[] = {{"General Meeting Notes", "1c666b05b59fe30b"},
                                                        {"Executive Brief", "00433a1cf2a0c06d"},
                                                        {"Action Items Focus", "d41c7b35fe9ee18f"},
                                                        {"Full Transcript", "ceda5d3d3caca024"}};
    const auto& templates = MeetingTemplate::builtInTemplates();
    ASSERT_EQ(templates.size(), std::size(rows));
    QSet<QUuid> ids;
    for (std::size_t i = 0; i < templates.size(); ++i) {
        const MeetingTemplate& one = templates[i];
        const auto hash = QCryptographicHash::hash(one.content.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
        EXPECT_EQ(one.name, QString::fromLatin1(rows[i].first));
        EXPECT_EQ(hash, rows[i].second) << rows[i].first;
        EXPECT_TRUE(one.isBuiltIn);
        EXPECT_EQ(one.isDefault, i == 0);
        ids.insert(one.id);
    }
    EXPECT_EQ(ids.size(), 4);
    EXPECT_EQ(&templates, &MeetingTemplate::builtInTemplates()); // one list, one set of ids
}

TEST(MeetingTemplateTest, EveryPlaceholderStandsForItsOwnFact) {
    QString content;
    for (const Placeholder& placeholder : placeholderReference()) content += placeholder.text + QLatin1Char('|');
    const QString longText(501, u'x');
    const MeetingFacts facts{.title = u"t"_s,
                             .formattedDate = u"d"_s,
                             .formattedDuration = u"l"_s,
                             .attendees = u"• A\n• B"_s,
                             .aiSummary = u"s"_s,
                             .keyDecisions = u"k"_s,
                             .actionItems = u"a"_s,
                             .followUps = u"f"_s,
                             .transcript = longText};
    EXPECT_EQ(rendered(content, facts), u"t|d|l|• A\n• B|s|k|a|f|"_s + longText + u'|' + longText.left(500) + u'|');
}

TEST(MeetingTemplateTest, PlaceholdersAreReplacedOneAfterTheOther) {
    const struct {
        const char *content, *title, *transcript, *text;
    } rows[] = {
        {"{{meeting_title}}", "at {{date}}", "", "at DATE"},               // a later step sees an earlier value
        {"{{transcript}}", "T", "{{meeting_title}}", "{{meeting_title}}"}, // not the other way round
        {"{{meeting_title}}", "{{meeting_title}}", "", "{{meeting_title}}"},
        {"{{transcript}}", "", "{{short_transcript}}", "{{short_transcript}}"},
        {"{{da{{meeting_title}}", "te}}", "", "DATE"}, // also where value and template only together make one
        {"{{meeting_title}}{{meeting_title}}", "x", "", "xx"},
        {"{{{date}}}{{{{date}}", "", "", "{DATE}{{DATE"},
        {"{{ date }} {{Date}} {{dates}} {date} {{date}", "", "", "{{ date }} {{Date}} {{dates}} {date} {{date}"},
        {"title: \"{{meeting_title}}\"", "a \"b\" \\1 $& %1", "", "title: \"a \"b\" \\1 $& %1\""},
        {"", "x", "y", ""},
        {"{{meeting_title}}", "", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content);
        EXPECT_EQ(rendered(QString::fromUtf8(row.content),
                           {.title = QString::fromUtf8(row.title), .transcript = QString::fromUtf8(row.transcript)}),
                  QString::fromUtf8(row.text));
    }
}

/// A template that consists of placeholders and near misses, and values of the same size that are full of them, too.
double clocksToRender(int size) {
    const auto filled = [size](const QString& unit) { return unit.repeated(size / unit.size()); };
    const MeetingContext context =
        contextWith({.title = filled(u"{{duration}{{{{"_s), .transcript = filled(u"{{transcript}}"_s)});
    const MeetingTemplate one{.content = u"{{meeting_title}}{{transcript}}"_s + filled(u"{{date}}"_s)};
    double best = std::numeric_limits<double>::max();
    for (int round = 0; round < 3; ++round) {
        const std::clock_t start = std::clock();
        EXPECT_GT(one.render(context).size(), 2 * size);
        best = std::min(best, static_cast<double>(std::clock() - start));
    }
    return best;
}

TEST(MeetingTemplateTest, MegabytesAreRenderedInLinearTime) {
    const double small = clocksToRender(1 << 20);
    EXPECT_LT(clocksToRender(8 << 20), 32 * small) << small; // 8 when linear, 64 when quadratic
}

TEST(MeetingContextTest, ShortTranscriptEndsAfterFiveHundredCharactersAsPerceived) {
    for (const char* perceived : {"a", "\r\n", "e\xcc\x81", "👩‍👩‍👧", "🇩🇪", "\u1100\u1161\u11a8"}) {
        SCOPED_TRACE(perceived);
        const QString character = QString::fromUtf8(perceived);
        const MeetingContext shorter({.formattedDate = u"d"_s, .transcript = character.repeated(500)});
        const MeetingContext longer({.formattedDate = u"d"_s, .transcript = character.repeated(501)});
        EXPECT_EQ(shorter.shortTranscript, shorter.transcript);
        EXPECT_EQ(longer.shortTranscript, shorter.transcript);
    }
    EXPECT_EQ(firstCharacters(u"abc"_s, 3), u"abc"_s);
    EXPECT_EQ(firstCharacters(QString(QChar(0xd800)) + QChar(u'b') + QChar(0xdc00), 2).size(), 2);
}

TEST(MeetingContextTest, AnEmptyDateBecomesTheLongDateInTheLanguageOfTheFirstUse) {
    qputenv("LC_ALL", "en_US.UTF-8");
    qputenv("TZ", "America/New_York");
    const WallTime time{std::chrono::seconds(1772377200)}; // 2026-03-01 15:00 UTC
    const auto dateOf = [time](const QString& given) {
        QString text = MeetingContext({.formattedDate = given, .recordedAt = time}).formattedDate;
        return text.replace(QChar(0x202f), QLatin1Char(' '));
    };
    EXPECT_EQ(dateOf({}), u"March 1, 2026 at 10:00 AM"_s);
    EXPECT_EQ(dateOf(u" "_s), u" "_s);
    qputenv("LC_ALL", "de_DE.UTF-8");
    qputenv("TZ", "Asia/Tokyo");
    EXPECT_EQ(dateOf({}), u"March 1, 2026 at 10:00 AM"_s);
    qunsetenv("LC_ALL");
    qunsetenv("TZ");
}

} // namespace
} // namespace quillet
