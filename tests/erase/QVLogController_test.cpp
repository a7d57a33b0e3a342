// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVLogController.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QStringList>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;
using test::readFile;
using test::writeFile;

std::optional<std::string> stateHome() {
    const char* folder = std::getenv("XDG_STATE_HOME");
    return folder ? std::optional<std::string>(folder) : std::nullopt;
}

struct QVLogControllerTest : ::testing::Test {
    test::ScratchFolder scratch;
    StringTable texts{QStringLiteral("en")};
    UserDefaults defaults{scratch / "settings.conf"};
    QVNumberUtilities numbers{"en_US", texts};
    QVDateUtilities dates{defaults, [] { return std::string("en_US"); }, "UTC"};
    system_clock::duration later{};  ///< how far the log's clock is ahead
    const std::optional<std::string> oldStateHome = stateHome();
    const std::string root = scratch / "a/b/Kestrin 3";

    QVLogControllerTest() { setenv("XDG_STATE_HOME", (scratch / "a/b").c_str(), 1); }
    ~QVLogControllerTest() override {
        if (oldStateHome)
            setenv("XDG_STATE_HOME", oldStateHome->c_str(), 1);
        else
            unsetenv("XDG_STATE_HOME");
    }

    std::unique_ptr<QVLogController> makeLog(long long gapTime = 7) {
        return std::make_unique<QVLogController>(
            LogSettings{"start_delete_all", "end_delete_all", QStringLiteral("Logs"), gapTime},
            texts, numbers, dates, [this] { return system_clock::now() + later; });
    }
    /// Opens a log and tells the file it chose.
    std::string chosenFile(long long gapTime) {
        const auto log = makeLog(gapTime);
        EXPECT_TRUE(log->openLogFile());
        return log->currLogURL().path();
    }
    static std::vector<std::string> lines(const std::string& file) {
        std::istringstream stream(readFile(file));
        std::vector<std::string> all;
        for (std::string line; std::getline(stream, line);)
            all.push_back(line);
        return all;
    }
    static mode_t mode(const std::string& path) {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }
};

TEST_F(QVLogControllerTest, WritesARunAndAppendsTheNext) {
    std::string file;
    for (int run = 0; run < 2; ++run) {
        const auto log = makeLog();
        ASSERT_TRUE(log->openLogFile());
        file = log->currLogURL().path();
        log->writeStartSession();
        log->writeEntryWithPath("/t/a\nb\xFF", 1'500'000);
        log->writeEntryWithPath("/t/c", 0);
        EXPECT_EQ(log->totSize(), 1'500'000U);
        EXPECT_EQ(log->itemsCount(), 2U);
        log->writeEndSessionAndCloseFile();
        log->writeEntryWithPath("/t/late", 1);
        EXPECT_TRUE(log->currLogURL().isEmpty());
        EXPECT_FALSE(log->writeFailed());
    }
    const auto all = lines(file);
    ASSERT_EQ(all.size() % 2, 0U);
    for (const std::size_t start : {std::size_t{0}, all.size() / 2}) {
        EXPECT_TRUE(all[start].ends_with(" " + texts.text("start_delete_all").toStdString()));
        EXPECT_EQ(all[start + 1], "1 /t/a\\nb\\xFF");
        EXPECT_EQ(all[start + 2], "2 /t/c");
        EXPECT_NE(all[start + 3].find(numbers.sizeToFormatString(1'500'000, 4, true).toStdString()),
                  std::string::npos);
    }
    EXPECT_TRUE(all.back().ends_with(texts.text("end_delete_all").toStdString()));
}

TEST_F(QVLogControllerTest, MakesItsFoldersForTheUserAlone) {
    umask(022);
    const std::string file = chosenFile(1);
    EXPECT_EQ(std::filesystem::path(file).parent_path(), root + "/Logs");
    for (const char* folder : {"a", "a/b", "a/b/Kestrin 3", "a/b/Kestrin 3/Logs"})
        EXPECT_EQ(mode(scratch / folder), 0700U) << folder;
    EXPECT_EQ(mode(file), 0600U);
    EXPECT_EQ(readFile(file), "");
}

TEST_F(QVLogControllerTest, ReusesAFileThatIsYoungEnough) {
    const std::string first = chosenFile(1);
    later = 71h;
    EXPECT_EQ(chosenFile(3), first);
    EXPECT_EQ(chosenFile(65536 + 3), first);  // 16 bits of it
    later = 73h;
    const std::string second = chosenFile(3);
    EXPECT_NE(second, first);
}

TEST_F(QVLogControllerTest, ZeroOrNegativeDaysAlwaysStartAFile) {
    const std::string first = chosenFile(1);
    for (const long long days : {0LL, -1LL, 32768LL}) {
        later += 2s;
        EXPECT_NE(chosenFile(days), first) << days;
    }
    later -= 1h;  // the clock was put back: the file is from the future
    EXPECT_NE(chosenFile(0), first);
}

TEST_F(QVLogControllerTest, TakesTheNewestVisibleFile) {
    const std::string folder = scratch / "found";
    writeFile(folder + "/old");
    writeFile(folder + "/new");
    // Creation dates tick with the kernel's clock; one file replaces another until it is newer.
    std::this_thread::sleep_for(20ms);
    std::filesystem::remove(folder + "/new");
    writeFile(folder + "/new");
    std::this_thread::sleep_for(20ms);
    writeFile(folder + "/.hidden");
    std::filesystem::create_directory(folder + "/folder");
    std::filesystem::create_symlink("old", folder + "/link");
    const auto log = makeLog();
    EXPECT_TRUE(log->searchLogFileWithURL(FileUrl::fromPath(folder), 1));
    EXPECT_EQ(log->currLogURL().path(), folder + "/new");
    EXPECT_FALSE(log->searchLogFileWithURL(FileUrl::fromPath(folder), 0));
    EXPECT_FALSE(log->searchLogFileWithURL(FileUrl::fromPath(folder + "/folder"), 1));
    EXPECT_FALSE(log->searchLogFileWithURL(FileUrl::fromPath(folder + "/absent"), 1));
}

