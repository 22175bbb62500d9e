#pragma once

#include <cstdint>

#define PROC_PIDPATHINFO_MAXSIZE (4 * 1024)
extern "C" int proc_pidpath(int pid, void* buffer, std::uint32_t bufferSize);
