// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/TypeIdentifiers.h"

#include <QMimeDatabase>
#include <QMimeType>
#include <algorithm>
#include <array>

#include "platform/items/MimeGlobs.h"

namespace kestrin {
namespace {

// The database knows nothing of type codes. These are of formats that it describes.
struct TypeOfCode {
    std::string_view code;
    std::string_view type;
};
constexpr std::array kTypesOfCodes = {
    // clang-format off
    // Pictures
    TypeOfCode{"JPEG", "image/jpeg"},
    TypeOfCode{"GIFf", "image/gif"},
    TypeOfCode{"GIF ", "image/gif"},
    TypeOfCode{"PNGf", "image/png"},
    TypeOfCode{"PNG ", "image/png"},
    TypeOfCode{"TIFF", "image/tiff"},
    TypeOfCode{"BMPf", "image/bmp"},
    TypeOfCode{"BMP ", "image/bmp"},
    TypeOfCode{"PICT", "image/x-pict"},
    TypeOfCode{"PNTG", "image/x-macpaint"},
    TypeOfCode{"8BPS", "image/vnd.adobe.photoshop"},
    TypeOfCode{"EPSF", "image/x-eps"},
    TypeOfCode{"qtif", "image/x-quicktime"},
    TypeOfCode{".SGI", "image/x-sgi"},
    TypeOfCode{"TPIC", "image/x-tga"},
    TypeOfCode{"PCX ", "image/vnd.zbrush.pcx"},
    TypeOfCode{"XBM ", "image/x-xbitmap"},
    TypeOfCode{"jp2 ", "image/jp2"},
    TypeOfCode{"JPX ", "image/jpx"},
    TypeOfCode{"mjp2", "video/mj2"},
    TypeOfCode{"CRW ", "image/x-canon-crw"},
    TypeOfCode{"CR2 ", "image/x-canon-cr2"},
    TypeOfCode{"NEF ", "image/x-nikon-nef"},
    TypeOfCode{"DNG ", "image/x-adobe-dng"},
    TypeOfCode{"icns", "image/x-icns"},
    TypeOfCode{"ICO ", "image/vnd.microsoft.icon"},
    // Sounds
    TypeOfCode{"AIFF", "audio/x-aiff"},
    TypeOfCode{"AIFC", "audio/x-aifc"},
    TypeOfCode{"WAVE", "audio/x-wav"},
    TypeOfCode{".WAV", "audio/x-wav"},
    TypeOfCode{"ULAW", "audio/basic"},
    TypeOfCode{"Midi", "audio/midi"},
    TypeOfCode{"M4A ", "audio/mp4"},
    TypeOfCode{"M4P ", "audio/mp4"},
    TypeOfCode{"M4B ", "audio/x-m4b"},
    TypeOfCode{"amr ", "audio/AMR"},
    TypeOfCode{"MP3 ", "audio/mpeg"},
    TypeOfCode{"Mp3 ", "audio/mpeg"},
    TypeOfCode{"MP3!", "audio/mpeg"},
    TypeOfCode{"mp3!", "audio/mpeg"},
    TypeOfCode{"MPG3", "audio/mpeg"},
    TypeOfCode{"mpg3", "audio/mpeg"},
    TypeOfCode{"MP3U", "audio/x-mpegurl"},
    TypeOfCode{"PLS ", "audio/x-scpls"},
    // Movies
    TypeOfCode{"MooV", "video/quicktime"},
    TypeOfCode{"moov", "video/quicktime"},
    TypeOfCode{"MPEG", "video/mpeg"},
    TypeOfCode{"MPG ", "video/mpeg"},
    TypeOfCode{"m2v ", "video/mpeg"},
    TypeOfCode{"mpg4", "video/mp4"},
    TypeOfCode{"VfW ", "video/x-msvideo"},
    TypeOfCode{"3gp2", "video/3gpp2"},
    TypeOfCode{"dvc!", "video/dv"},
    TypeOfCode{"SWFL", "application/vnd.adobe.flash.movie"},
    TypeOfCode{"qtlk", "application/x-quicktime-media-link"},
    // Packed data
    TypeOfCode{"ZIP ", "application/zip"},
    TypeOfCode{"Gzip", "application/gzip"},
    TypeOfCode{"Bzp2", "application/x-bzip"},
    TypeOfCode{"TARF", "application/x-tar"},
    TypeOfCode{"ZIVU", "application/x-compress"},
    TypeOfCode{"SIT!", "application/x-stuffit"},
    TypeOfCode{"SITD", "application/x-stuffit"},
    TypeOfCode{"SIT5", "application/x-stuffit"},
    // Documents and texts
    TypeOfCode{"PDF ", "application/pdf"},
    TypeOfCode{"RTF ", "application/rtf"},
    TypeOfCode{"W6BN", "application/msword"},
    TypeOfCode{"W8BN", "application/msword"},
    TypeOfCode{"XLS8", "application/vnd.ms-excel"},
    TypeOfCode{"SLD8", "application/vnd.ms-powerpoint"},
    TypeOfCode{"CWWP", "application/x-appleworks-document"},
    TypeOfCode{"TEXT", "text/plain"},
    TypeOfCode{"ttro", "text/plain"},
    TypeOfCode{"sEXT", "text/plain"},
    TypeOfCode{"HTML", "text/html"},
    // Fonts
    TypeOfCode{"LWFN", "application/x-font-type1"},
    TypeOfCode{"tfil", "font/ttf"},
    TypeOfCode{"OTTO", "font/otf"},
    // What is no file
    TypeOfCode{"fold", "inode/directory"},
    TypeOfCode{"slnk", "inode/symlink"},
    TypeOfCode{"disk", "inode/mount-point"},
    // clang-format on
};

QMimeType typeNamed(std::string_view name) {
    return QMimeDatabase().mimeTypeForName(
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
}

}  // namespace

std::optional<std::string> typeForTag(TagClass tagClass, std::string_view tag) {
    if (tagClass == TagClass::TypeCode) {
        const auto found = std::ranges::find(kTypesOfCodes, tag, &TypeOfCode::code);
        if (found == kTypesOfCodes.end()) return std::nullopt;
        return std::string(found->type);
    }
    if (tag.empty()) return std::nullopt;
    const auto globs = MimeGlobs::shared();
    const std::string_view type = globs->typeOfName("file." + std::string(tag));
    return type.empty() ? std::nullopt : std::optional<std::string>(type);
}

std::optional<std::string> descriptionOfType(std::string_view type) {
    const QMimeType known = typeNamed(type);
    // Qt gives the name of a type in place of a description that is not there.
    const QString description = known.comment();
    if (description.isEmpty() || description == known.name()) return std::nullopt;
    return description.toStdString();
}

std::optional<std::string> preferredExtensionOfType(std::string_view type) {
    // Qt counts patterns such as "*.anim[1-9j]" among them.
    for (const QString& suffix : typeNamed(type).suffixes())
        if (std::string text = suffix.toStdString(); text.find_first_of("*?[\\") == text.npos)
            return text;
    return std::nullopt;
}

}  // namespace kestrin
