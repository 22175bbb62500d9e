#include "templates/ui/TemplatesTabView.h"

#include "support/Files.h"
#include "support/Widgets.h"
#include "templates/TemplateRecords.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplateListView.h"
#include "templates/ui/TemplatePicker.h"
#include "widgets/Sheet.h"

#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

using test::find;
using test::findAll;

class TemplatesTabViewTest : public testing::Test {
protected:
    TemplatesTabViewTest() {
        view->resize(520, 480);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
    }

    void add(const QString& name, const QString& content = u"{{meeting_title}}"_s) {
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
        if (focus == &picker()) return u"Active Template"_s;
        return (inRow ? inRow->meetingTemplate().name + u'/' : QString()) + test::accessibleName(*focus);
    }

    /// Returns where the keyboard is then.
    QString press(Qt::Key key) {
        QTest::keyClick(QApplication::focusWidget(), key);
        return nameWithFocus();
    }

    MemoryUserDefaults defaults;
    std::shared_ptr<TemplateManager> manager = std::make_shared<TemplateManager>(defaults);
    QStringList proposed;
    std::function<void(const QString&)> confirm; ///< where the last proposed one is to be saved
    std::shared_ptr<TemplatesTabModel> model =
        std::make_shared<TemplatesTabModel>(manager, [this](const QString& name, const auto& confirmed) {
            proposed.append(name);
            confirm = confirmed;
        });
    std::unique_ptr<TemplatesTabView> view = std::make_unique<TemplatesTabView>(model);
};

const QString kGeneral = u"General Meeting Notes"_s;
const QString kBrief = u"Executive Brief"_s;
const QString kPreview = u"Preview"_s;
const QString kDelete = u"Delete"_s;
const QString kOwn = u"Q1/Notes"_s;

TEST_F(TemplatesTabViewTest, RowsOfferWhatCanBeDone) {
    add(kOwn);
    EXPECT_EQ(buttonsOf(kGeneral), (QStringList{kGeneral, kPreview}));
    EXPECT_EQ(buttonsOf(kOwn), (QStringList{kOwn, kPreview, u"Edit"_s, u"Export"_s, kDelete}));
    for (QAbstractButton* button : row(kOwn)->controls())
        EXPECT_EQ(button->toolTip(), test::accessibleName(*button).remove(kOwn));
    EXPECT_TRUE(test::shows(*row(kGeneral), u"Default"_s) && test::shows(*row(kGeneral), u"Built-in"_s));
    EXPECT_FALSE(test::shows(*row(kBrief), u"Default"_s));
    EXPECT_FALSE(test::shows(*row(kOwn), u"Built-in"_s));
}

TEST_F(TemplatesTabViewTest, AnExportIsTheRecordOfTheMomentUnderTheUnchangedName) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"x.json"_s);
    add(kOwn, u"é"_s);
    const MeetingTemplate exported = manager->allTemplates().back();
    add(u"another"_s);
    click(kOwn, u"Export"_s);
    EXPECT_EQ(proposed, QStringList{u"Q1/Notes.json"_s});
    manager->deleteTemplate(exported.id);
    confirm(folder.path()); // cannot be written: dropped
    confirm(path);
    EXPECT_EQ(test::contentsOf(path), TemplateRecords::encode(exported));
}

TEST_F(TemplatesTabViewTest, PickerAndRowsShowTheActiveTemplateAndChooseAnother) {
    EXPECT_EQ(find<QLabel>(*view, u"Active Template"_s)->buddy(), &picker());
    EXPECT_EQ(picker().currentText(), kGeneral);
    click(kBrief, kBrief);
    EXPECT_EQ(picker().currentText(), kBrief);
    EXPECT_TRUE(row(kBrief)->isSelected());
    EXPECT_FALSE(row(kGeneral)->isSelected());
    picker().setFocus();
    QTest::keyClick(&picker(), Qt::Key_Down);
    EXPECT_EQ(manager->selectedTemplateId.value(), MeetingTemplate::builtInTemplates().at(2).id);
    EXPECT_TRUE(find<QAbstractButton>(*view, u"Action Items Focus"_s)->isChecked());
    QWheelEvent wheel(QPointF(5, 5), picker().mapToGlobal(QPointF(5, 5)), {}, QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&picker(), &wheel);
    EXPECT_EQ(picker().currentText(), u"Action Items Focus"_s) << "the wheel scrolls";

    manager->selectTemplate(QUuid::createUuid()); // as one that was built in when it was stored
    EXPECT_EQ(picker().currentIndex(), -1);
    EXPECT_EQ(picker().currentText(), QString());
    for (const auto& each : MeetingTemplate::builtInTemplates()) EXPECT_FALSE(row(each.name)->isSelected());
    EXPECT_TRUE(findAll<QPushButton>(*view, kPreview).back()->isEnabled());
    manager->selectedTemplateId.set(std::nullopt);
    EXPECT_FALSE(findAll<QPushButton>(*view, kPreview).back()->isEnabled());
}

