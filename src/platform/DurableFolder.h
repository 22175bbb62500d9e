#pragma once

#include "support/Result.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QFile;

namespace quillet {

enum class IfMissing {
    Fail,
    Make,           ///< the folder itself
    MakeWithParents ///< and those above it
};

/// What a new file may be called: asked for attempt 1, 2, 3 and so on until a name is free.
using FileNames = std::function<std::string(int attempt)>;

/// A file that is in its folder now.
struct AddedFile {
    std::string name;
    bool isNew = true; ///< false when the very same file was there before, by a hard link
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

/// An open folder that files are added to, shared with programs that know nothing of us (editors, synchronisation): a
/// file appears complete or not at all, and never in the place of another. It remains the same folder when it is
/// renamed meanwhile. What is made is its owner's only, and on the disk when the call returns. Any thread, one at a
/// time; every call may block on the disk.
class DurableFolder {
public:
    virtual ~DurableFolder() = default;

    /// The folder at the end of these names, each below the one before; this one for no names. A name is no path, and
    /// none of them may be a symbolic link.
    [[nodiscard]] virtual Result<std::unique_ptr<DurableFolder>> folderBelow(const std::vector<std::string>& names,
                                                                             IfMissing ifMissing) = 0;
    /// The names of the folders below this one, symbolic links not counted, in no order.
    [[nodiscard]] virtual Result<std::vector<std::string>> subfolders() = 0;
    /// Of a file that is no symbolic link. Fails for a larger one.
    [[nodiscard]] virtual Result<QByteArray> contents(const std::string& name, std::size_t maxBytes) = 0;
    /// Whether files can be added, as far as permissions tell.
    [[nodiscard]] virtual Result<void> checkWritable() = 0;

    [[nodiscard]] virtual Result<AddedFile> addFile(const FileNames& names, const QByteArray& bytes) = 0;
    /// Adds the present contents of another file, which is open: as a hard link, which costs nothing, where the volume
    /// has them and nobody writes the file any more; else as a copy.
    [[nodiscard]] virtual Result<AddedFile> addCopy(const FileNames& names, const QFile& source) = 0;
    /// Takes out what was added, unless it was there before or something else has its name by now.
    virtual void remove(const AddedFile& file) = 0;
};

[[nodiscard]] Result<std::unique_ptr<DurableFolder>> openDurableFolder(const std::filesystem::path& path,
                                                                       IfMissing ifMissing);

} // namespace quillet
