// SPDX-License-Identifier: GPL-3.0-or-later
// Real crashes, each in a process of its own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <thread>

#include "base/LastLogLines.h"
#include "base/OperationQueue.h"
#include "base/SystemLog.h"
#include "platform/processes/CrashHandler.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

volatile std::uintptr_t s_nowhere = 16;

int overflow(int depth) {
    volatile char room[256] = {};
    room[0] = static_cast<char>(depth);
    return s_nowhere ? overflow(depth + 1) + room[0] : depth;
}
void onAQueue(void (*call)()) {
    OperationQueue queue("crashing queue");
    queue.enqueue(call);
    queue.waitUntilAllOperationsAreFinished();
}
void writeNowhere() {
    *reinterpret_cast<volatile int*>(s_nowhere) = 1;
}

/// The status with which a process ends that crashes so, and was to leave its report in `folder`.
int statusOfCrash(const std::string& folder, void (*crash)()) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        std::freopen("/dev/null", "w", stderr);
        // A sanitizer's own handlers would end the process in their way.
        for (const int signal : {SIGSEGV, SIGABRT, SIGILL, SIGFPE, SIGBUS})
            std::signal(signal, SIG_DFL);
        keepLastLogLines();
        for (int line = 0; line < 100; ++line)
            qCInfo(lcBase, "line %d: \"secret name.txt\" stays", line);
        installCrashHandler(FileUrl::fromPath(folder), "3.0.0");
        crash();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : -1;
}

long countOf(const std::string& text, const char* pattern) {
    const std::regex expression(pattern, std::regex::multiline);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), expression), {});
}

TEST(CrashHandler, TellsWhatHappenedAndLeavesTheEndAsItWas) {
    struct Case {
        void (*crash)();
        int signal;
        const char* pattern;
    };
    const Case cases[] = {
        {writeNowhere, SIGSEGV, "^signal b 1 10$"},
        {[] { reinterpret_cast<void (*)()>(s_nowhere)(); }, SIGSEGV, "^frame 10\nframe .{9}"},
        {[] { overflow(0); }, SIGSEGV, "^signal b "},
        {[] { onAQueue([] { overflow(0); }); }, SIGSEGV, "^thread crashing queue$"},
        {[] { std::thread(writeNowhere).join(); }, SIGSEGV, "^signal b 1 10$"},
        {[] { std::thread([] { throw std::runtime_error("no /secret name.txt"); }).join(); },
         SIGABRT, "^exception St13runtime_error\nwhat no …$"},
        {[] { raise(SIGTRAP); }, SIGTRAP, "^signal 5 "},
        {[] { kill(getpid(), SIGBUS); }, SIGBUS, "^signal 7 0 0$"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.pattern);
        const ScratchFolder state;
        const std::string folder = state / "Kestrin 3/Crash Reports";
        EXPECT_EQ(statusOfCrash(folder, each.crash), each.signal);
        struct stat status {};
        ASSERT_EQ(stat((folder + "/Crash 0").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600u);
        const std::string report = readFile(folder + "/Crash 0");
        EXPECT_EQ(countOf(report, each.pattern), 1) << report;
        EXPECT_TRUE(report.ends_with("end\n"));
        EXPECT_EQ(report.find("secret"), report.npos);
        EXPECT_EQ(countOf(report, "^log .* info kestrin.base: line [0-9]+: …$"), 64);
        EXPECT_EQ(countOf(report, "^log .*line 99: …$"), 1);
        EXPECT_EQ(countOf(report, "^module [0-9a-f]+ [0-9a-f]+ [0-9a-f]{40} .*/platform_[a-z_]+$"),
                  1);
        EXPECT_GE(countOf(report, "^frame "), 3);
        EXPECT_GE(countOf(report, "^register "), 18);
    }
}

TEST(CrashHandler, KeepsTheNewestTenAndFollowsNoLink) {
    const ScratchFolder state;
    const std::string folder = state / "Kestrin 3/Crash Reports";
    for (int number = 0; number < kRawCrashReports; ++number)
        writeFile(folder + "/Crash " + std::to_string(number));
    const timespec times[2] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder + "/Crash 4").c_str(), times, 0), 0);
    EXPECT_EQ(statusOfCrash(folder, writeNowhere), SIGSEGV);
    EXPECT_TRUE(readFile(folder + "/Crash 4").ends_with("end\n"));
    EXPECT_EQ(readFile(folder + "/Crash 5"), "x");

    const std::string linked = state / "another/Kestrin 3";
    makeFolder(state / "another");
    std::filesystem::create_directory_symlink(state / "elsewhere", linked);
    makeFolder(state / "elsewhere");
    EXPECT_EQ(statusOfCrash(linked + "/Crash Reports", writeNowhere), SIGSEGV);
    EXPECT_TRUE(std::filesystem::is_empty(state / "elsewhere"));
}

TEST(CrashHandler, LeavesNothingOnAFullDiskOrWithoutAPlace) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    EXPECT_EQ(statusOfCrash("/proc/none/Kestrin 3/Crash Reports", abort), SIGABRT);
    const TestVolume disk(TestVolume::Kind::Tmpfs, scratch / "disk", "Full", 1);
    ASSERT_TRUE(disk.isMounted());
    const std::string folder = scratch / "disk/Kestrin 3/Crash Reports";
    makeFolder(folder);
    runAsRoot("dd if=/dev/zero bs=4096 of='" + disk.mountPoint() + "/filler'");
    EXPECT_EQ(statusOfCrash(folder, abort), SIGABRT);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    const std::string limited = scratch / "limited/Kestrin 3/Crash Reports";
    makeFolder(limited);
    const auto crash = [] {
        const rlimit few{300, 300};
        setrlimit(RLIMIT_FSIZE, &few);
        writeNowhere();
    };
    EXPECT_EQ(statusOfCrash(limited, crash), SIGSEGV);
    EXPECT_TRUE(std::filesystem::is_empty(limited));
}

}  // namespace
}  // namespace kestrin
