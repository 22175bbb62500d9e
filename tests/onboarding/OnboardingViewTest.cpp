#include "onboarding/ui/OnboardingView.h"

#include "OnboardingTestSupport.h"
#include "onboarding/ui/PageFlow.h"
#include "support/Widgets.h"
#include "widgets/Controls.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <algorithm>

namespace quillet::test {
namespace {

class OnboardingViewTest : public OnboardingFixture {
protected:
    ~OnboardingViewTest() override { view.reset(); }
    void open() {
        model = make();
        view = std::make_unique<OnboardingView>(model);
        view->resize(view->sizeHint());
        view->show();
    }
    bool rest() {
        return waitFor([this] { return !view->findChild<PageFlow*>()->isMoving(); });
    }
    void press(const char* name) {
        auto* const button = find<QPushButton>(*view, QString::fromUtf8(name));
        ASSERT_TRUE(button);
        button->click();
    }
    bool says(const char* text) const { return shows(*view, QString::fromUtf8(text)); }

    std::unique_ptr<OnboardingView> view;
};

TEST_F(OnboardingViewTest, TheWholeWay) {
    open();
    EXPECT_EQ(view->size(), QSize(480, 560));
    EXPECT_TRUE(says("Welcome to Quillet"));
    EXPECT_TRUE(says("Page 1 of 6"));
    press("Get Started");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("Microphone Access"));
    EXPECT_FALSE(says("Skip"));
    press("Grant Access");
    services->microphone = AuthorizationStatus::Denied;
    services->microphoneCompletion(false);
    processEvents();
    EXPECT_FALSE(says("Microphone access granted"));
    EXPECT_TRUE(says("Page 2 of 6")) << "it waits for the user";
    press("Skip");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("System Audio Capture")) << "a refusal ends the way for nobody";
    model->currentStep.set(1);
    ASSERT_TRUE(rest());
    press("Grant Access");
    services->microphone = AuthorizationStatus::Authorized;
    services->microphoneCompletion(true);
    processEvents();
    EXPECT_TRUE(says("Microphone access granted") && says("Page 2 of 6"));
    EXPECT_FALSE(says("Skip"));
    press("Continue");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("You'll be redirected to System Settings to enable this."));
    press("Grant Access");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("Connect Apple Notes"));
    press("Test Connection");
    ASSERT_TRUE(settleNotesTest());
    EXPECT_TRUE(says("Connection failed"));
    EXPECT_TRUE(says("Your notes can be reached. No folder has been chosen to look for; you can choose one in the "
                     "settings."));
    press("Skip");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("Enable On-Device AI"));
    press("Skip for now");
    ASSERT_TRUE(rest());
    EXPECT_TRUE(says("You're all set!"));
    EXPECT_TRUE(says("Page 6 of 6"));
    press("Start Recording");
    EXPECT_EQ(completed, 1);
    EXPECT_EQ(launches, std::optional(true));
    EXPECT_TRUE(defaults.boolean(DefaultsKeys::hasCompletedOnboarding));
}

TEST_F(OnboardingViewTest, ReturnGoesOnAndASecondPressOnTheWayIsNotForTheNextPage) {
    open();
    view->activateWindow();
    auto* const next = find<QPushButton>(*view, u"Get Started"_s);
    ASSERT_TRUE(next);
    EXPECT_EQ(view->focusWidget(), next);
    QTest::keyClick(view->focusWidget(), Qt::Key_Return);
    QTest::keyClick(view->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(model->currentStep.value(), 1);
    EXPECT_FALSE(services->microphoneCompletion) << "nobody has read that page yet";
    ASSERT_TRUE(rest());
    QTest::keyClick(view->focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(services->microphoneCompletion);
}

TEST_F(OnboardingViewTest, AClosedWindowIsTroubledByNoAnswer) {
    open();
    model->currentStep.set(3);
    press("Test Connection");
    const std::weak_ptr<OnboardingModel> weak = model;
    view.reset();
    model.reset();
    EXPECT_TRUE(weak.expired());
    ASSERT_TRUE(waitFor([this] { return notes->requests == 1; }));
    processEvents();
    EXPECT_EQ(notes->folderCalls, 0);
}

TEST_F(OnboardingViewTest, WhatDoesNotFitIsReachedByKeyboard) {
    const UsualLook afterwards;
    open();
    model->currentStep.set(3);
    press("Test Connection");
    ASSERT_TRUE(settleNotesTest() && rest());
    const auto areas = view->findChildren<QScrollArea*>();
    const auto shown = std::find_if(areas.begin(), areas.end(), [](auto* area) { return area->isVisible(); });
    ASSERT_NE(shown, areas.end());
    QScrollArea& area = **shown;
    EXPECT_EQ(area.focusPolicy(), Qt::NoFocus) << "no stop on the way where there is nothing to do";
    Theme::shared().setTextScale(2);
    letLayoutsSettle();
    EXPECT_EQ(view->size(), QSize(480, 560));
    EXPECT_TRUE(area.focusPolicy() & Qt::TabFocus);
    QTest::keyClick(&area, Qt::Key_Down);
    EXPECT_GT(area.verticalScrollBar()->value(), 0);
}

} // namespace
} // namespace quillet::test
