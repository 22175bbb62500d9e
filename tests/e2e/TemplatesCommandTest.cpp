#include "e2e/QuilletProcess.h"
#include "support/Files.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace quillet {
namespace {

class TemplatesCommandTest : public testing::Test {
protected:
    /// The exit status of quillet templates with these arguments.
    int run(QStringList arguments) {
        arguments.prepend(QStringLiteral("templates"));
        return quillet.run(arguments);
    }
    QString fileWith(const char* name, const QByteArray& bytes) {
        return test::makeFile(quillet.folder(QString::fromUtf8(name)), bytes);
    }
    QStringList listed() {
        EXPECT_EQ(run({QStringLiteral("list")}), 0);
        return quillet.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    static QString idOf(const QString& line) { return line.trimmed().section(QLatin1Char(' '), -1); }

    test::QuilletProcess quillet;
};

TEST_F(TemplatesCommandTest, ATemplateIsAddedShownExportedDeletedAndTakenInAgain) {
    const QString name = QStringLiteral("Q1/Notes “ü”");
    const QString exported = quillet.folder(QStringLiteral("out.json"));
    ASSERT_EQ(run({QStringLiteral("add"), name, fileWith("body.md", "# {{meeting_title}}\n{{nothing}}")}), 0);
    QStringList lines = listed();
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(lines.at(0).startsWith(QStringLiteral("* General Meeting Notes")));
    const QString id = idOf(lines.at(4));

    EXPECT_EQ(run({QStringLiteral("show"), name}), 0);
    EXPECT_EQ(quillet.output, QStringLiteral("# {{meeting_title}}\n{{nothing}}\n"));
    EXPECT_EQ(run({QStringLiteral("preview"), id.toLower()}), 0);
    EXPECT_EQ(quillet.output, QStringLiteral("# Q1 Planning Meeting\n{{nothing}}\n"));
    ASSERT_EQ(run({QStringLiteral("export"), name, exported}), 0);
    EXPECT_EQ(run({QStringLiteral("settings")}), 2);

    ASSERT_EQ(run({QStringLiteral("import"), exported}), 0); // beside the one that is there, under a new id
    lines = listed();
    ASSERT_EQ(lines.size(), 6);
    EXPECT_NE(idOf(lines.at(5)), id);
    EXPECT_EQ(run({QStringLiteral("delete"), name}), 1);
    EXPECT_TRUE(quillet.errors.contains(QStringLiteral("2 templates are called “%1”").arg(name)));
    EXPECT_TRUE(quillet.errors.contains(id));
    ASSERT_EQ(run({QStringLiteral("delete"), id}), 0);
    ASSERT_EQ(run({QStringLiteral("delete"), name}), 0);
    EXPECT_EQ(listed().size(), 4);
    ASSERT_EQ(run({QStringLiteral("import"), exported}), 0);
    EXPECT_EQ(idOf(listed().at(4)), id);
}

TEST_F(TemplatesCommandTest, EveryRefusalIsOneSentence) {
    const QString text = fileWith("plain.txt", "text");
    const struct {
        QStringList arguments;
        int status;
        const char* sentence;
    } rows[] = {
        {{QStringLiteral("show"), QStringLiteral("No\x1b[2Jne")}, 1, "There is no template “No�[2Jne”."},
        {{QStringLiteral("delete"), QStringLiteral("Full Transcript")}, 1, "“Full Transcript” is built in and cannot"},
        {{QStringLiteral("export"), QStringLiteral("Full Transcript"), text}, 1, "is built in and is not exported"},
        {{QStringLiteral("import"), QStringLiteral("/none")}, 1, "/none cannot be read: No such file or directory."},
        {{QStringLiteral("import"), text}, 1, "plain.txt holds no templates. This is no JSON: "},
        {{QStringLiteral("import"), fileWith("half.json", "[{\"id\":1}]")}, 1, "Template 1 has no text “id”."},
        {{QStringLiteral("add"), QStringLiteral("x"), fileWith("latin", "\xe4")}, 1, "latin is no UTF-8 text."},
        {{QStringLiteral("add"), QString(), text}, 1, "A template needs a name."},
        {{QStringLiteral("add"), QStringLiteral("x")}, 2, "Usage: quillet templates list"},
        {{QStringLiteral("rename"), QStringLiteral("x")}, 2, "Usage: quillet templates list"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        EXPECT_EQ(run(row.arguments), row.status);
        EXPECT_TRUE(quillet.errors.contains(QString::fromUtf8(row.sentence))) << quillet.errors.toStdString();
        EXPECT_EQ(quillet.output, QString());
    }
    EXPECT_EQ(listed().size(), 4);
}

TEST_F(TemplatesCommandTest, UnreadableStoredTemplatesAreSaidAndNotOverwritten) {
    const QString key = QStringLiteral("corvane.customTemplates");
    const QString broken = QStringLiteral("[{\"name\":\"precious\"}]");
    ASSERT_EQ(quillet.run({QStringLiteral("settings"), QStringLiteral("set"), key, broken}), 2);
    ASSERT_TRUE(QDir().mkpath(quillet.folder(QStringLiteral("config/quillet"))));
    fileWith("config/quillet/quillet.conf", R"ini(corvane.customTemplates="@ByteArray([{\"name\":\"precious\"}])")ini");
    for (const QStringList& change : {QStringList{QStringLiteral("add"), QStringLiteral("x"), fileWith("x", "")},
                                      QStringList{QStringLiteral("delete"), QStringLiteral("x")}}) {
        EXPECT_EQ(run(change), 1);
        EXPECT_TRUE(quillet.errors.contains(QStringLiteral("a change would lose them: Template 1 has no text “id”.")));
    }
    EXPECT_EQ(run({QStringLiteral("list")}), 1);
    EXPECT_EQ(run({QStringLiteral("preview"), QStringLiteral("Executive Brief")}), 0);
    ASSERT_EQ(quillet.run({QStringLiteral("settings"), QStringLiteral("get"), key}), 0);
    EXPECT_EQ(quillet.output, broken + QLatin1Char('\n'));

    fileWith("config/quillet/quillet.conf", "corvane.customTemplates=[{\\\"name\\\":\\\"precious\\\", 1}]\"");
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("x"), fileWith("x", "")}), 1) << "a quote is lost";
}

TEST_F(TemplatesCommandTest, WhatIsAddedAtTheSameTimeIsAllKept) {
    listed();
    const QString text = fileWith("x", "");
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 6; ++i) {
        auto& process = *processes.emplace_back(std::make_unique<QProcess>());
        process.setProcessEnvironment(quillet.process.processEnvironment());
        process.start(QStringLiteral(QUILLET_BINARY),
                      {QStringLiteral("templates"), QStringLiteral("add"), QStringLiteral("T%1").arg(i), text});
    }
    for (const auto& process : processes) EXPECT_TRUE(process->waitForFinished() && process->exitCode() == 0);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(run({QStringLiteral("show"), QStringLiteral("T%1").arg(i)}), 0) << i;
}

} // namespace
} // namespace quillet
