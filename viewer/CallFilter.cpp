// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/CallFilter.h"

#include <fcntl.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>

namespace kestrin {
namespace {

// Refused calls fail, and do not end the process: libraries try what they can do without, and try
// other things with every version.
constexpr std::uint32_t kRefused = SCMP_ACT_ERRNO(EPERM);

/// Calls that reach nothing but the memory and the open descriptors of the process.
constexpr int kAllowed[] = {
    SCMP_SYS(read),
    SCMP_SYS(pread64),
    SCMP_SYS(write),
    SCMP_SYS(writev),
    SCMP_SYS(lseek),
    SCMP_SYS(_llseek),
    SCMP_SYS(close),
    SCMP_SYS(fstat),
    SCMP_SYS(fstat64),
    SCMP_SYS(getdents64),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    // memory
    SCMP_SYS(brk),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(madvise),
    // the threads that there are
    SCMP_SYS(futex),
    SCMP_SYS(futex_time64),
    SCMP_SYS(gettid),
    SCMP_SYS(getpid),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigreturn),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    // time and chance
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_gettime64),
    SCMP_SYS(clock_getres),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(time),
    SCMP_SYS(nanosleep),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(getrandom),
};

/// A list under way. The first failure stays.
class Filter {
 public:
    Filter() : m_context(::seccomp_init(kRefused)) {
        if (!m_context)
            m_failure = ENOMEM;
        else  // for every thread
            m_failure = -::seccomp_attr_set(m_context.get(), SCMP_FLTATR_CTL_TSYNC, 1);
    }

    void allow(int call) { add(call, nullptr, 0); }
    template <class... Comparison>
    void allowIf(int call, Comparison... comparison) {
        const scmp_arg_cmp all[]{comparison...};
        add(call, all, sizeof...(comparison));
    }
    /// 0 or an errno.
    int load() {
        if (m_failure == 0) m_failure = -::seccomp_load(m_context.get());
        return m_failure;
    }

 private:
    void add(int call, const scmp_arg_cmp* comparisons, unsigned count) {
        if (m_failure != 0) return;
        const int result =
            ::seccomp_rule_add_array(m_context.get(), SCMP_ACT_ALLOW, call, count, comparisons);
        if (result != 0 && result != -EDOM) m_failure = -result;  // EDOM: not on this processor
    }

    struct Release {
        void operator()(void* context) const { ::seccomp_release(context); }
    };
    std::unique_ptr<void, Release> m_context;
    int m_failure = 0;
};

/// The argument `index` has none of the bits of `mask` but those of `value`.
scmp_arg_cmp bits(unsigned index, std::uint64_t mask, std::uint64_t value) {
    return {.arg = index, .op = SCMP_CMP_MASKED_EQ, .datum_a = mask, .datum_b = value};
}

/// Numbers come as 32 bits, above which a caller may leave anything.
constexpr std::uint64_t kWholeInt = 0xffff'ffff;

void allowFiles(Filter& filter, bool allowsOpening) {
    // Of names alone the C library's fstat(3) is let through. It tells size and time of a file of a
    // known name, not what is in it.
    filter.allowIf(SCMP_SYS(newfstatat), bits(3, kWholeInt, AT_EMPTY_PATH));
    filter.allowIf(SCMP_SYS(fstatat64), bits(3, kWholeInt, AT_EMPTY_PATH));
    filter.allowIf(SCMP_SYS(statx), bits(2, AT_EMPTY_PATH, AT_EMPTY_PATH));
    for (const int command :
         {F_GETFD, F_SETFD, F_GETFL, F_DUPFD_CLOEXEC, F_ADD_SEALS, F_GET_SEALS}) {
        for (const int call : {SCMP_SYS(fcntl), SCMP_SYS(fcntl64)})
            filter.allowIf(call, bits(1, kWholeInt, static_cast<std::uint64_t>(command)));
    }
    filter.allowIf(SCMP_SYS(memfd_create), bits(1, kWholeInt, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!allowsOpening) return;
    constexpr std::uint64_t kWriting = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;
    filter.allowIf(SCMP_SYS(open), bits(1, kWriting, O_RDONLY));
    filter.allowIf(SCMP_SYS(openat), bits(2, kWriting, O_RDONLY));
}

void allowMemory(Filter& filter) {
    // Nothing is loaded any more, and nothing may become code.
    filter.allowIf(SCMP_SYS(mmap), bits(2, PROT_EXEC, 0));
    filter.allowIf(SCMP_SYS(mmap2), bits(2, PROT_EXEC, 0));
    filter.allowIf(SCMP_SYS(mprotect), bits(2, PROT_EXEC, 0));
}

}  // namespace

int filterCalls(bool allowsOpening) {
    Filter filter;
    for (const int call : kAllowed)
        filter.allow(call);
    // As the messages are sent and taken, and in no other way.
    filter.allowIf(SCMP_SYS(sendmsg), bits(2, kWholeInt, MSG_NOSIGNAL));
    filter.allowIf(SCMP_SYS(recvmsg), bits(2, kWholeInt, MSG_CMSG_CLOEXEC));
    allowFiles(filter, allowsOpening);
    allowMemory(filter);
    return filter.load();
}

}  // namespace kestrin
