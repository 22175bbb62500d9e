#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace quillet {

/// The few things that Linux and macOS each do by a call of their own; everything else in this folder is POSIX. Where
/// nothing else is said the answer is 0 or an error number, and EOPNOTSUPP, EINVAL or the like where the volume has no
/// such service. Any thread; they may wait for the disk.
namespace SystemCalls {

/// Renames inside a folder; EEXIST when the new name is taken.
[[nodiscard]] int renameNoReplace(int folder, const std::string& from, const std::string& to);

/// Sets aside the blocks of a part of the file beyond its end, without changing its size.
[[nodiscard]] int reserveSpace(int fd, off_t from, off_t to);
/// Gives back what lies in that part. The file has been cut to a size before it.
void giveBackSpace(int fd, off_t from, off_t to);

/// Returns when the file's bytes would survive a power cut.
[[nodiscard]] int syncData(int fd);

[[nodiscard]] timespec modificationTime(const struct stat& status);

/// Random bits, without waiting for the system to have enough of them.
[[nodiscard]] std::uint64_t randomBits();

/// A file without a name in that folder, open for writing; -1 with errno set.
[[nodiscard]] int openNameless(int folder, mode_t mode);
/// Names a file in a folder by its descriptor, as a link to itself.
[[nodiscard]] int linkDescriptor(int fd, int folder, const char* name);
/// Makes a file of that name that shares the blocks of an open one until either changes; complete at once.
[[nodiscard]] int cloneDescriptor(int fd, int folder, const char* name);
/// Copies from the one's present position to its end inside the kernel; whatever it has copied when it fails, the
/// positions of both have moved by.
[[nodiscard]] int copyToEnd(int from, int to);

/// The file of this program, free of symbolic links; empty when the system does not tell.
[[nodiscard]] std::filesystem::path ownProgram();

/// Becomes that program, or has the system open it where none may become another; returns only when there is none.
void replaceProgram(const char* program, char** arguments);

/// Tells the system's and the toolkit's libraries what they must know before anything uses them. First thing in main().
void prepareLibraries();

/// A pipe that a child process does not inherit and that never blocks.
[[nodiscard]] int makePipe(int (&ends)[2]);

} // namespace SystemCalls
} // namespace quillet
