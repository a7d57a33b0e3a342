// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDesktopServices>
#include <QMimeData>
#include <QUrl>

#include "fsutil/QVFilesUtilities.h"
#include "fsutil/support/FilesTest.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::Each;

/// The desktop's opener of files while it lives.
class Opener : public QObject {
    Q_OBJECT

 public:
    Opener() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~Opener() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    Q_INVOKABLE void open(const QUrl& url) { opened.push_back(url.toEncoded()); }

    QList<QByteArray> opened;
};

using ApplicationsTest = FilesTest;

TEST_F(ApplicationsTest, ApplicationIsFoundWithItsNameAndVersion) {
    const ScopedVariable dataHome("XDG_DATA_HOME", scratch / "data");
    const FileUrl entry = file("data/applications/org.x.Editor.desktop",
                               "[Desktop Entry]\nVersion=1.5\nX-AppVersion=4.2\nName=Editor\n");
    EXPECT_EQ(utilities.appURLWithIdentifier("org.x.Editor"), entry);
    EXPECT_EQ(utilities.appVersionWithURL(entry), QStringLiteral("4.2"));
    EXPECT_EQ(utilities.appNameWithIdentifier("org.x.Editor"), QStringLiteral("Editor"));
    EXPECT_FALSE(utilities.appWithIdentifierExists("org.x.Missing"));
}

class LaunchTest : public FilesTest {
 protected:
    std::vector<LaunchResult> launchItems(
        const std::vector<std::string>& paths,
        std::chrono::milliseconds patience = std::chrono::seconds(10)) {
        std::vector<LaunchResult> results;
        utilities.launchItems(
            paths, [&](const std::vector<LaunchResult>& answer) { results = answer; }, patience);
        waitFor([&] { return !results.empty(); });
        return results;
    }
};

TEST_F(LaunchTest, ItemsAreOpenedAndNeverRun) {
    using enum LaunchResult;
    Opener opener;
    const auto launched = [this](const std::string& name) {
        return launchItems({scratch / name}).front();
    };
    const std::string hostile = "a \"b'\xff%20\n$(x).txt";
    writeFile(scratch / hostile, "text");
    makeFolder(scratch / "folder");
    EXPECT_EQ(launchItems({scratch / hostile, scratch / "none", scratch / "folder", ""}),
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
    const std::vector many(5000, scratch / "photo.jpg");
    EXPECT_THAT(launchItems(many, std::chrono::milliseconds(0)), Each(Silent));
    EXPECT_EQ(opener.opened.size(), 2);
}

class PathsTest : public ::testing::Test {
 protected:
    QVFilesUtilities utilities;
    /// What paths of the start-up volume begin with; its name has no slash wherever tests run.
    const std::string startup = "/Volumes/" + DefaultVolumeName().toStdString();
};

TEST_F(PathsTest, AreMadeAbsoluteAndCut) {
    EXPECT_EQ(utilities.setAbsolutePath("/a\xff"), startup + "/a\xff");
    EXPECT_EQ(utilities.setAbsolutePath("/Volumes/Data/x"), "/Volumes/Data/x");
    const FileUrl item = FileUrl::fromPath("/a/b");
    EXPECT_EQ(utilities.setAbsoluteURL(item, FileUrl::fromPath(startup)).path(), startup + "/a/b");
    EXPECT_EQ(utilities.setAbsoluteURL(item, FileUrl::fromPath("/a")), item);
    EXPECT_EQ(utilities.removeLastSlash("/a/"), "/a");
    std::uint16_t count = 7;
    EXPECT_EQ(utilities.removeSlashesFromFileSystemName("a/b/c", count), "a:b:c");
    EXPECT_EQ(count, 2);
    EXPECT_EQ(utilities.removeFirstPathComponent("/Volumes/Data/x", std::nullopt), "/Data/x");
}

TEST_F(PathsTest, HostPathTakesTheStartupVolumeForTheRoot) {
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup)), "/");
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup + "/a/b")), "/a/b");
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup + "x/a")), startup + "x/a");
    EXPECT_EQ(hostPath(FileUrl::fromPath("/Volumes")), "/Volumes");
    EXPECT_EQ(hostPath(FileUrl::fromPath("/a" + startup)), "/a" + startup);
}

using ListsTest = FilesTest;

TEST_F(ListsTest, SuitableLocationsAreFoldersThatAreNotTheSystems) {
    const FileUrl plain = folder("plain"), library = folder("p.photoslibrary"),
                  libraryFile = file("f.photoslibrary");
    std::vector<FileUrl> all = {library, file("file"), link("link", "plain"), libraryFile, plain};
    for (const char* name : {"deep/.Trashes", "Library", "x.lrcat", ".Archived_Directories\n"})
        all.push_back(folder(name));
    for (const char* path : {"/", "/usr", "/Volumes"})
        all.push_back(FileUrl::fromPath(path));
    EXPECT_EQ(utilities.suitableURLsWithArray(all), (std::vector{library, libraryFile, plain}));
}

TEST_F(ListsTest, FoldersOfASelectionFollowAliasesAndKeepSystemNames) {
    const FileUrl plain = folder("plain"), system = folder("Library");
    const FileUrl relative = link("relative", "plain"), absolute = link("absolute", system.path());
    const FileUrl toFile = link("tofile", file("file").path()), dangling = link("x", "nowhere");
    const auto folders = utilities.foldersWithItemsArray(
        {relative, absolute, toFile, dangling, folder("x.lrcat"), system});
    EXPECT_EQ(folders, (std::vector{plain, system, system}));
    EXPECT_EQ(utilities.followTheAliasOfPathsIfNeeded({relative.path(), absolute.path()}),
              (std::vector{plain.path(), system.path()}));
    EXPECT_EQ(std::any_cast<std::string>(utilities.URLsToPaths(std::any(plain))), plain.path());
}

TEST_F(ListsTest, PasteboardKeepsEveryByteOfANameAndLocationsOfOtherKinds) {
    QMimeData pasteboard;
    EXPECT_TRUE(utilities.pasteboardItemsWithPasteboard(pasteboard).empty());
    pasteboard.setData(QStringLiteral("text/uri-list"),
                       "# comment\r\nfile:///a%FF%0A%25b\r\nhttps://example.org/x\r\n"
                       "no location\r\nfile:///plain%20name\r\n");
    const auto locations = utilities.pasteboardItemsWithPasteboard(pasteboard);
    ASSERT_EQ(locations.size(), 3u);
    EXPECT_EQ(std::any_cast<FileUrl>(locations[0]), FileUrl::fromPath("/a\xff\n%b"));
    EXPECT_EQ(std::any_cast<QUrl>(locations[1]), QUrl(QStringLiteral("https://example.org/x")));
    EXPECT_EQ(std::any_cast<FileUrl>(locations[2]), FileUrl::fromPath("/plain name"));
}

}  // namespace
}  // namespace kestrin

#include "QVFilesUtilities_paths_test.moc"
