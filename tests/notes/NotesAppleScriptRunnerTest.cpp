#include "notes/NotesAppleScriptRunner.h"

#include "notes/AppleNotesApplication.h"
#include "support/MainThread.h"
#include "support/WaitFor.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <gmock/gmock.h>

namespace quillet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down what it is to execute, and answers as told.
class FakeScriptHost final : public ScriptHost {
public:
    std::optional<Outcome> answer = Outcome(ScriptDescriptor{});
    std::vector<QString> sources;
    bool wasOnlyOnTheMainThread = true;

    std::optional<Outcome> execute(const QString& source) override {
        sources.push_back(source);
        wasOnlyOnTheMainThread = wasOnlyOnTheMainThread && MainThread::isCurrent();
        return answer;
    }
};

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

class NotesAppleScriptRunnerTest : public testing::Test {
protected:
    std::shared_ptr<FakeScriptHost> host = std::make_shared<FakeScriptHost>();
    NotesAppleScriptRunner runner{host};

    QString lastSource() const { return host->sources.empty() ? QString() : host->sources.back(); }
    void answerWithList(std::int64_t count, std::vector<std::shared_ptr<const ScriptDescriptor>> items) {
        host->answer =
            ScriptDescriptor{.descriptorType = fourCharCode("list"), .numberOfItems = count, .items = std::move(items)};
    }
    void expectNothing(bool isDenied) {
        const CreateNoteResult result = runner.createNoteWithAttachment({}, {}, {}, {});
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.isAutomationDenied, isDenied);
        EXPECT_FALSE(runner.checkNotesAutomationAccess());
        EXPECT_FALSE(runner.testFolderConnection(text("Work")));
        EXPECT_THAT(runner.fetchFolders(), IsEmpty());
    }
};

std::shared_ptr<const ScriptDescriptor> item(std::uint32_t type, std::optional<QString> value) {
    return std::make_shared<ScriptDescriptor>(
        ScriptDescriptor{.descriptorType = type, .stringValue = std::move(value)});
}

// The texts are a wire format, so any byte that changes by accident has to show: the sums are those of the whole texts.
TEST_F(NotesAppleScriptRunnerTest, EachTextIsExactToTheByte) {
    answerWithList(1, {});
    static_cast<void>(runner.checkNotesAutomationAccess());
    static_cast<void>(runner.fetchFolders());
    static_cast<void>(runner.testFolderConnection(text("\n Work\t")));
    for (const auto& folder : {std::optional<QString>(), std::optional(text("")), std::optional(text("Work"))})
        static_cast<void>(runner.createNoteWithAttachment(text("/r/M.m4a"), text("Title"), text("Body"), folder));
    std::vector<QByteArray> sums;
    for (const QString& source : host->sources)
        sums.push_back(QCryptographicHash::hash(source.toUtf8(), QCryptographicHash::Sha256).toHex());
    EXPECT_THAT(sums, ElementsAre("21a995417b23f6e42e1d1ca61c394da2e83c762a41aebcbb3c87e622e01513b3",
                                  "19ed7a99279d045357efeaae441e4838fd10db76d368c497b02db02450adbc50",
                                  "949747f7c06bb0a28e867661245a3b0d119dda98badca36f1f3b69940e4a834b",
                                  "719d1cb0511d21e21c9b0c36c701afca1acf6b5d4c3f11c682ea41485d8483c4",
                                  "719d1cb0511d21e21c9b0c36c701afca1acf6b5d4c3f11c682ea41485d8483c4",
                                  "492204da61120d50c4c385664893d5b2973fa64e3db0a1534be00d6e1ab1c592"));
}

TEST_F(NotesAppleScriptRunnerTest, ValuesCannotLeaveTheirQuotes) {
    const std::pair<const char*, const char*> rows[] = {
        {R"(say "hi")", R"(say \"hi\")"},
        {R"(C:\n)", R"(C:\\n)"},
        {R"(\")", R"(\\\")"},
        {"a\r\nb\nc\rd\n\re\r\r\nf", R"(a\nb\nc\nd\n\ne\n\nf)"},
        {"tab\tÄ🎙\u202e\u2028", "tab\tÄ🎙\u202e\u2028"},
        {"   ", "   "}, // trimming is not done here
    };
    for (const auto& [given, expected] : rows) {
        const QString value = text(given);
        static_cast<void>(runner.createNoteWithAttachment(value, value, value, value));
        for (const char* line : {"set theFile to POSIX file \"%1\" as alias\n", "set targetFolderName to \"%1\"\n",
                                 "{name: \"%1\", body: \"%1\"}\n"})
            EXPECT_TRUE(lastSource().contains(text(line).replace(text("%1"), text(expected)))) << given << ": " << line;
        static_cast<void>(runner.testFolderConnection(text("x") + value + text("x")));
        EXPECT_TRUE(lastSource().contains(text("is \"x") + text(expected) + text("x\" then\n"))) << given;
    }
}

