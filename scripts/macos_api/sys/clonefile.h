#pragma once

#include <cstdint>

extern "C" int fclonefileat(int source, int folder, const char* name, std::uint32_t flags);
