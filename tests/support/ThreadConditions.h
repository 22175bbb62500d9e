#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillet::test {

/// A call to the system that fails in the thread's eyes.
struct FailingCall {
    long number = 0;       ///< __NR_…
    int error = 0;         ///< errno
    int flagArgument = -1; ///< with a flag: only calls with it in this argument, counted from 0
    std::uint32_t flag = 0;
};

/// Runs the work on a thread of its own where the calls fail, as on a volume or system that lacks them. Empty when it
/// has run, else why it could not.
std::string runWithFailingCalls(const std::vector<FailingCall>& calls, const std::function<void()>& work);

/// Runs the work on a thread that alone sees a small memory volume at the folder, at the end without the right to
/// write when so wished. Needs root.
enum class Volume { OfOneMebibyte, ReadOnly };
std::string runOnVolume(Volume volume, const std::string& folder, const std::function<void()>& work);

} // namespace quillet::test
