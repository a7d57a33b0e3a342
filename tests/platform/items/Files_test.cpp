// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocale>
#include <cerrno>
#include <string>
#include <tuple>

#include "platform/items/ItemKinds.h"
#include "platform/items/KeyFile.h"
#include "platform/items/OpenRegularFile.h"
#include "platform/items/SealedFile.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

TEST(ItemKinds, NameDecidesAboutFilesAndTypeAboutTheRest) {
    struct Case {
        const char* name;
        std::uint32_t mode;
        const char* type;
        const char* icon;
    };
    for (const Case& item :
         {Case{"\xff\xfe.PDF", S_IFREG, "application/pdf", "application-pdf"},
          Case{"", S_IFREG, "application/octet-stream", "application-octet-stream"},
          Case{"a.png", S_IFDIR, "inode/directory", "folder"},
          Case{"a.png", S_IFLNK, "inode/symlink", "inode-symlink"}}) {
        const ItemKind kind = kindOfItem(item.name, item.mode);
        EXPECT_EQ(kind.typeIdentifier, item.type);
        EXPECT_EQ(kind.iconNames.front(), item.icon);
        EXPECT_FALSE(kind.description.empty()) << item.type;
    }
    EXPECT_TRUE(isBundleExtension("PhotosLibrary"));
    EXPECT_FALSE(isBundleExtension("ap"));
}

TEST(KeyFile, ReadsGroupsAndPassesOverWhatIsNone) {
    const KeyFile file = KeyFile::parse(
        "Stray=1\n# [A]\n[A]\r\n Name = one two \r\nName=second\nno equals\nEmpty=\n"
        "[broken\nStray=lost\n[B]\nName=b\n[A]\nLater=a\\sb\\\\n\\n\\q\\\nList=;a\\;b;;c\\\\;\\s;"
        "d\\");
    EXPECT_EQ(file.text("A", "Name"), "one two");
    EXPECT_EQ(file.text("A", "Later"), "a b\\n\nq\\");
    EXPECT_EQ(file.list("A", "List"), (std::vector<std::string>{"a;b", "c\\", " ", "d\\"}));
    EXPECT_EQ(file.text("B", "Name"), "b");
    EXPECT_EQ(file.rawValue("A", "Empty"), "");
    EXPECT_FALSE(file.rawValue("A", "Stray"));
    EXPECT_FALSE(file.rawValue("C", "Name"));
}

TEST(KeyFile, TakesTheNearestLanguage) {
    const KeyFile file = KeyFile::parse("[A]\nName=Trash\nName[de]=Eimer\nName[pt_BR]=Lixeira");
    const QLocale earlier;
    for (const auto& [locale, name] :
         {std::pair("de_AT", "Eimer"), {"pt_BR", "Lixeira"}, {"fr_FR", "Trash"}}) {
        QLocale::setDefault(QLocale(QLatin1String(locale)));
        EXPECT_EQ(file.localizedText("A", "Name"), name);
    }
    QLocale::setDefault(earlier);
}

TEST(SmallFile, IsRegularAndShortAndBehindALinkOnlyWhenAskedFor) {
    const test::ScratchFolder scratch;
    test::writeFile(scratch / "f", "12345");
    ASSERT_EQ(symlink("f", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink("fifo", (scratch / "tofifo").c_str()), 0);
    const auto read = [&](const char* name, std::size_t limit, LastLink link) {
        return readSmallFile(FileUrl::fromPath(scratch / name), limit, link);
    };
    EXPECT_EQ(read("f", 5, LastLink::Refuse), "12345");
    EXPECT_FALSE(read("f", 4, LastLink::Refuse));
    EXPECT_EQ(read("link", 5, LastLink::Follow), "12345");
    EXPECT_FALSE(read("link", 5, LastLink::Refuse));
    for (const char* bad : {".", "fifo", "tofifo"}) {
        EXPECT_FALSE(read(bad, 5, LastLink::Follow)) << bad << " must not be waited for";
    }
}

TEST(OpenRegularFile, OpensNothingElseAndLeavesNoTrace) {
    const test::ScratchFolder scratch;
    const std::string file = scratch / "f";
    test::writeFile(file, "12345");
    const timespec longAgo[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), longAgo, 0), 0);
    const ItemIdentity identity = identityAt(AT_FDCWD, file.c_str());
    const auto opened = openRegularFile(FileUrl::fromPath(file), identity);
    ASSERT_TRUE(opened);
    char byte = 0;
    EXPECT_EQ(::pread(opened->get(), &byte, 1, 4), 1);
    EXPECT_EQ(byte, '5');
    EXPECT_LT(::write(opened->get(), "x", 1), 0);
    EXPECT_EQ(::fcntl(opened->get(), F_GETFD), FD_CLOEXEC);
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_atime, 1000);

    test::writeFile(scratch / "new");
    ASSERT_EQ(::rename((scratch / "new").c_str(), file.c_str()), 0);
    ASSERT_EQ(symlink("f", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    for (const auto& [name, expected, error] : {std::tuple("f", identity, ESTALE),
                                                {"link", ItemIdentity{}, EINVAL},
                                                {"fifo", ItemIdentity{}, EINVAL},
                                                {".", ItemIdentity{}, EINVAL},
                                                {"absent", ItemIdentity{}, ENOENT}}) {
        const auto refused = openRegularFile(FileUrl::fromPath(scratch / name), expected);
        EXPECT_EQ(refused.error().systemError, error) << name;
    }
}

TEST(SealedFile, HoldsItsBytesForGood) {
    const std::string bytes(100'000, 'k');
    const auto file = sealedFile(bytes);
    ASSERT_TRUE(file);
    EXPECT_EQ(*readSealedFile(file->get(), bytes.size()), bytes);
    EXPECT_EQ(readSealedFile(file->get(), bytes.size() - 1).error().code, EFBIG);
    EXPECT_EQ(::fcntl(file->get(), F_GET_SEALS),
              F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
}

}  // namespace
}  // namespace kestrin
