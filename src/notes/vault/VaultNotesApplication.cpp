#include "notes/vault/VaultNotesApplication.h"

#include "notes/vault/VaultLayout.h"
#include "notes/vault/VaultNames.h"

#include <QCollator>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>

namespace quillet {
namespace {

QString shown(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }

bool isRefusal(int error) { return error == EACCES || error == EROFS || error == EPERM; }

NoteOutcome failed(const QString& what, const PlatformError& error) {
    const QString reason = QStringLiteral("%1: %2.").arg(what, error.description);
    return isRefusal(error.code) ? NoteOutcome::refused(reason) : NoteOutcome::failed(reason);
}

std::vector<std::string> encoded(const QStringList& names) {
    std::vector<std::string> all;
    for (const QString& name : names) all.push_back(name.toStdString());
    return all;
}

} // namespace

VaultNotesApplication::VaultNotesApplication(ChosenFolder chosenFolder, std::filesystem::path defaultFolder)
    : m_chosenFolder(std::move(chosenFolder)), m_defaultFolder(std::move(defaultFolder)) {}

std::filesystem::path VaultNotesApplication::standardFolder() {
    return std::filesystem::path(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation).toStdString()) /
           "Quillet Notes";
}

VaultNotesApplication::Place VaultNotesApplication::place() const {
    const QString chosen = m_chosenFolder ? m_chosenFolder() : QString();
    if (chosen.isEmpty()) return {m_defaultFolder, IfMissing::MakeWithParents};
    return {std::filesystem::path(QDir::cleanPath(chosen).toStdString()), IfMissing::Make};
}

/// Nothing is made: a folder above it has to be there and let us in.
bool VaultNotesApplication::canBeMade(const Place& place) {
    std::filesystem::path above = place.folder.parent_path();
    std::error_code error;
    while (place.ifMissing == IfMissing::MakeWithParents && above != above.parent_path() &&
           !std::filesystem::exists(above, error))
        above = above.parent_path();
    const auto folder = openDurableFolder(above, IfMissing::Fail);
    return folder && (*folder)->checkWritable();
}

bool VaultNotesApplication::canNameFolder(const QString& name) const { return vault::isFolderName(name); }

NotesAccess VaultNotesApplication::probeAccess() {
    const Place place = this->place();
    if (!place.folder.is_absolute()) return NotesAccess::Denied;
    const bool isDefault = place.ifMissing == IfMissing::MakeWithParents;
    const auto vault = openDurableFolder(place.folder, isDefault ? place.ifMissing : IfMissing::Fail);
    const bool granted = vault ? (*vault)->checkWritable().ok() : vault.error().code == ENOENT && canBeMade(place);
    return granted ? NotesAccess::Granted : NotesAccess::Denied;
}

bool VaultNotesApplication::requestAccess() {
    const auto vault = openVault();
    return vault && (*vault)->checkWritable();
}

Result<std::unique_ptr<DurableFolder>> VaultNotesApplication::openVault() const {
    const Place place = this->place();
    if (place.folder.is_absolute()) return openDurableFolder(place.folder, place.ifMissing);
    return Failure{PlatformError{EINVAL, QStringLiteral("it is not an absolute path")}};
}

std::vector<QString> VaultNotesApplication::fetchFolders() {
    const auto vault = openVault();
    if (!vault) return {};
    const vault::VaultLayout layout = vault::readLayout(**vault);
    const bool besideNotes = layout.notes.isEmpty() && !layout.attachmentsBelowTheNote && !layout.attachments.isEmpty();
    const QString recordings = besideNotes ? layout.attachments.constFirst() : QString(); // no place for notes
    const auto parent = (*vault)->folderBelow(encoded(layout.notes), IfMissing::Fail);
    const auto names = parent ? (*parent)->subfolders() : Failure{parent.error()};
    if (!names) return {};
    std::vector<QString> folders;
    for (const std::string& name : *names) {
        const QString folder = QString::fromStdString(name);
        const bool isOurs = folder == recordings;
        if (vault::isFolderName(folder) && folder.toStdString() == name && !isOurs) folders.push_back(folder);
    }
    QCollator order;
    order.setCaseSensitivity(Qt::CaseInsensitive);
    order.setNumericMode(true);
    std::sort(folders.begin(), folders.end(), order);
    return folders;
}

bool VaultNotesApplication::testFolderConnection(const QString& folderName) {
    const QString name = folderName.trimmed();
    const auto vault = openVault();
    if (!vault || !vault::isFolderName(name)) return false;
    return (*vault)->folderBelow(encoded(vault::readLayout(**vault).notes + QStringList(name)), IfMissing::Fail).ok();
}

NoteOutcome VaultNotesApplication::createNoteWithAttachment(const NoteDraft& draft) {
    const QString folderName = draft.folderName.value_or(QString()).trimmed();
    if (!folderName.isEmpty() && !vault::isFolderName(folderName))
        return NoteOutcome::failed(QStringLiteral("A folder of the notes cannot be called “%1”.").arg(folderName));
    const QFileInfo recording(shown(draft.attachment));
    // The vault's volume may keep us waiting, and another recording may take the name of this one meanwhile.
    QFile recordingFile(recording.filePath());
    if (!recording.isFile() || !recordingFile.open(QFile::ReadOnly))
        return NoteOutcome::failed(QStringLiteral("The recording %1 cannot be read.").arg(recording.filePath()));
    const QDateTime recordedAt = recording.lastModified();

    const auto vault = openVault();
    if (!vault)
        return failed(QStringLiteral("The notes folder %1 cannot be used").arg(shown(place().folder)), vault.error());
    const vault::VaultLayout layout = vault::readLayout(**vault);
    vault::NotePlaces places;
    places.note = layout.notes + (folderName.isEmpty() ? QStringList() : QStringList(folderName));
    places.recording = (layout.attachmentsBelowTheNote ? places.note : QStringList()) + layout.attachments;
    const auto noteFolder = (*vault)->folderBelow(encoded(places.note), IfMissing::Make);
    if (!noteFolder) return failed(QStringLiteral("The folder of the note cannot be used"), noteFolder.error());
    const auto recordingFolder = (*vault)->folderBelow(encoded(places.recording), IfMissing::Make);
    if (!recordingFolder)
        return failed(QStringLiteral("The folder of the attachments cannot be used"), recordingFolder.error());

    // The recording first: a note without it would say what is not so, and synchronisation may carry it off at once.
    const QString baseName = vault::fileBaseName(draft.title);
    const QString suffix = vault::attachmentSuffix(recording.fileName());
    int number = 1;
    const auto added = (*recordingFolder)
                           ->addCopy(
                               [&](int attempt) {
                                   number = attempt;
                                   return vault::fileName(baseName, attempt, suffix);
                               },
                               recordingFile);
    if (!added) return failed(QStringLiteral("The recording could not be put into the notes folder"), added.error());
    places.recordingName = QString::fromStdString(added->name);
    const QString text = vault::noteText(layout.kind, draft, places, recordedAt);
    const auto note = (*noteFolder)
                          ->addFile(
                              [&](int attempt) { // from the recording's number on, so that the two look like one pair
                                  return vault::fileName(baseName, number - 1 + attempt, QStringLiteral(".md"));
                              },
                              text.toUtf8());
    if (note) return NoteOutcome::made();
    (*recordingFolder)->remove(*added);
    return failed(QStringLiteral("The note could not be written"), note.error());
}

} // namespace quillet
