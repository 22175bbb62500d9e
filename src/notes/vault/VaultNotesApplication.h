#pragma once

#include "platform/DurableFolder.h"
#include "platform/NotesApplication.h"

#include <filesystem>
#include <functional>

namespace quillet {

/// Notes as Markdown files in a folder of the user's, a vault, as Obsidian, Logseq, Zettlr and others keep them; the
/// recording lies in the vault, too, and plays from the note.
///
/// The vault needs no consent: its folder is writable or it is not. The user's choice is asked for at each call, so
/// that a changed setting counts at once. Everything happens on the caller's thread, several callers do not disturb
/// each other, and whatever else changes the vault meanwhile loses nothing: new files take free names. After a failure
/// nothing of the note is left. An empty recording plays nowhere but is not refused.
class VaultNotesApplication final : public NotesApplication {
public:
    /// The absolute path of the user's vault; empty for the default one.
    using ChosenFolder = std::function<QString()>;

    explicit VaultNotesApplication(ChosenFolder chosenFolder, std::filesystem::path defaultFolder = standardFolder());

    /// "Quillet Notes" in the user's documents.
    [[nodiscard]] static std::filesystem::path standardFolder();

    /// Wherever there could be a vault. Whether there is one only its volume could tell, which may be a network's that
    /// does not answer: that is a question of access.
    [[nodiscard]] bool isAvailable() const override { return place().folder.is_absolute(); }
    [[nodiscard]] bool asksForConsent() const override { return false; }
    [[nodiscard]] bool canNameFolder(const QString& name) const override;
    [[nodiscard]] NotesAccess probeAccess() override;
    [[nodiscard]] bool requestAccess() override;
    [[nodiscard]] std::vector<QString> fetchFolders() override;
    [[nodiscard]] bool testFolderConnection(const QString& folderName) override;
    [[nodiscard]] NoteOutcome createNoteWithAttachment(const NoteDraft& draft) override;

private:
    struct Place {
        std::filesystem::path folder;
        IfMissing ifMissing; ///< a default vault may need its parents; a chosen one's parents are not ours to invent
    };
    [[nodiscard]] Place place() const;
    [[nodiscard]] Result<std::unique_ptr<DurableFolder>> openVault() const;
    [[nodiscard]] static bool canBeMade(const Place& place);

    const ChosenFolder m_chosenFolder;
    const std::filesystem::path m_defaultFolder;
};

} // namespace quillet
