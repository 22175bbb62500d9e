#include "support/FakeFileDialogs.h"
#include "support/WaitFor.h"
#include "support/Widgets.h"
#include "templates/Placeholders.h"
#include "templates/TemplateNames.h"
#include "templates/ui/PreviewSheet.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplateSaveDialog.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using test::find;

class TemplateSheetsTest : public testing::Test {
protected:
    TemplateEditorSheet& edit(const std::optional<MeetingTemplate>& one) {
        sheet = std::make_unique<EditTemplateSheet>(one, onSave, onCancel, nullptr);
        return show();
    }
    TemplateEditorSheet& makeNew() {
        sheet = std::make_unique<NewTemplateSheet>(onSave, onCancel, nullptr);
        return show();
    }
    TemplateEditorSheet& show() {
        sheet->setAttribute(Qt::WA_DeleteOnClose, false);
        sheet->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(sheet.get()));
        return *sheet;
    }
    QLineEdit& name() { return *find<QLineEdit>(*sheet, QStringLiteral("Template Name")); }
    QPlainTextEdit& content() { return *find<QPlainTextEdit>(*sheet, QStringLiteral("Template Content")); }
    QPushButton& button(const char* text) { return *find<QPushButton>(*sheet, QString::fromUtf8(text)); }

    std::vector<std::pair<QString, QString>> saved;
    int cancelled = 0;
    TemplateEditorSheet::OnSave onSave = [this](const QString& n, const QString& c) { saved.emplace_back(n, c); };
    std::function<void()> onCancel = [this] { ++cancelled; };
    std::unique_ptr<TemplateEditorSheet> sheet;
};

TEST_F(TemplateSheetsTest, ANewTemplateStartsWithTheDefaultBodyAndNeedsAName) {
    makeNew();
    EXPECT_EQ(sheet->content(), MeetingTemplate::builtInTemplates().front().content);
    EXPECT_FALSE(button("Save").isEnabled());
    QTest::keyClick(&name(), Qt::Key_Return);
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(saved.empty());
    QTest::keyClicks(&name(), QStringLiteral(" ")); // blanks are a name
    content().selectAll();
    QTest::keyClick(&content(), Qt::Key_Delete);
    QTest::mouseClick(&button("Save"), Qt::LeftButton);
    ASSERT_EQ(saved.size(), 1U);
    EXPECT_EQ(saved.front(), std::pair(QStringLiteral(" "), QString()));
}

