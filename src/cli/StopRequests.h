#pragma once

#include <chrono>
#include <optional>

namespace quillet::cli {

/// What the user's requests to end a recording come to. The first one stops it, unless something else has. A later one
/// finds a recording that takes its time to be finished and is answered with what leaving now would cost; only one
/// after that leaves, and not before the answer could be read: whoever presses Ctrl-C twice in a hurry loses nothing.
/// Main thread.
class StopRequests {
public:
    using Clock = std::chrono::steady_clock;
    enum class Answer { Stop, Explain, Ignore, Leave };

    /// The recording ends, whatever the reason, or has come closer to its end: leaving has another price from here on.
    void stopping() {
        m_isStopping = true;
        m_explained.reset();
    }
    [[nodiscard]] Answer request(Clock::time_point now) const;
    /// The answer has been given.
    void explained(Clock::time_point now) { m_explained = now; }

private:
    bool m_isStopping = false;
    std::optional<Clock::time_point> m_explained;
};

} // namespace quillet::cli
