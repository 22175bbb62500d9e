#pragma once

#include <functional>

namespace quillet::cli {

/// Runs work that blocks on a thread of its own, with the main thread's events going on meanwhile, and returns what the
/// work returns. Main thread.
int runOnWorker(const std::function<int()>& work);

} // namespace quillet::cli
