#include "notes/joplin/JoplinNoteMaking.h"

#include "notes/markdown/MarkdownNote.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QRegularExpression>

namespace quillet::joplin {
namespace {

constexpr int kMaxTrashed = 20;
constexpr int kLongestWaitMs = 120'000; ///< for another attempt at the same note

/// The same for the same wish with the same recording, now and in another run.
QString idFor(const NoteDraft& draft, const Recording& recording, const QString& what) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString& part :
         {what, recording.canonicalPath, QString::number(recording.bytes), QString::number(recording.modifiedMs),
          draft.identity, draft.folderName.value_or(QString())}) {
        const QByteArray bytes = part.toUtf8();
        hash.addData(QByteArray::number(bytes.size()) + ':' + bytes);
    }
    constexpr qsizetype kIdLength = 32;
    return QString::fromLatin1(hash.result().toHex().left(kIdLength));
}

/// A suffix that Joplin knows the type of, which decides whether the note shows a player.
QString playableSuffix(const QString& suffix) {
    static const auto& kPlain = *new QRegularExpression(QStringLiteral("^[A-Za-z0-9]{1,7}$"));
    return QLatin1Char('.') + (kPlain.match(suffix).hasMatch() ? suffix : QStringLiteral("m4a"));
}

struct NotePlan {
    QString id;
    bool exists = false;     ///< an earlier attempt came so far
    bool isComplete = false; ///< there is nothing left to do
};

/// A note in the trash was made and thrown away; one more may be made, under another id.
Result<NotePlan, Fault> plan(Client& client, const NoteDraft& draft, const Recording& recording) {
    for (int trashed = 0; trashed < kMaxTrashed; ++trashed) {
        const QString id = idFor(draft, recording, QStringLiteral("note %1").arg(trashed));
        const auto note = client.note(id);
        if (!note) return Failure{note.error()};
        if (!note->has_value()) return NotePlan{.id = id};
        if (!(*note)->isInTrash) return NotePlan{.id = id, .exists = true, .isComplete = (*note)->hasBody};
    }
    return NotePlan{.id = newId()};
}

} // namespace

Recording::Recording(const std::filesystem::path& path) : file(QString::fromStdString(path.string())) {
    QFileInfo info(file);
    if (!info.isFile() || !file.open(QFile::ReadOnly)) return;
    canonicalPath = info.canonicalFilePath();
    name = info.fileName();
    suffix = info.suffix();
    bytes = file.size();
    modifiedMs = info.lastModified().toMSecsSinceEpoch();
}

Result<void, Fault> makeNote(Client& client, const NoteDraft& draft, Recording& recording, const QString& folderId,
                             const std::filesystem::path& lockFolder) {
    const QString resourceId = idFor(draft, recording, QStringLiteral("recording"));
    QLockFile lock(QDir(QFile::decodeName(lockFolder.c_str())).filePath(resourceId + QStringLiteral(".lock")));
    lock.setStaleLockTime(0); // an upload may take long; whose process is gone does not count in any case
    // A folder where nothing can be written must not cost the note.
    if (!lock.tryLock(kLongestWaitMs) && lock.error() == QLockFile::LockFailedError) return Failure{Fault::Stalled};
    const auto note = plan(client, draft, recording);
    if (!note) return Failure{note.error()};
    if (note->isComplete) return {};

    const auto bytes = client.resourceBytes(resourceId);
    if (!bytes) return Failure{bytes.error()};
    const bool isUploaded = *bytes == recording.bytes;
    Result<void, Fault> done;
    if (!isUploaded)
        done = client.makeResource(resourceId, recording.name, recording.file, playableSuffix(recording.suffix));
    if (done && !note->exists) done = client.makeNote(note->id, draft.title, folderId);
    if (done) {
        const QString player = QStringLiteral("[%1](:/%2)").arg(markdown::linkLabel(recording.name), resourceId);
        done = client.setBody(note->id,
                              markdown::withParagraphBelowHeading(markdown::withDashBullets(draft.body), player));
    }
    if (done) return {};
    client.removeNote(note->id);
    // One that was there may belong to a note in the trash.
    if (!isUploaded) client.removeResource(resourceId);
    return done;
}

} // namespace quillet::joplin
