// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/KeyFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocale>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

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

}  // namespace
}  // namespace kestrin
