#include "e2e/QuilletProcess.h"
#include "support/Files.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

class TemplatesCommandTest : public testing::Test {
protected:
    /// The exit status of quillet templates with these arguments.
    int run(QStringList arguments) {
        arguments.prepend(u"templates"_s);
        return quillet.run(arguments);
    }
    QString fileWith(const char* name, const QByteArray& bytes) {
        return makeFile(quillet.folder(QString::fromUtf8(name)), bytes);
    }
    QStringList listed() {
        EXPECT_EQ(run({u"list"_s}), 0);
        return quillet.output.split(u'\n', Qt::SkipEmptyParts);
    }
    static QString idOf(const QString& line) { return line.trimmed().section(u' ', -1); }

    QuilletProcess quillet;
};

TEST_F(TemplatesCommandTest, ATemplateIsAddedShownExportedDeletedAndTakenInAgain) {
    const QString name = u"Q1/Notes “ü”"_s;
    const QString exported = quillet.folder(u"out.json"_s);
    ASSERT_EQ(run({u"add"_s, name, fileWith("body.md", "# {{meeting_title}}\n{{nothing}}")}), 0);
    QStringList lines = listed();
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(lines.at(0).startsWith(u"* General Meeting Notes"_s));
    const QString id = idOf(lines.at(4));

    EXPECT_EQ(run({u"show"_s, name}), 0);
    EXPECT_EQ(quillet.output, u"# {{meeting_title}}\n{{nothing}}\n"_s);
    EXPECT_EQ(run({u"preview"_s, id.toLower()}), 0);
    EXPECT_EQ(quillet.output, u"# Q1 Planning Meeting\n{{nothing}}\n"_s);
    ASSERT_EQ(run({u"export"_s, name, exported}), 0);
    EXPECT_EQ(run({u"settings"_s}), 2);

    ASSERT_EQ(run({u"import"_s, exported}), 0); // beside the one that is there, under a new id
    lines = listed();
    ASSERT_EQ(lines.size(), 6);
    EXPECT_NE(idOf(lines.at(5)), id);
    EXPECT_EQ(run({u"delete"_s, name}), 1);
    EXPECT_TRUE(quillet.errors.contains(u"2 templates are called “%1”"_s.arg(name)));
    EXPECT_TRUE(quillet.errors.contains(id));
    ASSERT_EQ(run({u"delete"_s, id}), 0);
    ASSERT_EQ(run({u"delete"_s, name}), 0);
    EXPECT_EQ(listed().size(), 4);
    ASSERT_EQ(run({u"import"_s, exported}), 0);
    EXPECT_EQ(idOf(listed().at(4)), id);
}

TEST_F(TemplatesCommandTest, EveryRefusalIsOneSentence) {
    const QString text = fileWith("plain.txt", "text");
    const std::tuple<QStringList, int, const char*> rows[] = {
        {{u"show"_s, u"No\x1b[2Jne"_s}, 1, "There is no template “No�[2Jne”."},
        {{u"delete"_s, u"Full Transcript"_s}, 1, "“Full Transcript” is built in and cannot"},
        {{u"export"_s, u"Full Transcript"_s, text}, 1, "is built in and is not exported"},
        {{u"import"_s, u"/none"_s}, 1, "/none cannot be read: No such file or directory."},
        {{u"import"_s, text}, 1, "plain.txt holds no templates. This is no JSON: "},
        {{u"import"_s, fileWith("half.json", "[{\"id\":1}]")}, 1, "Template 1 has no text “id”."},
        {{u"add"_s, u"x"_s, fileWith("latin", "\xe4")}, 1, "latin is no UTF-8 text."},
        {{u"add"_s, QString(), text}, 1, "A template needs a name."},
        {{u"add"_s, u"x"_s}, 2, "Usage: quillet templates list"},
        {{u"rename"_s, u"x"_s}, 2, "Usage: quillet templates list"},
    };
    for (const auto& [arguments, status, sentence] : rows) {
        SCOPED_TRACE(sentence);
        EXPECT_EQ(run(arguments), status);
        EXPECT_TRUE(quillet.errors.contains(QString::fromUtf8(sentence))) << quillet.errors.toStdString();
        EXPECT_EQ(quillet.output, QString());
    }
    EXPECT_EQ(listed().size(), 4);
}

TEST_F(TemplatesCommandTest, UnreadableStoredTemplatesAreSaidAndNotOverwritten) {
    const QString key = u"corvane.customTemplates"_s;
    const QString broken = u"[{\"name\":\"precious\"}]"_s;
    ASSERT_EQ(quillet.run({u"settings"_s, u"set"_s, key, broken}), 2);
    ASSERT_TRUE(QDir().mkpath(quillet.folder(u"config/quillet"_s)));
    fileWith("config/quillet/quillet.conf", R"ini(corvane.customTemplates="@ByteArray([{\"name\":\"precious\"}])")ini");
    for (const QStringList& change :
         {QStringList{u"add"_s, u"x"_s, fileWith("x", "")}, QStringList{u"delete"_s, u"x"_s}}) {
        EXPECT_EQ(run(change), 1);
        EXPECT_TRUE(quillet.errors.contains(u"a change would lose them: Template 1 has no text “id”."_s));
    }
    EXPECT_EQ(run({u"list"_s}), 1);
    EXPECT_EQ(run({u"preview"_s, u"Executive Brief"_s}), 0);
    ASSERT_EQ(quillet.run({u"settings"_s, u"get"_s, key}), 0);
    EXPECT_EQ(quillet.output, broken + u'\n');

    fileWith("config/quillet/quillet.conf", "corvane.customTemplates=[{\\\"name\\\":\\\"precious\\\", 1}]\"");
    EXPECT_EQ(run({u"add"_s, u"x"_s, fileWith("x", "")}), 1) << "a quote is lost";
}

TEST_F(TemplatesCommandTest, WhatIsAddedAtTheSameTimeIsAllKept) {
    listed();
    const QString text = fileWith("x", "");
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 6; ++i) {
        auto& process = *processes.emplace_back(std::make_unique<QProcess>());
        process.setProcessEnvironment(quillet.process.processEnvironment());
        process.start(QStringLiteral(QUILLET_BINARY), {u"templates"_s, u"add"_s, u"T%1"_s.arg(i), text});
    }
    for (const auto& process : processes) EXPECT_TRUE(process->waitForFinished() && process->exitCode() == 0);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(run({u"show"_s, u"T%1"_s.arg(i)}), 0) << i;
}

} // namespace
} // namespace quillet::test
