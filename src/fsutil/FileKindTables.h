// SPDX-License-Identifier: GPL-3.0-or-later
// Which type codes and extensions belong to which kind of file: every table once, in its order,
// and beside it what is different where it is used in another form. A spelling that does not stand
// here does not match, and a blank at the end of a type code belongs to it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestrin {

template <std::size_t count>
using KindTable = std::array<std::string_view, count>;

// --- What makes one table of another; a name that the table does not have does not compile ---

template <std::size_t count>
constexpr std::size_t placeIn(const KindTable<count>& table, std::string_view member) {
    const auto found = std::ranges::find(table, member);
    if (found == table.end()) throw "the table has no such member";
    return static_cast<std::size_t>(found - table.begin());
}

template <std::size_t first, std::size_t second>
constexpr auto joined(const KindTable<first>& table, const KindTable<second>& behind) {
    KindTable<first + second> both;
    std::ranges::copy(behind, std::ranges::copy(table, both.begin()).out);
    return both;
}

template <std::size_t count>
constexpr auto without(const KindTable<count>& table, std::string_view member) {
    KindTable<count - 1> rest;
    const auto at = table.begin() + placeIn(table, member);
    std::copy(at + 1, table.end(), std::copy(table.begin(), at, rest.begin()));
    return rest;
}

template <std::size_t count>
constexpr auto withAfter(const KindTable<count>& table, std::string_view member,
                         std::string_view added) {
    KindTable<count + 1> more;
    const auto behind = table.begin() + placeIn(table, member) + 1;
    const auto at = std::copy(table.begin(), behind, more.begin());
    *at = added;
    std::copy(behind, table.end(), at + 1);
    return more;
}

template <std::size_t count>
constexpr auto withInstead(KindTable<count> table, std::string_view member,
                           std::string_view other) {
    table[placeIn(table, member)] = other;
    return table;
}

// clang-format off
// --- Images ---

inline constexpr KindTable<28> kImageTypes{
    "GIF ", "GIFf", "8BIM", "PNTG", "qtif", "JPEG", ".SGI", "TPIC", "jp2 ", "PNG ",
    "SCRN", "RSRC", "PCX ", "BMP ", "BMPf", "8BPS", "mjp2", "PICT", "TIFF", "PXR ",
    "PNGf", "EPSF", "JPX ", "CRW ", "CR2 ", "NEF ", "DNG ", "XBM "};
// The blanks are wanted: none after XBM, and one before each of the last two.
inline constexpr auto kImageTypesToShow =
    joined(withInstead(kImageTypes, "XBM ", "XBM"), KindTable<2>{" heif", " heic"});
inline constexpr KindTable<63> kImageExtensions{
    "PSD", "psd", "png", "jpg", "gif", "pntg", "qtif", "qti", "JPG", "jpeg",
    "jpe", "sgi", "tga", "jp2", "fpix", "targa", "rgb", "pnt", "mac", "ico",
    "pcx", "bmp", "mj2", "pct", "pict", "pic", "tif", "tiff", "pxr", "jpx",
    "fpx", "FPX", "EXR", "exr", "XBM", "xbm", "CRW", "crw", "CR2", "cr2",
    "NEF", "nef", "RAF", "raf", "ORF", "orf", "MRW", "mrw", "SRF", "srf",
    "DCR", "dcr", "DNG", "dng", "epsf", "eps", "icns", "heif", "heic", "IIQ",
    "FFF", "EIP", "ARW"};
inline constexpr auto kImageExtensionsToShow = without(kImageExtensions, "eps");
inline constexpr KindTable<10> kImageContentTypes{
    "GIF ", "GIFf", "PNTG", "qtif", "JPEG", "jp2 ", "TIFF", "CRW ", "CR2 ", "NEF "};
inline constexpr auto kImageContentTypesList = withAfter(kImageContentTypes, "TIFF", "TIF");
inline constexpr KindTable<18> kImageContentExtensions{
    "gif", "jpg", "JPG", "jpeg", "jpe", "jp2", "tif", "tiff", "CRW", "crw",
    "CR2", "cr2", "NEF", "nef", "png", "heif", "heic", "ARW"};

// --- Sounds ---

inline constexpr KindTable<25> kMusicExtensions{
    "m4p", "mp3", "m4a", "aac", "aiff", "MP3", "aifc", "aif", "mp2", "amr",
    "wav", "au", "ulw", "snd", "mpa", "mpm", "m4b", "m3url", "swa", "kar",
    "mid", "smf", "midi", "cdda", "flac"};
inline constexpr KindTable<13> kMusicTypes{
    "AIFC", "AIFF", "amr ", ".WAV", "WAVE", "ULAW", "M4A ", "M4P ", "M4B ", "MPG3",
    "Mp3 ", "SwaT", "Midi"};
inline constexpr auto kMusicTypesList = withAfter(kMusicTypes, "Mp3 ", "aac");

inline constexpr KindTable<3> kAACTypes{"M4A ", "M4P ", "M4B "};
inline constexpr KindTable<5> kMP3Types{"mp3!", "MP3!", "MPG3", "mpg3", "Mp3 "};
inline constexpr auto kTagTypes = joined(kAACTypes, kMP3Types);
inline constexpr KindTable<10> kTagExtensions{
    "m4a", "m4p", "m4b", "adts", "aac", "aa", "mp4", "mp3", "MP3", "flac"};
