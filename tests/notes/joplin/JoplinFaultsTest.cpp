#include "notes/joplin/FakeService.h"
#include "notes/joplin/JoplinTestSupport.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>

#include <gtest/gtest.h>

#include <future>
#include <gmock/gmock.h>

namespace quillet::test {
namespace {

using Answer = FakeService::Answer;
using Request = FakeService::Request;
using std::chrono::milliseconds;

Answer reply(int status, const QByteArray& body, const QByteArray& header = {}) {
    return {Answer::Kind::Reply, status, body, header};
}

const Answer kWaiting = reply(200, R"({"status":"waiting"})");
const Answer kAccepted = reply(200, R"({"status":"accepted","token":")" + QByteArray(FakeService::kToken) + "\"}");

class JoplinFaultsTest : public testing::Test {
protected:
    JoplinFaultsTest() { keepToken(QString::fromLatin1(FakeService::kToken)); }

    void keepToken(const QString& token) { ASSERT_TRUE(user.secrets()->keepToken(token)); }
    /// The service answers as Joplin but for this request.
    void spoil(const QString& line, const Answer& answer) {
        service.script = [line, answer](const Request& request) {
            const QString asked = QString::fromLatin1(request.verb) + u' ' + request.path;
            return asked.startsWith(line) ? answer : FakeService::asJoplin(request);
        };
    }
    JoplinOptions options() {
        return {.ports = [this] { return ports; },
                .limits = limits,
                .lockFolder = user.path("").toStdString(),
                .consentPoll = milliseconds(20),
                .consentLimit = milliseconds(1'000)};
    }
    NoteOutcome create(const NoteDraft& draft) {
        return onWorker(
            [&] { return JoplinNotesApplication(user.secrets(), options()).createNoteWithAttachment(draft); });
    }
    /// Of the last recording.
    qint64 uploadedBytes() const {
        const auto upload =
            std::ranges::find(service.requests.rbegin(), service.requests.rend(), u("/resources"), &Request::path);
        return upload == service.requests.rend() ? 0 : upload->bodyBytes;
    }
    static void expectNoSecret(const QString& sentence) {
        EXPECT_TRUE(sentence.endsWith(u'.')) << qPrintable(sentence);
        for (const char* secret : {"s3cret", "http", "127.0.0.1", "token"})
            EXPECT_FALSE(sentence.contains(u(secret))) << qPrintable(sentence);
    }

    JoplinUser user;
    joplin::Limits limits{.ping = milliseconds(5'000), .answer = milliseconds(5'000), .upload = milliseconds(2'000)};
    FakeService service{FakeService::asJoplin};
    std::vector<quint16> ports{service.serverPort()};
};

TEST_F(JoplinFaultsTest, everyBadAnswerToEveryStepEndsInASentenceAndATidyService) {
    const QByteArray leak = "{\"error\":\"Invalid token s3cret at http://127.0.0.1\"}";
    const std::pair<const char*, Answer> faults[] = {
        {"stalls", {Answer::Kind::Stall}},
        {"closes", {Answer::Kind::Close}},
        {"dies", {Answer::Kind::Die}},
        {"garbage", reply(200, "<html>\0\xff")},
        {"empty", reply(200, {})},
        {"another item", reply(200, "{\"id\":\"0123456789abcdef0123456789abcdef\",\"items\":7,\"valid\":\"yes\"}")},
        {"500", reply(500, leak)},
        {"403", reply(403, leak)},
        {"redirected", reply(302, leak, "Location: http://127.0.0.1:9/?token=x\r\n")},
    };
    const char* steps[] = {"GET /auth/check", "GET /folders",    "POST /folders", "GET /notes/",
                           "GET /resources/", "POST /resources", "POST /notes",   "PUT /notes/"};
    NoteDraft draft = user.draft();
    draft.folderName = u("New");
    for (const char* step : steps) {
        for (const auto& [name, fault] : faults) {
            SCOPED_TRACE(std::string(step) + ": " + name);
            if (!service.isListening()) service.revive();
            service.requests.clear();
            spoil(u(step), fault);
            limits.ping = limits.answer = milliseconds(fault.kind == Answer::Kind::Stall ? 1'000 : 5'000);

            const NoteOutcome outcome = create(draft);

            EXPECT_FALSE(outcome.success);
            EXPECT_EQ(outcome.isAutomationDenied, fault.status == 403);
            expectNoSecret(outcome.reason);
            EXPECT_GE(service.journal().filter(u(step)).size(), 1) << "the step was reached";
            const bool made = u(step).startsWith(u("P")) && u(step) != u("POST /folders");
            if (made && fault.kind != Answer::Kind::Die) {
                EXPECT_EQ(service.journal().filter(u("DELETE /")).size(), 2) << "note and recording are taken back";
            }
        }
    }
}

TEST_F(JoplinFaultsTest, inAnotherLanguageTheNameOfItsOwnFolderIsAnOrdinaryOne) {
    service.script = [](const Request& request) {
        if (request.path != u"/folders") return FakeService::asJoplin(request);
        return reply(200, R"({"items":[{"id":"g","title":"Conflicts","parent_id":""}],"has_more":false})");
    };
    NoteDraft draft = user.draft();
    draft.folderName = u("Conflicts");
    EXPECT_TRUE(create(draft).success);
}

TEST_F(JoplinFaultsTest, theTokenGoesToJoplinOnly) {
    limits.ping = milliseconds(1'000); // one of the strangers never answers
    FakeService joplin(FakeService::asJoplin);
    ports = {service.serverPort(), joplin.serverPort()};
    const std::pair<const char*, Answer> strangers[] = {
        {"something else", reply(200, "It works!")},
        {"a boaster", reply(200, "JoplinClipperServer2")},
        {"silent", {Answer::Kind::Stall}},
        {"redirecting",
         reply(302, {}, "Location: http://127.0.0.1:" + QByteArray::number(joplin.serverPort()) + "/ping\r\n")},
        {"endless", reply(200, QByteArray(10'000'000, 'x'))},
        {"closing", {Answer::Kind::Close}},
        {"not found", reply(404, "JoplinClipperServer")},
    };
    for (const auto& [name, stranger] : strangers) {
        SCOPED_TRACE(name);
        service.script = [answer = stranger](const Request&) { return answer; };
        service.received.clear();

        EXPECT_TRUE(create(user.draft()).success);

        EXPECT_TRUE(service.received.startsWith("GET /ping"));
        EXPECT_FALSE(service.received.contains("s3cret"));
    }
    ports = {service.serverPort()};
    EXPECT_EQ(create(user.draft()).reason, u("Joplin is not running, or its Web Clipper service is switched off."));
}

TEST_F(JoplinFaultsTest, anUploadThatStopsHalfwayIsGivenUpAndMadeLater) {
    user.write("talk.m4a", QByteArray(30'000'000, 'a'));
    const std::tuple<qint64, qint64, const char*> rows[] = {
        {5'000'000, -1, "The connection to Joplin broke off."},
        {-1, 5'000'000, "Joplin did not answer in time."},
    };
    for (const auto& [dieAfter, stallAfter, reason] : rows) {
        if (!service.isListening()) service.revive();
        service.dieAfterBodyBytes = dieAfter;
        service.stallAfterBodyBytes = stallAfter;
        QElapsedTimer timer;
        timer.start();

        const NoteOutcome outcome = create(user.draft());

        EXPECT_FALSE(outcome.success || outcome.isAutomationDenied);
        EXPECT_EQ(outcome.reason, u(reason));
        EXPECT_LT(timer.elapsed(), 20'000);
    }
    if (!service.isListening()) service.revive();
    service.dieAfterBodyBytes = service.stallAfterBodyBytes = -1;
    EXPECT_TRUE(create(user.draft()).success) << "once the service is back, a repeat is all that it takes";
    EXPECT_EQ(service.count(u("POST /notes")), 1);
}

TEST_F(JoplinFaultsTest, aRecordingThatArrivedInPartMakesNoNote) {
    service.script = [](const Request& request) {
        Answer answer = FakeService::asJoplin(request);
        if (request.path == u"/resources") answer.body.replace("\"size\":3", "\"size\":2");
        return answer;
    };

    EXPECT_FALSE(create(user.draft()).success);

    EXPECT_EQ(service.count(u("POST /notes")), 0);
    EXPECT_EQ(service.journal().filter(u("DELETE /resources/")).size(), 1) << "the part is taken back";
}

TEST_F(JoplinFaultsTest, aSlowUploadThatGoesOnIsNotGivenUp) {
    user.write("talk.m4a", QByteArray(60'000'000, 'a'));
    service.stallAfterBodyBytes = 0;
    QTimer reader; // takes twice as long over all of it as one step may take
    QObject::connect(&reader, &QTimer::timeout, &service, [this] { service.letOn(1'500'000); });
    reader.start(100);
    QElapsedTimer timer;
    timer.start();

    const NoteOutcome outcome = create(user.draft());

    EXPECT_GT(timer.elapsed(), limits.upload.count());
    EXPECT_TRUE(outcome.success) << qPrintable(outcome.reason);
}

TEST_F(JoplinFaultsTest, anHourOfSoundPassesThroughLittleMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer keeps freed memory";
#endif
    const auto peakKiB = [] {
        const QByteArray text = contentsOf(u("/proc/self/status"));
        const qsizetype at = text.indexOf("VmHWM:") + 6;
        return text.mid(at, text.indexOf("kB", at) - at).trimmed().toLongLong();
    };
    EXPECT_TRUE(create(user.draft(u("before"))).success);
    const qint64 before = peakKiB();
    constexpr qint64 kBytes = qint64{400} * 1024 * 1024;
    QFile large(user.path("talk.m4a"));
    ASSERT_TRUE(large.open(QFile::WriteOnly) && large.resize(kBytes)); // sparse

    EXPECT_TRUE(create(user.draft()).success);

    EXPECT_GT(uploadedBytes(), kBytes);
    EXPECT_LT(peakKiB() - before, 64 * 1024);
}

TEST_F(JoplinFaultsTest, whatALostAnswerLeftBehindIsCompletedNotDoubled) {
    spoil(u("PUT /notes/"), {Answer::Kind::Die});
    EXPECT_FALSE(create(user.draft()).success);
    const QStringList puts = service.journal().filter(u("PUT "));
    ASSERT_FALSE(puts.isEmpty());

    // Joplin comes back with the recording and the empty note, which could not be taken back.
    service.revive();
    service.requests.clear();
    const QByteArray size = QByteArray::number(QFileInfo(user.path("talk.m4a")).size());
    service.script = [size](const Request& request) {
        const QByteArray id = request.path.section(u'/', -1).toLatin1();
        if (request.verb == "GET" && request.path.startsWith(u"/notes/"))
            return reply(200, "{\"id\":\"" + id + "\",\"body\":\"\",\"deleted_time\":0}");
        if (request.verb == "GET" && request.path.startsWith(u"/resources/"))
            return reply(200, "{\"id\":\"" + id + "\",\"size\":" + size + "}");
        return FakeService::asJoplin(request);
    };

    NoteDraft repeat = user.draft();
    repeat.title = repeat.body = u("as it reads a minute later, in another time zone");
    EXPECT_TRUE(create(repeat).success);

    EXPECT_EQ(service.journal().filter(u("POST ")), QStringList());
    EXPECT_EQ(service.journal().filter(u("PUT ")), puts);
}

TEST_F(JoplinFaultsTest, aNoteGetsTheRecordingThatItWasAskedForWhateverTakesItsName) {
    const qint64 bytes = QFileInfo(user.path("talk.m4a")).size();
    service.script = [this](const Request& request) {
        if (request.path == u"/folders") {
            QFile::rename(user.path("talk.m4a"), user.path("talk earlier.m4a"));
            user.write("talk.m4a", QByteArray(5'000, 'b'));
        }
        return FakeService::asJoplin(request);
    };

    EXPECT_TRUE(create(user.draft()).success);

    EXPECT_GT(uploadedBytes(), bytes);
}

TEST_F(JoplinFaultsTest, ofTwoAttemptsAtOnceOneMakesTheNoteAndBothSucceed) {
    // The first one's upload is held up until the second has asked about everything that it may ask before.
    service.stallAfterBodyBytes = 0;
    service.script = [this](const Request& request) {
        const QByteArray id = request.path.section(u'/', -1).toLatin1();
        const bool isMade = !service.journal().filter(u("PUT /notes/")).isEmpty();
        if (isMade && request.verb == "GET" && request.path.startsWith(u"/notes/"))
            return reply(200, "{\"id\":\"" + id + "\",\"body\":\"text\",\"deleted_time\":0}");
        return FakeService::asJoplin(request);
    };
    QTimer::singleShot(500, &service, [this] { service.letOn(1'000'000); });

    const bool bothSucceed = onWorker([&] {
        const auto attempt = [&] {
            return JoplinNotesApplication(user.secrets(), options()).createNoteWithAttachment(user.draft()).success;
        };
        auto other = std::async(std::launch::async, attempt);
        const bool succeeds = attempt();
        return other.get() && succeeds;
    });

    EXPECT_TRUE(bothSucceed);
    EXPECT_EQ(service.count(u("POST /resources")), 1);
    EXPECT_EQ(service.journal().filter(u("DELETE ")), QStringList());
}

TEST_F(JoplinFaultsTest, consentEndsWithoutARefusalWhenNobodyAnswers) {
    keepToken(u("a void one"));
    EXPECT_TRUE(create(user.draft()).isAutomationDenied);
    int polls = 0;
    Answer later = kWaiting;
    service.script = FakeService::asking([&] { return ++polls == 2 ? later : kWaiting; });
    JoplinNotesApplication application(user.secrets(), options());
    const auto request = [&] { return onWorker([&] { return application.requestAccess(); }); };

    EXPECT_FALSE(request()) << "nobody answers";
    EXPECT_GT(polls, 5);

    polls = 0;
    later = reply(500, "{\"error\":\"Invalid auth token: one\"}");
    EXPECT_FALSE(request());
    EXPECT_EQ(polls, 2) << "another program's dialog is shown now";
    EXPECT_EQ(onWorker([&] { return application.probeAccess(); }), NotesAccess::NotDetermined);
    polls = 0;
    later = kAccepted;
    EXPECT_TRUE(request());
    EXPECT_EQ(user.secrets()->tokens(), QStringList{QString::fromLatin1(FakeService::kToken)});
    EXPECT_EQ(onWorker([&] { return application.probeAccess(); }), NotesAccess::Granted);
    EXPECT_TRUE(onWorker([&] { return application.requestAccess(); }));
    EXPECT_EQ(service.count(u("POST /auth")), 3) << "the user is not asked again";
}

TEST_F(JoplinFaultsTest, theUserIsAskedOnceForTwoWhoWantToKnow) {
    keepToken({});
    std::atomic<bool> accepts = false;
    std::atomic<int> polls = 0;
    service.script = FakeService::asking([&] {
        ++polls;
        return accepts ? kAccepted : kWaiting;
    });
    JoplinOptions patient = options();
    patient.consentLimit = milliseconds(60'000);
    JoplinNotesApplication application(user.secrets(), patient);
    auto other = std::async(std::launch::async, [&] {
        while (polls < 1) std::this_thread::yield();
        accepts = true;
        return application.requestAccess();
    });
    EXPECT_TRUE(onWorker([&] { return application.requestAccess(); }));
    EXPECT_TRUE(waitFor([&] { return isReady(other); }) && other.get());
    EXPECT_EQ(service.count(u("POST /auth")), 1);
}

TEST_F(JoplinFaultsTest, secretsAreTheirOwnersOnlyAndSurviveDamage) {
    const auto secrets = user.secrets();
    EXPECT_EQ(QFileInfo(user.path("data/joplin.json")).permissions() & 0x0077, 0) << "nothing for group and others";
    EXPECT_TRUE(secrets->setRefused(true));
    EXPECT_TRUE(user.secrets()->isRefused());
    EXPECT_EQ(user.secrets()->tokens(), QStringList{QString::fromLatin1(FakeService::kToken)});
    EXPECT_TRUE(secrets->keepToken(u("new")));
    EXPECT_FALSE(user.secrets()->isRefused()) << "a consent ends a refusal";
    const FileJoplinSecrets given(user.path("data/joplin.json").toStdString(), [] { return u(" by hand\n"); });
    EXPECT_EQ(given.tokens(), (QStringList{u("by hand"), u("new")}));

    user.write("data/joplin.json", "{\"token\":[");
    EXPECT_EQ(secrets->tokens(), QStringList());
    EXPECT_FALSE(secrets->isRefused());
    JoplinNotesApplication application(secrets, options());
    EXPECT_FALSE(application.isAvailable());
    EXPECT_EQ(onWorker([&] { return application.probeAccess(); }), NotesAccess::NotDetermined);
    EXPECT_TRUE(application.isAvailable()) << "it was seen";
}

} // namespace
} // namespace quillet::test
