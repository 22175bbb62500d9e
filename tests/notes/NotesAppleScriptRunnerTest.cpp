#include "notes/NotesAppleScriptRunner.h"

#include "notes/AppleNotesApplication.h"
#include "support/MainThread.h"
#include "support/WaitFor.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <atomic>
#include <gmock/gmock.h>
#include <thread>

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

class NotesAppleScriptRunnerTest : public testing::Test {
protected:
    std::shared_ptr<FakeScriptHost> host = std::make_shared<FakeScriptHost>();
    NotesAppleScriptRunner runner{host};

    QString lastSource() const { return host->sources.empty() ? QString() : host->sources.back(); }
    void answerWithList(std::int64_t count, std::vector<std::shared_ptr<const ScriptDescriptor>> items) {
        host->answer =
            ScriptDescriptor{.descriptorType = fourCharCode("list"), .numberOfItems = count, .items = std::move(items)};
    }
};

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

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
    const struct {
        int length;
        const char* sha256;
    } expected[] = {
        {36, "21a995417b23f6e42e1d1ca61c394da2e83c762a41aebcbb3c87e622e01513b3"},
        {312, "19ed7a99279d045357efeaae441e4838fd10db76d368c497b02db02450adbc50"},
        {236, "949747f7c06bb0a28e867661245a3b0d119dda98badca36f1f3b69940e4a834b"},
        {278, "719d1cb0511d21e21c9b0c36c701afca1acf6b5d4c3f11c682ea41485d8483c4"},
        {278, "719d1cb0511d21e21c9b0c36c701afca1acf6b5d4c3f11c682ea41485d8483c4"},
        {731, "492204da61120d50c4c385664893d5b2973fa64e3db0a1534be00d6e1ab1c592"},
    };
    ASSERT_EQ(host->sources.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(host->sources[i].toStdString());
        EXPECT_EQ(host->sources[i].size(), expected[i].length);
        EXPECT_EQ(QCryptographicHash::hash(host->sources[i].toUtf8(), QCryptographicHash::Sha256).toHex(),
                  expected[i].sha256);
    }
}

TEST_F(NotesAppleScriptRunnerTest, ValuesCannotLeaveTheirQuotes) {
    const struct {
        const char* value;
        const char* expected;
    } rows[] = {
        {R"(say "hi")", R"(say \"hi\")"},
        {R"(C:\n)", R"(C:\\n)"},
        {R"(\")", R"(\\\")"},
        {"a\r\nb\nc\rd\n\re\r\r\nf", R"(a\nb\nc\nd\n\ne\n\nf)"},
        {"tab\tÄ🎙\u202e\u2028", "tab\tÄ🎙\u202e\u2028"},
        {"   ", "   "}, // trimming is not done here
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        const QString value = text(row.value);
        const QString expected = text(row.expected);
        static_cast<void>(runner.createNoteWithAttachment(value, value, value, value));
        EXPECT_TRUE(lastSource().startsWith(text("set theFile to POSIX file \"") + expected + text("\" as alias\n")));
        EXPECT_TRUE(lastSource().contains(text("set targetFolderName to \"") + expected + text("\"\n")));
        EXPECT_TRUE(
            lastSource().contains(text("{name: \"") + expected + text("\", body: \"") + expected + text("\"}\n")));
        static_cast<void>(runner.testFolderConnection(text("x") + value + text("x")));
        EXPECT_TRUE(lastSource().contains(text("is \"x") + expected + text("x\" then\n")));
    }
}

TEST_F(NotesAppleScriptRunnerTest, AnErrorIsARefusalByItsNumberOrByItsWords) {
    const struct {
        std::optional<std::int64_t> number;
        const char* message;
        const char* brief;
        bool denied;
    } rows[] = {
        {-1743, nullptr, nullptr, true},
        {-10814, "File not found", nullptr, true},
        {-1728, "Can’t get alias.", nullptr, false},
        {-1728, "Quillet is NOT AUTHORISED to send Apple events.", nullptr, true},
        {{}, nullptr, "Not authorized.", true},
        {-600, "User did not Allow", "sending APPLE EVENTS", true}, // the two messages count as one text
        {-600, "Apple events were denied", nullptr, true},
        {-600, "Apple events timed out", "error", false},
        {-600, "access denied", nullptr, false},
        {-600, "not", "authorised", true},
        {{}, nullptr, nullptr, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.number.value_or(0) << " " << (row.message ? row.message : ""));
        ScriptErrorInfo error{row.number, {}, {}};
        if (row.message) error.message = text(row.message);
        if (row.brief) error.briefMessage = text(row.brief);
        host->answer = Failure{error};
        const CreateNoteResult result = runner.createNoteWithAttachment({}, {}, {}, {});
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.isAutomationDenied, row.denied);
        EXPECT_FALSE(runner.checkNotesAutomationAccess());
        EXPECT_FALSE(runner.testFolderConnection(text("Work")));
        EXPECT_THAT(runner.fetchFolders(), IsEmpty());
    }
}

TEST_F(NotesAppleScriptRunnerTest, AnAnswerCountsWhateverItIsAndNoScriptIsNoRefusal) {
    host->answer = ScriptDescriptor{.booleanValue = true};
    EXPECT_TRUE(runner.createNoteWithAttachment({}, {}, {}, {}).success);
    EXPECT_TRUE(runner.checkNotesAutomationAccess());
    EXPECT_TRUE(runner.testFolderConnection(text("Work")));
    host->answer = ScriptDescriptor{};
    EXPECT_TRUE(runner.checkNotesAutomationAccess());
    EXPECT_FALSE(runner.testFolderConnection(text("Work")));

    host->answer.reset();
    const CreateNoteResult result = runner.createNoteWithAttachment({}, {}, {}, {});
    EXPECT_FALSE(result.success || result.isAutomationDenied);
    EXPECT_FALSE(runner.checkNotesAutomationAccess());
    EXPECT_FALSE(runner.testFolderConnection(text("Work")));
    EXPECT_THAT(runner.fetchFolders(), IsEmpty());

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
    std::atomic<bool> done = false;
    std::vector<QString> folders;
    NotesAccess access = NotesAccess::NotDetermined;
    NoteOutcome outcome;
    std::thread worker([&] {
        folders = application.fetchFolders();
        access = application.probeAccess();
        static_cast<void>(application.requestAccess());
        static_cast<void>(application.testFolderConnection(text("Work")));
        outcome = application.createNoteWithAttachment({"/r/Ü.m4a", text("T"), text("B"), std::nullopt});
        done = true;
    });
    ASSERT_TRUE(test::waitFor([&] { return done.load(); }));
    worker.join();
    EXPECT_THAT(folders, ElementsAre(text("Work")));
    EXPECT_EQ(access, NotesAccess::Granted);
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
