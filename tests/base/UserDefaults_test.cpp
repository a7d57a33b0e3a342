// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::readFile;
using test::writeFile;

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

struct UserDefaultsTest : ::testing::Test {
    test::ScratchFolder folder;
    const std::string file = folder / "new/deeper/settings.conf";
    UserDefaults defaults{file};
};

TEST_F(UserDefaultsTest, NeitherAskingNorRevertingToWhatIsSoWrites) {
    EXPECT_EQ(defaults.object("write_log"), std::nullopt);
    defaults.registerDefaults(defaultSettings());
    EXPECT_TRUE(defaults.boolForKey("write_log"));
    defaults.setInitialValues({{"show_install_helper_tool", false}});
    defaults.revertToInitialValues();
    EXPECT_EQ(defaults.persistentDomain(), std::nullopt);
    EXPECT_FALSE(test::exists(file));
}

TEST_F(UserDefaultsTest, WritesAFileThatAPersonCanReadFromAnyThread) {
    defaults.set("write_log", false);
    defaults.set("how_many_days_for_new_log_file", 30);
    defaults.set("empty_trash", QVariantMap{{text("keyCode"), 5}, {text("modifierFlags"), 6}});
    EXPECT_EQ(readFile(file),
              "[General]\nsettings_format=1\nwrite_log=false\nhow_many_days_for_new_log_file=30\n\n"
              "[empty_trash]\nkeyCode=5\nmodifierFlags=6\n");
    EXPECT_EQ(defaults.dictionaryForKey("empty_trash").value(text("modifierFlags")).toInt(), 6);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([this, thread] {
                for (int i = 0; i < 5; ++i)
                    defaults.set("key" + std::to_string(5 * thread + i), i);
            });
        }
    }
    EXPECT_EQ(defaults.persistentDomain()->size(), 23u);
}

TEST_F(UserDefaultsTest, AnEditByHandTakesEffectAndStays) {
    defaults.registerDefaults({{"write_log", true}});
    for (const std::string no : {"NO", "no", "0", "off", "false", " False \r"}) {
        writeFile(file, "[General]\nwrite_log=" + no + "\n");
        EXPECT_FALSE(defaults.boolForKey("write_log")) << no;
    }
    for (const std::string yes : {"YES", "1", "On", " true", "\"true\"", "nonsense", ""}) {
        writeFile(file, "write_log = " + yes + "\n");
        EXPECT_TRUE(defaults.boolForKey("write_log")) << yes;
    }
    writeFile(file, "; mine\n[General]\nx=no\nwhat is this\n\n[smart_delete]\nkeyCode=9\n");
    defaults.set("x", true);
    defaults.set("write_log", false);
    EXPECT_EQ(readFile(file),
              "; mine\n[General]\nx=true\nwrite_log=false\nwhat is this\n\n"
              "[smart_delete]\nkeyCode=9\n");
    defaults.remove("write_log");
    defaults.remove("smart_delete");
    EXPECT_TRUE(defaults.boolForKey("write_log")) << "by default";
    EXPECT_EQ(readFile(file), "; mine\n[General]\nx=true\nwhat is this\n\n");
}

TEST_F(UserDefaultsTest, TextsComeBackExactly) {
    writeFile(file, std::string("\0\xff[[[\n===\n=x\n[", 14));
    for (const char* value : {"", " blanks ", "line\nfeed\r\ttab", "\"quoted\"", "back\\slash\\n",
                              "a=b;c#d", "[x]", "äöü “”"}) {
        defaults.set("odd key=[ü]", text(value));
        EXPECT_EQ(defaults.stringForKey("odd key=[ü]"), text(value));
    }
}

