#pragma once

#include "support/Sound.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet::test {

/// The program under test with folders of its own.
class QuilletProcess {
public:
    QuilletProcess() {
        environment.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
    }
    ~QuilletProcess() {
        if (process.state() == QProcess::NotRunning) return;
        process.kill();
        process.waitForFinished();
    }

    [[nodiscard]] QString folder(const QString& name = {}) const { return m_home.filePath(name); }
    [[nodiscard]] QString defaultFolder() const { return folder(QStringLiteral("data/quillet/Recordings")); }

    void start(const QStringList& arguments) { startByShell(QStringLiteral("exec \"$@\""), arguments); }
    /// From a shell, as the script's "$@".
    void startByShell(const QString& script, const QStringList& arguments) {
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral("/bin/sh"),
                      QStringList{QStringLiteral("-c"), script, QStringLiteral("sh"), QStringLiteral(QUILLET_BINARY)} +
                          arguments);
        ASSERT_TRUE(process.waitForStarted());
    }
    /// The exit status; -1 when it did not end in time or was killed.
    int finish(int deadlineMs = 60000) {
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(deadlineMs)) return -1;
        output = QString::fromUtf8(process.readAllStandardOutput());
        errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    int run(const QStringList& arguments, int deadlineMs = 60000) {
        start(arguments);
        return finish(deadlineMs);
    }
    void set(const QString& key, const QString& value) {
        EXPECT_EQ(run({QStringLiteral("settings"), QStringLiteral("set"), key, value}), 0) << errors.toStdString();
    }
    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(output.toUtf8()).object(); }

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment(); ///< of what is started next
    QProcess process;
    QString output;
    QString errors;

private:
    QTemporaryDir m_home;
};

} // namespace quillet::test
