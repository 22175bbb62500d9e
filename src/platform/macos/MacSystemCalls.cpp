#include "platform/posix/SystemCalls.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <libproc.h>
#include <stdio.h> // renameatx_np
#include <sys/clonefile.h>
#include <unistd.h>

namespace quillet::SystemCalls {
namespace {

/// Here the volumes that lack a service say ENOTSUP, which is another number than EOPNOTSUPP.
int answer(int result) {
    if (result != -1) return 0;
    return errno == ENOTSUP ? EOPNOTSUPP : errno;
}

} // namespace

int renameNoReplace(int folder, const std::string& from, const std::string& to) {
    return answer(renameatx_np(folder, from.c_str(), folder, to.c_str(), RENAME_EXCL));
}

int reserveSpace(int fd, off_t from, off_t to) {
    fstore_t request{};
    request.fst_flags = F_ALLOCATEALL;
    request.fst_posmode = F_PEOFPOSMODE; // counted from the end of what the file has on the disk
    request.fst_length = to - from;
    return answer(fcntl(fd, F_PREALLOCATE, &request));
}

void giveBackSpace(int, off_t, off_t) {} // cutting the file has done it

int syncData(int fd) {
    // An ordinary fsync stops at the drive's own cache.
    const int error = answer(fcntl(fd, F_FULLFSYNC));
    return error == 0 || error == EINTR ? error : answer(fsync(fd));
}

timespec modificationTime(const struct stat& status) { return status.st_mtimespec; }

std::uint64_t randomBits() {
    std::uint64_t random = 0;
    arc4random_buf(&random, sizeof random);
    return random;
}

int openNameless(int, mode_t) {
    errno = EOPNOTSUPP;
    return -1;
}

int linkDescriptor(int, int, const char*) { return EOPNOTSUPP; }

int cloneDescriptor(int fd, int folder, const char* name) { return answer(fclonefileat(fd, folder, name, 0)); }

int copyToEnd(int, int) { return EOPNOTSUPP; } // cloneDescriptor() is the way that costs nothing

std::filesystem::path ownProgram() {
    char path[PROC_PIDPATHINFO_MAXSIZE];
    const int length = proc_pidpath(getpid(), path, sizeof path);
    return length > 0 ? std::filesystem::path(std::string(path, static_cast<std::size_t>(length)))
                      : std::filesystem::path();
}

int makePipe(int (&ends)[2]) {
    if (const int error = answer(pipe(ends)); error != 0) return error;
    for (const int end : ends) {
        const bool done = fcntl(end, F_SETFD, FD_CLOEXEC) != -1 && fcntl(end, F_SETFL, O_NONBLOCK) != -1;
        if (!done) return errno;
    }
    return 0;
}

// Else a program without windows has an event loop of the toolkit's that serves neither the system's run loop nor its
// main queue, through which frameworks tell of their devices.
void prepareLibraries() { setenv("QT_EVENT_DISPATCHER_CORE_FOUNDATION", "1", 0); }

} // namespace quillet::SystemCalls