TEST_F(TemplatesTabViewTest, TheBottomPreviewShowsWhatTheLastRowShowed) {
    const auto shownText = [&] { return find<QPlainTextEdit>(*sheet<Sheet>(), u"Template Preview"_s)->toPlainText(); };
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
    clickBelow(u"New Template"_s);
    ASSERT_NE(sheet<NewTemplateSheet>(), nullptr);
    QTest::keyClicks(QApplication::focusWidget(), u"Weekly"_s);
    press(Qt::Key_Return);
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    const auto own = [this] { return manager->customTemplates.value().back(); };
    MeetingTemplate expected{
        .id = own().id, .name = u"Weekly"_s, .content = MeetingTemplate::builtInTemplates().front().content};
    EXPECT_EQ(own(), expected);
    EXPECT_FALSE(row(u"Weekly"_s)->isSelected());

    expected.isDefault = true;
    manager->updateTemplate(expected);
    click(u"Weekly"_s, u"Edit"_s);
    ASSERT_NE(sheet<EditTemplateSheet>(), nullptr);
    EXPECT_EQ(sheet<EditTemplateSheet>()->name(), u"Weekly"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), u"Daily"_s);
    press(Qt::Key_Return);
    expected.name = u"Daily"_s;
    EXPECT_EQ(own(), expected) << "id and flags stay";
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    EXPECT_TRUE(find<TemplateRowView>(*view, u"Daily"_s)->isVisible());
}

TEST_F(TemplatesTabViewTest, ASheetGoesAwayWithTheSectionAndSavesNothing) {
    clickBelow(u"New Template"_s);
    const QPointer<Sheet> open = sheet<Sheet>();
    view->close();
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    EXPECT_TRUE(!open || !open->isVisible());
    view->show();
    EXPECT_EQ(sheet<Sheet>(), nullptr);
    clickBelow(u"New Template"_s);
    EXPECT_NE(sheet<Sheet>(), nullptr);
    sheet<Sheet>()->close(); // by the window's own button
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    clickBelow(u"New Template"_s);
    view.reset();
    EXPECT_FALSE(model->showNewTemplateSheet.value());
    EXPECT_TRUE(manager->customTemplates.value().empty());
    manager->addTemplate({.name = u"later"_s}); // nobody listens any more
}

TEST_F(TemplatesTabViewTest, TheKeyboardReachesEverything) {
    add(kOwn);
    picker().setFocus();
    for (const QString& stop : {kGeneral + u'/' + kGeneral, kGeneral + u"/Preview"_s, u"New Template"_s, kPreview,
                                u"Active Template"_s, kGeneral + u'/' + kGeneral})
        EXPECT_EQ(press(Qt::Key_Tab), stop);
    EXPECT_EQ(press(Qt::Key_End), kOwn + u'/' + kOwn);
    press(Qt::Key_Return);
    EXPECT_EQ(manager->selectedTemplateId.value(), manager->customTemplates.value().front().id);
    EXPECT_EQ(press(Qt::Key_Backtab), u"Active Template"_s);
    for (int i = 0; i < 4; ++i) press(Qt::Key_Tab);
    EXPECT_EQ(press(Qt::Key_Tab), kOwn + u"/Delete"_s);
    EXPECT_EQ(press(Qt::Key_Space), u"Full Transcript/Full Transcript"_s);
    EXPECT_TRUE(findAll<TemplateRowView>(*view, kOwn).empty());
    EXPECT_TRUE(row(kGeneral)->isSelected()) << "the active one is gone";
    EXPECT_EQ(picker().count(), 4);
    EXPECT_EQ(press(Qt::Key_Up), u"Action Items Focus/Action Items Focus"_s);
}

TEST_F(TemplatesTabViewTest, TenThousandTemplatesStayUsable) {
    std::vector<MeetingTemplate> many(10'000);
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i] = {.id = QUuid::createUuid(), .name = u"Template %1"_s.arg(i)};
    many[0].name = QString(5000, u'W');
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
    EXPECT_TRUE(row(u"Template 9999"_s)->isSelected());
    click(u"Template 9998"_s, kDelete);
    EXPECT_EQ(manager->customTemplates.value().size(), 9'999U);
    QTest::keyClick(row(u"Template 9999"_s)->controls().front(), Qt::Key_Home);
    EXPECT_EQ(nameWithFocus(), kGeneral + u'/' + kGeneral);
    EXPECT_LT(clock.elapsed(), 5000); // measured: below 300 ms; ten thousand real rows take many seconds
}

TEST_F(TemplatesTabViewTest, NarrowWithLargeTextItWrapsInsteadOfGrowingSideways) {
    add(kOwn);
    const test::UsualLook afterwards;
    Theme::shared().setTextScale(2);
    constexpr int kRoom = 360; // beside the sidebar of the smallest window
    view->resize(kRoom, 1200);
    test::letLayoutsSettle();
    EXPECT_EQ(view->width(), kRoom) << "it takes more than there is";
    EXPECT_GE(picker().width(), picker().minimumSizeHint().width());
    const TemplateRowView& own = *row(kOwn);
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
