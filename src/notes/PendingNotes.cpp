#include "notes/PendingNotes.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>

#include <algorithm>
#include <system_error>
#include <utility>

namespace quillet {
namespace {

/// Far more than kMostEntries of the longest paths take; only folder names without measure come near it.
constexpr qint64 kMostBytes = 4'000'000;
constexpr qint64 kMostIndentationBytes = 64; ///< of an entry within the list
constexpr int kLockTimeoutMs = 2000;
constexpr int kMostFilesSetAside = 20;

const QString kRecording = QStringLiteral("recording");
const QString kCompletedAt = QStringLiteral("completedAt");
const QString kFolderName = QStringLiteral("folderName");

/// One name per file, however its path was written.
std::filesystem::path identity(const std::filesystem::path& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    if (error) return path;
    auto canonical = std::filesystem::weakly_canonical(absolute, error);
    return error ? absolute.lexically_normal() : canonical;
}

PlatformError failure(const QString& description) { return {0, description}; }

/// As precisely as it is stored.
WallTime toMilliseconds(WallTime time) { return std::chrono::floor<std::chrono::milliseconds>(time); }

QDateTime toQDateTime(WallTime time) {
    return QDateTime::fromMSecsSinceEpoch(
        std::chrono::duration_cast<std::chrono::milliseconds>(toMilliseconds(time).time_since_epoch()).count(),
        Qt::UTC);
}

QJsonObject toJson(const PendingNote& note) {
    return {{kRecording, QFile::decodeName(note.recording.c_str())},
            {kCompletedAt, toQDateTime(note.completedAt).toString(Qt::ISODateWithMs)},
            {kFolderName, note.folderName}};
}

std::optional<PendingNote> fromJson(const QJsonObject& entry) {
    const QString recording = entry.value(kRecording).toString();
    const QDateTime completedAt = QDateTime::fromString(entry.value(kCompletedAt).toString(), Qt::ISODateWithMs);
    if (recording.isEmpty() || !completedAt.isValid()) return std::nullopt;
    return PendingNote{QFile::encodeName(recording).toStdString(),
                       WallTime(std::chrono::milliseconds(completedAt.toMSecsSinceEpoch())),
                       entry.value(kFolderName).toString()};
}

/// As many of the newest as fit.
QByteArray toJson(const std::vector<PendingNote>& notes) {
    QJsonArray entries;
    qint64 bytes = 0;
    for (auto note = notes.rbegin(); note != notes.rend(); ++note) {
        const QJsonObject entry = toJson(*note);
        bytes += QJsonDocument(entry).toJson().size() + kMostIndentationBytes;
        if (bytes > kMostBytes) break;
        entries.prepend(entry);
    }
    return QJsonDocument(entries).toJson();
}

} // namespace

PendingNotes::PendingNotes(const std::filesystem::path& folder)
    : m_folder(QFile::decodeName(folder.c_str())), m_path(m_folder + QStringLiteral("/pending-notes.json")) {}

Result<void> PendingNotes::add(const PendingNote& note) {
    PendingNote added = note;
    added.recording = identity(note.recording);
    return update([&added](std::vector<PendingNote>& notes) {
        std::erase_if(notes, [&added](const PendingNote& known) { return known.recording == added.recording; });
        notes.push_back(added);
        if (notes.size() > kMostEntries) notes.erase(notes.begin(), notes.end() - kMostEntries);
        return true;
    });
}

Result<void> PendingNotes::remove(WallTime completedAt) {
    return update([stored = toMilliseconds(completedAt)](std::vector<PendingNote>& notes) {
        return std::erase_if(notes, [&stored](const PendingNote& known) { return known.completedAt == stored; }) > 0;
    });
}

Result<void> PendingNotes::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    const auto before = identity(from);
    return update([&before, after = identity(to)](std::vector<PendingNote>& notes) {
        const auto isKnown = [&before](const PendingNote& known) { return known.recording == before; };
        if (std::ranges::none_of(notes, isKnown)) return false;
        std::erase_if(notes, [&after](const PendingNote& known) { return known.recording == after; });
        std::ranges::find_if(notes, isKnown)->recording = after;
        return true;
    });
}

std::optional<PendingNote> PendingNotes::find(const std::filesystem::path& recording) const {
    const auto path = identity(recording);
    for (PendingNote& note : all()) {
        if (note.recording == path) return std::move(note);
    }
    return std::nullopt;
}

std::vector<PendingNote> PendingNotes::all() const { return read().notes; }

PendingNotes::Contents PendingNotes::read() const {
    QFile file(m_path);
    if (!file.exists()) return {};
    if (!file.open(QFile::ReadOnly)) return {.notes = {}, .isDamaged = true};
    const QByteArray json = file.read(kMostBytes);
    if (!file.atEnd()) return {.notes = {}, .isDamaged = true};
    return parse(json);
}

PendingNotes::Contents PendingNotes::parse(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    Contents contents{.notes = {}, .isDamaged = !document.isArray()};
    for (const auto& entry : document.array()) {
        if (auto note = fromJson(entry.toObject())) {
            contents.notes.push_back(std::move(*note));
        } else {
            contents.isDamaged = true;
        }
    }
    return contents;
}

template <typename Change>
Result<void> PendingNotes::update(const Change& change) {
    const std::lock_guard guard(m_mutex);
    if (!QDir().exists(m_folder)) {
        if (!QDir().mkpath(m_folder)) return Failure{failure(QStringLiteral("The folder cannot be made."))};
        QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QLockFile lock(m_path + QStringLiteral(".lock"));
    if (!lock.tryLock(kLockTimeoutMs)) return Failure{failure(QStringLiteral("The list is in use or read-only."))};

    Contents contents = read();
    if (!change(contents.notes)) return {};
    if (contents.isDamaged) {
        if (auto aside = setAside(); !aside) return aside;
    }
    return write(contents.notes);
}

Result<void> PendingNotes::write(const std::vector<PendingNote>& notes) {
    QSaveFile file(m_path);
    if (!file.open(QFile::WriteOnly)) return Failure{failure(file.errorString())};
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(toJson(notes));
    if (!file.commit()) return Failure{failure(file.errorString())};
    return {};
}

Result<void> PendingNotes::setAside() {
    for (int i = 1; i <= kMostFilesSetAside; ++i) {
        const QString name = QStringLiteral("%1.damaged-%2").arg(m_path).arg(i);
        if (QFile::exists(name)) continue;
        if (QFile::rename(m_path, name)) return {};
    }
    return Failure{failure(QStringLiteral("The damaged list cannot be set aside."))};
}

} // namespace quillet
