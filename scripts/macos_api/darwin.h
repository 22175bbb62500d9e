#pragma once

// What the platform's C library has, and this one not, or otherwise. Included before everything else.

#ifdef __cplusplus
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#undef EOPNOTSUPP
#define EOPNOTSUPP 102 // there a number of its own
#define st_mtimespec st_mtim

extern "C" {
int renameatx_np(int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags);
void arc4random_buf(void* buffer, std::size_t bytes);
}
#define RENAME_EXCL 0x00000004

#define F_PREALLOCATE 42
#define F_FULLFSYNC 51
#define F_ALLOCATEALL 0x00000004
#define F_PEOFPOSMODE 3
typedef struct fstore {
    unsigned int fst_flags;
    int fst_posmode;
    off_t fst_offset;
    off_t fst_length;
    off_t fst_bytesalloc;
} fstore_t;
#endif