inline constexpr KindTable<8> kAACExtensions{
    "m4a", "m4p", "m4b", "adts", "aac", "aa", "mp4", "m4v"};
inline constexpr KindTable<2> kMP3Extensions{"mp3", "MP3"};

inline constexpr KindTable<25> kSoundTypes{
    ".WAV", "AIFC", "AIFF", "AUDB", "M4A ", "M4B ", "M4P ", "MP3 ", "MP3!", "MP3U",
    "MPEG", "MPG ", "MPG2", "MPG3", "MooV", "Mp3 ", "PLAY", "PLS ", "RMP ", "Sd2f",
    "WAVE", "mp3!", "mpg3", "mpg4", "sfil"};
inline constexpr KindTable<23> kSoundExtensions{
    "aif", "aiff", "m3u", "pls", "rmp", "mp3", "mp2", "aifc", "wav", "wave",
    "mpg", "nvf", "cdda", "aa", "m4a", "m4p", "m4b", "au", "mid", "snd",
    "AIF", "AIFF", "flac"};

// --- Movies ---

inline constexpr KindTable<24> kMovieExtensions{
    "mpeg", "avi", "mov", "mpg4", "m4v", "swf", "m1s", "m1a", "m75", "m15",
    "m2p", "m2s", "mpg", "qtl", "vfw", "m2v", "qt", "3g2", "m1v", "mp4",
    "dv", "3gp2", "wmv", "flv"};
inline constexpr auto kMovieContentExtensions = without(without(kMovieExtensions, "m15"), "qt");
inline constexpr KindTable<10> kMovieTypes{
    "MPEG", "MPG ", "qtlk", "VfW ", "m2v ", "MooV", "moov", "3gp2", "mpg4", "dvc!"};
inline constexpr auto kMovieTypesList = withAfter(kMovieTypes, "dvc!", "m4v");

// --- Archives ---

inline constexpr KindTable<23> kArchiveExtensions{
    "xip", "zip", "tar", "hqx", "tgz", "sea", "uu", "bin", "lzh", "sitx",
    "sit", "gtar", "gnutar", "ustar", "bz2", "tbz", "tbz2", "gz", "tar-gz", "Z",
    "z", "taz", "tar-z"};
inline constexpr KindTable<20> kArchiveTypes{
    "SIT!", "SegM", "SIT2", "SITD", "Seg1", "Seg2", "Seg3", "SegN", "SPSV", "SIT5",
    "ZIP ", "PCFA", "Bzp2", "TARF", "PACT", "SITX", "Gzip", "ZIVU", "aust", "SITx"};
// The extension that is a single blank is wanted.
inline constexpr auto kCompressedExtensions =
    joined(KindTable<1>{" "}, without(kArchiveExtensions, "hqx"));

// --- Documents, text and PDF ---

inline constexpr KindTable<10> kDocumentExtensions{
    "doc", "docx", "pages", "pdf", "rtf", "rtfd", "txt", "text", "xMAP", "in"};
inline constexpr KindTable<6> kDocumentTypes{"RTF ", "W8BN", "W6BN", "TEXT", "sEXT", "ttro"};
inline constexpr KindTable<63> kTextExtensions{
    "webarchive", "rtf", "rtfd", "xhtml", "xhtm", "xml", "scpt", "mbox", "html", "htm",
    "shtml", "jhtml", "xbl", "xsl", "xslt", "emlx", "eml", "urlv", "js", "txt",
    "text", "webloc", "h", "pch", "c", "hh", "hp", "hpp", "hxx", "h++",
    "pch++", "cc", "cp", "cpp", "cxx", "c++", "f", "for", "f77", "f95",
    "java", "jav", "l", "lm", "lmm", "lpp", "lxx", "m", "mm", "pas",
    "y", "ym", "ymm", "ypp", "yxx", "strings", "doc", "docx", "cwk", "xmp",
    "dot", "dotx", "pages"};
inline constexpr auto kTextExtensionsToShow = withInstead(kTextExtensions, "urlv", "url");
inline constexpr KindTable<11> kTextTypes{
    "osas", "TEXT", "sEXT", "ttro", "W8BN", "W6BN", "CWWP", "HTML", "RTF ", "ilht", "LINK"};
inline constexpr KindTable<2> kPDFExtensions{"pdf", "pdp"};
inline constexpr KindTable<2> kPDFTypes{"PDF ", "APDF"};

// --- Fonts ---

inline constexpr KindTable<3> kFontTypes{"FFIL", "LWFN", "tfil"};
inline constexpr KindTable<3> kFontExtensions{"ttf", "dfont", "otf"};
// clang-format on

/// The tables of extensions, for callers to whom upper and lower case are the same.
enum class ExtensionTable : std::uint8_t {
    Images,
    Sounds,  ///< music, and what isSound accepts, "mpg" among them, which is a movie, too
    Movies,
    Archives,
    Documents,  ///< with PDF files, and without "txt" and "text", which Text has
    Text,
    Fonts,
};
/// Whether the table has the extension (without the full stop), whatever the case of its ASCII
/// letters. Thread: any.
bool isListed(ExtensionTable table, std::string_view extension);

}  // namespace kestrin
