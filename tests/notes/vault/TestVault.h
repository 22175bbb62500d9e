#pragma once

#include "notes/vault/VaultNotesApplication.h"
#include "support/Files.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet::test {

inline QString u(const char* text) { return QString::fromUtf8(text); }

/// A vault and a recording, side by side in a folder that holds nothing else.
class VaultTest : public testing::Test {
protected:
    VaultTest() {
        QDir().mkpath(path("vault"));
        write(path("talk.m4a"), recordingBytes());
    }

    static QByteArray recordingBytes() {
        QByteArray bytes(300'000, Qt::Uninitialized);
        for (qsizetype i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 7919) >> 5);
        return bytes;
    }
    QString path(const QString& relative) const { return m_folder.filePath(relative); }
    QString path(const char* relative) const { return path(u(relative)); }
    static void write(const QString& file, const QByteArray& bytes) { makeFile(file, bytes); }
    static QByteArray read(const QString& file) { return contentsOf(file); }
    QByteArray read(const char* relative) const { return read(path(relative)); }

    NoteDraft draft(const QString& title,
                    const QString& body = QStringLiteral("# T — today\n\n## Attendees\n• One\n")) {
        return {path("talk.m4a").toStdString(), title, body, std::nullopt};
    }
    VaultNotesApplication make() const {
        return VaultNotesApplication([chosen = chosen] { return chosen; },
                                     path("documents/Quillet Notes").toStdString());
    }
    /// Everything in the test's folder but the recording, from there.
    QStringList files() const {
        QStringList all;
        QDirIterator each(m_folder.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (each.hasNext()) all += QDir(m_folder.path()).relativeFilePath(each.next());
        all.removeOne(QStringLiteral("talk.m4a"));
        all.sort();
        return all;
    }

    QTemporaryDir m_folder;
    QString chosen = path("vault");
};

} // namespace quillet::test
