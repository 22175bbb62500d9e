#include "support/ThreadConditions.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <thread>

namespace quillet::test {
namespace {

std::string why(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

sock_filter load(std::size_t offset) { return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }

std::vector<sock_filter> filterFor(const std::vector<FailingCall>& calls) {
    std::vector<sock_filter> filter;
    for (const FailingCall& call : calls) {
        const auto flagged = static_cast<std::uint8_t>(call.flagArgument < 0 ? 0 : 2);
        filter.push_back(load(offsetof(seccomp_data, nr)));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call.number), 0,
                                  static_cast<std::uint8_t>(flagged + 1)));
        if (flagged) {
            filter.push_back(load(offsetof(seccomp_data, args) +
                                  static_cast<std::size_t>(call.flagArgument) * sizeof(std::uint64_t)));
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, call.flag, 0, 1));
        }
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(call.error)));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return filter;
}

} // namespace

std::string runWithFailingCalls(const std::vector<FailingCall>& calls, const std::function<void()>& work) {
    std::string failure;
    std::thread([&] {
        std::vector<sock_filter> filter = filterFor(calls);
        const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
            failure = why("no system call can be made to fail here");
        } else {
            work();
        }
    }).join();
    return failure;
}

std::string runOnVolume(Volume volume, const std::string& folder, const std::function<void()>& work) {
    std::string failure;
    std::thread([&] {
        const unsigned long readOnly = volume == Volume::ReadOnly ? MS_RDONLY : 0;
        if (unshare(CLONE_FS | CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", folder.c_str(), "tmpfs", readOnly, "size=1m") != 0) {
            failure = why("a volume of its own needs root");
        } else {
            work();
        }
    }).join();
    return failure;
}

} // namespace quillet::test
