#include "storage/m4a/DurableWrite.h"

#include <cerrno>
#include <thread>

namespace quillet::m4a {

const Retries& usualRetries() {
    using std::chrono::milliseconds;
    // Never destroyed: a recording may still be finished within exit().
    static const auto& kRetries = *new Retries{milliseconds(20), milliseconds(100), milliseconds(400)};
    return kRetries;
}

bool mayPass(const PlatformError& error) {
    return error.code == EIO || error.code == ENOSPC || error.code == EDQUOT || error.code == EAGAIN;
}

Result<void> writeDurably(DurableFile& file, std::int64_t offset, std::span<const std::byte> bytes,
                          const Retries& retries) {
    return writeDurably(
        file, [&] { return file.writeAt(offset, bytes); }, retries);
}

Result<void> writeDurably(DurableFile& file, const std::function<Result<void>()>& write, const Retries& retries) {
    for (std::size_t attempt = 0;; ++attempt) {
        auto done = write();
        if (done) done = file.sync();
        if (done || attempt == retries.size() || !mayPass(done.error())) return done;
        std::this_thread::sleep_for(retries[attempt]);
    }
}

} // namespace quillet::m4a
