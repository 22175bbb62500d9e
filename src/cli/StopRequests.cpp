#include "cli/StopRequests.h"

namespace quillet::cli {
namespace {

constexpr std::chrono::seconds kTimeToRead{2};

}

StopRequests::Answer StopRequests::request(Clock::time_point now) const {
    if (!m_isStopping) return Answer::Stop;
    if (!m_explained) return Answer::Explain;
    return now - *m_explained < kTimeToRead ? Answer::Ignore : Answer::Leave;
}

} // namespace quillet::cli
