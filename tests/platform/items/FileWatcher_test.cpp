// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileWatcher.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
namespace fs = std::filesystem;

TEST(FileWatcher, TellsOfEveryChangeOnTheWayToTheFileAndOfNoOther) {
    const ScratchFolder scratch;
    const fs::path root = scratch.path(), folder = root / "home/config", file = folder / "settings";
    makeFolder(root / "home");
    int told = 0;
    const FileWatcher watcher(FileUrl::fromPath(file), [&] { ++told; });
    const auto isTold = [&](const std::function<void()>& change, int milliseconds) {
        told = 0;
        change();
        const bool wasTold = waitFor([&] { return told > 0; }, milliseconds);
        waitFor([] { return false; }, 80);
        return wasTold;
    };
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"the folder comes, and the file", [&] { writeFile(file, "a"); }},
        {"it is written", [&] { writeFile(file, "b"); }},
        {"it is renamed over",
         [&] { writeFile(folder / "new"), fs::rename(folder / "new", file); }},
        {"it is opened to others", [&] { fs::permissions(file, fs::perms::all); }},
        {"it goes", [&] { fs::remove(file); }},
        {"it is a link to nowhere", [&] { fs::create_symlink("../elsewhere/real", file); }},
        {"which is somewhere", [&] { writeFile(root / "home/elsewhere/real"); }},
        {"and is written", [&] { writeFile(root / "home/elsewhere/real"); }},
        {"the folder moves", [&] { fs::rename(folder, root / "home/aside"); }},
        {"a link to it comes", [&] { fs::create_directory_symlink("aside", folder); }},
        {"the link leads elsewhere",
         [&] {
             writeFile(root / "home/third/settings");
             fs::create_directory_symlink("third", root / "link");
             fs::rename(root / "link", folder);
         }},
        {"there it is written", [&] { writeFile(root / "home/third/settings"); }},
        {"all of it goes and comes",
         [&] { fs::rename(root / "home", root / "old"), writeFile(file); }}};
    for (const auto& [what, change] : changes)
        EXPECT_TRUE(isTold(change, 3000)) << what;
    for (const fs::path& other :
         {folder / "other", root / "home/other", root / "old/config/settings"})
        EXPECT_FALSE(isTold([&] { writeFile(other); }, 150)) << other;
}

}  // namespace
}  // namespace kestrin
