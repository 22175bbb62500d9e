#include "OnboardingTestSupport.h"

#include <QElapsedTimer>

namespace quillet::test {
namespace {

using testing::ElementsAre;
using Page = OnboardingModel::Page;
using Remark = OnboardingModel::NotesTestRemark;

using OnboardingModelTest = OnboardingFixture;

TEST_F(OnboardingModelTest, ScreenCaptureIsAskedForInPassing) {
    start();
    model->currentStep.set(2);
    model->nextAction();
    EXPECT_EQ(model->currentStep.value(), 3) << "without waiting for the grant";
    EXPECT_EQ(services->screenCaptureRequests, 1);
    EXPECT_THAT(services->opened, ElementsAre(SettingsPlace::ScreenCapture));
    QElapsedTimer since;
    since.start();
    int looks = -1; // subscribing is none
    permissions->screenCaptureStatus.subscribe(&context, [&](PermissionStatus) {
        services->screenCapture = ++looks > 0; // the manager's own look comes too early
    });
    ASSERT_TRUE(waitFor([this] { return model->hasScreenCaptureAccess.value(); }));
    EXPECT_GE(since.elapsed(), 900);
}

TEST_F(OnboardingModelTest, AccessThatTurnsOutLaterIsFollowedAndNotAskedFor) {
    start();
    for (const bool granted : {true, false, true}) {
        services->screenCapture = granted;
        services->microphone = granted ? AuthorizationStatus::Authorized : AuthorizationStatus::Denied;
        permissions->refreshStatus();
        EXPECT_EQ(model->hasMicrophoneAccess.value(), granted);
        EXPECT_EQ(model->hasScreenCaptureAccess.value(), granted);
    }
    for (int step = 0; step < 4; ++step) model->nextAction();
    EXPECT_EQ(model->currentStep.value(), 4);
    EXPECT_EQ(services->screenCaptureRequests, 0);
    EXPECT_FALSE(services->microphoneCompletion);
}

TEST_F(OnboardingModelTest, TestingTheNotes) {
    const struct {
        const char* name;
        const char* folder;
        bool answer, hasAccess, success;
        Remark remark;
    } rows[] = {
        {"denied", "Work", false, false, false, Remark::None},
        {"denied, no folder", "", false, false, false, Remark::None},
        {"no folder chosen", "", true, true, false, Remark::NotesCanBeReached},
        {"a folder that is there", "Work", true, true, true, Remark::None},
        {"a folder that is not there", "Play", true, true, false, Remark::None},
    };
    start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        defaults.set(DefaultsKeys::notesFolderName, QString::fromLatin1(row.folder));
        notes->answer = row.answer;
        notes->access = row.answer ? NotesAccess::Granted : NotesAccess::Denied;
        model->testNotesConnection();
        EXPECT_TRUE(model->notesTestInProgress.value());
        ASSERT_TRUE(settleNotesTest());
        EXPECT_EQ(model->hasNotesAccess.value(), row.hasAccess);
        EXPECT_EQ(model->notesTestSuccess.value(), std::optional(row.success));
        EXPECT_EQ(model->notesTestRemark(), row.remark);

        model->testNotesConnection();
        EXPECT_FALSE(model->notesTestSuccess.value().has_value()) << "the last result goes at once";
        EXPECT_EQ(model->notesTestRemark(), Remark::None);
        ASSERT_TRUE(settleNotesTest());
    }
}

TEST_F(OnboardingModelTest, AResultForAnApplicationThatIsNoLongerChosenIsNotShown) {
    defaults.set(DefaultsKeys::notesFolderName, u"Work"_s);
    start();
    const int before = notes->folderCalls;
    notes->hold(FakeNotesApplication::Call::Folders);
    model->testNotesConnection();
    EXPECT_TRUE(waitFor([&] { return notes->folderCalls > before; }));
    permissions->forgetNotesAccess();
    notes->goOn.release();
    ASSERT_TRUE(settleNotesTest());
    EXPECT_FALSE(model->notesTestSuccess.value().has_value());
}

TEST_F(OnboardingModelTest, ThePageOnSummariesIsShownOnceAndOnlyWhereItHelps) {
    modelIsReady = true;
    start();
    EXPECT_FALSE(model->shouldShowAIStep.value());
    EXPECT_TRUE(model->aiCheckComplete.value());
    model->currentStep.set(4);
    EXPECT_EQ(model->page(), Page::Ready);
    EXPECT_STREQ(model->buttonTitle(), "Start Recording");
    model->nextAction();
    EXPECT_EQ(completed, 1);
    modelIsReady = false;
    start();
    ASSERT_TRUE(model->shouldShowAIStep.value());
    model->currentStep.set(4);
    EXPECT_FALSE(defaults.boolean(DefaultsKeys::onboardingAIShown)) << "not before the page has been passed";
    model->nextAction();
    EXPECT_TRUE(defaults.boolean(DefaultsKeys::onboardingAIShown));
    EXPECT_EQ(model->page(), Page::Ready);
    EXPECT_EQ(completed, 1);
    start();
    EXPECT_FALSE(model->shouldShowAIStep.value());
}

TEST_F(OnboardingModelTest, TheWayToTheSettingsOfTheModel) {
    start();
    model->openIntelligenceSettings();
    EXPECT_EQ(requestedSection, u"AI & Privacy"_s);
    requestedSection.reset();
    programs->hasModelSettings = true;
    model->openIntelligenceSettings();
    EXPECT_EQ(programs->modelSettingsOpened, 1);
    EXPECT_FALSE(requestedSection);
}

} // namespace
} // namespace quillet::test
