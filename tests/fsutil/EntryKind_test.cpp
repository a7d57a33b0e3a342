// SPDX-License-Identifier: GPL-3.0-or-later
#include "fsutil/EntryKind.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "platform/items/ItemKinds.h"

namespace kestrin {
namespace {

using enum EntryKind;

// clang-format off
const std::map<EntryKind, std::string> kExtensions = {
    {Images,
     "jpg jpeg jpe png gif bmp tif tiff webp heic heif avif jxl svg svgz ico icns psd "
     "xcf ora kra eps ai cdr wmf emf tga pcx pbm pgm ppm xpm xbm jp2 dds exr hdr cr2 nef "
     "arw dng orf raf rw2 dxf dwg cur"},
    {Sounds,
     "mp3 m4a m4b aac flac ogg oga opus wav aif aiff aifc wma mid midi amr ape mpc wv au "
     "snd mka mp2 m3u m3u8 pls xspf ac3 dts mod xm s3m it"},
    {Movies,
     "mp4 m4v mov qt avi mkv webm wmv flv mpg mpeg mpe ogv 3gp 3g2 m2ts vob swf asf rm "
     "rmvb mxf dv ogx"},
    {Archives,
     "zip tar gz tgz bz2 tbz2 xz txz zst 7z rar lzma lz lz4 Z cab arj lha lzh ace cpio "
     "ar iso img dmg vdi vmdk vhd qcow2 deb rpm jar apk msi snap flatpak tar.gz tar.zst"},
    {Documents,
     "pdf ps djvu rtf doc docx dot dotx odt ott odg xls xlsx xlsb ods ppt pptx pps odp "
     "odf pages numbers key epub mobi azw3 fb2 cbz cbr xps oxps vsd pub wpd abw gnumeric "
     "hwp dvi chm lyx"},
    {Text,
     "txt html htm xhtml css csv tsv xml json yaml yml toml md rst tex bib log c h cpp "
     "hpp py sh pl rb php js ts java kt go rs sql diff patch po srt vtt vcf ics eml asc "
     "desktop url gpx kml"},
    {Fonts,
     "ttf otf ttc woff woff2 pfb pfa bdf afm"},
    {Other,
     "exe dll so o class pyc torrent sqlite3 db nes gba lnk gpg"},
};
// clang-format on

/// What one line of the database gives to names that end like this: the first type in order of
/// those with the greatest weight.
class Globs {
 public:
    bool read() {
        std::ifstream file("/usr/share/mime/globs2");
        for (std::string line; std::getline(file, line);) {
            std::istringstream parts(line);
            std::string weight, type, glob;
            if (line.starts_with('#') || !std::getline(parts, weight, ':') ||
                !std::getline(parts, type, ':') || !std::getline(parts, glob, ':'))
                continue;
            const std::pair rank(-std::stoi(weight), type);
            const auto [known, isNew] = m_best.try_emplace(glob, rank);
            if (!isNew) known->second = std::min(known->second, rank);
        }
        return !m_best.empty();
    }
    std::string typeOf(const std::string& extension) const {
        const auto found = m_best.find("*." + extension);
        return found == m_best.end() ? "" : found->second.second;
    }

 private:
    std::map<std::string, std::pair<int, std::string>> m_best;
};

std::string upperCase(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; });
    return text;
}

TEST(EntryKind, IsThatOfTheTypeThatTheMimeDatabaseGivesTheName) {
    Globs globs;
    if (!globs.read()) GTEST_SKIP() << "there is no /usr/share/mime/globs2";
    const std::map<std::string, EntryKind> topLevels = {
        {"image", Images}, {"audio", Sounds}, {"video", Movies}, {"font", Fonts}, {"text", Text}};
    std::size_t compared = 0;
    for (const auto& [kind, extensions] : kExtensions) {
        std::istringstream words(extensions);
        for (std::string extension; words >> extension; ++compared) {
            const std::string type = globs.typeOf(extension);
            const auto topLevel = topLevels.find(type.substr(0, type.find('/')));
            if (topLevel != topLevels.end() && !type.starts_with("image/vnd.djvu")) {
                EXPECT_EQ(kind, topLevel->second) << extension << " is " << type;
            }
            for (const std::string& name : {"a." + extension, "A." + upperCase(extension)}) {
                EXPECT_EQ(entryKindOf(name, S_IFREG | 0600), kind) << name << " is " << type;
                const std::string exact = globs.typeOf(name.substr(2));
                if (type.empty()) continue;
                EXPECT_EQ(typeOfItem(name, S_IFREG), exact.empty() ? type : exact) << name;
            }
        }
    }
    EXPECT_GE(compared, 200U);
}

TEST(EntryKind, OfWhatIsNoRegularFileDoesNotGoByItsName) {
    for (const std::uint32_t mode : {S_IFLNK, S_IFIFO, S_IFSOCK, S_IFCHR, S_IFBLK, 0})
        EXPECT_EQ(entryKindOf("a.jpg", mode), Other) << mode;
    EXPECT_EQ(entryKindOf("a.jpg", S_IFDIR | 0700), Folders);
    EXPECT_EQ(entryKindOf("Library.photoslibrary", S_IFDIR), Folders);
    EXPECT_EQ(entryKindOf("\xff\n.JPG", S_IFREG), Images);
    // Of these the database says nothing, and the tables of extensions do.
    const std::map<std::string, EntryKind> listed = {
        {"a.FPIX", Images},  {"a.m75", Movies},     {"a.swa", Sounds}, {"a.BIN", Archives},
        {"a.sea", Archives}, {"a.rtfd", Documents}, {"a.text", Text},  {"a.dfont", Fonts}};
    for (const auto& [name, kind] : listed)
        EXPECT_EQ(entryKindOf(name, S_IFREG), kind) << name;
    for (const char* plain :
         {"", ".", "..", "jpg", ".jpg", "a.", "a.jpg.", "a.jpg~", "\xff", ".bin", "bin", "a.fpix."})
        EXPECT_EQ(entryKindOf(plain, S_IFREG), Other) << plain;
}

TEST(EntryKind, HasAWordThatLeadsBackToIt) {
    for (const EntryKind kind : kEntryKinds)
        EXPECT_EQ(kindWithWord(kindWord(kind)), kind);
    EXPECT_EQ(kindWord(Movies), "movies");
    for (const char* none : {"", "all", "Images", "image", "images "})
        EXPECT_FALSE(kindWithWord(none)) << none;
}

}  // namespace
}  // namespace kestrin
