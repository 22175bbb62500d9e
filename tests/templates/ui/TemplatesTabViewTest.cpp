#include "templates/ui/TemplatesTabView.h"

#include "support/Widgets.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplateListView.h"
#include "templates/ui/TemplatePicker.h"
#include "widgets/Sheet.h"
#include "widgets/Theme.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using test::find;
using test::findAll;

class TemplatesTabViewTest : public testing::Test {
protected:
    TemplatesTabViewTest() {
        view->resize(520, 480);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
    }

    void add(const QString& name, const QString& content = QStringLiteral("{{meeting_title}}")) {
        manager->addTemplate({.id = QUuid::createUuid(), .name = name, .content = content});
    }
    TemplateRowView* row(const QString& name) { return find<TemplateRowView>(*view, name); }
    QStringList buttonsOf(const QString& name) {
        QStringList names;
        for (QAbstractButton* button : row(name)->controls()) names.append(test::accessibleName(*button));
        return names;
    }
    void click(const QString& rowName, const QString& button) {
        QTest::mouseClick(find<QAbstractButton>(*row(rowName), button), Qt::LeftButton);
    }
    void clickBelow(const QString& button) {
        QTest::mouseClick(findAll<QPushButton>(*view, button).back(), Qt::LeftButton);
    }
    /// On Linux a combo box is called what it shows; its label names it.
    TemplatePicker& picker() { return *view->findChild<TemplatePicker*>(); }
    template <typename T>
    T* sheet() {
        const auto all = view->findChildren<T*>();
        const auto open = std::find_if(all.begin(), all.end(), [](const T* each) { return each->isVisible(); });
        if (open == all.end()) return nullptr;
        EXPECT_TRUE(QTest::qWaitFor([&] { return (*open)->isActiveWindow(); }));
        return *open;
    }
    QString nameWithFocus() {
        QWidget* const focus = QApplication::focusWidget();
        if (!focus) return {};
        const auto* const inRow = qobject_cast<TemplateRowView*>(focus->parentWidget());
        if (focus == &picker()) return QStringLiteral("Active Template");
        return (inRow ? inRow->meetingTemplate().name + QLatin1Char('/') : QString()) + test::accessibleName(*focus);
    }

    MemoryUserDefaults defaults;
    std::shared_ptr<TemplateManager> manager = std::make_shared<TemplateManager>(defaults);
    QStringList proposed;
    std::shared_ptr<TemplatesTabModel> model = std::make_shared<TemplatesTabModel>(
        manager, [this](const QString& name, const auto&) { proposed.append(name); });
    std::unique_ptr<TemplatesTabView> view = std::make_unique<TemplatesTabView>(model);
};

const QString kGeneral = QStringLiteral("General Meeting Notes");
const QString kBrief = QStringLiteral("Executive Brief");
const QString kPreview = QStringLiteral("Preview");
const QString kDelete = QStringLiteral("Delete");
const QString kOwn = QStringLiteral("Q1/Notes");

TEST_F(TemplatesTabViewTest, RowsOfferWhatCanBeDone) {
    add(kOwn);
    EXPECT_EQ(buttonsOf(kGeneral), (QStringList{kGeneral, kPreview}));
    EXPECT_EQ(buttonsOf(kOwn),
              (QStringList{kOwn, kPreview, QStringLiteral("Edit"), QStringLiteral("Export"), kDelete}));
    for (QAbstractButton* button : row(kOwn)->controls())
        EXPECT_EQ(button->toolTip(),
                  button == row(kOwn)->controls().front() ? QString() : test::accessibleName(*button));
    EXPECT_TRUE(test::shows(*row(kGeneral), QStringLiteral("Default")));
    EXPECT_TRUE(test::shows(*row(kGeneral), QStringLiteral("Built-in")));
    EXPECT_FALSE(test::shows(*row(kBrief), QStringLiteral("Default")));
    EXPECT_FALSE(test::shows(*row(kOwn), QStringLiteral("Built-in")));
    click(kOwn, QStringLiteral("Export"));
    EXPECT_EQ(proposed, QStringList{QStringLiteral("Q1/Notes.json")});
}

