// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ItemAttributes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "platform/UniqueFd.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

FileUrl url(const std::string& path) {
    return FileUrl::fromPath(path);
}

TEST(ItemAttributes, DescribesTheItemAndNotWhatALinkPointsAt) {
    const ScratchFolder scratch;
    writeFile(scratch / "file", "12345");
    ASSERT_EQ(symlink("file", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    const timespec times[] = {{0, 0}, {978307200 + 10, 500000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch / "file").c_str(), times, 0), 0);

    const auto file = itemAttributes(url(scratch / "file"));
    EXPECT_TRUE(file->isRegularFile());
    EXPECT_EQ(file->size, 5u);
    EXPECT_DOUBLE_EQ(file->dateModified, 10.5);
    EXPECT_EQ(file->userId, geteuid());
    const auto link = itemAttributes(url(scratch / "link"));
    EXPECT_TRUE(link->isSymbolicLink());
    EXPECT_EQ(link->size, 4u);
    EXPECT_EQ(itemAttributes(url(scratch / "fifo"))->size, 0u);
    const auto folder = itemAttributes(url(scratch.path()));
    EXPECT_TRUE(folder->isDirectory());
    EXPECT_EQ(folder->size, 0u);
    EXPECT_FALSE(folder->isMountRoot);
    EXPECT_EQ(itemAttributes(url(scratch / "none")).error().code, ENOENT);
}

TEST(ItemAttributes, OnlyWhatIsAbsentIsGone) {
    const ScratchFolder scratch;
    writeFile(scratch / "file");
    ASSERT_EQ(symlink("nowhere", (scratch / "link").c_str()), 0);
    EXPECT_FALSE(isGone(url(scratch / "file")));
    EXPECT_FALSE(isGone(url(scratch / "link")));
    EXPECT_TRUE(isGone(url(scratch / "none")));
    EXPECT_TRUE(isGone(url(scratch / "file/below")));

    std::string deep = scratch.path();
    const std::string name(250, 'd');
    int folder = open(deep.c_str(), O_RDONLY);
    for (int depth = 0; depth < 40; ++depth) {  // deeper than the longest path
        ASSERT_EQ(mkdirat(folder, name.c_str(), 0700), 0);
        const int inner = openat(folder, name.c_str(), O_RDONLY);
        close(folder);
        folder = inner;
        deep += '/' + name;
    }
    close(folder);
    EXPECT_FALSE(isGone(url(deep)));
    EXPECT_TRUE(isGone(url(deep + "/none")));
    EXPECT_FALSE(isGone(url("/" + std::string(5000, 'x'))));
    if (geteuid() == 0) return;
    makeFolder(scratch / "closed");
    chmod((scratch / "closed").c_str(), 0);
    EXPECT_FALSE(isGone(url(scratch / "closed/any")));
}

TEST(ItemAttributes, LockingNeedsRootAndRefusesWhatIsNoFileOrFolder) {
    KESTRIN_REQUIRE_ROOT();
    const ScratchFolder scratch;
    writeFile(scratch / "file");
    ASSERT_EQ(symlink("file", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    if (!makeImmutable(scratch / "file")) GTEST_SKIP() << "no immutable attribute here";

    EXPECT_TRUE(itemAttributes(url(scratch / "file"))->isImmutable);
    EXPECT_EQ(setImmutable(url(scratch / "file"), false)->code, kFileWriteNoPermission);
    const AsRoot root;
    EXPECT_FALSE(setImmutable(url(scratch / "file"), true)) << "is so already";
    EXPECT_TRUE(setImmutable(url(scratch / "link"), false));
    EXPECT_TRUE(setImmutable(url(scratch / "fifo"), false)) << "must not wait for a writer";
    EXPECT_TRUE(itemAttributes(url(scratch / "file"))->isImmutable);
    EXPECT_FALSE(setImmutable(url(scratch / "file"), false));
    EXPECT_FALSE(itemAttributes(url(scratch / "file"))->isImmutable);
}

TEST(ItemAttributes, UnlockingAlsoEndsAppendOnly) {
    KESTRIN_REQUIRE_ROOT();
    const ScratchFolder scratch;
    makeFolder(scratch / "folder");
    if (runAsRoot("chattr +a " + (scratch / "folder")) != 0) GTEST_SKIP() << "no such attribute";
    {
        const AsRoot root;
        EXPECT_FALSE(setImmutable(url(scratch / "folder"), false));
    }
    writeFile(scratch / "folder/file");
    EXPECT_EQ(unlink((scratch / "folder/file").c_str()), 0);
}

TEST(ItemAttributes, ReadsLinksOfAnyLength) {
    const ScratchFolder scratch;
    const std::string destination(3000, 'd');
    ASSERT_EQ(symlink(destination.c_str(), (scratch / "link").c_str()), 0);
    EXPECT_EQ(*symbolicLinkDestination(url(scratch / "link")), destination);
    EXPECT_EQ(symbolicLinkDestination(url(scratch.path())).error().code, EINVAL);
    EXPECT_FALSE(pathExists(scratch / "link")) << "a dangling link leads nowhere";
}

TEST(ItemAttributes, ReadsExtendedAttributesOfTheItemItself) {
    const ScratchFolder scratch;
    writeFile(scratch / "file");
    ASSERT_EQ(symlink("file", (scratch / "link").c_str()), 0);
    const std::string value = std::string("a\0b", 3) + std::string(1000, 'c');
    if (setxattr((scratch / "file").c_str(), "user.xdg.tags", value.data(), value.size(), 0) != 0) {
        GTEST_SKIP() << "no user attributes here";
    }
    EXPECT_EQ(extendedAttribute(url(scratch / "file"), "user.xdg.tags"), value);
    EXPECT_FALSE(extendedAttribute(url(scratch / "link"), "user.xdg.tags"));
    EXPECT_FALSE(extendedAttribute(url(scratch / "file"), "user.other"));
}

TEST(ItemAttributes, HiddenListNamesWholeLines) {
    const ScratchFolder scratch;
    writeFile(scratch / ".hidden", "one\ntwo words\n\nlast");
    for (const char* name : {"one", "two words", "last"}) {
        EXPECT_TRUE(isListedAsHidden(url(scratch / name))) << name;
    }
    for (const char* name : {"on", "two", "words", "one\ntwo words"}) {
        EXPECT_FALSE(isListedAsHidden(url(scratch / name))) << name;
    }
}

TEST(ItemAttributes, HiddenListThatIsNoPlainFileDecidesNothing) {
    const ScratchFolder scratch;
    writeFile(scratch / "list", "name\n");
    makeFolder(scratch / "a");
    makeFolder(scratch / "b");
    ASSERT_EQ(symlink("../list", (scratch / "a/.hidden").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "b/.hidden").c_str(), 0600), 0);
    writeFile(scratch / "c/.hidden", "name\n" + std::string(std::size_t{2} << 20, 'x'));
    for (const char* path : {"a/name", "b/name", "c/name"}) {
        EXPECT_FALSE(isListedAsHidden(url(scratch / path))) << path;
    }
}

TEST(ItemAttributes, TrashedHiddenListsDecideNothing) {
    const ScratchFolder scratch;
    for (const char* folder : {"Trash/files", "Trash/files/deep/er", ".Trash-12/files",
                               ".Trash/12/files", "Trash/other", "files"}) {
        writeFile(scratch / folder + "/.hidden", "name\n");
        const bool isOutside =
            folder == std::string("Trash/other") || folder == std::string("files");
        EXPECT_EQ(isListedAsHidden(url(scratch / folder + "/name")), isOutside) << folder;
    }
}

}  // namespace
}  // namespace kestrin
