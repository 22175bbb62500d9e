#include "cli/FreeSpace.h"

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace quillet::cli {

/// Shared with the thread that asks, which may never return.
struct FreeSpace::Volume {
    explicit Volume(std::filesystem::path path) : folder(std::move(path)) {}

    const std::filesystem::path folder;
    std::mutex mutex;
    bool isAsked = false;
    std::optional<std::int64_t> bytes;
};

std::optional<std::int64_t> FreeSpace::ask(const std::filesystem::path& folder) {
    if (!m_volume || m_volume->folder != folder) m_volume = std::make_shared<Volume>(folder);
    const std::lock_guard lock(m_volume->mutex);
    if (m_volume->isAsked) return m_volume->bytes;
    try {
        std::thread([&services = m_services, volume = m_volume] {
            const auto bytes = services.freeBytes(volume->folder);
            const std::lock_guard answering(volume->mutex);
            volume->isAsked = false;
            volume->bytes = bytes ? *bytes : std::nullopt;
        }).detach();
        m_volume->isAsked = true;
    } catch (const std::system_error&) { // no more threads: the figure is not worth a recording
    }
    return m_volume->bytes;
}

} // namespace quillet::cli
