// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Hardening.h"

#include <fcntl.h>
#include <link.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/SanitizedBuild.h"
#include "base/WriteAll.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/Capabilities.h"
#include "platform/processes/FileRules.h"

namespace kestrin {
namespace {

/// Bits of capabilities(7).
constexpr std::uint64_t kNeeded =
    std::uint64_t{1} << CAP_DAC_OVERRIDE |     // folders of others, without their rights
    std::uint64_t{1} << CAP_DAC_READ_SEARCH |  // and files by their handles
    std::uint64_t{1} << CAP_FOWNER |           // sticky folders; modes of others' files
    std::uint64_t{1} << CAP_CHOWN |            // `directorysizes` stays the user's own
    std::uint64_t{1} << CAP_LINUX_IMMUTABLE;   // locked entries

/// A list of 256 MB with four million short paths takes 1.6 GB.
constexpr rlim_t kWorkerMemory = rlim_t{2048} << 20;
constexpr rlim_t kWorkerDescriptors = 4096;
/// The bus library takes 4096 descriptors of calls before it reads no further, and each may be
/// there three times; a service that has no room for one more loses the bus.
constexpr rlim_t kDescriptors = 65536;

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "com.quorvane.Kestrin3Helper: %s: %s\n", what, std::strerror(errno));
    std::_Exit(1);
}

void fixEnvironment() {
    // Whoever starts the helper decides nothing: not the bus, not libraries, not the logging.
    require(::clearenv() == 0, "clearenv");
    ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    require(::chdir("/") == 0, "chdir");
    ::umask(077);
}

void limit(__rlimit_resource resource, rlim_t most, const char* what) {
    rlimit now{};
    require(::getrlimit(resource, &now) == 0, what);
    const rlim_t bounded = std::min(most, now.rlim_max);
    now = {bounded, bounded};
    require(::setrlimit(resource, &now) == 0, what);
}

/// The user id alone gives nothing to what is executed, nor to who takes it again. Only root may
/// say so, and who may not has nothing to lose.
void separateUserIdFromCapabilities() {
    constexpr unsigned long kBits =
        SECBIT_NOROOT | SECBIT_NOROOT_LOCKED | SECBIT_NO_SETUID_FIXUP_LOCKED |
        SECBIT_KEEP_CAPS_LOCKED | SECBIT_NO_CAP_AMBIENT_RAISE | SECBIT_NO_CAP_AMBIENT_RAISE_LOCKED;
    require(::prctl(PR_SET_SECUREBITS, kBits, 0, 0, 0) == 0 || errno == EPERM, "securebits");
}

void closeAllBut(int one, int other) {
    const auto [low, high] = std::minmax(one, other);
    const auto close = [](int first, int last) {
        if (first > last) return;
        require(::close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0) == 0,
                "close_range");
    };
    close(STDERR_FILENO + 1, low - 1);
    close(low + 1, high - 1);
    require(::close_range(static_cast<unsigned>(high) + 1, ~0U, 0) == 0, "close_range");
}

}  // namespace

void giveUpWhatNobodyNeeds() {
    fixEnvironment();
    limit(RLIMIT_CORE, 0, "RLIMIT_CORE");
    limit(RLIMIT_NOFILE, kDescriptors, "RLIMIT_NOFILE");
    require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "PR_SET_NO_NEW_PRIVS");
    separateUserIdFromCapabilities();
}

void giveUpAllCapabilities() {
    require(keepCapabilities(0), "capabilities");
}

void giveUpFiles() {
    const FileRules rules = fileRulesFor(landlockVersion());
    if (rules.size == 0) return;
    errno = closeFiles(rules, {"/usr", "/lib", "/lib64", "/proc"});
    require(errno == 0, "Landlock");
}

void keepCapabilitiesForFiles() {
    require(keepCapabilities(kNeeded), "capabilities");
    require(::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0, "PR_SET_DUMPABLE");
}

void limitWorker(int list, int socket) {
    closeAllBut(list, socket);
    require(::setpgid(0, 0) == 0, "setpgid");
    limit(RLIMIT_NOFILE, kWorkerDescriptors, "RLIMIT_NOFILE");
    if (!kIsSanitizedBuild) limit(RLIMIT_DATA, kWorkerMemory, "RLIMIT_DATA");
    const UniqueFd score(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (score) (void)writeAll(score.get(), "500");  // some kernels have none
}

void giveBackFreedMemory() {
    constexpr int kLarge = 128 << 10;
    // An allocator other than the C library's knows neither, and what it keeps is no danger.
    (void)::mallopt(M_MMAP_THRESHOLD, kLarge);
    (void)::mallopt(M_ARENA_MAX, 1);
}

void giveUpUnusedMemory() {
    ::malloc_trim(0);
    const auto giveUpLibrary = [](dl_phdr_info* library, std::size_t, void*) {
        const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        for (const ElfW(Phdr) & part : std::span(library->dlpi_phdr, library->dlpi_phnum)) {
            if (part.p_type != PT_LOAD || (part.p_flags & PF_W) != 0) continue;
            const std::uintptr_t begin = library->dlpi_addr + part.p_vaddr;
            const std::uintptr_t first = begin / page * page;
            ::madvise(reinterpret_cast<void*>(first), begin + part.p_memsz - first, MADV_DONTNEED);
        }
        return 0;
    };
    ::dl_iterate_phdr(giveUpLibrary, nullptr);
}

}  // namespace kestrin
