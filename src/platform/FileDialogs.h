#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QWindow;

namespace quillet {

/// What the user is asked for.
struct FileQuestion {
    enum class Kind {
        Folder,  ///< one that is there, or is made on the way
        NewFile, ///< a name to write to; replacing a file has been confirmed
    };
    Kind kind = Kind::Folder;
    QString title{};                                    ///< as it is shown
    std::optional<std::filesystem::path> startFolder{}; ///< absent: wherever the dialog likes to begin
    QString proposedName{};                             ///< for a new file
    QString mimeType{};                                 ///< the same; shows files of that kind only
};

struct FileAnswer {
    enum class Outcome {
        Chosen,
        Declined,
        Unavailable, ///< the user was not asked, or could not answer: ask in another way
    };
    Outcome outcome = Outcome::Unavailable;
    std::filesystem::path path{}; ///< absolute, when one was chosen
};

/// The desktop's dialogs for folders and files, on desktops where they belong to another program. Main thread, waits
/// for nothing. One dialog at a time: a new question closes the one before it, which is not answered then.
class FileDialogs {
public:
    virtual ~FileDialogs() = default;

    /// Over the window, when there is one, and gone with it; answers at most once, and never from within the call.
    virtual void ask(const FileQuestion& question, QWindow* over, std::function<void(const FileAnswer&)> answer) = 0;
};

/// Null where the toolkit's dialogs are the desktop's own.
[[nodiscard]] std::unique_ptr<FileDialogs> makeFileDialogs();

} // namespace quillet
