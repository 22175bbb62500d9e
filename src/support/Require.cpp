#include "support/Require.h"

#include <cstdio>
#include <cstdlib>

namespace quillet {

void fatal(const char* message) {
    std::fprintf(stderr, "quillet: fatal: %s\n", message);
    std::abort();
}

} // namespace quillet
