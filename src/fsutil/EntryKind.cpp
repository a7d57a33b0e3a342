// SPDX-License-Identifier: GPL-3.0-or-later
#include "fsutil/EntryKind.h"

#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/StringTable.h"
#include "fsutil/FileKindTables.h"
#include "platform/items/ItemKinds.h"
#include "platform/items/MimeGlobs.h"

namespace kestrin {
namespace {

using namespace std::string_view_literals;

// --- What type is of what kind ---
// A pattern is the name of a type, or the beginning of several with a "*" behind it. What no line
// names, by any of its names, is Text when it is derived from plain text. Else the extension alone
// decides.

// clang-format off
constexpr std::array kDocuments = {
    "application/pdf"sv, "application/x-bzpdf"sv, "application/x-gzpdf"sv,
    "application/x-lzpdf"sv, "application/x-xzpdf"sv,
    "application/postscript"sv, "application/x-bzpostscript"sv, "application/x-gzpostscript"sv,
    "application/x-dvi"sv, "application/x-bzdvi"sv, "application/x-gzdvi"sv,
    "application/oxps"sv, "application/vnd.ms-xpsdocument"sv,
    "application/rtf"sv, "text/rtf"sv,
    // Books, comic books and scanned ones
    "application/epub+zip"sv, "application/x-fictionbook+xml"sv,
    "application/x-zip-compressed-fb2"sv, "application/x-mobipocket-ebook"sv,
    "application/vnd.amazon.*"sv, "application/x-aportisdoc"sv,
    "application/vnd.comicbook*"sv, "application/x-cb7"sv, "application/x-cbr"sv,
    "application/x-cbt"sv, "application/x-cbz"sv, "image/vnd.djvu*"sv, "image/x-djvu"sv,
    "application/vnd.kde.okular-archive"sv, "application/vnd.ms-htmlhelp"sv, "application/winhlp"sv,
    "application/x-mimearchive"sv,
    // Office
    "application/vnd.oasis.opendocument.*"sv, "application/vnd.sun.xml.*"sv,
    "application/vnd.stardivision.*"sv, "application/vnd.openxmlformats-officedocument.*"sv,
    "application/msword*"sv, "application/vnd.ms-word.*"sv, "application/vnd.ms-excel*"sv,
    "application/vnd.ms-powerpoint*"sv, "application/vnd.ms-access"sv,
    "application/vnd.ms-publisher"sv, "application/vnd.ms-visio.*"sv, "application/vnd.visio"sv,
    "application/vnd.ms-works"sv, "application/x-mswrite"sv, "application/x-pocket-word"sv,
    "application/vnd.apple.keynote"sv, "application/vnd.apple.numbers"sv,
    "application/vnd.apple.pages"sv, "application/x-appleworks-document"sv,
    "application/vnd.framemaker"sv, "application/x-mif"sv, "application/x-pagemaker"sv,
    "application/vnd.lotus-*"sv, "application/x-amipro"sv, "application/vnd.wordperfect"sv,
    "application/x-abiword"sv, "application/x-gnumeric"sv, "application/x-gnucash"sv,
    "application/x-applix-*"sv, "application/x-kword"sv, "application/x-kspread"sv,
    "application/x-kpresenter"sv, "application/x-kchart"sv, "application/x-kformula"sv,
    "application/x-kivio"sv, "application/x-hwp"sv, "application/x-hwt"sv, "application/x-lyx"sv,
    "application/x-magicpoint"sv, "application/x-oleo"sv, "application/x-planperfect"sv,
    "application/x-pw"sv, "application/x-pyspread-*"sv, "application/x-quattropro"sv,
    "application/x-qw"sv, "application/x-siag"sv, "application/x-t602"sv,
    "application/x-qtiplot"sv, "application/x-graphite"sv, "application/x-ipynb+json"sv,
    "application/mathematica"sv, "application/oda"sv, "application/andrew-inset"sv,
};
constexpr std::array kArchives = {
    "application/zip"sv, "application/gzip"sv, "application/zlib"sv, "application/zstd"sv,
    "application/vnd.rar"sv, "application/x-rar*"sv, "application/x-7z-compressed"sv,
    "application/x-tar"sv, "application/x-gtar"sv, "application/x-ustar"sv, "application/x-tarz"sv,
    "application/x-tzo"sv, "application/x-compress*"sv, "application/x-bzip*"sv,
    "application/x-lrzip*"sv, "application/x-lz4*"sv, "application/x-lzip*"sv,
    "application/x-lzma*"sv, "application/x-lzop"sv, "application/x-xz*"sv, "application/x-zstd*"sv,
    "application/x-ace"sv, "application/x-alz"sv, "application/x-arc"sv, "application/x-archive"sv,
    "application/x-arj"sv, "application/x-bcpio"sv, "application/x-cpio*"sv, "application/x-dar"sv,
    "application/x-lha"sv, "application/x-lhz"sv, "application/x-par2"sv, "application/x-qpress"sv,
    "application/x-shar"sv, "application/x-stuffit*"sv, "application/x-sv4c*"sv,
    "application/x-xar"sv, "application/x-zoo"sv, "application/mac-binhex40"sv,
    "application/x-macbinary"sv, "application/vnd.ms-cab-compressed"sv, "application/ovf"sv,
    "application/x-asar"sv, "application/x-pak"sv,
    // Packages of software
    "application/vnd.debian.binary-package"sv, "application/x-deb"sv, "application/x-rpm"sv,
    "application/x-source-rpm"sv, "application/vnd.android.package-archive"sv,
    "application/x-java-archive"sv, "application/x-java-pack200"sv, "application/x-webarchive"sv,
    "application/vnd.flatpak"sv, "application/vnd.snap"sv, "application/vnd.squashfs"sv,
    "application/vnd.openofficeorg.extension"sv, "application/x-xpinstall"sv,
    "application/x-msi"sv, "application/vnd.symbian.install"sv, "x-epoc/x-sisx-app"sv,
    // Images of disks
    "application/x-cd-image"sv, "application/vnd.efi.*"sv, "application/x-raw-disk-image*"sv,
    "application/x-raw-floppy-disk-image"sv, "application/x-apple-diskimage"sv,
    "application/x-discjuggler-cd-image"sv, "application/x-ms-wim"sv, "application/x-qed-disk"sv,
    "application/x-qemu-disk"sv, "application/x-vdi-disk"sv, "application/x-vhd-disk"sv,
    "application/x-vhdx-disk"sv, "application/x-vmdk-disk"sv, "application/x-amiga-disk-format"sv,
    "application/x-fds-disk"sv, "application/x-hfe-floppy-image"sv, "application/x-mame-chd"sv,
    "application/x-thomson-sap-image"sv,
};
constexpr std::array kMovies = {
    "application/annodex"sv, "application/mxf"sv, "application/ogg"sv, "application/vnd.ms-asf"sv,
    "application/vnd.rn-realmedia*"sv, "application/vnd.adobe.flash.movie"sv,
    "application/x-matroska"sv, "application/x-quicktime-media-link"sv,
    "video/*"sv,
};
constexpr std::array kSounds = {
    "application/vnd.apple.mpegurl"sv, "application/ram"sv, "application/xspf+xml"sv,
    "application/vnd.ms-wpl"sv, "application/vnd.smaf"sv, "application/x-cda"sv,
    "application/x-shorten"sv,
    "audio/*"sv,
};
constexpr std::array kFonts = {
    "application/font*"sv, "application/x-font*"sv, "application/x-gz-font*"sv,
    "application/vnd.ms-fontobject"sv, "application/x-tex-gf"sv, "application/x-tex-pk"sv,
    // Its only name, *.otf, is that of OpenType fonts as well, and nearly always means one.
    "application/vnd.oasis.opendocument.formula-template"sv,
    "font/*"sv,
};
constexpr std::array kImages = {
    "application/illustrator"sv, "application/vnd.corel-draw"sv, "application/x-wpg"sv,
    "application/x-krita"sv, "application/x-karbon"sv, "application/x-kontour"sv,
    "application/x-killustrator"sv, "application/x-egon"sv, "application/x-dia-*"sv,
    "application/dicom"sv, "application/fits"sv,
    "image/*"sv,
};
constexpr std::array kText = {"text/*"sv, "message/*"sv};
// Derived from plain text, which it may be armoured as, but what is encrypted is of any kind.
constexpr std::array kOther = {"application/pgp-encrypted"sv};
// clang-format on

struct TypesOfKind {
    EntryKind kind;
    std::span<const std::string_view> patterns;
};
/// The first line with a pattern of the type decides.
constexpr std::array kTypes = {
    // clang-format off
    TypesOfKind{EntryKind::Fonts, kFonts},
    TypesOfKind{EntryKind::Documents, kDocuments},
    TypesOfKind{EntryKind::Archives, kArchives},
    TypesOfKind{EntryKind::Movies, kMovies},
    TypesOfKind{EntryKind::Sounds, kSounds},
    TypesOfKind{EntryKind::Images, kImages},
    TypesOfKind{EntryKind::Text, kText},
    TypesOfKind{EntryKind::Other, kOther},
    // clang-format on
};

bool matches(std::string_view pattern, std::string_view type) {
    if (!pattern.ends_with('*')) return type == pattern;
    return type.starts_with(pattern.substr(0, pattern.size() - 1));
}

std::optional<EntryKind> listedKind(const std::string& type) {
    for (const TypesOfKind& line : kTypes) {
        const auto matchesType = [&](std::string_view pattern) { return matches(pattern, type); };
        if (std::ranges::any_of(line.patterns, matchesType)) return line.kind;
    }
    return std::nullopt;
}

std::optional<EntryKind> kindOfType(const std::string& type) {
    if (const auto kind = listedKind(type)) return kind;
    for (const std::string& alias : aliasesOfType(type))
        if (const auto kind = listedKind(alias)) return kind;
    return isPlainTextType(type) ? std::optional(EntryKind::Text) : std::nullopt;
}

/// The kinds of the types that a thread has met: a trash has entries by the hundred thousand, and
/// of a few types. They are forgotten when the database changes.
class KnownTypes {
 public:
    std::optional<EntryKind> kindOfName(std::string_view name) {
        auto globs = MimeGlobs::shared();
        if (globs != m_globs) {
            m_kinds.clear();
            m_globs = std::move(globs);
        }
        const auto [known, isNew] = m_kinds.try_emplace(m_globs->typeOfName(name));
        if (isNew) known->second = kindOfType(std::string(known->first));
        return known->second;
    }

