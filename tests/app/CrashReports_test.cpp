// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CrashReports.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "base/LastLogLines.h"
#include "base/SystemLog.h"
#include "platform/processes/CrashHandler.h"
#include "support/TestEnvironment.h"

namespace kestrin {

/// Known by name in what the test reads.
[[gnu::noinline]] void crashOfTheTest(volatile int* nowhere) {
    *nowhere = 1;
}

namespace {

using namespace test;

void crashIn(const FileUrl& folder) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        std::signal(SIGSEGV, SIG_DFL);
        keepLastLogLines();
        installCrashHandler(folder, "3.0.0");
        qCWarning(lcApp, "The record of “secret name.txt” stays");
        crashOfTheTest(reinterpret_cast<volatile int*>(std::uintptr_t{16}));
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

std::size_t filesIn(const std::string& folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(CrashReports, NameWhatCrashedAndNoFileAndKeepTheNewestTen) {
    const ScratchFolder state;
    const std::string path = state / "Kestrin 3/Crash Reports";
    const FileUrl folder = FileUrl::fromPath(path);
    EXPECT_FALSE(finishCrashReports(folder));
    crashIn(folder);
    crashIn(folder);
    for (int day = 10; day < 20; ++day)
        writeFile(path + "/Report 2020-01-" + std::to_string(day) + " 00.00.00.txt");
    writeFile(path + "/Crash 7", "version 3.0.0\n");  // still being written
    writeFile(path + "/a user's own");
    std::optional<FileUrl> report;
    findCrashReport(folder, [&](const FileUrl& found) { report = found; });
    ASSERT_TRUE(waitFor([&] { return report.has_value(); }));
    EXPECT_EQ(filesIn(path), kKeptCrashReports + 2);
    EXPECT_FALSE(exists(path + "/Report 2020-01-11 00.00.00.txt"));
    EXPECT_TRUE(exists(path + "/Report 2020-01-12 00.00.00.txt"));
    const std::string text = readFile(report->path());
    for (const char* part :
         {"Kestrin 3.0.0 crashed.", "Signal: 11 (Segmentation fault), code 1, address 0x10\n",
          "kestrin::crashOfTheTest(int volatile*) + 0x", "app_", "rip",
          "warning kestrin.app: The record of …\n"})
        EXPECT_NE(text.find(part), text.npos) << part << '\n' << text;
    EXPECT_EQ(text.find("secret"), text.npos);
    EXPECT_EQ(text.find('/'), text.npos) << text;
    EXPECT_FALSE(finishCrashReports(folder));
}

TEST(CrashReports, StandWhateverTheFileHolds) {
    const std::string text = crashReportText(
        "version 3\x1b[31m\nsignal\nmodule 10 20 abcd /home/me/\xff.so\nmodule\nframe 18\nframe "
        "zz\n"
        "frame ffffffffffffffff\nlog a [b] /home/me/secret\nsecret\nexception 3foo\nwhat "
        "/home/me\n");
    EXPECT_NE(text.find("   0  \uFFFD.so + 0x8\n"), text.npos) << text;
    EXPECT_NE(text.find("the process ended here"), text.npos);
    for (const char* part : {"/", "secret", "home", "\x1b"})
        EXPECT_EQ(text.find(part), text.npos) << part << '\n' << text;
}

}  // namespace
}  // namespace kestrin
