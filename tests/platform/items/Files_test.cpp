// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocale>
#include <string>

#include "platform/items/ItemKinds.h"
#include "platform/items/KeyFile.h"
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
        "[broken\nStray=lost\n[B]\nName=b\n[A]\nLater=a\\sb\\\\n\\n\\q\\");
    EXPECT_EQ(file.text("A", "Name"), "one two");
    EXPECT_EQ(file.text("A", "Later"), "a b\\n\nq\\");
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

TEST(SealedFile, HoldsItsBytesForGood) {
    const std::string bytes(100'000, 'k');
    const auto file = sealedFile(bytes);
    ASSERT_TRUE(file);
    std::string read(bytes.size() + 1, '\0');
    EXPECT_EQ(::pread(file->get(), read.data(), read.size(), 0), ssize_t(bytes.size()));
    EXPECT_TRUE(read.starts_with(bytes));
    EXPECT_EQ(::fcntl(file->get(), F_GET_SEALS),
              F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
}

}  // namespace
}  // namespace kestrin
