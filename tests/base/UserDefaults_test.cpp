// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::readFile;
using test::writeFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

struct UserDefaultsTest : ::testing::Test {
    test::ScratchFolder folder;
    const std::string file = folder / "new/deeper/settings.conf";
    UserDefaults defaults{file};
};

TEST_F(UserDefaultsTest, AnAbsentFileAnswersFromTheRegistrationDomain) {
    EXPECT_EQ(defaults.object("write_log"), std::nullopt);
    defaults.registerDefaults(defaultSettings());
    EXPECT_TRUE(defaults.boolForKey("write_log"));
    EXPECT_EQ(defaults.integerForKey("how_many_days_for_new_log_file"), 7);
    EXPECT_EQ(defaults.dictionaryForKey("empty_trash").value(text("keyCode")).toInt(), 51);
    EXPECT_EQ(defaults.dictionaryForKey("empty_trash").value(text("modifierFlags")).toInt(),
              1310720);
    EXPECT_EQ(defaults.dictionaryForKey("smart_delete").value(text("keyCode")).toInt(), 1);
    EXPECT_EQ(defaults.dictionaryForKey("smart_delete").value(text("modifierFlags")).toInt(),
              1179648);
    EXPECT_EQ(defaults.stringForKey("smart_delete_window"), QString());
    EXPECT_EQ(defaults.persistentDomain(), std::nullopt);
    EXPECT_FALSE(test::exists(file)) << "asking writes nothing";
}

TEST_F(UserDefaultsTest, WritesAFileThatAPersonCanRead) {
    defaults.set("write_log", false);
    defaults.set("how_many_days_for_new_log_file", 30);
    defaults.set("empty_trash", QVariantMap{{text("keyCode"), 5}, {text("modifierFlags"), 6}});
    EXPECT_EQ(readFile(file),
              "[General]\nwrite_log=false\nhow_many_days_for_new_log_file=30\n\n"
              "[empty_trash]\nkeyCode=5\nmodifierFlags=6\n");
    const UserDefaults second(file);
    EXPECT_FALSE(second.boolForKey("write_log"));
    EXPECT_EQ(second.integerForKey("how_many_days_for_new_log_file"), 30);
    EXPECT_EQ(second.dictionaryForKey("empty_trash").value(text("modifierFlags")).toInt(), 6);
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
    writeFile(file,
              "; mine\n[General]\nshow_alert=no\nwhat is this\n\n[smart_delete]\nkeyCode=9\n");
    defaults.set("show_alert", true);
    defaults.set("write_log", false);
    EXPECT_EQ(readFile(file),
              "; mine\n[General]\nshow_alert=true\nwrite_log=false\nwhat is this\n\n"
              "[smart_delete]\nkeyCode=9\n");
}

TEST_F(UserDefaultsTest, TextsComeBackExactly) {
    for (const char* value : {"", " blanks ", "line\nfeed\r\ttab", "\"quoted\"", "back\\slash\\n",
                              "a=b;c#d", "[x]", "äöü “”", "1, 2, 3"}) {
        defaults.set("smart_delete_window", text(value));
        EXPECT_EQ(defaults.stringForKey("smart_delete_window"), text(value));
    }
    defaults.set("odd key=[ü]", 1);
    EXPECT_EQ(defaults.integerForKey("odd key=[ü]"), 1);
}

TEST_F(UserDefaultsTest, RemovingShowsTheDefaultAgain) {
    defaults.registerDefaults({{"show_alert", true}});
    defaults.set("show_alert", false);
    defaults.set("smart_delete", QVariantMap{{text("keyCode"), 2}});
    defaults.remove("show_alert");
    defaults.remove("smart_delete");
    EXPECT_TRUE(defaults.boolForKey("show_alert"));
    EXPECT_EQ(defaults.object("smart_delete"), std::nullopt);
    EXPECT_THAT(readFile(file), Not(HasSubstr("smart_delete")));
}

TEST_F(UserDefaultsTest, DamagedFilesReadAsEmpty) {
    writeFile(file, std::string("\0\xff[[[\n===\n=x\n[", 14));
    EXPECT_FALSE(defaults.boolForKey("write_log"));
    defaults.set("write_log", true);
    EXPECT_TRUE(defaults.boolForKey("write_log"));

    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(UserDefaults(pipe).object("write_log"), std::nullopt);
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenStaysInMemory) {
    writeFile(file, "[General]\nshow_alert=false\n");
    const std::string parent = folder / "new/deeper";
    ASSERT_EQ(chmod(parent.c_str(), 0500), 0);
    defaults.set("write_log", true);
    defaults.remove("show_alert");
    EXPECT_TRUE(defaults.boolForKey("write_log"));
    EXPECT_EQ(defaults.object("show_alert"), std::nullopt);
    EXPECT_EQ(readFile(file), "[General]\nshow_alert=false\n");

    ASSERT_EQ(chmod(parent.c_str(), 0700), 0);
    defaults.set("delete_locked", true);
    EXPECT_EQ(readFile(file), "[General]\ndelete_locked=true\nwrite_log=true\n")
        << "the next change brings the earlier ones along";
}