TEST_F(UserDefaultsTest, AShortcutOfTheFileArrivesAsNumbersAndNonsenseIsTheDefault) {
    defaults.registerDefaults(defaultSettings());
    const auto byDefault = defaultSettings();
    for (const char* form :
         {"keyCode=9\nmodifierFlags=1310720", "modifierFlags=0X140000\nkeyCode=\"9\""}) {
        writeFile(file, std::string("[empty_trash]\n") + form);
        EXPECT_EQ(defaults.object("empty_trash"),
                  QVariant(QVariantMap{{text("keyCode"), 9}, {text("modifierFlags"), 0x140000}}));
    }
    for (const char* nonsense :
         {"[empty_trash]\nkeyCode=9", "[empty_trash]\nkeyCode=x\nmodifierFlags=1", "empty_trash=9",
          "[show_alert]\nx=1", "how_many_days_for_new_log_file=9999999999", "show_alert=flase"}) {
        writeFile(file, nonsense);
        for (const auto& [key, value] : byDefault)
            EXPECT_EQ(defaults.object(key), value) << key << " with " << nonsense;
    }
}

TEST_F(UserDefaultsTest, AnUnusableFileIsToldOnceAndMovedAsideByTheFirstChangeOfTheUser) {
    const std::string settings = folder / "settings.conf";
    const std::vector<std::function<void()>> obstacles = {
        [&] { writeFile(settings, std::string(std::size_t{1} << 20, 'x') + "x=1\n"); },
        [&] { writeFile(settings, std::string("a=b\n\0", 5)); },
        [&] { writeFile(settings, "a=\xff\n"); },
        [&] { writeFile(settings, "<html>\n"); },
        [&] { writeFile(settings), ::chmod(settings.c_str(), 0); },
        [&] { ::symlink("nowhere", settings.c_str()); },
        [&] { ::symlink("settings.conf", settings.c_str()); },
        [&] { writeFile(settings + "/inside"); },
        [&] { ::mkfifo(settings.c_str(), 0600); }};
    int number = 0;
    for (const auto& putInTheWay : obstacles) {
        SCOPED_TRACE(++number);
        putInTheWay();
        struct stat before, after;
        ASSERT_EQ(::lstat(settings.c_str(), &before), 0);
        UserDefaults damaged(settings);
        std::vector<SettingsProblem> told;
        damaged.setProblemHandler([&](const auto& problem) { told.push_back(problem); });
        damaged.registerDefaults(defaultSettings());
        EXPECT_FALSE(damaged.boolForKey("is_first_run"));
        EXPECT_TRUE(damaged.boolForKey("show_alert"));
        EXPECT_EQ(damaged.persistentDomain(), std::nullopt);
        damaged.setQuietly("smart_delete_window", text("1 2"));
        damaged.revertToInitialValues();
        EXPECT_EQ(damaged.stringForKey("smart_delete_window"), text("1 2"));
        ASSERT_EQ(::lstat(settings.c_str(), &after), 0);
        EXPECT_EQ(before.st_ino, after.st_ino) << "it stays";
        damaged.set("show_alert", false);
        ASSERT_EQ(told.size(), 2u);
        EXPECT_EQ(told[0].kind, SettingsProblem::Kind::Unusable);
        EXPECT_EQ(told[1].kind, SettingsProblem::Kind::MovedAside);
        EXPECT_THAT(told[1].movedTo, ::testing::StartsWith(settings + ".broken-20"));
        ASSERT_EQ(::lstat(told[1].movedTo.c_str(), &after), 0);
        EXPECT_EQ(before.st_ino, after.st_ino) << "it lives on under that name";
        EXPECT_EQ(readFile(settings),
                  "[General]\nsettings_format=1\nis_first_run=false\nshow_alert=false\n"
                  "smart_delete_window=1 2\n");
        ASSERT_EQ(::unlink(settings.c_str()), 0);
    }
}

