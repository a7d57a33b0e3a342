// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVLogController.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <thread>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;
using test::readFile;
using test::writeFile;

struct QVLogControllerTest : ::testing::Test {
    test::ScratchFolder scratch;
    test::ScopedVariable stateHome{"XDG_STATE_HOME", scratch / "a/b"};
    StringTable texts{QStringLiteral("en")};
    UserDefaults defaults{scratch / "settings.conf"};
    QVNumberUtilities numbers{"en_US", texts};
    QVDateUtilities dates{defaults, [] { return std::string("en_US"); }, "UTC"};
    system_clock::duration later{};  ///< how far the log's clock is ahead
    const std::string root = scratch / "a/b/Kestrin 3";

    std::unique_ptr<QVLogController> makeLog(long long gapTime = 7) {
        return std::make_unique<QVLogController>(
            LogSettings{"start_delete_all", "end_delete_all", QStringLiteral("Logs"), gapTime},
            texts, numbers, dates, [this] { return system_clock::now() + later; });
    }
    /// Opens a log and tells the file it chose.
    std::string chosenFile(long long gapTime = 1) {
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
};

TEST_F(QVLogControllerTest, WritesARunThatStartsOnALineOfItsOwn) {
    const std::string file = chosenFile();
    writeFile(file, "17 /cut sho");
    const auto log = makeLog();
    ASSERT_TRUE(log->openLogFile());
    log->writeStartSession();
    log->writeEntryWithPath("/t/a\nb\xFF", 1'500'000);
    log->writeEndSessionAndCloseFile();
    log->writeEntryWithPath("/t/late", 1);
    const auto all = lines(file);
    ASSERT_GE(all.size(), 4U);
    EXPECT_EQ(all[0], "17 /cut sho");
    EXPECT_TRUE(all[1].ends_with(" " + texts.text("start_delete_all").toStdString()));
    EXPECT_EQ(all[2], "1 /t/a\\nb\\xFF");
    const std::string size = numbers.sizeToFormatString(1'500'000, 4, true).toStdString();
    EXPECT_NE(all[3].find(size), std::string::npos);
    EXPECT_TRUE(all.back().ends_with(texts.text("end_delete_all").toStdString()));
}

TEST_F(QVLogControllerTest, MakesItsFoldersForTheUserAloneBelowALinkToo) {
    umask(022);
    test::makeFolder(scratch / "disk");
    std::filesystem::create_directory_symlink(scratch / "disk", scratch / "a");
    const std::string file = chosenFile();
    EXPECT_EQ(std::filesystem::path(file).parent_path(), root + "/Logs");
    const auto mode = [](const std::string& path) {
        return static_cast<unsigned>(std::filesystem::status(path).permissions());
    };
    for (const char* folder : {"a/b", "a/b/Kestrin 3", "a/b/Kestrin 3/Logs"})
        EXPECT_EQ(mode(scratch / folder), 0700U) << folder;
    EXPECT_EQ(mode(file), 0600U);
}

TEST_F(QVLogControllerTest, ReusesAFileThatIsYoungEnough) {
    const std::string first = chosenFile();
    later = 71h;
    EXPECT_EQ(chosenFile(3), first);
    later = 73h;
    EXPECT_NE(chosenFile(65536 + 3), first);  // 16 bits of it
    for (const long long days : {0LL, -1LL, 32768LL}) {
        later += 2s;
        EXPECT_NE(chosenFile(days), first) << "always a new one: " << days;
    }
    later = -1h;  // the clock was put back: the files are from the future
    EXPECT_NE(chosenFile(0), first);
}

TEST_F(QVLogControllerTest, TakesTheNewestVisibleFile) {
    const std::string folder = scratch / "found";
    // Creation dates tick with the kernel's clock.
    for (const char* name : {"/old", "/new", "/.hidden"}) {
        writeFile(folder + name);
        std::this_thread::sleep_for(20ms);
    }
    std::filesystem::create_directory(folder + "/folder");
    std::filesystem::create_symlink("old", folder + "/link");
    const auto log = makeLog();
    EXPECT_TRUE(log->searchLogFileWithURL(FileUrl::fromPath(folder), 1));
    EXPECT_EQ(log->currLogURL().path(), folder + "/new");
    EXPECT_FALSE(log->searchLogFileWithURL(FileUrl::fromPath(folder + "/folder"), 1));
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
        std::filesystem::remove(place);
    }
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
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

}  // namespace
}  // namespace kestrin