TEST_F(NotesAppleScriptRunnerTest, AnErrorIsARefusalByItsNumberOrByItsWords) {
    const QString none;
    const std::tuple<ScriptErrorInfo, bool> rows[] = {
        {{-1743, {}, {}}, true},
        {{-10814, text("File not found"), {}}, true},
        {{-1728, text("Can’t get alias."), {}}, false},
        {{-1728, text("Quillet is NOT AUTHORISED to send Apple events."), {}}, true},
        {{{}, {}, text("Not authorized.")}, true},
        {{-600, text("User did not Allow"), text("sending APPLE EVENTS")}, true}, // the two messages count as one text
        {{-600, text("Apple events were denied"), {}}, true},
        {{-600, text("Apple events timed out"), text("error")}, false},
        {{-600, text("access denied"), {}}, false},
        {{-600, text("not"), text("authorised")}, true},
        {{{}, {}, {}}, false},
    };
    for (const auto& [error, isDenied] : rows) {
        SCOPED_TRACE(testing::Message() << error.number.value_or(0) << " "
                                        << error.message.value_or(none).toStdString());
        host->answer = Failure{error};
        expectNothing(isDenied);
    }
}

TEST_F(NotesAppleScriptRunnerTest, AnAnswerCountsWhateverItIsAndNoScriptIsNoRefusal) {
    for (const bool value : {true, false}) {
        host->answer = ScriptDescriptor{.booleanValue = value};
        EXPECT_TRUE(runner.createNoteWithAttachment({}, {}, {}, {}).success);
        EXPECT_TRUE(runner.checkNotesAutomationAccess());
        EXPECT_EQ(runner.testFolderConnection(text("Work")), value);
    }
    host->answer.reset();
    expectNothing(false);
    host->sources.clear();
    EXPECT_FALSE(runner.testFolderConnection(text(" \r\n\u00a0")));
    EXPECT_THAT(host->sources, IsEmpty());
}

TEST_F(NotesAppleScriptRunnerTest, OnlyTheTextItemsOfAListAreFolders) {
    constexpr auto utxt = fourCharCode("utxt");
    constexpr auto plain = fourCharCode("TEXT");
    answerWithList(8, {item(utxt, text("Work")), item(fourCharCode("long"), text("7")), nullptr,
                       item(plain, text("Arbeit")), item(utxt, std::nullopt), item(utxt, text("")),
                       item(utxt, text("Work"))}); // and an eighth that is promised only
    EXPECT_THAT(runner.fetchFolders(), ElementsAre(text("Work"), text("Arbeit"), text(""), text("Work")));
    answerWithList(1, {item(utxt, text("first")), item(utxt, text("beyond the count"))});
    EXPECT_THAT(runner.fetchFolders(), ElementsAre(text("first")));
    answerWithList(-1, {item(utxt, text("Work"))});
    EXPECT_THAT(runner.fetchFolders(), IsEmpty());
    host->answer = ScriptDescriptor{.descriptorType = utxt, .numberOfItems = 0, .stringValue = text("Work")};
    EXPECT_THAT(runner.fetchFolders(), IsEmpty());
}

TEST_F(NotesAppleScriptRunnerTest, AListWithoutItemsStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // other tests of this process leave workers behind
    answerWithList(0, {});
    EXPECT_DEATH(static_cast<void>(runner.fetchFolders()), "fatal: Notes answered with an empty list of folders");
}

TEST_F(NotesAppleScriptRunnerTest, WorkersWaitForTheirScriptOnTheMainThread) {
    AppleNotesApplication application(runner, [] { return true; });
    answerWithList(1, {item(fourCharCode("utxt"), text("Work"))});
    NoteOutcome outcome = test::onWorker([&] {
        EXPECT_THAT(application.fetchFolders(), ElementsAre(text("Work")));
        EXPECT_EQ(application.probeAccess(), NotesAccess::Granted);
        static_cast<void>(application.requestAccess());
        static_cast<void>(application.testFolderConnection(text("Work")));
        return application.createNoteWithAttachment({"/r/Ü.m4a", text("T"), text("B"), std::nullopt});
    });
    EXPECT_TRUE(outcome.success && outcome.reason.isEmpty());
    EXPECT_EQ(host->sources.size(), 5U);
    EXPECT_TRUE(lastSource().startsWith(text("set theFile to POSIX file \"/r/Ü.m4a\"")));
    EXPECT_TRUE(host->wasOnlyOnTheMainThread);

    for (const auto number : {-1743, -1}) {
        host->answer = Failure{ScriptErrorInfo{number, text("secret"), {}}};
        outcome = application.createNoteWithAttachment({});
        EXPECT_FALSE(outcome.success || outcome.reason.isEmpty() || outcome.reason.contains(text("secret")));
        EXPECT_EQ(outcome.isAutomationDenied, number == -1743);
    }
}

} // namespace
} // namespace quillet
