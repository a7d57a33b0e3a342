// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/MimeGlobs.h"

#include <gtest/gtest.h>

#include <QMimeDatabase>
#include <sstream>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

TEST(MimeGlobs, GiveEveryNameTheTypeThatQtGivesIt) {
    const std::string file = "/usr/share/mime/globs2";
    if (!exists(file)) GTEST_SKIP() << "no MIME database here";
    const MimeGlobs globs({FileUrl::fromPath("/usr/share")});
    std::vector<std::string> names{"Makefile",
                                   "makefile.am",
                                   "README.old",
                                   "ReadMe",
                                   "x.C",
                                   ".bashrc",
                                   "a.",
                                   "..",
                                   "x~",
                                   "~",
                                   "\xff\xfe.PDF",
                                   "a.\xff",
                                   "x.so.3",
                                   "core",
                                   "Core",
                                   ".html",
                                   "a b.unknown.gz",
                                   "",
                                   "x.3",
                                   "f",
                                   "\xff.3",
                                   "123.vdr",
                                   "12.vdr",
                                   "html"};
    names.push_back(std::string(250, 'n') + ".jpeg");
    names.push_back(std::string(255, '.'));
    std::istringstream lines(readFile(file));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t dot = line.find(":*.");
        if (dot == std::string::npos) continue;
        const std::string extension = line.substr(dot + 2, line.find(':', dot + 1) - dot - 2);
        const QString text = QString::fromStdString(extension);
        names.push_back("a" + extension);
        names.push_back("A B" + text.toUpper().toStdString());
        names.push_back("a.tar" + extension + (names.size() % 2 ? ".gz" : ".bak"));
    }
    ASSERT_GT(names.size(), 1000u);
    for (const std::string& name : names) {
        const QString expected =
            QMimeDatabase()
                .mimeTypeForFile(QString::fromUtf8(name.c_str()), QMimeDatabase::MatchExtension)
                .name();
        const std::string_view type = globs.typeOfName(name);
        EXPECT_EQ(type.empty() ? "application/octet-stream" : type, expected.toStdString()) << name;
    }
}

TEST(MimeGlobs, TheWeightThenTheLengthThenTheFolderThenTheTypeDecides) {
    const ScratchFolder own, common;
    writeFile(own / "mime/globs2",
              "# comment\n0:t/closed:__NOGLOBS__\n50:t/closed:*.kept\n50:z/own:*.both\n"
              "90:z/heavy:*.both2\n20:a/light:*.long.both2\n50:t/case:*.Up:cs,later:more\n"
              "50:t/case:*.Up\n50:t/whole:Exactly.This\n50:a/alias:*.alias\n");
    writeFile(own / "mime/aliases", "a/alias a/real\nodd\n a\n");
    writeFile(
        common / "mime/globs2",
        "90:t/closed:*.gone\n50:a/common:*.both\n50:b/tie:*.tie\n50:a/tie:*.tie\n"
        "99:a/suffix:*.this\n50:a/middle:pre*fix\n50:a/longer:pre*.*fix\n60:a/class:*.v[0-9]");
    const MimeGlobs globs({FileUrl::fromPath(own.path()), FileUrl::fromPath(own / "absent"),
                           FileUrl::fromPath(common.path())});
    for (const auto& [name, type] : {std::pair{"a.gone", ""},
                                     {"a.kept", "t/closed"},
                                     {"a.both", "z/own"},
                                     {"a.long.both2", "z/heavy"},
                                     {"a.Up", "t/case"},
                                     {"a.up", ""},
                                     {"a.UP", ""},
                                     {"EXACTLY.this", "t/whole"},
                                     {"other.this", "a/suffix"},
                                     {"a.alias", "a/real"},
                                     {"a.tie", "a/tie"},
                                     {"pre-fix", "a/middle"},
                                     {"pre.-fix", "a/longer"},
                                     {"Pre.v7", "a/class"}})
        EXPECT_EQ(globs.typeOfName(name), type) << name;
}

TEST(MimeGlobs, PassOverWhatIsNoGlob) {
    const ScratchFolder scratch;
    const std::string zero(1, '\0');
    std::string text =
        "50\n50:\n50:t\n50:t/a:\n:t/a:*.a\n-1:t/a:*.b\n101:t/a:*.c\n5 :t/a:*.d\n"
        "99999999999999999999:t/a:*.e\n50:t/a" +
        zero + ":*.f\n50:t/a:*.g" + zero + "\n50:t/a:*." + std::string(300, 'h') +
        "\n50:" + std::string(300, 't') + ":*.i\n50:t/a:[\n50:t/a:*\n50:t/b:*.good\n";
    for (int number = 0; number < 20000; ++number)
        text += "50:t/a:*a*a*a*a*a*a*" + std::to_string(number) + "\n";
    writeFile(scratch / "mime/globs2", text + "50:t/c:*.late[0-9]*");
    const MimeGlobs globs({FileUrl::fromPath(scratch.path())});
    EXPECT_EQ(globs.typeOfName("a.good"), "t/b");
    EXPECT_EQ(globs.typeOfName("a.late1"), "t/a") << "behind more than anybody waits for";
    EXPECT_EQ(globs.typeOfName(std::string(255, 'a')), "t/a") << "the star";
    writeFile(scratch / "large/mime/globs2", text + std::string(std::size_t{4} << 20, '#'));
    EXPECT_EQ(MimeGlobs({FileUrl::fromPath(scratch / "large")}).typeOfName("a.good"), "");
}

}  // namespace
}  // namespace kestrin
