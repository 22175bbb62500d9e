#include "support/FakeFileDialogs.h"
#include "support/Files.h"
#include "support/WaitFor.h"
#include "support/Widgets.h"
#include "templates/Placeholders.h"
#include "templates/TemplateNames.h"
#include "templates/ui/PreviewSheet.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplateSaveDialog.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

using test::find;

class TemplateSheetsTest : public testing::Test {
protected:
    void edit(const std::optional<MeetingTemplate>& one) {
        show(std::make_unique<EditTemplateSheet>(one, onSave, onCancel, nullptr));
    }
    void show(std::unique_ptr<TemplateEditorSheet> made) {
        sheet = std::move(made);
        sheet->setAttribute(Qt::WA_DeleteOnClose, false);
        sheet->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(sheet.get()));
    }
    QLineEdit& name() { return *find<QLineEdit>(*sheet, u"Template Name"_s); }
    QPlainTextEdit& content() { return *find<QPlainTextEdit>(*sheet, u"Template Content"_s); }
    QPushButton& button(const char* text) { return *find<QPushButton>(*sheet, QString::fromUtf8(text)); }

    std::vector<std::pair<QString, QString>> saved;
    int cancelled = 0;
    TemplateEditorSheet::OnSave onSave = [this](const QString& n, const QString& c) { saved.emplace_back(n, c); };
    std::function<void()> onCancel = [this] { ++cancelled; };
    std::unique_ptr<TemplateEditorSheet> sheet;
};

TEST_F(TemplateSheetsTest, ANewTemplateStartsWithTheDefaultBodyAndNeedsAName) {
    show(std::make_unique<NewTemplateSheet>(onSave, onCancel, nullptr));
    EXPECT_EQ(sheet->content(), MeetingTemplate::builtInTemplates().front().content);
    EXPECT_FALSE(button("Save").isEnabled());
    QTest::keyClick(&name(), Qt::Key_Return);
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(saved.empty());
    QTest::keyClicks(&name(), u" "_s); // blanks are a name
    content().selectAll();
    QTest::keyClick(&content(), Qt::Key_Delete);
    QTest::mouseClick(&button("Save"), Qt::LeftButton);
    EXPECT_EQ(saved, std::vector{std::pair(u" "_s, QString())});
}

TEST_F(TemplateSheetsTest, PlaceholdersAreAppendedAtTheEndWhereverTheCursorIs) {
    edit(MeetingTemplate{.name = u"n"_s, .content = u"a\nb"_s});
    content().moveCursor(QTextCursor::Start);
    QString expected = u"a\nb"_s;
    for (const Placeholder& placeholder : placeholderReference()) {
        auto* const one = find<QPushButton>(*sheet, placeholder.text);
        ASSERT_NE(one, nullptr);
        EXPECT_EQ(one->toolTip(), QString::fromUtf8(placeholder.description));
        QTest::mouseClick(one, Qt::LeftButton);
        QTest::mouseClick(one, Qt::LeftButton);
        expected += placeholder.text + placeholder.text;
        EXPECT_EQ(sheet->content(), expected);
    }
    EXPECT_EQ(content().textCursor().position(), 0);
}

TEST_F(TemplateSheetsTest, TheKeyboardSavesAndCancels) {
    edit(MeetingTemplate{.name = u"n"_s, .content = u"c"_s});
    EXPECT_EQ(QApplication::focusWidget(), &name());
    QTest::keyClick(&name(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &content());
    content().moveCursor(QTextCursor::End);
    QTest::keyClick(&content(), Qt::Key_Return);
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(saved.empty());
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClick(&name(), Qt::Key_Return);
    EXPECT_EQ(saved, (std::vector(2, std::pair(u"n"_s, u"c\n\n"_s))));
    QTest::keyClick(&content(), Qt::Key_Tab);
    EXPECT_EQ(test::accessibleName(*QApplication::focusWidget()), placeholderReference().front().text);
    EXPECT_EQ(cancelled, 0);
    QTest::keyClick(&content(), Qt::Key_Escape);
    EXPECT_EQ(cancelled, 1);
}

TEST_F(TemplateSheetsTest, WhatIsNotEditedComesBackAsItWas) {
    const QString texts[] = {u"a\r\nb\u00a0c\u2028d\u2029e\ufdd0"_s, QString(40'000, u'x'), u"tab\tnew\nline\x01"_s};
    for (const QString& text : texts) {
        edit(MeetingTemplate{.name = text, .content = text});
        EXPECT_EQ(sheet->name(), text);
        EXPECT_EQ(sheet->content(), text);
    }
    edit(MeetingTemplate{.name = u"n"_s, .content = u"no\u00a0break\n"_s});
    content().moveCursor(QTextCursor::End);
    QTest::keyClicks(&content(), u"x"_s);
    EXPECT_EQ(sheet->content(), u"no\u00a0break\nx"_s);
    edit(std::nullopt);
    EXPECT_EQ(sheet->name() + sheet->content(), QString());
}

TEST_F(TemplateSheetsTest, WhatAssistiveTechnologyEntersIsSaved) {
    edit(MeetingTemplate{.name = u"n"_s, .content = u"c"_s});
    QAccessible::queryAccessibleInterface(&name())->editableTextInterface()->insertText(1, u"ew"_s);
    content().setPlainText(u"said"_s);
    QTest::mouseClick(&button("Save"), Qt::LeftButton);
    EXPECT_EQ(saved, std::vector{std::pair(u"new"_s, u"said"_s)});
}

TEST_F(TemplateSheetsTest, ThePreviewIsReadAndCopied) {
    const QString text = u"# x\n\u00a0• y"_s;
    int dismissed = 0;
    PreviewSheet preview(
        text, [&] { ++dismissed; }, nullptr);
    preview.setAttribute(Qt::WA_DeleteOnClose, false);
    preview.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&preview));
    auto* const view = find<QPlainTextEdit>(preview, u"Template Preview"_s);
    QTest::keyClicks(view, u"z"_s);
    EXPECT_EQ(view->document()->toRawText().replace(QChar::ParagraphSeparator, u'\n'), text);
    QTest::mouseClick(find<QPushButton>(preview, u"Copy"_s), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), text);
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_EQ(dismissed, 2);
}

