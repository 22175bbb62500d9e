#pragma once

#include "support/DateTexts.h"
#include "support/Result.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

namespace quillet {

/// A recording whose note has not been made yet, with what its title and place depend on.
struct PendingNote {
    std::filesystem::path recording; ///< absolute
    WallTime completedAt;            ///< to the millisecond
    QString folderName;              ///< the settings' folder at that time; empty for the application's own place
};

/// Remembers recordings whose note is still to be made, so that a note that failed can be made later, by another
/// process too, under the title it would have had. A file in JSON, readable by its owner only, that is replaced as a
/// whole and kept small: beyond kMostEntries the oldest recordings are forgotten. A damaged file loses what cannot be
/// read of it, but is set aside before a new one is written, and stops nothing. Any thread, several processes.
class PendingNotes {
public:
    static constexpr std::size_t kMostEntries = 200;

    /// The folder is made at the first write.
    explicit PendingNotes(const std::filesystem::path& folder);

    /// Replaces what was known of the same recording.
    Result<void> add(const PendingNote& note);
    /// Of the recording that was completed at this moment: it may have got another name meanwhile.
    Result<void> remove(WallTime completedAt);
    /// The recording has another name now, and what was known under that is no longer true. The files are not looked
    /// at.
    Result<void> rename(const std::filesystem::path& from, const std::filesystem::path& to);
    [[nodiscard]] std::optional<PendingNote> find(const std::filesystem::path& recording) const;
    /// The oldest first.
    [[nodiscard]] std::vector<PendingNote> all() const;

private:
    struct Contents {
        std::vector<PendingNote> notes;
        bool isDamaged = false;
    };
    [[nodiscard]] Contents read() const;
    static Contents parse(const QByteArray& json);
    Result<void> write(const std::vector<PendingNote>& notes);
    Result<void> setAside();
    template <typename Change>
    Result<void> update(const Change& change);

    const QString m_folder;
    const QString m_path;
    std::mutex m_mutex;
};

} // namespace quillet
