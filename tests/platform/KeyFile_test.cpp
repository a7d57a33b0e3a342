// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/KeyFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocale>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

TEST(KeyFileTest, ReadsGroupsAndPassesOverWhatIsNone) {
    const KeyFile file = KeyFile::parse(
        "Stray=1\n# [A]\n[A]\r\n Name = one two \r\nName=second\nno equals\nEmpty=\n"
        "[broken\nName=lost\n[B]\nName=b\n[A]\nLater=yes");
    EXPECT_EQ(file.text("A", "Name"), "one two");
    EXPECT_EQ(file.text("A", "Later"), "yes");
    EXPECT_EQ(file.text("B", "Name"), "b");
    EXPECT_EQ(file.rawValue("A", "Empty"), "");
    EXPECT_FALSE(file.rawValue("A", "Stray"));
    EXPECT_FALSE(file.rawValue("C", "Name"));
}

TEST(KeyFileTest, UndoesEscapesAndKeepsOddOnes) {
    const KeyFile file = KeyFile::parse("[A]\nText=a\\sb\\\\n\\n\\q\\");
    EXPECT_EQ(file.text("A", "Text"), "a b\\n\nq\\");
    EXPECT_EQ(file.rawValue("A", "Text"), "a\\sb\\\\n\\n\\q\\");
}

TEST(KeyFileTest, TakesTheNearestLanguage) {
    const KeyFile file =
        KeyFile::parse("[A]\nName=Trash\nName[de]=Papierkorb\nName[pt_BR]=Lixeira");
    const QLocale earlier;
    const auto nameIn = [&](const char* locale) {
        QLocale::setDefault(QLocale(QLatin1String(locale)));
        return file.localizedText("A", "Name");
    };
    EXPECT_EQ(nameIn("de_AT"), "Papierkorb");
    EXPECT_EQ(nameIn("pt_BR"), "Lixeira");
    EXPECT_EQ(nameIn("fr_FR"), "Trash");
    QLocale::setDefault(earlier);
}

TEST(SmallFileTest, ReadsRegularFilesUpToTheLimit) {
    const ScratchFolder scratch;
    const FileUrl file = FileUrl::fromPath(scratch / "f");
    writeFile(file.path(), "12345");
    EXPECT_EQ(readSmallFile(file, 5, LastLink::Refuse), "12345");
    EXPECT_FALSE(readSmallFile(file, 4, LastLink::Refuse));
    EXPECT_FALSE(readSmallFile(FileUrl::fromPath(scratch.path()), 5, LastLink::Follow));
}

TEST(SmallFileTest, FollowsALinkOnlyWhenAskedToAndWaitsForNoFifo) {
    const ScratchFolder scratch;
    writeFile(scratch / "f", "text");
    ASSERT_EQ(symlink("f", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink("fifo", (scratch / "tofifo").c_str()), 0);
    EXPECT_EQ(readSmallFile(FileUrl::fromPath(scratch / "link"), 9, LastLink::Follow), "text");
    EXPECT_FALSE(readSmallFile(FileUrl::fromPath(scratch / "link"), 9, LastLink::Refuse));
    EXPECT_FALSE(readSmallFile(FileUrl::fromPath(scratch / "fifo"), 9, LastLink::Refuse));
    EXPECT_FALSE(readSmallFile(FileUrl::fromPath(scratch / "tofifo"), 9, LastLink::Follow));
}

}  // namespace
}  // namespace kestrin
