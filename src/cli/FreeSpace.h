#pragma once

#include "platform/FileServices.h"

#include <memory>

namespace quillet::cli {

/// What the disk of a recording has left, for the thread that must not wait for it: a disk or network folder that hangs
/// keeps whoever asks. Each question is therefore put on a thread of its own that nobody waits for, the process's end
/// included, and the next one not before it is answered. One owner, one thread.
class FreeSpace {
public:
    /// The services must outlive the last question.
    explicit FreeSpace(FileServices& services) : m_services(services) {}

    /// The last answer about this folder, absent before the first; asks anew for the next time. Of another folder than
    /// before nothing is known, and its question does not wait for that about the other.
    [[nodiscard]] std::optional<std::int64_t> ask(const std::filesystem::path& folder);

private:
    struct Volume;

    FileServices& m_services;
    std::shared_ptr<Volume> m_volume;
};

} // namespace quillet::cli
