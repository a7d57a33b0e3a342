// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <QDesktopServices>
#include <QLocale>
#include <QUrl>

#include "fsutil/support/FilesTest.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

/// The desktop's opener of files while it lives.
class Opener : public QObject {
    Q_OBJECT

 public:
    Opener() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~Opener() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    Q_INVOKABLE void open(const QUrl& url) { opened.push_back(url.toEncoded()); }

    QList<QByteArray> opened;
};

class ApplicationsTest : public ::testing::Test {
 protected:
    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "none"};
    QVFilesUtilities utilities;
};

TEST_F(ApplicationsTest, ApplicationIsFoundWithItsNamesAndVersion) {
    const std::string folder = scratch / "data/applications/";
    const FileUrl entry = FileUrl::fromPath(folder + "org.x.Editor.desktop");
    writeFile(entry.path(),
              "[Desktop Entry]\nVersion=1.5\nX-AppVersion=4.2\nName=Text Editor\n"
              "Name[de]=Texteditor\n");
    EXPECT_EQ(utilities.appURLWithIdentifier("org.x.Editor"), entry);
    EXPECT_EQ(utilities.appVersionWithURL(entry), QStringLiteral("4.2"));
    const QLocale earlier;
    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(utilities.originalAppNameWithIdentifier("org.x.Editor"),
              QStringLiteral("org.x.Editor"));
    EXPECT_EQ(utilities.appNameWithIdentifier("org.x.Editor"), QStringLiteral("Texteditor"));
    QLocale::setDefault(earlier);

    writeFile(folder + "org.x.Tool.desktop", "[Desktop Entry]\nVersion=1.5\n");
    EXPECT_EQ(utilities.appNameWithIdentifier("org.x.Tool"), QStringLiteral("org.x.Tool"));
    EXPECT_TRUE(
        utilities.appVersionWithURL(FileUrl::fromPath(folder + "org.x.Tool.desktop")).isEmpty());
    EXPECT_FALSE(utilities.appWithIdentifierExists("org.x.Missing"));
    EXPECT_TRUE(utilities.appNameWithIdentifier("org.x.Missing").isEmpty());
    EXPECT_TRUE(utilities.originalAppNameWithIdentifier("org.x.Missing").isEmpty());
    EXPECT_EQ(utilities.appIconWithIdentifier("org.x.Missing"),
              utilities.placeholderImageWithSize(QSize(32, 32)));
}

using LaunchTest = FilesTest;

TEST_F(LaunchTest, ItemsAreOpenedAndNeverRun) {
    using enum LaunchResult;
    Opener opener;
    const auto launched = [this](const std::string& name) {
        return utilities.launchItems({scratch / name}).front();
    };
    const std::string hostile = "a \"b'\xff%20\n$(x).txt";
    writeFile(scratch / hostile, "text");
    makeFolder(scratch / "folder");
    EXPECT_EQ(utilities.launchItems({scratch / hostile, scratch / "none", scratch / "folder", ""}),
              (std::vector{Opened, Unreadable, Opened, Unreadable}));
    const QByteArray base = "file://" + QByteArray::fromStdString(scratch.path());
    EXPECT_EQ(opener.opened, (QList<QByteArray>{base + "/a%20%22b%27%FF%2520%0A%24%28x%29.txt",
                                                base + "/folder"}));
    opener.opened.clear();

    struct Case {
        const char* name;
        std::string content;
        mode_t mode;
        LaunchResult result;
    };
    for (const Case& file :
         {Case{"script.py", "print()", 0644, Opened}, Case{"script.py", "print()", 0755, Refused},
          Case{"picture.png", "#!/bin/sh\n", 0755, Refused},
          Case{"picture.jpg",
               std::string("\x7f"
                           "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0",
                           18),
               0644, Refused},
          Case{"photo.jpg", "\xff\xd8\xff", 0777, Opened},
          Case{"start.desktop", "x", 0644, Refused}, Case{"setup.EXE", "x", 0644, Refused},
          Case{"letter", "[Desktop Entry]\nExec=x\n", 0644, Refused},
          Case{"secret.txt", "x", 0200, Unreadable}}) {
        writeFile(scratch / file.name, file.content);
        ASSERT_EQ(chmod((scratch / file.name).c_str(), file.mode), 0);
        EXPECT_EQ(launched(file.name), file.result) << file.name << " " << file.mode;
        chmod((scratch / file.name).c_str(), 0644);
    }
    ASSERT_EQ(symlink("start.desktop", (scratch / "innocent.txt").c_str()), 0);
    EXPECT_EQ(launched("innocent.txt"), Refused);
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0644), 0);
    EXPECT_EQ(launched("fifo"), Refused);
    EXPECT_EQ(opener.opened.size(), 2);
}

}  // namespace
}  // namespace kestrin

#include "QVFilesUtilities_applications_test.moc"
