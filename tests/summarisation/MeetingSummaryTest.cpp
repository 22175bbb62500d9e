#include "summarisation/MeetingSummary.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

TEST(MeetingSummaryTest, SchemasAreExactAndOrdered) {
    EXPECT_EQ(
        MeetingSummary::generationSchema().json().toStdString(),
        R"({"type":"object","properties":{)"
        R"("overview":{"description":"2-3 sentence overview of what was discussed","type":"string"},)"
        R"("decisions":{"description":"Key decisions made during the meeting","type":"array","items":{"type":"string"}},)"
        R"("actionItems":{"description":"Action items with owner names where mentioned","type":"array","items":{"type":"string"}},)"
        R"("nextSteps":{"description":"Next steps agreed upon","type":"array","items":{"type":"string"}},)"
        R"("topics":{"description":"Main topics discussed","type":"array","items":{"type":"string"}}},)"
        R"("required":["overview","decisions","actionItems","nextSteps","topics"],"additionalProperties":false})");
    EXPECT_EQ(
        CheckResponse::generationSchema().json().toStdString(),
        R"({"type":"object","properties":{"status":{"type":"string"}},"required":["status"],"additionalProperties":false})");
}

TEST(MeetingSummaryTest, ContentKeepsOrderAndComesBack) {
    const MeetingSummary summary{u"We \"met\"\n."_s, {u"a"_s, u"ü\u2028"_s}, {}, {u"c"_s}, {u""_s}};
    EXPECT_FALSE(summary.generatedContent().id());
    EXPECT_EQ(summary.promptRepresentation(),
              u"{\"overview\":\"We \\\"met\\\"\\n.\",\"decisions\":[\"a\",\"ü\u2028\"],\"actionItems\":[],"
              u"\"nextSteps\":[\"c\"],\"topics\":[\"\"]}"_s);
    const auto back = MeetingSummary::from(summary.generatedContent());
    ASSERT_TRUE(back.ok());
    EXPECT_EQ(*back, summary);

    const CheckResponse check{u"ok"_s};
    EXPECT_EQ(check.promptRepresentation(), u"{\"status\":\"ok\"}"_s);
    EXPECT_EQ(CheckResponse::from(check.generatedContent()).value(), check);
}

TEST(MeetingSummaryTest, OneBadPropertyFailsTheWholeConversion) {
    using Kind = ConversionError::Kind;
    const QString overview = u"overview"_s, decisions = u"decisions"_s, nextSteps = u"nextSteps"_s;
    const QJsonArray none;
    const struct {
        const char* what;
        std::vector<GeneratedContent::Property> content;
        Kind kind;
        QString property;
        bool failsInPart; ///< also where fields may still be missing
    } rows[] = {
        {"missing", {{overview, u"x"_s}, {decisions, none}, {u"actionItems"_s, none}}, Kind::Missing, nextSteps, false},
        {"the first of two is named", {{u"topics"_s, 1}, {overview, u"x"_s}}, Kind::Missing, decisions, true},
        {"text for a list", {{overview, u"x"_s}, {decisions, u"x"_s}}, Kind::WrongType, decisions, true},
        {"list for a text", {{overview, none}}, Kind::WrongType, overview, true},
        {"a number", {{overview, u"x"_s}, {decisions, QJsonArray{u"x"_s, 1}}}, Kind::WrongType, decisions, true},
        {"null", {{overview, QJsonValue::Null}}, Kind::WrongType, overview, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto summary = MeetingSummary::from(GeneratedContent(row.content));
        ASSERT_FALSE(summary.ok());
        EXPECT_EQ(summary.error().kind, row.kind);
        EXPECT_EQ(summary.error().property, row.property);
        EXPECT_EQ(MeetingSummary::PartiallyGenerated::from(GeneratedContent(row.content)).ok(), !row.failsInPart);
    }
    EXPECT_FALSE(CheckResponse::from(GeneratedContent({{u"status"_s, true}})).ok());
    EXPECT_FALSE(CheckResponse::from(GeneratedContent()).ok());
}

TEST(MeetingSummaryTest, BecomesAParagraphAndBulletedLines) {
    const SummaryTexts texts = summaryTexts({.overview = u"  One.\n\nTwo.  "_s,
                                             .decisions = {u"Ship it"_s, u"• Ship\n  later"_s, u"- none * of it"_s},
                                             .actionItems = {u"  "_s, u"•"_s},
                                             .nextSteps = {},
                                             .topics = {u"shipping"_s}});
    EXPECT_EQ(texts.aiSummary, u"One. Two."_s);
    EXPECT_EQ(texts.keyDecisions, u"• Ship it\n• Ship later\n• none * of it"_s);
    EXPECT_EQ(texts.actionItems, std::nullopt) << "the note then says that there are none";
    EXPECT_EQ(texts.followUps, std::nullopt);
}

TEST(MeetingSummaryTest, JoinedPartsSayEachThingOnceInOrder) {
    const MeetingSummary joined =
        joinedSummaries({{u"One."_s, {u"Ship it."_s, u"Hire"_s}, {u"Ada: tests"_s}, {}, {u"plan"_s}},
                         {u"Two."_s, {u"ship  it"_s, u"Fire"_s}, {u"Ada: tests"_s, u"!"_s}, {u"Meet"_s}, {u"Plan"_s}},
                         {u"one"_s, {}, {}, {}, {}}});
    EXPECT_EQ(joined, (MeetingSummary{u"One. Two."_s,
                                      {u"Ship it."_s, u"Hire"_s, u"Fire"_s},
                                      {u"Ada: tests"_s, u"!"_s},
                                      {u"Meet"_s},
                                      {u"plan"_s}}));
}

} // namespace
} // namespace quillet