TEST_F(TemplateSheetsTest, PlaceholdersAreAppendedAtTheEndWhereverTheCursorIs) {
    edit(MeetingTemplate{.name = QStringLiteral("n"), .content = QStringLiteral("a\nb")});
    content().moveCursor(QTextCursor::Start);
    QString expected = QStringLiteral("a\nb");
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
    edit(MeetingTemplate{.name = QStringLiteral("n"), .content = QStringLiteral("c")});
    EXPECT_EQ(QApplication::focusWidget(), &name());
    QTest::keyClick(&name(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &content());
    content().moveCursor(QTextCursor::End);
    QTest::keyClick(&content(), Qt::Key_Return);
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(saved.empty());
    QTest::keyClick(&content(), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClick(&name(), Qt::Key_Return);
    ASSERT_EQ(saved.size(), 2U);
    EXPECT_EQ(saved.front(), std::pair(QStringLiteral("n"), QStringLiteral("c\n\n")));
    QTest::keyClick(&content(), Qt::Key_Tab);
    EXPECT_EQ(test::accessibleName(*QApplication::focusWidget()), placeholderReference().front().text);
    EXPECT_EQ(cancelled, 0);
    QTest::keyClick(&content(), Qt::Key_Escape);
    EXPECT_EQ(cancelled, 1);
}

TEST_F(TemplateSheetsTest, WhatIsNotEditedComesBackAsItWas) {
    const QString texts[] = {QStringLiteral("a\r\nb\u00a0c\u2028d\u2029e\ufdd0"), QString(40'000, QLatin1Char('x')),
                             QStringLiteral("tab\tnew\nline\x01")};
    for (const QString& text : texts) {
        edit(MeetingTemplate{.name = text, .content = text});
        EXPECT_EQ(sheet->name(), text);
        EXPECT_EQ(sheet->content(), text);
    }
    edit(MeetingTemplate{.name = QStringLiteral("n"), .content = QStringLiteral("no\u00a0break\n")});
    content().moveCursor(QTextCursor::End);
    QTest::keyClicks(&content(), QStringLiteral("x"));
    EXPECT_EQ(sheet->content(), QStringLiteral("no\u00a0break\nx"));
    edit(std::nullopt);
    EXPECT_EQ(sheet->name() + sheet->content(), QString());
}

TEST_F(TemplateSheetsTest, WhatAssistiveTechnologyEntersIsSaved) {
    edit(MeetingTemplate{.name = QStringLiteral("n"), .content = QStringLiteral("c")});
    QAccessible::queryAccessibleInterface(&name())->editableTextInterface()->insertText(1, QStringLiteral("ew"));
    content().setPlainText(QStringLiteral("said"));
    QTest::mouseClick(&button("Save"), Qt::LeftButton);
    ASSERT_EQ(saved.size(), 1U);
    EXPECT_EQ(saved.front(), std::pair(QStringLiteral("new"), QStringLiteral("said")));
}

TEST_F(TemplateSheetsTest, ThePreviewIsReadAndCopied) {
    const QString text = QStringLiteral("# x\n\u00a0• y");
    int dismissed = 0;
    PreviewSheet preview(
        text, [&] { ++dismissed; }, nullptr);
    preview.setAttribute(Qt::WA_DeleteOnClose, false);
    preview.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&preview));
    auto* const view = find<QPlainTextEdit>(preview, QStringLiteral("Template Preview"));
    QTest::keyClicks(view, QStringLiteral("z"));
    EXPECT_EQ(view->document()->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')), text);
    QTest::mouseClick(find<QPushButton>(preview, QStringLiteral("Copy")), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), text);
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_EQ(dismissed, 2);
}

TEST_F(TemplateSheetsTest, TheSaveDialogProposesTheNameAndReportsThePath) {
    const QTemporaryDir folder;
    QWidget window;
    window.show();
    QString chosen;
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    showTemplateSaveDialog(nullptr, &window, QStringLiteral("Q1/Notes.json"),
                           [&](const QString& path) { chosen = path; });
    auto* const dialog = window.findChild<QFileDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_FALSE(dialog->isModal());
    auto* const field = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    EXPECT_EQ(field->text(), QStringLiteral("Q1-Notes.json"));
    field->setText(folder.filePath(QStringLiteral("mine")));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(chosen, folder.filePath(QStringLiteral("mine.json")));
}

TEST_F(TemplateSheetsTest, TheDesktopsSaveDialogComesFirstAndNothingIsReplacedUnasked) {
    using Outcome = FileAnswer::Outcome;
    const QTemporaryDir folder;
    QFile there(folder.filePath(QStringLiteral("taken.json")));
    ASSERT_TRUE(there.open(QFile::WriteOnly));
    QWidget window;
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
        QString chosen;
        showTemplateSaveDialog(&desktop, &window, QStringLiteral("Q1/Notes.json"),
                               [&](const QString& path) { chosen = path; });
        test::processEvents();
        EXPECT_EQ(chosen, row.expected ? folder.filePath(QLatin1String(row.expected)) : QString()) << row.name;
    }
    EXPECT_EQ(desktop.asked.front().proposedName, QStringLiteral("Q1-Notes.json"));
    EXPECT_EQ(window.findChild<QFileDialog*>(), nullptr);
    desktop.given = {Outcome::Unavailable};
    showTemplateSaveDialog(&desktop, &window, QStringLiteral("n"), [](const QString&) {});
    test::processEvents();
    EXPECT_NE(window.findChild<QFileDialog*>(), nullptr) << "the toolkit's, where the desktop's does not open";
}

TEST(TemplateNamesTest, NamesAreMadeToFit) {
    EXPECT_EQ(templateNameForOneLine(QStringLiteral("a\nb\x1b"), 10), QStringLiteral("a b\ufffd"));
    EXPECT_EQ(templateNameForOneLine(QStringLiteral("👩‍👩‍👧👩‍👩‍👧"), 1),
              QStringLiteral("👩‍👩‍👧…"));
    EXPECT_EQ(templateFileName(QStringLiteral("Plain name.json")), QStringLiteral("Plain name.json"));
    const QString longest = templateFileName(QStringLiteral("é").repeated(5000) + QStringLiteral(".json"));
    EXPECT_EQ(longest, QStringLiteral("é").repeated(125) + QStringLiteral(".json"));
}

} // namespace
} // namespace quillet
