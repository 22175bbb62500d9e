#pragma once

#include <pthread.h>
#include <string>

namespace quillet {

/// The name of this thread in debuggers and lists of threads. Linux keeps 15 characters: the end of a longer one.
inline void nameThisThread(const std::string& name) {
#ifdef __APPLE__
    pthread_setname_np(name.c_str());
#else
    constexpr std::size_t kKept = 15;
    pthread_setname_np(pthread_self(), name.substr(name.size() > kKept ? name.size() - kKept : 0).c_str());
#endif
}

} // namespace quillet
