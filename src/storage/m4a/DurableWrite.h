#pragma once

#include "platform/DurableFile.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace quillet::m4a {

/// How long to wait before each further attempt. Long enough for a passing fault (another program frees space, a USB
/// disk comes back from a hiccup), short enough for a queue of 15 seconds to take what arrives meanwhile.
using Retries = std::vector<std::chrono::milliseconds>;
[[nodiscard]] const Retries& usualRetries();

/// Writes and waits until the bytes are on the disk. After a failed sync everything is written anew: the system takes
/// the pages that it could not write for clean and a second sync alone would succeed without them.
[[nodiscard]] Result<void> writeDurably(DurableFile& file, std::int64_t offset, std::span<const std::byte> bytes,
                                        const Retries& retries);
/// The same with a function that writes to the file, always the same.
[[nodiscard]] Result<void> writeDurably(DurableFile& file, const std::function<Result<void>()>& write,
                                        const Retries& retries);

/// Errors that may pass by themselves: device errors, no space, quota, not now.
[[nodiscard]] bool mayPass(const PlatformError& error);

} // namespace quillet::m4a