TEST_F(TemplateSheetsTest, TheDesktopsSaveDialogComesFirstAndNothingIsReplacedUnasked) {
    using Outcome = FileAnswer::Outcome;
    const QTemporaryDir folder;
    test::makeFile(folder.filePath(u"taken.json"_s));
    QWidget window;
    window.show();
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QString chosen;
    const auto save = [&](FileDialogs* dialogs) {
        chosen.clear();
        showTemplateSaveDialog(dialogs, &window, u"Q1/Notes.json"_s, [&](const QString& path) { chosen = path; });
        test::processEvents();
    };
    test::FakeFileDialogs desktop;
    const struct {
        Outcome outcome;
        const char *name, *expected; ///< what the user enters and what is written; null: nothing
    } rows[] = {{Outcome::Chosen, "mine.json", "mine.json"},   {Outcome::Chosen, "mine", "mine.json"},
                {Outcome::Chosen, "taken", "taken"}, // the dialog asked about that name only
                {Outcome::Chosen, "taken.json", "taken.json"}, {Outcome::Chosen, "mine.txt", "mine.txt"},
                {Outcome::Declined, "mine", nullptr}};
    for (const auto& row : rows) {
        desktop.given = {row.outcome, folder.filePath(QLatin1String(row.name)).toStdString()};
        save(&desktop);
        EXPECT_EQ(chosen, row.expected ? folder.filePath(QLatin1String(row.expected)) : QString()) << row.name;
    }
    EXPECT_EQ(desktop.asked.front().proposedName, u"Q1-Notes.json"_s);
    EXPECT_EQ(window.findChild<QFileDialog*>(), nullptr);

    desktop.given = {Outcome::Unavailable};
    for (FileDialogs* const dialogs : std::initializer_list<FileDialogs*>{&desktop, nullptr}) {
        save(dialogs);
        const std::unique_ptr<QFileDialog> toolkit(window.findChild<QFileDialog*>());
        ASSERT_NE(toolkit, nullptr) << "the toolkit's, where the desktop's does not open";
        EXPECT_FALSE(toolkit->isModal());
        auto* const field = toolkit->findChild<QLineEdit*>(u"fileNameEdit"_s);
        EXPECT_EQ(field->text(), u"Q1-Notes.json"_s);
        field->setText(folder.filePath(u"mine"_s));
        QTest::keyClick(field, Qt::Key_Return);
        EXPECT_EQ(chosen, folder.filePath(u"mine.json"_s));
    }
}

TEST(TemplateNamesTest, NamesAreMadeToFit) {
    EXPECT_EQ(templateNameForOneLine(u"a\nb\x1b"_s, 10), u"a b\ufffd"_s);
    EXPECT_EQ(templateNameForOneLine(u"👩‍👩‍👧👩‍👩‍👧"_s, 1), u"👩‍👩‍👧…"_s);
    EXPECT_EQ(templateFileName(u"Plain name.json"_s), u"Plain name.json"_s);
    const QString longest = templateFileName(u"é"_s.repeated(5000) + u".json"_s);
    EXPECT_EQ(longest, u"é"_s.repeated(121) + u".json"_s);
}

} // namespace
} // namespace quillet