 private:
    std::shared_ptr<const MimeGlobs> m_globs;
    std::unordered_map<std::string_view, std::optional<EntryKind>> m_kinds;  ///< types of m_globs
};

struct ExtensionsOfKind {
    EntryKind kind;
    ExtensionTable table;
};
/// The first line with the extension decides: "mpg" is a movie though it is listed as a sound, too,
/// and "rtfd" is a document though it is listed as text.
constexpr std::array kExtensions = {
    // clang-format off
    ExtensionsOfKind{EntryKind::Images, ExtensionTable::Images},
    ExtensionsOfKind{EntryKind::Movies, ExtensionTable::Movies},
    ExtensionsOfKind{EntryKind::Sounds, ExtensionTable::Sounds},
    ExtensionsOfKind{EntryKind::Archives, ExtensionTable::Archives},
    ExtensionsOfKind{EntryKind::Documents, ExtensionTable::Documents},
    ExtensionsOfKind{EntryKind::Text, ExtensionTable::Text},
    ExtensionsOfKind{EntryKind::Fonts, ExtensionTable::Fonts},
    // clang-format on
};

/// The kind by what stands behind the last full stop, if anything does on both of its sides.
EntryKind kindOfExtension(std::string_view name) {
    const std::size_t stop = name.rfind('.');
    if (stop == std::string_view::npos || stop == 0 || stop + 1 == name.size())
        return EntryKind::Other;
    const std::string_view extension = name.substr(stop + 1);
    const auto hasIt = [&](const ExtensionsOfKind& line) {
        return isListed(line.table, extension);
    };
    const auto found = std::ranges::find_if(kExtensions, hasIt);
    return found == kExtensions.end() ? EntryKind::Other : found->kind;
}

// --- What kinds are called ---

struct KindNames {
    std::string_view word;
    std::string_view textKey;
};
constexpr std::array kNames = {
    KindNames{"images", "kind_images"_key},       KindNames{"sounds", "kind_sounds"_key},
    KindNames{"movies", "kind_movies"_key},       KindNames{"archives", "kind_archives"_key},
    KindNames{"documents", "kind_documents"_key}, KindNames{"text", "kind_text"_key},
    KindNames{"fonts", "kind_fonts"_key},         KindNames{"folders", "kind_folders"_key},
    KindNames{"other", "kind_other"_key}};
static_assert(kNames.size() == kEntryKinds.size());

const KindNames& namesOf(EntryKind kind) {
    return kNames.at(static_cast<std::size_t>(kind));
}

}  // namespace

EntryKind entryKindOf(std::string_view name, std::uint32_t mode) {
    if (S_ISDIR(mode)) return EntryKind::Folders;
    if (!S_ISREG(mode)) return EntryKind::Other;
    thread_local KnownTypes types;
    if (const auto kind = types.kindOfName(name)) return *kind;
    return kindOfExtension(name);
}

std::string_view kindWord(EntryKind kind) {
    return namesOf(kind).word;
}

std::optional<EntryKind> kindWithWord(std::string_view word) {
    const auto found = std::ranges::find(kNames, word, &KindNames::word);
    if (found == kNames.end()) return std::nullopt;
    return static_cast<EntryKind>(found - kNames.begin());
}

std::string_view kindTextKey(EntryKind kind) {
    return namesOf(kind).textKey;
}

}  // namespace kestrin
