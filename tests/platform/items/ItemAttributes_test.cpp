// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemAttributes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <map>

#include "platform/items/FileLabels.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/UniqueFd.h"
#include "support/SilentVolume.h"
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
    EXPECT_EQ(itemAttributes(url(scratch.path()))->size, 0u);
    EXPECT_EQ(itemAttributes(url(scratch / "none")).error().code, ENOENT);
}

TEST(ItemAttributes, TheFirstTagThatNamesALabelCountsAndElseTheFinderInformation) {
    const auto tags = [](std::string_view text) {
        return int(fileLabelFromTags(text).value_or(-1));
    };
    EXPECT_EQ(tags("work, Blue ,red"), 4);
    EXPECT_EQ(tags("GRAY"), tags("grey"));
    EXPECT_EQ(tags("None,orange"), 0) << "it says that there is none";
    for (const std::string_view none : {"", ",,", "reddish", "bl ue", "rot", "Purple\xff"})
        EXPECT_EQ(tags(none), -1) << none;

    std::string finder(32, '\0');
    finder[8] = '\x0e';  // flags of other things, around the three bits
    finder[9] = '\xf1' | (7 << 1);
    EXPECT_EQ(fileLabelFromFinderInformation(*finderInformationFrom(finder)), 7);
    for (const std::string& none : {finder.substr(1), std::string(60000, '\xff')})
        EXPECT_FALSE(finderInformationFrom(none)) << none.size();

    const ScratchFolder scratch;
    const auto labelWith = [&](const char* name, std::string_view value) {
        writeFile(scratch / "file");
        setxattr((scratch / "file").c_str(), name, value.data(), value.size(), 0);
        return int(fileLabelOf(url(scratch / "file")));
    };
    if (labelWith("user.com.apple.FinderInfo", finder) == 0 && errno == ENOTSUP)
        GTEST_SKIP() << "no attributes here";
    EXPECT_EQ(labelWith("user.xdg.tags", "holiday"), 7) << "no tag is one of a label";
    EXPECT_EQ(labelWith("user.xdg.tags", std::string(3000, ',') + "yellow"), 5);
    ASSERT_EQ(symlink("file", (scratch / "link").c_str()), 0);
    EXPECT_EQ(fileLabelOf(url(scratch / "link")), 0);
    EXPECT_EQ(fileLabelOf(url(scratch / "absent")), 0);
}

TEST(ItemAttributes, OnlyWhatIsAbsentIsGone) {
    const ScratchFolder scratch;
    writeFile(scratch / "file");
    makeFolder(scratch / "closed");
    ASSERT_EQ(symlink("nowhere", (scratch / "link").c_str()), 0);
    std::string deep = scratch.path();  // deeper than the longest path
    const std::string name(250, 'd');
    UniqueFd folder(open(deep.c_str(), O_RDONLY));
    for (int depth = 0; depth < 40; ++depth) {
        ASSERT_EQ(mkdirat(folder.get(), name.c_str(), 0700), 0);
        folder.reset(openat(folder.get(), name.c_str(), O_RDONLY));
        deep += '/' + name;
    }
    ASSERT_EQ(chmod((scratch / "closed").c_str(), 0), 0);
    for (const std::string& there : {scratch / "link", deep})
        EXPECT_EQ(presenceOf(url(there)), ItemPresence::There) << there;
    for (const std::string& unknown : {scratch / "closed/any", "/" + std::string(5000, 'x')})
        EXPECT_EQ(presenceOf(url(unknown)), ItemPresence::Unknown) << unknown;
    for (const std::string& gone : {scratch / "none", scratch / "file/below", deep + "/none"}) {
        EXPECT_EQ(presenceOf(url(gone)), ItemPresence::Gone) << gone;
    }
}

