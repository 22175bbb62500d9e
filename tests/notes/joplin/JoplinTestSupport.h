#pragma once

#include "notes/joplin/JoplinNotesApplication.h"
#include "support/Files.h"
#include "support/WaitFor.h"

#include <QTemporaryDir>

namespace quillet::test {

inline QString u(const char* text) { return QString::fromUtf8(text); }

/// What a user of Joplin's has on this machine, and a recording.
class JoplinUser {
public:
    JoplinUser() { write("talk.m4a", QByteArray(300'000, 'a') + QByteArray("\0\r\n--x\xff", 8)); }

    QString path(const char* name) const { return m_folder.filePath(u(name)); }
    void write(const char* name, const QByteArray& bytes) const { makeFile(path(name), bytes); }
    QByteArray read(const char* name) const { return contentsOf(path(name)); }
    std::shared_ptr<FileJoplinSecrets> secrets() const {
        return std::make_shared<FileJoplinSecrets>(path("data/joplin.json").toStdString());
    }
    NoteDraft draft(const QString& title = u("Sync"), const QString& body = u("# Sync — today\n\n• One\n")) const {
        return {path("talk.m4a").toStdString(), title, body, std::nullopt, title};
    }

private:
    QTemporaryDir m_folder;
};

} // namespace quillet::test