TEST_F(QVLogControllerTest, FollowsNoLinkInItsFolders) {
    const std::string elsewhere = scratch / "elsewhere";
    test::makeFolder(elsewhere);
    for (const std::string& place : {root, root + "/Logs"}) {
        test::makeFolder(std::filesystem::path(place).parent_path());
        std::filesystem::create_symlink(elsewhere, place);
        const auto log = makeLog();
        EXPECT_FALSE(log->openLogFile());
        EXPECT_TRUE(log->lastProblem().contains(QString::fromStdString(place)));
        EXPECT_TRUE(log->lastProblem().contains(QStringLiteral("link")));
        log->writeStartSession();
        std::filesystem::remove(place);
    }
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
}

TEST_F(QVLogControllerTest, ToleratesLinksAboveItsOwnFolders) {
    test::makeFolder(scratch / "disk");
    std::filesystem::create_directory_symlink(scratch / "disk", scratch / "a");
    chosenFile(1);
    EXPECT_TRUE(test::exists(scratch / "disk/b/Kestrin 3/Logs"));
}

TEST_F(QVLogControllerTest, SaysWhatStandsInItsWay) {
    writeFile(root);
    auto log = makeLog();
    EXPECT_FALSE(log->openLogFile());
    EXPECT_TRUE(log->lastProblem().contains(QStringLiteral("Not a directory")));
    std::filesystem::remove(root);
    test::makeFolder(root + "/Logs");
    chmod((root + "/Logs").c_str(), 0500);
    EXPECT_FALSE(log->openLogFile());
    EXPECT_TRUE(log->lastProblem().contains(QStringLiteral("Permission denied")));
    EXPECT_TRUE(log->lastProblem().contains(QString::fromStdString(root + "/Logs/")));
    chmod((root + "/Logs").c_str(), 0700);
    EXPECT_TRUE(log->openLogFile());
    EXPECT_EQ(log->lastProblem(), QString());
}

TEST_F(QVLogControllerTest, AFileThatCannotBeOpenedIsToldButStopsNothing) {
    const std::string file = chosenFile(1);
    chmod(file.c_str(), 0);
    const auto log = makeLog();
    EXPECT_TRUE(log->openLogFile());
    EXPECT_TRUE(log->writeFailed());
    EXPECT_TRUE(log->lastProblem().contains(QString::fromStdString(file)));
    log->writeEntryWithPath("/t/a", 5);
    EXPECT_EQ(log->itemsCount(), 1U);
    log->writeEndSessionAndCloseFile();
    chmod(file.c_str(), 0600);
    EXPECT_EQ(readFile(file), "");
}

TEST_F(QVLogControllerTest, ARunStartsOnALineOfItsOwn) {
    const std::string file = chosenFile(1);
    writeFile(file, "17 /cut sho");
    const auto log = makeLog();
    ASSERT_TRUE(log->openLogFile());
    log->writeStartSession();
    EXPECT_EQ(lines(file).size(), 2U);
    EXPECT_EQ(lines(file)[0], "17 /cut sho");
}

TEST_F(QVLogControllerTest, ManyThreadsNumberTheirLinesWithoutGaps) {
    constexpr int kThreads = 4;
    constexpr int kLines = 5000;
    const auto log = makeLog();
    ASSERT_TRUE(log->openLogFile());
    const std::string file = log->currLogURL().path();
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (int line = 0; line < kLines; ++line)
                    log->writeEntryWithPath("/some/path", 1);
            });
        }
    }
    log->closeLogFile();
    const auto all = lines(file);
    ASSERT_EQ(all.size(), std::size_t{kThreads * kLines});
    for (std::size_t i = 0; i < all.size(); ++i) {
        const QString number = numbers.numberToFormatString(static_cast<double>(i + 1));
        ASSERT_EQ(all[i], number.toStdString() + " /some/path");
    }
}

TEST_F(QVLogControllerTest, LinesReachTheFileWithinASecondAndInTheEnd) {
    auto log = makeLog();
    ASSERT_TRUE(log->openLogFile());
    const std::string file = log->currLogURL().path();
    std::this_thread::sleep_for(1010ms);
    log->writeEntryWithPath("/t/a", 1);
    EXPECT_EQ(lines(file).size(), 1U);
    log->writeEntryWithPath("/t/b", 1);
    log.reset();
    EXPECT_EQ(lines(file).size(), 2U);
}

TEST_F(QVLogControllerTest, AFullDiskEndsTheLogButNotTheRun) {
    const auto log = makeLog();
    ASSERT_TRUE(log->openLogFile());
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{8192, limit.rlim_max};
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    for (int i = 0; i < 20000; ++i)
        log->writeEntryWithPath("/some/path", 1);
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, oldAction);
    EXPECT_TRUE(log->writeFailed());
    EXPECT_TRUE(log->lastProblem().contains(QStringLiteral("too large")));
    EXPECT_EQ(log->itemsCount(), 20000U);
    const std::string file = log->currLogURL().path();
    log->writeEndSessionAndCloseFile();
    EXPECT_EQ(std::filesystem::file_size(file), 8192U);
}

}  // namespace
}  // namespace kestrin
