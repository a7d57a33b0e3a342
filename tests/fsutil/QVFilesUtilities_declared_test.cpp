// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "base/StringTable.h"
#include "fsutil/QVFilesUtilities.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

const QVFilesUtilities files;

std::string bundleText(const std::string& documentTypes) {
    return R"(<?xml version="1.0"?><plist version="1.0"><dict><key>CFBundleDocumentTypes</key>)" +
           documentTypes + "</dict></plist>";
}

/// A list of property list texts under a key.
std::string listText(const std::string& key, const std::vector<std::string>& members) {
    std::string text = "<key>" + key + "</key><array>";
    for (const std::string& member : members)
        text += "<string>" + member + "</string>";
    return text + "</array>";
}

std::string entryText(const std::string& types, const std::string& more = "Type=Application") {
    return "[Desktop Entry]\n" + more + "\nMimeType=" + types + "\n";
}

class DeclaredTypesTest : public ::testing::Test {
 protected:
    std::string declared(const std::string& item, TagClass tagClass, std::string text = {}) {
        return files.multiTypesFromURL(FileUrl::fromPath(scratch / item), tagClass, text);
    }
    void writeBundle(const std::string& item, const std::string& text) {
        writeFile(scratch / item + "/Contents/Info.plist", text);
    }

    ScratchFolder scratch;
};

TEST_F(DeclaredTypesTest, BundlesDeclareTypesOfWhichTheTextTakesThoseItDoesNotContain) {
    writeBundle(
        "a.app",
        bundleText("<array><string>odd</string><dict>" +
                   listText("CFBundleTypeOSTypes", {"PDF ", "****", "????", "fold", "*", "", "    ",
                                                    "TIF", "TIFFS", "pdf ", "T\xc3\x84XT"}) +
                   listText("LSItemContentTypes", {"image/jpeg", "public.none", "text/html"}) +
                   listText("CFBundleTypeExtensions", {"unused"}) + "</dict><dict>" +
                   listText("LSItemContentTypes", {"public.none"}) +
                   listText("CFBundleTypeExtensions",
                            {"HTM", "*", "docx", "Doc", "t\xc3\xa4xt", "tif", "longer", "fold"}) +
                   "</dict><dict>" + listText("CFBundleTypeOSTypes", {"T\xc3\xa4xt", "8BPS"}) +
                   "</dict></array>"));
    EXPECT_EQ(declared("a.app", TagClass::TypeCode, "ABCD,"), "ABCD,PDF ,T\xc3\x84XT,8BPS,");
    EXPECT_EQ(declared("a.app", TagClass::Extension), "jpg,html,docx,t\xc3\xa4xt,tif,longer,");
    EXPECT_EQ(declared("a.app", TagClass::Extension, "JPG;T\xc3\x84XT,tiff"),
              "JPG;T\xc3\x84XT,tiffhtml,docx,longer,");
}

TEST_F(DeclaredTypesTest, WhatIsNoDictionaryOfTypesDeclaresNothing) {
    const std::string list = listText("CFBundleTypeExtensions", {"odd"});
    const std::string good = bundleText("<array><dict>" + list + "</dict></array>");
    for (const std::string& text :
         {std::string(), std::string("bplist00"), bundleText("<array/>"),
          bundleText("<string>odd</string>"), bundleText("<dict>" + list + "</dict>"),
          good + std::string(std::size_t{1} << 20, ' '),
          bundleText("<array><dict>" + listText("LSItemContentTypes", {"x/y"}) +
                     "</dict></array>")}) {
        writeBundle("a.app", text);
        EXPECT_EQ(declared("a.app", TagClass::Extension, "T"), "T") << text.substr(0, 200);
    }
    writeBundle("a.app", good);
    EXPECT_EQ(declared("a.app", TagClass::Extension), "odd,");
    makeFolder(scratch / "fifo.app/Contents");
    ASSERT_EQ(mkfifo((scratch / "fifo.app/Contents/Info.plist").c_str(), 0600), 0);
    for (const std::string& entry :
         {entryText("image/jpeg", "Type=Link"),
          entryText("image/jpeg", "Type=Application\nHidden=true"), entryText(";;"),
          std::string("[Desktop Entry]\nType=Application\n"),
          "#" + std::string(std::size_t{1} << 20, 'x') + "\n" + entryText("image/jpeg")}) {
        writeFile(scratch / "e.desktop", entry);
        for (const char* item : {"e.desktop", "fifo.app", "absent.app"})
            EXPECT_EQ(declared(item, TagClass::Extension, "T"), "T") << item;
    }
    writeFile(scratch / "e.desktop",
              entryText("image/png;\\;\\\\;x/y;;application/x-zip;text/html"));
    EXPECT_EQ(declared("e.desktop", TagClass::Extension), "png,zip,html,");
    EXPECT_EQ(declared("e.desktop", TagClass::TypeCode), "");
    std::string text = "T";
    EXPECT_EQ(files.multiTypesFromURL({}, TagClass::Extension, text), "T");
}