TEST_F(UserDefaultsTest, ANewerFileIsReadAndWhatItSaysElseStays) {
    writeFile(file, "[General]\nsettings_format=2\nwrite_log=false\nnovelty=7\n\n[more]\nx=y\n");
    EXPECT_FALSE(defaults.boolForKey("write_log"));
    EXPECT_EQ(defaults.problem()->kind, SettingsProblem::Kind::NewerFormat);
    auto values = *defaults.persistentDomain();
    EXPECT_FALSE(values.contains("settings_format"));
    values["write_log"] = true;
    defaults.setPersistentDomain(values);
    EXPECT_EQ(readFile(file),
              "[General]\nsettings_format=2\nwrite_log=true\nnovelty=7\n\n[more]\nx=y\n");
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenStaysInMemoryAndIsTold) {
    const std::string before = "[General]\nshow_alert=false\n";
    writeFile(file, before);
    std::vector<SettingsProblem> told;
    defaults.setProblemHandler([&](const auto& problem) { told.push_back(problem); });
    const std::string place = folder / "new/deeper";
    for (const auto& [path, closed] : {std::pair(file, 0400), std::pair(place, 0500)}) {
        ASSERT_EQ(chmod(path.c_str(), closed), 0);
        defaults.setQuietly("smart_delete_window", text("1 2"));
        EXPECT_EQ(told.size(), path == file ? 0u : 1u) << "what nobody changed is told to nobody";
        defaults.set("write_log", true);
        defaults.remove("show_alert");
        EXPECT_TRUE(defaults.boolForKey("write_log"));
        EXPECT_EQ(defaults.object("show_alert"), std::nullopt);
        EXPECT_EQ(readFile(file), before);
        ASSERT_EQ(told.size(), 1u);
        EXPECT_EQ(defaults.problem()->kind, SettingsProblem::Kind::NotWritten);
        ASSERT_EQ(chmod(path.c_str(), 0700), 0);
    }
    defaults.set("delete_locked", true);
    EXPECT_EQ(readFile(file),
              "[General]\ndelete_locked=true\nsmart_delete_window=1 2\nwrite_log=true\n")
        << "the next change brings the earlier ones along";
    EXPECT_EQ(defaults.problem(), std::nullopt);
    struct stat status;
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u) << "the permissions are the user's";
}

TEST_F(UserDefaultsTest, AFullDiskLosesNeitherTheValueNorTheFileBehindALink) {
    KESTRIN_REQUIRE_MOUNTS();
    const test::TestVolume volume(test::TestVolume::Kind::Tmpfs, folder / "small", "", 1);
    const std::string path = volume.mountPoint() + "/settings.conf", link = folder / "link";
    writeFile(path, "");
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    UserDefaults onVolume(link);
    onVolume.set("show_alert", false);
    writeFile(volume.mountPoint() + "/filler", std::string(std::size_t{2} << 20, 'x'));
    onVolume.set("write_log", true);
    EXPECT_TRUE(onVolume.boolForKey("write_log"));
    EXPECT_EQ(readFile(path), "[General]\nshow_alert=false\n");
    const auto entries = std::filesystem::directory_iterator(volume.mountPoint());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "no remains of the attempt";
}

TEST_F(UserDefaultsTest, ObserversHearOfTheirKeyAloneUntilTheyGoAndRevertingChangesWhatItMust) {
    defaults.registerDefaults({{"a", 1}});
    defaults.setInitialValues({{"a", 2}});
    std::vector<int> heard;
    auto observation =
        defaults.observe("values.a", UserDefaults::Notify::NowAndOnChange,
                         [&](const auto& value) { heard.push_back(value->toInt()); });
    defaults.fileDidChange();
    writeFile(file, "a = 5\n");
    defaults.fileDidChange();
    defaults.fileDidChange();
    defaults.set("a", 3);
    defaults.fileDidChange();
    defaults.setPersistentDomain({{"a", 3}, {"b", 9}});
    defaults.revertToInitialValues();
    observation.reset();
    defaults.set("a", 4);
    EXPECT_THAT(heard, ::testing::ElementsAre(1, 5, 3, 2));
    EXPECT_EQ(defaults.persistentDomain(), (SettingsMap{{"a", text("4")}, {"b", text("9")}}));
}

}  // namespace
}  // namespace kestrin
