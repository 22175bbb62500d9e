#include "permissions/PermissionManager.h"

#include "support/PermissionsFixture.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <thread>

namespace quillet {
namespace {

using Status = PermissionStatus;
using Call = test::FakeNotesApplication::Call;
using testing::ElementsAre;

class PermissionManagerTest : public test::PermissionsFixture {
protected:
    std::shared_ptr<PermissionManager> make() { return PermissionManager::create(services, notes, defaults); }
    void arrange(bool attempted, std::optional<bool> cached) {
        defaults.remove(DefaultsKeys::automationPromptAttempted);
        defaults.remove(DefaultsKeys::automationGrantedCached);
        if (attempted) defaults.set(DefaultsKeys::automationPromptAttempted, true);
        if (cached) defaults.set(DefaultsKeys::automationGrantedCached, *cached);
    }
    bool cached() const { return defaults.boolean(DefaultsKeys::automationGrantedCached); }
};

TEST_F(PermissionManagerTest, TheSystemsAnswersAreTranslated) {
    const auto manager = make();
    for (const bool screen : {true, false}) {
        for (const auto& [microphone, expected] :
             {std::pair(AuthorizationStatus::Authorized, Status::Granted),
              std::pair(AuthorizationStatus::Restricted, Status::Denied),
              std::pair(AuthorizationStatus::Denied, Status::Denied),
              std::pair(AuthorizationStatus::NotDetermined, Status::NotDetermined),
              std::pair(static_cast<AuthorizationStatus>(9), Status::NotDetermined)}) {
            services->screenCapture = screen;
            services->microphone = microphone;
            manager->refreshStatus();
            EXPECT_EQ(manager->screenCaptureStatus.value(), screen ? Status::Granted : Status::Denied);
            EXPECT_EQ(manager->microphoneStatus.value(), expected) << static_cast<int>(microphone);
            EXPECT_EQ(manager->hasRequiredPermissions(), screen && expected == Status::Granted);
        }
    }
}

TEST_F(PermissionManagerTest, WhatWasKnownIsPublishedFirstAndTheLiveAnswerAMomentLater) {
    const struct {
        const char* name;
        bool available, asks, attempted;
        std::optional<bool> cache;
        NotesAccess live;
        Status first;
        std::optional<Status> later; ///< absent: the application is left alone
    } rows[] = {
        {"fresh", true, true, false, {}, NotesAccess::Granted, Status::NotDetermined, {}},
        {"never asked, whatever the cache", true, true, false, true, NotesAccess::Granted, Status::NotDetermined, {}},
        {"removed", false, true, false, true, NotesAccess::Granted, Status::Denied, {}},
        {"withdrawn", true, true, true, true, NotesAccess::Denied, Status::Granted, Status::Denied},
        {"given in the settings", true, true, true, false, NotesAccess::Granted, Status::Denied, Status::Granted},
        {"asked but unanswered", true, true, true, {}, NotesAccess::NotDetermined, Status::Denied, Status::Denied},
        {"no consent needed", true, false, false, {}, NotesAccess::Granted, Status::Granted, Status::Granted},
        {"not writable", true, false, false, {}, NotesAccess::Denied, Status::Granted, Status::Denied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        notes->available = row.available;
        notes->asks = row.asks;
        notes->access = row.live;
        notes->probes = 0;
        arrange(row.attempted, row.cache);
        const auto manager = make();
        std::vector<Status> seen;
        QObject context;
        manager->automationStatus.subscribe(&context, [&seen](Status status) { seen.push_back(status); });
        if (row.later) {
            ASSERT_TRUE(test::waitFor([&] { return seen.size() == 2; }));
            EXPECT_EQ(seen[1], *row.later);
            EXPECT_EQ(cached(), *row.later == Status::Granted);
        }
        EXPECT_EQ(seen[0], row.first);
        EXPECT_EQ(notes->probes, row.later ? 1 : 0);
        EXPECT_EQ(defaults.boolean(DefaultsKeys::automationPromptAttempted), row.attempted);
    }
    EXPECT_EQ(notes->requests, 0);
    EXPECT_FALSE(notes->wasAskedOnTheMainThread);
}

TEST_F(PermissionManagerTest, AskingMarksTheAttemptAndAnswersOnTheMainThread) {
    for (const bool answer : {false, true}) {
        SCOPED_TRACE(answer);
        arrange(false, !answer);
        notes->answer = answer;
        notes->access = answer ? NotesAccess::Granted : NotesAccess::Denied;
        const auto manager = make();
        std::optional<bool> told;
        manager->requestAutomationAccess([&](bool granted) {
            EXPECT_TRUE(MainThread::isCurrent());
            EXPECT_EQ(manager->automationStatus.value(), granted ? Status::Granted : Status::Denied);
            EXPECT_EQ(cached(), granted);
            told = granted;
        });
        EXPECT_TRUE(defaults.boolean(DefaultsKeys::automationPromptAttempted));
        EXPECT_FALSE(told.has_value()) << "never inside the call";
        ASSERT_TRUE(test::waitFor([&] { return told.has_value(); }));
        EXPECT_EQ(*told, answer);
    }
    EXPECT_EQ(notes->requests, 2);
    EXPECT_FALSE(notes->wasAskedOnTheMainThread);
}

TEST_F(PermissionManagerTest, AQuestionThatIsOpenIsNotPutASecondTime) {
    for (const bool asksOnce : {false, true}) {
        SCOPED_TRACE(asksOnce);
        ASSERT_TRUE(test::waitFor([this] { return notes.use_count() == 1; })) << "the last manager looks once more";
        notes = std::make_shared<test::FakeNotesApplication>();
        arrange(false, {});
        notes->asksOnce = asksOnce;
        notes->answer = false;
        notes->requests = 0;
        notes->hold(Call::Request);
        const auto manager = make();
        std::vector<bool> told;
        const auto ask = [&] { manager->requestAutomationAccess([&](bool granted) { told.push_back(granted); }); };
        ask();
        notes->entered.acquire();
        ask();
        EXPECT_TRUE(manager->isAskingForAutomation.value());
        notes->goOn.release();
        ASSERT_TRUE(test::waitFor([&] { return told.size() == 2; }));
        EXPECT_THAT(told, ElementsAre(false, false));
        EXPECT_FALSE(manager->isAskingForAutomation.value());
        EXPECT_EQ(notes->requests, asksOnce ? 2 : 1);
        ask();
        ASSERT_TRUE(test::waitFor([&] { return told.size() == 3; }));
        EXPECT_EQ(notes->requests, asksOnce ? 3 : 2) << "after the answer it is another question";
    }
}

TEST_F(PermissionManagerTest, AnAnswerThatIsNoNewsLeavesTheFileOfTheSettingsAlone) {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("settings.ini"));
    const std::filesystem::path sameFile = folder.filePath(QStringLiteral("linked")).toStdString();
    FileUserDefaults stored(file);
    const auto manager = PermissionManager::create(services, notes, stored);
    const auto ask = [&] {
        bool told = false;
        manager->requestAutomationAccess([&](bool) { told = true; });
        const bool isOver = test::waitFor([&] { return told && notes.use_count() == 2; });
        test::processEvents(); // the quiet look that follows
        return isOver;
    };
    ASSERT_TRUE(ask());
    std::filesystem::create_hard_link(file.toStdString(), sameFile);
    ASSERT_TRUE(ask());
    EXPECT_TRUE(std::filesystem::equivalent(file.toStdString(), sameFile))
        << "a file that is written takes the place of the old one";
    notes->answer = false;
    notes->access = NotesAccess::Denied;
    ASSERT_TRUE(ask());
    EXPECT_FALSE(stored.boolean(DefaultsKeys::automationGrantedCached));
}

TEST_F(PermissionManagerTest, ATestThatTakesItsTimeDoesNotReplaceANewerAnswer) {
    arrange(true, false);
    notes->hold(Call::Probe);
    const auto manager = make();
    notes->entered.acquire();
    bool told = false;
    manager->requestAutomationAccess([&](bool) { told = true; });
    EXPECT_FALSE(test::waitFor([&] { return told; }, 100)) << "a newer test overtook the older one";
    EXPECT_EQ(notes->requests, 0);
    notes->goOn.release();
    ASSERT_TRUE(test::waitFor([&] { return told; }));
    EXPECT_EQ(manager->automationStatus.value(), Status::Granted);
}

TEST_F(PermissionManagerTest, WhatConcernsTheApplicationBeforeIsNeitherKeptNorPublishedNorWaitedFor) {
    arrange(true, true);
    notes->hold(Call::Probe);
    notes->onCancel = [this] { notes->goOn.release(); };
    const auto manager = make();
    notes->entered.acquire(); // a quiet test, which will say yes
    std::vector<bool> told;
    const unsigned asked = manager->notesGeneration();
    manager->requestAutomationAccess([&](bool granted) { told.push_back(granted); });

    manager->forgetNotesAccess();
    EXPECT_FALSE(manager->isAskingForAutomation.value()) << "the other one may be asked";
    manager->refreshStatus(); // as after choosing the other one
    ASSERT_TRUE(test::waitFor([&] { return !told.empty(); }));
    EXPECT_THAT(told, ElementsAre(false));
    EXPECT_NE(manager->notesGeneration(), asked);
    EXPECT_EQ(notes->requests, 0) << "the user wanted the other one to be asked";
    EXPECT_EQ(manager->automationStatus.value(), Status::NotDetermined);
    EXPECT_FALSE(defaults.keys().contains(DefaultsKeys::automationGrantedCached));
}

TEST_F(PermissionManagerTest, AnApplicationThatNeverAnswersDoesNotHoldUpTheOneChosenAfterIt) {
    arrange(true, false);
    notes->hold(Call::Probe);
    const auto manager = make();
    notes->entered.acquire();
    manager->forgetNotesAccess();
    bool granted = false;
    manager->requestAutomationAccess([&](bool yes) { granted = yes; });
    EXPECT_TRUE(test::waitFor([&] { return granted; }));
    EXPECT_EQ(manager->automationStatus.value(), Status::Granted);
    notes->goOn.release();
}

TEST_F(PermissionManagerTest, AQuietTestKeepsItsAnswerWithoutTheManagerAndARequestHoldsIt) {
    arrange(true, false);
    notes->hold(Call::Probe);
    auto manager = make();
    std::weak_ptr<PermissionManager> weak = manager;
    notes->entered.acquire();
    manager.reset();
    EXPECT_TRUE(weak.expired());
    notes->goOn.release();
    ASSERT_TRUE(test::waitFor([&] { return cached(); }));

    arrange(false, {});
    notes->hold(Call::Request);
    manager = make();
    weak = manager;
    bool told = false;
    manager->requestAutomationAccess([&](bool) { told = true; });
    notes->entered.acquire();
    manager.reset();
    EXPECT_FALSE(weak.expired());
    notes->goOn.release();
    ASSERT_TRUE(test::waitFor([&] { return told && weak.expired(); }));
    EXPECT_TRUE(cached());
}

TEST_F(PermissionManagerTest, ScreenCaptureIsLookedAtAgainHalfASecondAfterAsking) {
    services->screenCapture = false;
    const auto manager = make();
    auto gone = make();
    EXPECT_FALSE(gone->requestScreenCaptureAccess());
    gone.reset();
    EXPECT_FALSE(manager->requestScreenCaptureAccess());
    services->screenCapture = true;
    QElapsedTimer sinceAsking;
    sinceAsking.start();
    EXPECT_EQ(manager->screenCaptureStatus.value(), Status::Denied);
    ASSERT_TRUE(test::waitFor([&] { return manager->screenCaptureStatus.value() == Status::Granted; }));
    EXPECT_GE(sinceAsking.elapsed(), 450);
    EXPECT_TRUE(manager->requestScreenCaptureAccess());
    EXPECT_EQ(services->screenCaptureRequests, 3);
}

TEST_F(PermissionManagerTest, TheMicrophonesAnswerComesToTheMainThread) {
    services->microphone = AuthorizationStatus::NotDetermined;
    auto manager = make();
    std::vector<std::pair<bool, Status>> told; // the status that was published by then
    manager->requestMicrophoneAccess(
        [&](bool granted) { told.emplace_back(granted, manager->microphoneStatus.value()); });
    services->microphone = AuthorizationStatus::Authorized;
    std::thread([&] { services->microphoneCompletion(true); }).join();
    EXPECT_TRUE(told.empty());
    ASSERT_TRUE(test::waitFor([&] { return told.size() == 1; }));
    EXPECT_THAT(told, ElementsAre(std::pair(true, Status::Granted)));

    bool toldWithoutManager = false;
    manager->requestMicrophoneAccess([&](bool granted) { toldWithoutManager = !granted; });
    manager.reset();
    services->microphoneCompletion(false);
    EXPECT_TRUE(test::waitFor([&] { return toldWithoutManager; }));
}

} // namespace
} // namespace quillet
