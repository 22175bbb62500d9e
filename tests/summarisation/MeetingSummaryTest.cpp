#include "summarisation/MeetingSummary.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

GeneratedContent contentOf(const std::vector<std::pair<const char*, QJsonValue>>& fields) {
    std::vector<GeneratedContent::Property> properties;
    properties.reserve(fields.size());
    for (const auto& [name, value] : fields) properties.push_back({QString::fromLatin1(name), value});
    return GeneratedContent(std::move(properties));
}

const QJsonArray kNone;

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
    const struct {
        const char* what;
        GeneratedContent content;
        Kind kind;
        const char* property;
        bool failsInPart; ///< also where fields may still be missing
    } rows[] = {
        {"missing",
         contentOf({{"overview", u"x"_s}, {"decisions", kNone}, {"actionItems", kNone}, {"nextSteps", kNone}}),
         Kind::Missing, "topics", false},
        {"the first of two is named", contentOf({{"topics", 1}, {"overview", u"x"_s}}), Kind::Missing, "decisions",
         true},
        {"text for a list", contentOf({{"overview", u"x"_s}, {"decisions", u"x"_s}}), Kind::WrongType, "decisions",
         true},
        {"list for a text", contentOf({{"overview", QJsonArray{u"x"_s}}}), Kind::WrongType, "overview", true},
        {"one number among texts", contentOf({{"overview", u"x"_s}, {"decisions", QJsonArray{u"x"_s, 1}}}),
         Kind::WrongType, "decisions", true},
        {"null", contentOf({{"overview", QJsonValue::Null}}), Kind::WrongType, "overview", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto summary = MeetingSummary::from(row.content);
        ASSERT_FALSE(summary.ok());
        EXPECT_EQ(summary.error().kind, row.kind);
        EXPECT_EQ(summary.error().property, QString::fromLatin1(row.property));
        EXPECT_EQ(MeetingSummary::PartiallyGenerated::from(row.content).ok(), !row.failsInPart);
    }
    EXPECT_FALSE(CheckResponse::from(contentOf({{"status", true}})).ok());
    EXPECT_FALSE(CheckResponse::from(GeneratedContent()).ok());
}

TEST(MeetingSummaryTest, APartHasTheSnapshotsIdAndWhatIsThere) {
    const GenerationID id = GenerationID::createUuid();
    const GeneratedContent content({{u"overview"_s, u"So f"_s}, {u"nextSteps"_s, QJsonArray{u"go"_s}}}, id);
    const auto partial = MeetingSummary::PartiallyGenerated::from(content);
    ASSERT_TRUE(partial.ok());
    EXPECT_EQ(*partial,
              (MeetingSummary::PartiallyGenerated{.id = id, .overview = u"So f"_s, .nextSteps = QStringList{u"go"_s}}));
    EXPECT_FALSE(MeetingSummary::PartiallyGenerated::from(GeneratedContent()).value().id.isNull());
    EXPECT_EQ(CheckResponse::PartiallyGenerated::from(GeneratedContent({}, id)).value(),
              (CheckResponse::PartiallyGenerated{.id = id}));
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
