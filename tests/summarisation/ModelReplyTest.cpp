#include "summarisation/ModelReply.h"

#include "summarisation/MeetingSummary.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

const QString kGood = u"{\"overview\":\"We {met}.\",\"decisions\":[\"a\"],\"actionItems\":[],\"nextSteps\":[\"b\"],"
                      u"\"topics\":[]}"_s;
const MeetingSummary kMeant{u"We {met}."_s, {u"a"_s}, {}, {u"b"_s}, {}};

Result<GeneratedContent, ReplyFault> read(const QString& text) {
    return readReply(text, MeetingSummary::generationSchema());
}

TEST(ModelReplyTest, FindsTheObjectThatIsMeant) {
    const std::pair<const char*, QString> rows[] = {
        {"as it should be", kGood},
        {"code fence", u"```json\n"_s + kGood + u"\n```"_s},
        {"prose with braces around it", u"Sure! {So} here \"you\" are:\n"_s + kGood + u"\nAnything else? }"_s},
        {"thoughts and a draft before it", u"<think>Maybe {\"overview\": \"draft\"}? Or "_s +
                                               QString(kGood).replace(u"We {met}."_s, u"Draft"_s) + u"</think>"_s +
                                               kGood},
        {"under a name of its own", u"{\"summary\":"_s + kGood + u",\"language\":\"en\"}"_s},
        {"in a list", u"["_s + kGood + u"]"_s},
        {"other spelling of names", QString(kGood).replace(u"actionItems"_s, u"action_items"_s)},
        {"null for nothing", QString(kGood).replace(u"\"actionItems\":[]"_s, u"\"actionItems\":null"_s)},
        {"a text for a list", QString(kGood).replace(u"[\"a\"]"_s, u"\"a\""_s)},
        {"a field too many", QString(kGood).replace(u"{\"overview\""_s, u"{\"mood\":7,\"overview\""_s)},
    };
    for (const auto& [what, text] : rows) {
        SCOPED_TRACE(what);
        const auto content = read(text);
        ASSERT_TRUE(content.ok());
        EXPECT_EQ(MeetingSummary::from(*content).value(), kMeant);
    }
    const auto owner =
        read(QString(kGood).replace(u"[\"a\"]"_s, u"[{\"task\":\"mend\",\"owner\":\"Ada\",\"due\":null}]"_s));
    ASSERT_TRUE(owner.ok());
    EXPECT_EQ(MeetingSummary::from(*owner)->decisions, QStringList{u"owner: Ada, task: mend"_s});
}

TEST(ModelReplyTest, MakesNothingUp) {
    const std::tuple<const char*, QString, ReplyFault> rows[] = {
        {"nothing", u""_s, ReplyFault::NoObject},
        {"prose", u"The meeting was about the plan."_s, ReplyFault::NoObject},
        {"a list of texts", u"[\"a\"]"_s, ReplyFault::NoObject},
        {"half", kGood.left(kGood.size() - 5), ReplyFault::CutOff},
        {"half behind prose", u"Here: "_s + kGood.left(30), ReplyFault::CutOff},
        {"without its overview", QString(kGood).replace(u"overview"_s, u"intro"_s), ReplyFault::WrongShape},
        {"null for a text", QString(kGood).replace(u"\"We {met}.\""_s, u"null"_s), ReplyFault::WrongShape},
        {"a list for the text", QString(kGood).replace(u"\"We {met}.\""_s, u"[\"x\"]"_s), ReplyFault::WrongShape},
        {"numbers for texts", QString(kGood).replace(u"[\"a\"]"_s, u"[1,2]"_s), ReplyFault::WrongShape},
        {"a truth for a list", QString(kGood).replace(u"[\"a\"]"_s, u"true"_s), ReplyFault::WrongShape},
        {"the schema itself", QString::fromUtf8(MeetingSummary::generationSchema().json()), ReplyFault::WrongShape},
    };
    for (const auto& [what, text, fault] : rows) {
        SCOPED_TRACE(what);
        const auto content = read(text);
        ASSERT_FALSE(content.ok());
        EXPECT_EQ(content.error(), fault);
    }
}

TEST(ModelReplyTest, SnapshotsOnlyGrowAndEndWithTheWhole) {
    const QString text =
        u"```json\n{\"overview\": \"A \\\"b\\\" \\u00fc \\\\ {c\", \"decisions\": [\"one, two\", \"th\\nree\"], "
        u"\"actionItems\": [], \"nextSteps\": [\"x\"], \"topics\": [\"y\"]}\n```"_s;
    const auto schema = MeetingSummary::generationSchema();
    const GenerationID id = GenerationID::createUuid();
    MeetingSummary::PartiallyGenerated before;
    for (qsizetype length = 0; length <= text.size(); ++length) {
        SCOPED_TRACE(text.left(length).toStdString());
        const auto partial =
            MeetingSummary::PartiallyGenerated::from(readUnfinishedReply(text.left(length), schema, id));
        ASSERT_TRUE(partial.ok());
        EXPECT_EQ(partial->id, id);
        EXPECT_TRUE(partial->overview.value_or(u""_s).startsWith(before.overview.value_or(u""_s)));
        const QStringList decisions = partial->decisions.value_or(QStringList());
        const QStringList earlier = before.decisions.value_or(QStringList());
        ASSERT_GE(decisions.size(), earlier.size());
        for (qsizetype i = 0; i < earlier.size(); ++i) EXPECT_TRUE(decisions[i].startsWith(earlier[i]));
        EXPECT_EQ(partial->topics.has_value(), length >= text.indexOf(u"[\"y"_s) + 1);
        before = *partial;
    }
    const auto whole = MeetingSummary::from(readReply(text, schema).value());
    EXPECT_EQ(before.overview, whole->overview);
    EXPECT_EQ(before.overview, u"A \"b\" ü \\ {c"_s);
    EXPECT_EQ(before.decisions, (QStringList{u"one, two"_s, u"th\nree"_s}));
}

TEST(ModelReplyTest, AMegabyteOfNonsenseTakesNoTime) {
    for (const QString& text : {QString(1'000'000, u'{'), QString(1'000'000, u'['), u"{\""_s.repeated(500'000),
                                u"{}"_s.repeated(500'000), u"{\"overview\":"_s.repeated(80'000)}) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_FALSE(read(text).ok());
        EXPECT_TRUE(readUnfinishedReply(text, MeetingSummary::generationSchema(), {}).properties().empty());
        EXPECT_LT(timer.elapsed(), 10'000) << text.left(12).toStdString();
    }
}

} // namespace
} // namespace quillet
