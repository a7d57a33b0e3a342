// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
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
              "[General]\nwrite_log=false\nhow_many_days_for_new_log_file=30\n\n"
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
    for (const std::string yes : {"YES", "1", "On", " true", "\"true\""}) {
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
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(UserDefaults(folder / "pipe").object("write_log"), std::nullopt);
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenStaysInMemory) {
    writeFile(file, "[General]\nshow_alert=false\n");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    defaults.set("write_log", true);
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(readFile(file), "[General]\nshow_alert=false\n") << "what is unreadable stays";
    ASSERT_EQ(chmod((folder / "new/deeper").c_str(), 0500), 0);
    defaults.remove("show_alert");
    EXPECT_TRUE(defaults.boolForKey("write_log"));
    EXPECT_EQ(defaults.object("show_alert"), std::nullopt);
    EXPECT_EQ(readFile(file), "[General]\nshow_alert=false\n");
    ASSERT_EQ(chmod((folder / "new/deeper").c_str(), 0700), 0);
    defaults.set("delete_locked", true);
    EXPECT_EQ(readFile(file), "[General]\ndelete_locked=true\nwrite_log=true\n")
        << "the next change brings the earlier ones along";
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
    defaults.set("a", 3);
    defaults.setPersistentDomain({{"a", 3}, {"b", 9}});
    defaults.revertToInitialValues();
    observation.reset();
    defaults.set("a", 4);
    EXPECT_THAT(heard, ::testing::ElementsAre(1, 3, 2));
    EXPECT_EQ(defaults.persistentDomain(), (SettingsMap{{"a", text("4")}, {"b", text("9")}}));
}

}  // namespace
}  // namespace kestrin