TEST_F(TemplatesTabViewTest, PickerAndRowsShowTheActiveTemplateAndChooseAnother) {
    EXPECT_EQ(find<QLabel>(*view, QStringLiteral("Active Template"))->buddy(), &picker());
    EXPECT_EQ(picker().currentText(), kGeneral);
    click(kBrief, kBrief);
    EXPECT_EQ(picker().currentText(), kBrief);
    EXPECT_TRUE(row(kBrief)->isSelected());
    EXPECT_FALSE(row(kGeneral)->isSelected());
    picker().setFocus();
    QTest::keyClick(&picker(), Qt::Key_Down);
    EXPECT_EQ(manager->selectedTemplateId.value(), MeetingTemplate::builtInTemplates().at(2).id);
    EXPECT_TRUE(find<QAbstractButton>(*view, QStringLiteral("Action Items Focus"))->isChecked());
    QWheelEvent wheel(QPointF(5, 5), picker().mapToGlobal(QPointF(5, 5)), {}, QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&picker(), &wheel);
    EXPECT_EQ(picker().currentText(), QStringLiteral("Action Items Focus")) << "the wheel scrolls";

    manager->selectTemplate(QUuid::createUuid()); // as one that was built in when it was stored
    EXPECT_EQ(picker().currentIndex(), -1);
    EXPECT_EQ(picker().currentText(), QString());
    for (const auto& each : MeetingTemplate::builtInTemplates()) EXPECT_FALSE(row(each.name)->isSelected());
    EXPECT_TRUE(findAll<QPushButton>(*view, kPreview).back()->isEnabled());
    manager->selectedTemplateId.set(std::nullopt);
    EXPECT_FALSE(findAll<QPushButton>(*view, kPreview).back()->isEnabled());
}

TEST_F(TemplatesTabViewTest, DeletingTheActiveTemplateMarksTheDefaultAtOnce) {
    add(kOwn);
    click(kOwn, kOwn);
    EXPECT_TRUE(row(kOwn)->isSelected());
    click(kOwn, kDelete);
    EXPECT_TRUE(findAll<TemplateRowView>(*view, kOwn).empty());
    EXPECT_TRUE(row(kGeneral)->isSelected());
    EXPECT_EQ(picker().count(), 4);
}

TEST_F(TemplatesTabViewTest, TheBottomPreviewShowsWhatTheLastRowShowed) {
    const auto shownText = [&] {
        return find<QPlainTextEdit>(*sheet<Sheet>(), QStringLiteral("Template Preview"))->toPlainText();
    };
    clickBelow(kPreview);
    ASSERT_NE(sheet<Sheet>(), nullptr);
    EXPECT_EQ(shownText(), QString());
    QTest::keyClick(sheet<Sheet>(), Qt::Key_Return);
    EXPECT_FALSE(model->showPreviewSheet.value());
    EXPECT_EQ(sheet<Sheet>(), nullptr);

    click(kBrief, kPreview);
    EXPECT_EQ(shownText(), manager->previewTemplate(MeetingTemplate::builtInTemplates().at(1)));
    QTest::keyClick(sheet<Sheet>(), Qt::Key_Escape);
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    click(kGeneral, kGeneral); // a choice is no preview
    clickBelow(kPreview);
    EXPECT_EQ(shownText(), manager->previewTemplate(MeetingTemplate::builtInTemplates().at(1)));
}

