// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Hardening.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/processes/Capabilities.h"

namespace kestrin {
namespace {

/// Bits of capabilities(7).
constexpr std::uint64_t kNeeded =
    std::uint64_t{1} << CAP_DAC_OVERRIDE |     // folders of others, without their rights
    std::uint64_t{1} << CAP_DAC_READ_SEARCH |  //
    std::uint64_t{1} << CAP_FOWNER |           // sticky folders; modes of others' files
    std::uint64_t{1} << CAP_CHOWN |            // `directorysizes` stays the user's own
    std::uint64_t{1} << CAP_LINUX_IMMUTABLE;   // locked entries

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

void limitResources() {
    const rlimit none{0, 0};
    require(::setrlimit(RLIMIT_CORE, &none) == 0, "RLIMIT_CORE");
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max < 65536 ? files.rlim_max : 65536;
        ::setrlimit(RLIMIT_NOFILE, &files);
    }
}

}  // namespace

void giveUpWhatIsNotNeeded() {
    fixEnvironment();
    limitResources();
    require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "PR_SET_NO_NEW_PRIVS");
    require(keepCapabilities(kNeeded), "capabilities");
}

}  // namespace kestrin
