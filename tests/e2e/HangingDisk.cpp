// Loaded into the program under test: while the file named by QUILLET_TEST_HANGS is there, the disk keeps no promise.

#include <cstdlib>
#include <unistd.h>

extern "C" int fdatasync(int) {
    const char* const flag = std::getenv("QUILLET_TEST_HANGS");
    while (flag && access(flag, F_OK) == 0) usleep(10'000);
    return 0;
}
