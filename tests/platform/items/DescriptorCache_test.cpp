// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/linux/DescriptorCache.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

TEST(DescriptorCache, OpensAFolderAgainOnlyWhileItIsTheSame) {
    const ScratchFolder scratch;
    makeFolder(scratch / "top/inner");
    makeFolder(scratch / "other/inner");
    const UniqueFd root(open(scratch.path().c_str(), O_PATH | O_CLOEXEC));
    const auto move = [&](const char* from, const char* to) {
        return rename((scratch / from).c_str(), (scratch / to).c_str()) == 0;
    };
    DescriptorCache cache;
    FolderNode top, inner;
    top.rootParent = root.get();
    top.name = "top";
    inner.parent = &top;
    inner.name = "inner";
    ASSERT_TRUE(cache.adopt(top, UniqueFd(openFolderAt(root.get(), "top"))));
    ASSERT_TRUE(cache.adopt(inner, UniqueFd(openFolderAt(root.get(), "top/inner"))));

    // Only `inner` stays open, and ".." of it leads elsewhere by now.
    cache.unpin(top);
    cache.closeIdle();
    ASSERT_TRUE(move("top/inner", "moved"));
    const int found = cache.pin(top);
    struct stat opened {
    }, expected{};
    ASSERT_EQ(fstat(found, &opened), 0);
    ASSERT_EQ(stat((scratch / "top").c_str(), &expected), 0);
    EXPECT_EQ(opened.st_ino, expected.st_ino);
    ASSERT_TRUE(move("moved", "top/inner"));

    // Nothing is open, and another folder has the name: of the folder above, then of the folder.
    const auto isFound = [&] {
        cache.closeIdle();
        if (cache.pin(inner) < 0) return errno != ESTALE;
        cache.unpin(inner);
        return true;
    };
    cache.unpin(top);
    cache.unpin(inner);
    EXPECT_TRUE(isFound());
    ASSERT_TRUE(move("top", "first") && move("other", "top"));
    EXPECT_FALSE(isFound());
    ASSERT_TRUE(move("top", "other") && move("first", "top"));
    EXPECT_TRUE(isFound());
    ASSERT_TRUE(move("top/inner", "first") && move("other/inner", "top/inner"));
    EXPECT_FALSE(isFound());
    cache.close(inner);
    cache.close(top);
}

}  // namespace
}  // namespace kestrin
