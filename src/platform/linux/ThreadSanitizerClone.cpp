// Only in builds with the thread sanitizer.
//
// QProcess makes its child by a clone() that lives in our memory, and the sanitizer prepares there what it takes for a
// forked process: it forgets the other threads, sees no lock any more and lets no thread start. That blinds the parent.
// So the child gets a copy of the memory, as the sanitizer itself gives one to the child of vfork(). It is not waited
// for either: until clone() returns, locks of the sanitizer's own stop every other thread.
#include <dlfcn.h>
#include <sched.h>

using Clone = int(int (*run)(void*), void* stack, int flags, void* argument, int* parentId, void* tls, int* childId);

extern "C" Clone clone_into_a_copy __asm__("clone");
extern "C" int clone_into_a_copy(int (*run)(void*), void* stack, int flags, void* argument, int* parentId, void* tls,
                                 int* childId) {
    static auto* const sanitizersClone = reinterpret_cast<Clone*>(dlsym(RTLD_NEXT, "clone"));
    if ((flags & CLONE_THREAD) == 0) flags &= ~(CLONE_VM | CLONE_VFORK);
    return sanitizersClone(run, stack, flags, argument, parentId, tls, childId);
}
