// SPDX-License-Identifier: GPL-3.0-or-later
// What somebody who has taken over a decoder might try. Every attempt is made twice, in a process
// of its own: outside of the sandbox it has to succeed, inside it has to fail.
#include "viewer/Sandbox.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <functional>
#include <latch>
#include <system_error>
#include <thread>

#include "base/SanitizedBuild.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

/// What an attempt finds.
struct Surroundings {
    std::string home;    ///< with "secret", "fonts/font" and a socket "service"
    int inherited = 20;  ///< the secret, opened before
    int handed = -1;     ///< the file to decode
    std::string operator/(const char* name) const { return home + "/" + name; }
};

/// 0, or the errno of a call that returned `result`.
int outcome(long result) {
    return result >= 0 ? 0 : errno;
}

int spendProcessorTime(const Surroundings&) {
    ::signal(SIGXCPU, SIG_IGN);
    while (std::clock() < 13 * CLOCKS_PER_SEC / 10) {
    }
    return 0;
}

int connectTo(const std::string& path) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{.sun_family = AF_UNIX};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return outcome(::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address));
}

int takeMemory(int protection, std::size_t megabytes) {
    return ::mmap(nullptr, megabytes << 20, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) ==
                   MAP_FAILED
               ? errno
               : 0;
}

int fork() {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    return outcome(child);
}

int startThread() {
    try {
        std::thread([] {}).join();
    } catch (const std::system_error& refusal) {
        return refusal.code().value();
    }
    return 0;
}