TEST(ItemAttributes, UnlockingNeedsRootAndRefusesWhatIsNoFileOrFolder) {
    KESTRIN_REQUIRE_ROOT();
    const ScratchFolder scratch;
    const FileUrl file = url(scratch / "file");
    writeFile(file.path());
    ASSERT_EQ(symlink("file", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    if (runAsRoot("chattr +i +a " + file.path()) != 0) GTEST_SKIP() << "no such attributes here";
    EXPECT_EQ(clearLocks(file)->code, kFileWriteNoPermission);
    const AsRoot root;
    EXPECT_TRUE(clearLocks(url(scratch / "link")));
    EXPECT_TRUE(clearLocks(url(scratch / "fifo"))) << "must not wait for a writer";
    EXPECT_TRUE(itemAttributes(file)->isImmutable);
    EXPECT_FALSE(clearLocks(file));
    EXPECT_EQ(unlink(file.path().c_str()), 0) << "nor is it append-only";
}

class RecordingObserver final : public LockObserver {
 public:
    ~RecordingObserver() override { setLockObserver(nullptr); }
    bool willClear(std::uint64_t id, const UnlockedItem& item) override {
        if (onClear) onClear();
        if (allows) open.emplace(id, item);
        return allows;
    }
    void didSettle(std::uint64_t id) override { EXPECT_EQ(open.erase(id), 1u); }
    std::map<std::uint64_t, UnlockedItem> open;
    std::function<void()> onClear;
    bool allows = true;
};

/// Answers the flags; see ioctl_iflags(2).
int toggleFlags(const std::string& path, int toggled) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    int flags = 0;
    EXPECT_EQ(ioctl(file.get(), FS_IOC_GETFLAGS, &flags), 0);
    flags ^= toggled;
    EXPECT_TRUE(toggled == 0 || ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0);
    return flags;
}

TEST(ItemAttributes, UnlockingIsToldSoThatSomebodyElseCanPutItBack) {
    KESTRIN_REQUIRE_ROOT();
    const ScratchFolder scratch;
    const std::string file = scratch / "file", moved = scratch / "moved";
    writeFile(file);
    if (runAsRoot("chattr +i +a " + file) != 0) GTEST_SKIP() << "no such attributes here";
    const AsRoot root;
    RecordingObserver observer;
    setLockObserver(&observer);
    const UniqueFd folder(open(scratch.path().c_str(), O_PATH));
    const auto clear = [&] { return ClearedLocks::clear(folder.get(), "file"); };
    const auto isLocked = [](const std::string& path) {
        return lockStateAt(AT_FDCWD, path.c_str()) == LockState::Locked;
    };
    observer.allows = false;
    EXPECT_EQ(clear().error().code, ECANCELED);
    EXPECT_TRUE(isLocked(file) && observer.open.empty());
    observer.allows = true;
    observer.onClear = [&] { toggleFlags(file, FS_IMMUTABLE_FL | FS_NOATIME_FL); };
    UnlockedItem told;
    {
        const auto cleared = clear();
        ASSERT_EQ(observer.open.size(), 1u);
        told = observer.open.begin()->second;
        EXPECT_EQ(told.path, file);
        // As if this process ended here. The name leads to something else by then.
        ASSERT_EQ(rename(file.c_str(), moved.c_str()), 0);
        writeFile(file);
        EXPECT_FALSE(putBackLocks(told));
        EXPECT_TRUE(isLocked(moved) && !isLocked(file));
    }
    EXPECT_TRUE(observer.open.empty());
    UnlockedItem byPath = told, other = told;
    byPath.handle = {};
    EXPECT_EQ(putBackLocks(byPath)->code, ESTALE) << "another file has the name";
    other.handle = handleOf(UniqueFd(open(file.c_str(), O_PATH)).get());
    EXPECT_EQ(putBackLocks(other)->code, ESTALE) << "what is found is not what was told";
    EXPECT_FALSE(isLocked(file));
    ASSERT_FALSE(clearLocks(url(moved)));
    byPath.path = moved;
    EXPECT_FALSE(putBackLocks(byPath));
    EXPECT_TRUE(isLocked(moved));
    ASSERT_FALSE(clearLocks(url(moved)));
    if (told.handle.ofAnyGeneration().isKnown() && told.identity.birthTime != 0) {
        other.handle = told.handle;
        other.handle.bytes.back() ^= 1;  // as if its owner had given it another generation
        EXPECT_FALSE(putBackLocks(other));
        EXPECT_TRUE(isLocked(moved));
        ASSERT_FALSE(clearLocks(url(moved)));
        ++other.identity.birthTime;
        EXPECT_FALSE(putBackLocks(other)) << "another file got its inode number";
        EXPECT_FALSE(isLocked(moved));
    }
    EXPECT_NE(toggleFlags(moved, 0) & FS_NOATIME_FL, 0) << "what somebody else set meanwhile";
    ASSERT_EQ(unlink(moved.c_str()), 0);
    EXPECT_TRUE(observer.open.empty());
    EXPECT_FALSE(putBackLocks(told)) << "what has gone needs nothing";
    told.handle.mountId = handleOf(UniqueFd(open("/dev", O_PATH)).get()).mountId;
    EXPECT_TRUE(putBackLocks(told)) << "the number of its mount is that of another one now";
    makeFolder(byPath.path = scratch / "silent");
    SilentVolume volume(byPath.path);
    byPath.path += "/file";
    EXPECT_TRUE(volume.doesNotHold([&] { EXPECT_TRUE(putBackLocks(byPath)); }));
}

TEST(ItemAttributes, ReadsLinksOfAnyLength) {
    const ScratchFolder scratch;
    const FileUrl file = url(scratch / "file"), link = url(scratch / "link");
    const std::string destination(3000, 'd');
    writeFile(file.path());
    ASSERT_EQ(symlink(destination.c_str(), link.path().c_str()), 0);
    EXPECT_EQ(*symbolicLinkDestination(link), destination);
    EXPECT_EQ(symbolicLinkDestination(file).error().code, EINVAL);
    EXPECT_FALSE(pathExists(link.path())) << "a dangling link leads nowhere";
}

TEST(ItemAttributes, HiddenListsOutsideOfTrashesNameWholeLines) {
    const ScratchFolder scratch;
    for (const char* folder : {"Trash/other", "files", "Trash/files", "Trash/files/deep/er",
                               ".Trash-12/files", ".Trash/12/files"}) {
        writeFile(scratch / folder + "/.hidden", "one\ntwo words\n\nlast");
        const bool isOutside =
            folder == std::string("Trash/other") || folder == std::string("files");
        for (const char* name : {"/one", "/two words", "/last"}) {
            EXPECT_EQ(isListedAsHidden(url(scratch / folder + name)), isOutside) << folder << name;
        }
        for (const char* name : {"/on", "/words", "/one\ntwo words"}) {
            EXPECT_FALSE(isListedAsHidden(url(scratch / folder + name))) << name;
        }
    }
    writeFile(scratch / "long/.hidden", "one\n" + std::string(std::size_t{2} << 20, 'x'));
    makeFolder(scratch / "link");
    ASSERT_EQ(symlink("../files/.hidden", (scratch / "link/.hidden").c_str()), 0);
    makeFolder(scratch / "fifo");
    ASSERT_EQ(mkfifo((scratch / "fifo/.hidden").c_str(), 0600), 0);
    for (const char* item : {"long/one", "link/one", "fifo/one"}) {
        EXPECT_FALSE(isListedAsHidden(url(scratch / item))) << item;
    }
}

}  // namespace
}  // namespace kestrin