TEST_F(TemplatesTabViewTest, NewAndEditedTemplatesComeFromTheirSheets) {
    clickBelow(QStringLiteral("New Template"));
    ASSERT_NE(sheet<NewTemplateSheet>(), nullptr);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Weekly"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    ASSERT_EQ(manager->customTemplates.value().size(), 1U);
    EXPECT_EQ(manager->customTemplates.value().front().content, MeetingTemplate::builtInTemplates().front().content);

    click(QStringLiteral("Weekly"), QStringLiteral("Edit"));
    ASSERT_NE(sheet<EditTemplateSheet>(), nullptr);
    EXPECT_EQ(sheet<EditTemplateSheet>()->name(), QStringLiteral("Weekly"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Daily"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(manager->customTemplates.value().front().name, QStringLiteral("Daily"));
    EXPECT_TRUE(find<TemplateRowView>(*view, QStringLiteral("Daily"))->isVisible());
}

TEST_F(TemplatesTabViewTest, ASheetGoesAwayWithTheSectionAndSavesNothing) {
    clickBelow(QStringLiteral("New Template"));
    const QPointer<Sheet> open = sheet<Sheet>();
    view->close();
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    EXPECT_TRUE(!open || !open->isVisible());
    view->show();
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    clickBelow(QStringLiteral("New Template"));
    EXPECT_NE(sheet<Sheet>(), nullptr);
    sheet<Sheet>()->close(); // by the window's own button
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    clickBelow(QStringLiteral("New Template"));
    view.reset();
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    EXPECT_TRUE(manager->customTemplates.value().empty());
    manager->addTemplate({.name = QStringLiteral("later")}); // nobody listens any more
}

TEST_F(TemplatesTabViewTest, TheKeyboardReachesEverything) {
    add(kOwn);
    picker().setFocus();
    QStringList stops;
    for (int i = 0; i < 5; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        stops.append(nameWithFocus());
    }
    EXPECT_EQ(stops, (QStringList{kGeneral + QLatin1Char('/') + kGeneral, kGeneral + QStringLiteral("/Preview"),
                                  QStringLiteral("New Template"), kPreview, QStringLiteral("Active Template")}));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
    EXPECT_EQ(nameWithFocus(), kOwn + QLatin1Char('/') + kOwn);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(manager->selectedTemplateId.value(), manager->customTemplates.value().front().id);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(nameWithFocus(), QStringLiteral("Active Template"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    for (int i = 0; i < 4; ++i) QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(nameWithFocus(), kOwn + QStringLiteral("/Delete"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(manager->customTemplates.value().empty());
    EXPECT_EQ(nameWithFocus(), QStringLiteral("Full Transcript/Full Transcript"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_EQ(nameWithFocus(), QStringLiteral("Action Items Focus/Action Items Focus"));
}

TEST_F(TemplatesTabViewTest, TenThousandTemplatesStayUsable) {
    std::vector<MeetingTemplate> many(10'000);
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i] = {.id = QUuid::createUuid(), .name = QStringLiteral("Template %1").arg(i)};
    many[0].name = QString(5000, QLatin1Char('W'));
    QElapsedTimer clock;
    clock.start();
    manager->addTemplates(many);
    manager->selectTemplate(many.back().id);
    EXPECT_EQ(view->size(), QSize(520, 480)); // a long name does not widen it
    picker().showPopup();
    EXPECT_EQ(picker().view()->window()->width(), picker().width()); // nor the menu
    picker().hidePopup();
    auto* const list = view->findChild<TemplateListView*>();
    list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
    (void)view->grab();
    EXPECT_LT(view->findChildren<TemplateRowView*>().size(), 30);
    EXPECT_TRUE(row(QStringLiteral("Template 9999"))->isSelected());
    click(QStringLiteral("Template 9998"), kDelete);
    EXPECT_EQ(manager->customTemplates.value().size(), 9'999U);
    QTest::keyClick(row(QStringLiteral("Template 9999"))->controls().front(), Qt::Key_Home);
    EXPECT_EQ(nameWithFocus(), kGeneral + QLatin1Char('/') + kGeneral);
    RecordProperty("ms", static_cast<int>(clock.elapsed()));
    EXPECT_LT(clock.elapsed(), 5000); // measured: below 300 ms; ten thousand real rows take many seconds
}

TEST_F(TemplatesTabViewTest, NarrowWithLargeTextItWrapsInsteadOfGrowingSideways) {
    add(QStringLiteral("Weekly product review"));
    const test::UsualLook afterwards;
    Theme::shared().setTextScale(2);
    constexpr int kRoom = 360; // beside the sidebar of the smallest window
    view->resize(kRoom, 1200);
    test::letLayoutsSettle();
    EXPECT_EQ(view->width(), kRoom) << "it takes more than there is";
    EXPECT_GE(picker().width(), picker().minimumSizeHint().width());
    const TemplateRowView& own = *row(QStringLiteral("Weekly product review"));
    const auto& controls = own.controls();
    for (const QAbstractButton* button : controls) {
        EXPECT_TRUE(own.rect().contains(button->geometry()));
        EXPECT_GE(button->height(), button->minimumSizeHint().height());
        if (button != controls.front()) {
            EXPECT_GE(button->y(), controls.front()->geometry().bottom());
        }
    }
    view->resize(900, 1200);
    EXPECT_EQ(controls.back()->geometry().center().y(), controls.front()->geometry().center().y());
}

} // namespace
} // namespace quillet