int writeAt(off_t offset) {
    const int file = ::memfd_create("output", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    return ::lseek(file, offset, SEEK_SET) == offset ? outcome(::write(file, "x", 1)) : errno;
}

int openManyDescriptors() {
    for (unsigned count = 0; count < kDecoderDescriptors; ++count) {
        if (::fcntl(0, F_DUPFD_CLOEXEC, 0) < 0) return errno;
    }
    return 0;
}

int liftLimit() {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    return outcome(::setrlimit(RLIMIT_FSIZE, &none));
}

enum class RefusedBy {
    Calls,
    Both
};  ///< Both: each of call filter and file rules alone, or a limit

struct Attempt {
    const char* name;
    RefusedBy refusedBy;
    int (*tryIt)(const Surroundings& s);  ///< 0, or an errno
};

using S = const Surroundings&;
const Attempt kAttempts[] = {
    {"read a file of the home folder", RefusedBy::Both,
     [](S s) { return outcome(::open((s / "secret").c_str(), O_RDONLY)); }},
    {"read the account database", RefusedBy::Both,
     [](S) { return outcome(::open("/etc/passwd", O_RDONLY)); }},
    {"list the home folder", RefusedBy::Both,
     [](S s) { return ::opendir(s.home.c_str()) ? 0 : errno; }},
    {"read what was open before", RefusedBy::Both,
     [](S s) {
         char byte = 0;
         return ::pread(s.inherited, &byte, 1, 0) == 1 ? 0 : EBADF;
     }},
    {"open for writing", RefusedBy::Both,
     [](S s) { return outcome(::open((s / "secret").c_str(), O_WRONLY)); }},
    {"open a font for writing", RefusedBy::Both,
     [](S s) { return outcome(::open((s / "fonts/font").c_str(), O_WRONLY)); }},
    {"open the file to decode for writing", RefusedBy::Both,
     [](S s) {
         return outcome(::open(("/proc/self/fd/" + std::to_string(s.handed)).c_str(), O_RDWR));
     }},
    {"create", RefusedBy::Both,
     [](S s) { return outcome(::open((s / "new").c_str(), O_WRONLY | O_CREAT, 0600)); }},
    {"make a folder", RefusedBy::Both,
     [](S s) { return outcome(::mkdir((s / "n").c_str(), 0700)); }},
    {"make a link", RefusedBy::Both,
     [](S s) { return outcome(::symlink("a", (s / "n").c_str())); }},
    {"rename", RefusedBy::Both,
     [](S s) { return outcome(::rename((s / "secret").c_str(), (s / "n").c_str())); }},
    {"remove", RefusedBy::Both, [](S s) { return outcome(::unlink((s / "secret").c_str())); }},
    {"execute", RefusedBy::Both,
     [](S) { return outcome(::execl("/bin/true", "true", static_cast<char*>(nullptr))); }},
    {"take more memory", RefusedBy::Both, [](S) { return takeMemory(PROT_READ, 600); }},
    {"write more than an answer", RefusedBy::Both, [](S) { return writeAt(kLargestPreviewBytes); }},
    {"open many descriptors", RefusedBy::Both, [](S) { return openManyDescriptors(); }},
    {"lift a limit", RefusedBy::Both, [](S) { return liftLimit(); }},
    {"truncate", RefusedBy::Calls,
     [](S s) { return outcome(::truncate((s / "secret").c_str(), 0)); }},
    {"change a mode", RefusedBy::Calls,
     [](S s) { return outcome(::chmod((s / "secret").c_str(), 0)); }},
    {"change the mode of the file to decode", RefusedBy::Calls,
     [](S s) { return outcome(::fchmod(s.handed, 0600)); }},
    {"change the time of the file to decode", RefusedBy::Calls,
     [](S s) { return outcome(::futimens(s.handed, nullptr)); }},
    {"talk to a device", RefusedBy::Calls,
     [](S s) {
         int count = 0;
         return outcome(::ioctl(s.handed, FIONREAD, &count));
     }},
    {"make a socket", RefusedBy::Calls,
     [](S) { return outcome(::socket(AF_INET, SOCK_DGRAM, 0)); }},
    {"connect to a service", RefusedBy::Calls, [](S s) { return connectTo(s / "service"); }},
    {"start a process", RefusedBy::Calls, [](S) { return fork(); }},
    {"start a thread", RefusedBy::Calls, [](S) { return startThread(); }},
    {"signal the program", RefusedBy::Calls, [](S) { return outcome(::kill(::getppid(), 0)); }},
    {"trace", RefusedBy::Calls, [](S) { return outcome(::ptrace(PTRACE_TRACEME, 0, 0, 0)); }},
    {"make code", RefusedBy::Calls, [](S) { return takeMemory(PROT_READ | PROT_EXEC, 1); }},
    {"turn memory into code", RefusedBy::Calls,
     [](S) {
         void* const page =
             ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
         return outcome(::mprotect(page, 4096, PROT_READ | PROT_EXEC));
     }},
    {"take more processor time", RefusedBy::Calls, spendProcessorTime},
};

bool isRefusal(int result) {
    return result == EPERM || result == EACCES || result == EBADF || result == EMFILE ||
           result == ENOMEM || result == 1000 + SIGXFSZ || result == 1000 + SIGXCPU;
}

class Sandbox : public testing::Test {
 protected:
    void SetUp() override {
        if (kIsSanitizedBuild) GTEST_SKIP() << "a sanitizer needs memory and calls of its own";
        if (m_kernel.landlockVersion == 0 || !m_kernel.hasCallFilter)
            GTEST_SKIP() << "this kernel lacks Landlock or the filter of calls";
    }
    /// What happens in a process of its own, within `plan` when there is one: what `tryIt` returns,
    /// 1000 and the signal that ended the process, or 253 to 255 where it could not be tried.
    int resultOf(const std::function<int(S)>& tryIt, const SandboxPlan* plan,
                 uid_t user = test::kTestUser);

    const KernelSupport m_kernel = askKernel();
    const test::ScratchFolder m_scratch;
    int m_number = 0;
};

int Sandbox::resultOf(const std::function<int(S)>& tryIt, const SandboxPlan* plan, uid_t user) {
    const Surroundings home{.home = m_scratch / std::to_string(++m_number).c_str()};
    test::writeFile(home / "secret");
    test::writeFile(home / "fonts/font");
    const UniqueFd service(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{.sun_family = AF_UNIX};
    (home / "service").copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(service.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(service.get(), 1), 0);
    const UniqueFd handed(::open((home / "secret").c_str(), O_RDONLY | O_CLOEXEC));
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const UniqueFd program(ends[0]), decoder(ends[1]);
    EXPECT_FALSE(sendRequest(program.get(), {.width = 1, .height = 1}, handed.get()));

    const pid_t child = ::fork();
    if (child == 0) {
        Surroundings surroundings = home;
        const rlimit limit{1, RLIM_INFINITY};  // the program sets it, from outside
        if (::setrlimit(RLIMIT_CPU, &limit) != 0) ::_exit(255);
        if (::setresuid(user, user, user) != 0 && test::canBeRoot()) ::_exit(255);
        ::dup2(handed.get(), surroundings.inherited);
        const std::vector<std::string> readable{home / "fonts", home / "absent"};
        if (plan && !enterSandbox(decoder.get(), readable, *plan)) ::_exit(254);
        const auto received = receiveRequest(decoder.get());
        if (!received) ::_exit(253);
        surroundings.handed = received->file.get();
        ::_exit(tryIt(surroundings));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
}

TEST_F(Sandbox, refusesEveryAttempt) {
    const SandboxPlan plan = planSandbox(m_kernel, false);
    for (const Attempt& attempt : kAttempts) {
        EXPECT_EQ(resultOf(attempt.tryIt, nullptr), 0) << attempt.name << ", outside";
        const int result = resultOf(attempt.tryIt, &plan);
        EXPECT_TRUE(isRefusal(result)) << attempt.name << ": " << result;
    }
}

TEST_F(Sandbox, holdsAsFarAsTheKernelGoes) {
    const SandboxPlan withoutRules = planSandbox({.hasCallFilter = true}, false);
    const SandboxPlan withoutFilter = planSandbox({m_kernel.landlockVersion, false}, false);
    SandboxPlan readsAnything = planSandbox(m_kernel, false);
    readsAnything.fileRules = {};
    for (const Attempt& attempt : kAttempts) {
        int result = resultOf(attempt.tryIt, &withoutRules);
        EXPECT_TRUE(isRefusal(result)) << attempt.name << " without file rules: " << result;
        const std::string_view name = attempt.name;
        if (!name.starts_with("read") && !name.starts_with("list")) {
            EXPECT_TRUE(isRefusal(resultOf(attempt.tryIt, &readsAnything))) << name;
        }
        if (attempt.refusedBy == RefusedBy::Calls) continue;
        result = resultOf(attempt.tryIt, &withoutFilter);
        EXPECT_TRUE(isRefusal(result)) << attempt.name << " without call filter: " << result;
    }
}

TEST_F(Sandbox, takesRootsPowersAndTheWayBackToThem) {
    KESTRIN_REQUIRE_ROOT();
    const auto changeRoot = [](S) { return outcome(::chroot("/")); };
    const auto mayGainRights = [](S) {
        return ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0 ? 0 : EPERM;
    };
    const SandboxPlan plan = planSandbox({m_kernel.landlockVersion, false}, false);
    for (int (*tryIt)(S) : {+changeRoot, +mayGainRights}) {
        EXPECT_EQ(resultOf(tryIt, nullptr, 0), 0);
        EXPECT_EQ(resultOf(tryIt, &plan, 0), EPERM);
    }
}

TEST_F(Sandbox, leavesWhatDecodersNeed) {
    const auto readFont = [](S s) { return outcome(::open((s / "fonts/font").c_str(), O_RDONLY)); };
    const auto decode = [](S s) {
        char byte = 0;
        return ::pread(s.handed, &byte, 1, 0) == 1 && writePreview({}) &&
                       takeMemory(PROT_READ | PROT_WRITE, 300) == 0
                   ? 0
                   : 1;
    };
    const SandboxPlan plan = planSandbox(m_kernel, false);
    const SandboxPlan withoutRules = planSandbox({.hasCallFilter = true}, false);
    EXPECT_EQ(resultOf(readFont, &plan), 0);
    EXPECT_EQ(resultOf(decode, &plan), 0);
    EXPECT_EQ(resultOf(decode, &withoutRules), 0);
}

TEST_F(Sandbox, isNotEnteredByOneThreadOfSeveral) {
    const auto enter = [](S) {
        std::jthread other([](std::stop_token stop) {
            while (!stop.stop_requested())
                std::this_thread::yield();
        });
        const auto entered = enterSandbox(0, {}, planSandbox(askKernel(), false));
        return entered ? 0 : entered.error().systemError;
    };
    EXPECT_EQ(resultOf(enter, nullptr), EBUSY);
}

TEST_F(Sandbox, holdsForTheThreadsThatAreMadeWithin) {
    const auto tryFromThread = [](S s) {
        std::latch runs(1), entered(1);
        int calls = 0, files = 0;
        std::thread other;
        const auto start = [&] {
            other = std::thread([&] {
                runs.count_down();
                entered.wait();
                calls = outcome(::socket(AF_INET, SOCK_DGRAM, 0));
                files = outcome(::open((s / "secret").c_str(), O_RDONLY));
            });
            runs.wait();
        };
        if (!enterSandbox(0, {}, planSandbox(askKernel(), false), start)) return 255;
        entered.count_down();
        other.join();
        return calls == EPERM && files == EACCES ? 0 : 1;
    };
    EXPECT_EQ(resultOf(tryFromThread, nullptr), 0);
}

TEST(SandboxPlan, takesWhatEachKernelOffers) {
    struct Row {
        int version;
        FileRules rules;
    };
    // Source: the kernel's landlock.h of the first kernel with each version.
    for (const auto& [version, rules] :
         {Row{1, {0x1fff, 0, 0, 8}}, Row{2, {0x3fff, 0, 0, 8}}, Row{3, {0x7fff, 0, 0, 8}},
          Row{4, {0x7fff, 3, 0, 16}}, Row{5, {0xffff, 3, 0, 16}}, Row{6, {0xffff, 3, 3, 24}},
          Row{7, {0xffff, 3, 3, 24}}, Row{99, {0xffff, 3, 3, 24}}}) {
        const FileRules planned = planSandbox({.landlockVersion = version}, false).fileRules;
        EXPECT_EQ(std::tie(planned.files, planned.network, planned.processes, planned.size),
                  std::tie(rules.files, rules.network, rules.processes, rules.size))
            << version;
    }
    const SandboxPlan bare = planSandbox({}, false);
    EXPECT_TRUE(bare.limitsMemory);
    EXPECT_FALSE(bare.filtersCalls || bare.allowsOpening || bare.fileRules.size > 0);
    const SandboxPlan sanitized = planSandbox({.landlockVersion = 7, .hasCallFilter = true}, true);
    EXPECT_FALSE(sanitized.limitsMemory || sanitized.filtersCalls);
    EXPECT_TRUE(sanitized.fileRules.size > 0);
}

}  // namespace
}  // namespace kestrin