TEST_F(UserDefaultsTest, AnUnreadableFileIsNotReplaced) {
    writeFile(file, "[General]\nshow_alert=false\n");
    ASSERT_EQ(chmod(file.c_str(), 0000), 0);
    defaults.set("write_log", true);
    EXPECT_TRUE(defaults.boolForKey("write_log"));
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(readFile(file), "[General]\nshow_alert=false\n");
}

TEST_F(UserDefaultsTest, AFullDiskLosesNeitherTheValueNorTheFile) {
    KESTRIN_REQUIRE_MOUNTS();
    const test::TestVolume volume(test::TestVolume::Kind::Tmpfs, folder / "small", "", 1);
    UserDefaults onVolume(volume.mountPoint() + "/settings.conf");
    onVolume.set("show_alert", false);
    const std::string before = readFile(volume.mountPoint() + "/settings.conf");
    writeFile(volume.mountPoint() + "/filler", std::string(std::size_t{2} << 20, 'x'));
    onVolume.set("write_log", true);
    EXPECT_TRUE(onVolume.boolForKey("write_log"));
    EXPECT_FALSE(onVolume.boolForKey("show_alert"));
    EXPECT_EQ(readFile(volume.mountPoint() + "/settings.conf"), before);
    const auto entries = std::filesystem::directory_iterator(volume.mountPoint());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "no remains of the attempt";
}

TEST_F(UserDefaultsTest, ALinkedFileStaysALink) {
    const std::string real = folder / "dotfiles/kestrin";
    writeFile(real, "");
    const std::string link = folder / "settings.conf";
    ASSERT_EQ(symlink(real.c_str(), link.c_str()), 0);
    UserDefaults(link).set("write_log", true);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readFile(real), "[General]\nwrite_log=true\n");
}

TEST_F(UserDefaultsTest, DomainsAreReplacedWhole) {
    defaults.set("write_log", false);
    defaults.set("empty_trash", QVariantMap{{text("keyCode"), 5}});
    defaults.setPersistentDomain({{"show_alert", true}});
    EXPECT_EQ(defaults.persistentDomain(), (SettingsMap{{"show_alert", text("true")}}));
    defaults.registerDefaults({{"a", 1}, {"b", 1}});
    defaults.registerDefaults({{"b", 2}});
    EXPECT_EQ(defaults.registrationDomain(), (SettingsMap{{"a", 1}, {"b", 2}}));
    defaults.setRegistrationDomain({{"c", 3}});
    EXPECT_EQ(defaults.registrationDomain(), (SettingsMap{{"c", 3}}));
}

TEST_F(UserDefaultsTest, RevertingTouchesOnlyTheInitialValues) {
    defaults.registerDefaults(defaultSettings());
    defaults.setInitialValues({{"show_install_helper_tool", false}, {"extra", 5}});
    defaults.set("show_install_helper_tool", true);
    defaults.set("write_log", false);
    defaults.revertToInitialValues();
    EXPECT_FALSE(defaults.boolForKey("show_install_helper_tool"));
    EXPECT_EQ(defaults.integerForKey("extra"), 5);
    EXPECT_FALSE(defaults.boolForKey("write_log"));
}

TEST_F(UserDefaultsTest, RevertingAnUntouchedAccountWritesNothing) {
    defaults.registerDefaults(defaultSettings());
    defaults.setInitialValues({{"show_install_helper_tool", false}});
    defaults.revertToInitialValues();
    EXPECT_FALSE(test::exists(file));
}

TEST_F(UserDefaultsTest, ObserversHearOfTheirKeyOnly) {
    defaults.registerDefaults({{"a", 1}});
    std::vector<int> heard;
    auto observation = defaults.observe("values.a", UserDefaults::Notify::NowAndOnChange,
                                        [&](const std::optional<QVariant>& value) {
                                            heard.push_back(value ? value->toInt() : -1);
                                        });
    defaults.set("a", 2);
    defaults.set("b", 9);
    defaults.remove("a");
    defaults.setPersistentDomain({{"a", 4}, {"b", 5}});
    defaults.setPersistentDomain({{"a", 4}, {"b", 6}});
    defaults.setPersistentDomain({});
    defaults.setRegistrationDomain({});
    EXPECT_THAT(heard, ElementsAre(1, 2, 1, 4, 1, -1));
    observation.reset();
    defaults.set("a", 3);
    EXPECT_EQ(heard.size(), 6U);
}

TEST_F(UserDefaultsTest, AnObserverMayChangeSettings) {
    const auto observation =
        defaults.observe("values.a", UserDefaults::Notify::OnChange,
                         [&](const std::optional<QVariant>&) { defaults.set("b", 1); });
    defaults.set("a", 1);
    EXPECT_EQ(defaults.integerForKey("b"), 1);
}

TEST_F(UserDefaultsTest, ThreadsLoseNoChange) {
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([this, i] {
                for (int n = 0; n < 5; ++n) {
                    defaults.set("key" + std::to_string(i) + std::to_string(n), n);
                    defaults.boolForKey("key00");
                }
            });
        }
    }
    EXPECT_EQ(defaults.persistentDomain()->size(), 20U);
}

TEST(StandardUserDefaults, LiesInTheConfigurationFolder) {
    UserDefaults::standardUserDefaults().set("write_log", false);
    EXPECT_EQ(readFile(std::string(getenv("HOME")) + "/.config/com.quorvane.kestrin-3.conf"),
              "[General]\nwrite_log=false\n");
}

}  // namespace
}  // namespace kestrin
