#pragma once

namespace quillet {

/// Stops the process with a message when a condition that the program cannot go on without does not hold.
/// Active in every build type, unlike assert().
[[noreturn]] void fatal(const char* message);

inline void require(bool condition, const char* message) {
    if (!condition) [[unlikely]]
        fatal(message);
}

} // namespace quillet
