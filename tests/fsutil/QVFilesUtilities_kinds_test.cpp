// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <map>
#include <set>
#include <sstream>

#include "fsutil/FileKindTables.h"
#include "fsutil/support/FilesTest.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using Texts = std::vector<std::string>;
using Files = QVFilesUtilities;

Texts split(const std::string& text, char separator) {
    std::istringstream rest(text);
    Texts pieces;
    for (std::string piece; std::getline(rest, piece, separator);)
        pieces.push_back(piece);
    return pieces;
}

/// The lines of kinds.txt: the form and the operation, and the members.
std::map<std::pair<std::string, std::string>, Texts> listedKinds() {
    std::map<std::pair<std::string, std::string>, Texts> kinds;
    for (const std::string& line : split(readFile(KESTRIN_KINDS), '\n')) {
        if (line.starts_with('#')) continue;
        Texts members = split(line, '|');
        const Texts names = split(members.front(), ' ');
        members.erase(members.begin());
        kinds[{names.at(0), names.at(1)}] = members;
    }
    return kinds;
}

OSType codeOf(const std::string& text) {
    if (text.size() != 4) return 0;
    const auto byte = [&](int at) { return OSType{static_cast<unsigned char>(text[at])}; };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

TEST(FileKinds, TablesHoldTheirMembersInEveryForm) {
    const std::map<std::string, FlatTableOperation> flat{
        {"imagesTypes", &Files::imagesTypes},
        {"imagesExtensions", &Files::imagesExtensions},
        {"imagesForContentCheckTypes", &Files::imagesForContentCheckTypes},
        {"musicExtensions", &Files::musicExtensions},
        {"musicOSTypes", &Files::musicOSTypes},
        {"moviesExtensions", &Files::moviesExtensions},
        {"archiveExtensions", &Files::archiveExtensions},
        {"documentExtensions", &Files::documentExtensions},
        {"PDFExtensions", &Files::PDFExtensions}};
    const std::map<std::string, ListTableOperation> lists{
        {"imagesOSTypesArray", &Files::imagesOSTypesArray},
        {"arrayImagesTypes", &Files::arrayImagesTypes},
        {"arrayImagesExtensions", &Files::arrayImagesExtensions},
        {"arrayImagesForContentCheckTypes", &Files::arrayImagesForContentCheckTypes},
        {"imagesContentCheckExtensions", &Files::imagesContentCheckExtensions},
        {"arrayMusicExtensions", &Files::arrayMusicExtensions},
        {"musicOSTypesArray", &Files::musicOSTypesArray},
        {"musicForTagCheckExtensions", &Files::musicForTagCheckExtensions},
        {"musicForTagCheckTypes", &Files::musicForTagCheckTypes},
        {"moviesContentCheckExtensions", &Files::moviesContentCheckExtensions},
        {"arrayMoviesOSTypes", &Files::arrayMoviesOSTypes},
        {"moviesOSTypesArray", &Files::moviesOSTypesArray},
        {"archiveOSTYpesArray", &Files::archiveOSTYpesArray},
        {"documentOSTypesArray", &Files::documentOSTypesArray},
        {"textExtensions", &Files::textExtensions},
        {"arrayTextExtensions", &Files::arrayTextExtensions},
        {"arrayTextOSTypes", &Files::arrayTextOSTypes},
        {"arrayPDFOSTypes", &Files::arrayPDFOSTypes}};
    const Files files;
    std::size_t checked = 0;
    for (const auto& [line, members] : listedKinds()) {
        const auto& [form, name] = line;
        SCOPED_TRACE(name);
        if (form == "codes" || form == "extensions") continue;
        ++checked;
        if (form == "flat" || form == "quoted") {
            const std::string quote = form == "quoted" ? "'" : "";
            std::string text;
            for (const std::string& member : members)
                text.append(text.empty() ? "" : ",").append(quote).append(member).append(quote);
            EXPECT_EQ((files.*flat.at(name))(), text);
            EXPECT_EQ(files.extensionsMissingInArray({members[1], "own"}, flat.at(name)).at(2),
                      members[0]);
            continue;
        }
        Texts found;
        for (const std::string& text : (files.*lists.at(name))()) {
            const Texts pieces = split(text, ',');
            found.insert(found.end(), pieces.begin(), pieces.end());
            const std::size_t least = form == "list" ? 1 : std::min<std::size_t>(members.size(), 3);
            EXPECT_GE(pieces.size(), least) << text;
            EXPECT_LE(pieces.size(), form == "list" ? 1u : 5u) << text;
        }
        EXPECT_EQ(found, members);
        EXPECT_EQ(files.extensionsMissingInArray({}, lists.at(name)), members);
    }
    EXPECT_EQ(checked, flat.size() + lists.size());
    EXPECT_EQ(files.arrayImagesTypes().size(), 8u);
    EXPECT_EQ(files.arrayImagesTypes().back(), "DNG ,XBM, heif, heic");
}

TEST(FileKinds, ChecksAcceptTheirMembersAndNothingThatIsNearThem) {
    const auto kinds = listedKinds();
    std::set<std::string> tried{"", " ", "  "};
    for (const auto& [line, members] : kinds) {
        for (const std::string& member : members) {
            std::string upper = member, lower = member;
            for (char& c : upper)
                c = static_cast<char>(toupper(c));
            for (char& c : lower)
                c = static_cast<char>(tolower(c));
            tried.insert({member, upper, lower, member + ' ', ' ' + member, '.' + member,
                          member.substr(1), member.substr(0, member.size() - 1)});
        }
    }
    using Check = bool (Files::*)(OSType, std::string_view) const;
    const Files files;
    for (const auto& [name, check] :
         std::map<std::string, Check>{{"isImage", &Files::isImage},
                                      {"isAACFile", &Files::isAACFile},
                                      {"isMP3File", &Files::isMP3File},
                                      {"isSound", &Files::isSound},
                                      {"isCompressed", &Files::isCompressed},
                                      {"isFont", &Files::isFont}}) {
        const Texts &codes = kinds.at({"codes", name}),
                    &extensions = kinds.at({"extensions", name});
        const std::set<std::string> acceptedCodes(codes.begin(), codes.end());
        const std::set<std::string> accepted(extensions.begin(), extensions.end());
        for (const std::string& text : tried) {
            EXPECT_EQ((files.*check)(codeOf(text), ""), acceptedCodes.contains(text))
                << name << text;
            EXPECT_EQ((files.*check)(0, text), accepted.contains(text)) << name << text;
        }
        EXPECT_TRUE((files.*check)(codeOf(codes[0]), "none"));
    }
}

TEST(FileKinds, TablesCanBeAskedInAnyCase) {
    using enum ExtensionTable;
    for (const auto& [table, extension] : {std::pair(Images, "pSd"),
                                           {Images, "ARW"},
                                           {Sounds, "M3U"},
                                           {Movies, "Mov"},
                                           {Archives, "tar-Z"},
                                           {Documents, "xmap"},
                                           {Documents, "PDP"},
                                           {Text, "C++"},
                                           {Fonts, "TTF"}})
        EXPECT_TRUE(isListed(table, extension)) << extension;
    EXPECT_FALSE(isListed(Documents, "txt")) << "it is text";
    for (const char* const none : {"", "sd", "ps", "psd ", "\xff"})
        EXPECT_FALSE(isListed(Images, none)) << none;
}

using KindsTest = FilesTest;

TEST_F(KindsTest, FilesAreGatheredFromLocationsAndDirectlyFromFolders) {
    const FileUrl directory = folder("d"), package = folder("p.app"), closed = folder("closed");
    const FileUrl odd = file("d/odd\xff\n.jpg"), plain = file("d/a.b.jpg"),
                  alone = file("e/.h.jpg");
    for (const char* const passedOver :
         {"d/.hidden.jpg", "d/listed.jpg", "d/B.JPG", "d/jpg", "d/c.jpg ", "d/s.jpg/in.jpg",
          "d/p.app/in.jpg", "p.app/in.jpg", "closed/in.jpg"})
        file(passedOver);
    file("d/.hidden", "listed.jpg\n");
    ASSERT_EQ(mkfifo((scratch / "d/fifo.jpg").c_str(), 0600), 0);
    const FileUrl toFile = link("d/link.jpg", "a.b.jpg"), toFolder = link("l", "d");
    ASSERT_EQ(chmod(closed.path().c_str(), 0), 0);

    const Texts wanted{"png", "jpg", ""};
    std::vector<FileUrl> folders{alone.parent()};
    EXPECT_EQ(
        utilities.actualUrlsArray({closed, at("d/s.jpg"), directory, alone, plain, alone, package,
                                   at("p.app/in.jpg"), toFile, toFolder, at("absent.jpg"),
                                   at("d/jpg"), FileUrl(), FileUrl::withoutScheme(plain.path())},
                                  wanted, &folders),
        (std::vector{at("d/s.jpg/in.jpg"), plain, odd, alone, plain, alone, at("p.app/in.jpg")}));
    EXPECT_EQ(folders, (std::vector{alone.parent(), at("d/s.jpg"), directory, package}));
    EXPECT_EQ(utilities.actualUrlsArray(Texts{directory.path() + "/", "", alone.path()}, wanted),
              (std::vector{plain, odd, alone}));
    EXPECT_TRUE(utilities.isFileURL(at("x.tar.jpg"), wanted));
    for (const char* const other : {"x.JPG", "x.jp", "x.", "x", ".jpg", "jpg"})
        EXPECT_FALSE(utilities.isFileURL(at(other), wanted)) << other;
}

TEST_F(KindsTest, TextIsDecomposedAndOtherBytesStay) {
    for (const auto& [text, normalized] :
         {std::pair<std::string, std::string>("\u00e9\ufb01\u212b\u2460", "e\u0301fiA\u030a1"),
          {"a\u0301\u0323\uac01", "a\u0323\u0301\u1100\u1161\u11a8"},
          {"\xff\u00e9\xc3",
           "\xff"
           "e\u0301\xc3"},
          {"\ufeff\x01\uffff\U0001d400", "\ufeff\x01\uffffA"},
          {std::string("\0\xed\xa0\x80", 4), std::string("\0\xed\xa0\x80", 4)},
          {"", ""}})
        EXPECT_EQ(utilities.normalizeString(text), normalized);
}

TEST_F(KindsTest, FinderInformationIsReadInTheOrderOfThisHost) {
    const FileUrl item = file("f"), plain = file("plain"), short_ = file("short"),
                  closed = file("closed");
    std::string bytes =
        "JPEGogle\x01\x0e\xff\xfe"
        "\x01\x02";
    bytes.resize(32, '\x7f');
    for (const auto& [path, value] :
         {std::pair(item.path(), bytes), {short_.path(), bytes.substr(1)}}) {
        if (setxattr(path.c_str(), "user.com.apple.FinderInfo", value.data(), value.size(), 0) != 0)
            GTEST_SKIP() << "no attributes here: " << errno;
    }
    ASSERT_EQ(chmod(closed.path().c_str(), 0), 0);
    int error = 2;
    EXPECT_EQ(utilities.finderFileInfoWithPath(item.path(), error),
              (FinderInformation{0x4A504547, 0x6F676C65, 0x010E, -2, 0x0102, 0x7F7F}));
    EXPECT_EQ(error, 0);
    EXPECT_EQ(utilities.OSTypeWithURL(item), 0x4A504547u);
    for (const auto& [path, expected] : {std::pair(plain.path(), 0),
                                         {link("l", "f").path(), 0},
                                         {short_.path(), 1},
                                         {closed.path(), 1},
                                         {scratch / "absent", 1},
                                         {"", 1}}) {
        EXPECT_EQ(utilities.finderFileInfoWithPath(path, error), FinderInformation()) << path;
        EXPECT_EQ(error, expected) << path;
        EXPECT_EQ(utilities.OSTypeWithURL(FileUrl::fromPath(path)), 0u);
    }
    EXPECT_EQ(utilities.OSTypeWithURL(FileUrl::withoutScheme(item.path())), 0u);
}

}  // namespace
}  // namespace kestrin