TEST_F(DeclaredTypesTest, FoldersAreWalkedToTheBottomAndPackagesAndLinksAreNotEntered) {
    const auto bundle = [](const std::string& extension) {
        return bundleText("<array><dict>" + listText("CFBundleTypeExtensions", {extension}) +
                          listText("CFBundleTypeOSTypes", {extension}) + "</dict></array>");
    };
    const std::string apps = "real/applications/";
    writeBundle(apps + "b.app", bundle("4bbb"));
    writeBundle(apps + "b.app/inner.app", bundle("no1 "));
    writeBundle(apps + "kit.framework/inner.app", bundle("no2 "));
    writeBundle(apps + "a/z/deep.app", bundle("4deep"));
    writeBundle(apps + "not.APP", bundle("no3 "));
    writeBundle("outside/linked.app", bundle("no4 "));
    writeFile(scratch / apps + "c\n\xff/entry.desktop", entryText("image/png"));
    writeFile(scratch / "outside/link.desktop", entryText("image/jpeg"));
    const auto link = [&](const std::string& target, const std::string& name) {
        EXPECT_EQ(symlink(target.c_str(), (scratch / name).c_str()), 0) << name;
    };
    writeBundle(apps + "y", bundle("4yyy"));
    const bool hasAttributes = setxattr((scratch / apps + "y").c_str(), "user.com.apple.FinderInfo",
                                        ("APPL" + std::string(28, '\0')).c_str(), 32, 0) == 0;
    const std::string coded = hasAttributes ? "4yyy," : "";
    link("../../outside", apps + "link");
    link("..", apps + "loop");
    link("../../outside/link.desktop", apps + "d.desktop");
    link("real/applications", "applications");
    makeFolder(scratch / apps + "folder.desktop");
    const std::string before = listing(scratch.path());
    std::string types, extensions = "x,";
    files.iterateFolderDocuments(FileUrl::fromPath(scratch / "applications"), types, extensions);
    EXPECT_EQ(types, "4bbb," + coded);
    EXPECT_EQ(extensions, "x,4deep,4bbb,png,jpg," + coded);
    EXPECT_EQ(listing(scratch.path()), before);
    for (const FileUrl& none : {FileUrl(), FileUrl::fromPath(scratch / "absent"),
                                FileUrl::fromPath(scratch / "outside/link.desktop")})
        files.iterateFolderDocuments(none, types, extensions);
    EXPECT_EQ(types + extensions, "4bbb," + coded + "x,4deep,4bbb,png,jpg," + coded);

    const ScopedVariable own("XDG_DATA_HOME", scratch.path());
    const ScopedVariable common("XDG_DATA_DIRS", scratch / "share");
    writeFile(scratch / "share/applications/e.desktop", entryText("image/png;image/gif;"));
    EXPECT_EQ(files.availableExtensionsAnTypes().extensionsString,
              "4deep,4bbb,png,jpg," + coded + "gif,");
    EXPECT_EQ(files.availableExtensionsAnTypes().typesString, "4bbb," + coded);
}

TEST(KindNames, GroupCodesAndExtensionsByWhatTheSystemCallsThem) {
    const ScratchFolder data;
    const ScopedVariable own("XDG_DATA_HOME", data.path());
    writeFile(data / "mime/globs2", "50:inode/directory:*.folded\n");
    const QString unknown = StringTable::sharedControl().text("no_file_kind");
    QStringList names;
    const auto kinds = files.kindNamesWithTypes("PNG ,fold,none,PNGf,PNG ,", "txt,PNG,a b", &names);
    ASSERT_EQ(names.size(), 3);
    EXPECT_EQ(names[1], unknown);
    const KindTags& images = kinds.at(names[0]);
    EXPECT_EQ(images.types, (std::vector<std::string>{"PNG ", "PNGf"}));
    EXPECT_EQ(images.extensions, std::vector<std::string>{"PNG"});
    EXPECT_EQ(kinds.at(unknown).types, (std::vector<std::string>{"none", ""}));
    EXPECT_EQ(kinds.at(unknown).extensions, std::vector<std::string>{"a b"});
    EXPECT_EQ(kinds.at(names[2]).extensions, std::vector<std::string>{"txt"});
    EXPECT_EQ(kinds.size(), 3u);
    EXPECT_TRUE(files.kindNamesWithTypes("PN", "c").empty());
    EXPECT_EQ(files.kindNamesWithTypes("PNG", "gz").size(), 2u);
    if (typeForTag(TagClass::Extension, "folded") != "inode/directory")
        GTEST_SKIP() << "an earlier test of this process has read the database";
    EXPECT_EQ(files.kindNamesWithTypes("fold", "folded").size(), 1u) << "codes alone are left out";
}

}  // namespace
}  // namespace kestrin
