// SPDX-License-Identifier: GPL-3.0-or-later
// Which kind a file is of, by its type code and its extension.
#include <QStringConverter>
#include <algorithm>
#include <iterator>
#include <unordered_set>

#include "base/XmlCharacters.h"
#include "fsutil/FileKindTables.h"
#include "fsutil/FlatText.h"
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

using Texts = std::vector<std::string>;

/// What a piece has between its quotes; none when it has no quotes.
std::optional<std::string> unquoted(const std::string& piece) {
    if (piece.size() < 2 || !piece.starts_with('\'') || !piece.ends_with('\'')) return std::nullopt;
    return piece.substr(1, piece.size() - 2);
}

/// The type codes and the extensions that make a file one of a kind.
class KindCheck {
 public:
    template <class Codes, class Extensions>
    KindCheck(const Codes& codes, const Extensions& extensions) {
        for (const std::string_view code : codes)
            m_codes.insert(typeCodeOf(code));
        for (const std::string_view extension : extensions)
            m_extensions.emplace(extension);
    }
    bool accepts(OSType code, std::string_view extension) const {
        return m_codes.contains(code) || m_extensions.contains(extension);
    }

 private:
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    std::unordered_set<OSType> m_codes;
    std::unordered_set<std::string, Hash, std::equal_to<>> m_extensions;
};

KindCheck imageCheck(const QVFilesUtilities& utilities) {
    Texts codes;
    for (const std::string& piece : piecesOf(utilities.imagesTypes()))
        codes.push_back(unquoted(piece).value_or(std::string()));
    // The flat text of type codes begins and ends with a quote, that of extensions with a letter:
    // its first and its last member lose one here, which is wanted.
    const std::string extensions = utilities.imagesExtensions();
    return {codes, piecesOf(extensions.substr(1, extensions.size() - 2))};
}

Texts withMissing(Texts array, const Texts& tableTexts) {
    for (const std::string& text : tableTexts) {
        for (const std::string& piece : piecesOf(text)) {
            const std::string member = unquoted(piece).value_or(piece);
            if (std::ranges::find(array, member) == array.end()) array.push_back(member);
        }
    }
    return array;
}

bool isFile(const FileUrl& location) {
    const auto attributes = itemAttributes(hostLocation(location));
    return attributes && attributes->isRegularFile();
}

/// The files directly in the folder that are not hidden and have one of the extensions.
std::vector<FileUrl> matchingFiles(const QVFilesUtilities& utilities, const FileUrl& folder,
                                   const Texts& extensions) {
    const auto hiddenNames = namesListedAsHidden(hostLocation(folder));
    std::vector<FileUrl> files;
    visitFolder(hostLocation(folder), [&](std::string_view name, EntryType) {
        const FileUrl file = folder.appending(name);
        const bool isHidden = name.starts_with('.') || hiddenNames.contains(name);
        if (!isHidden && utilities.isFileURL(file, extensions) && isFile(file))
            files.push_back(file);
        return true;
    });
    std::ranges::sort(files);
    return files;
}

/// How many bytes at the beginning of the text are characters.
std::size_t lengthOfCharacters(std::string_view text) {
    std::string_view rest = text;
    for (std::string_view behind = rest; !rest.empty() && takeXmlCharacter(behind);)
        rest = behind;
    return text.size() - rest.size();
}

std::string decomposed(std::string_view utf8) {
    // A byte order mark is a character like any other here.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(QByteArrayView(utf8));
    return text.normalized(QString::NormalizationForm_KD).toStdString();
}

}  // namespace

bool QVFilesUtilities::isImage(OSType typeCode, std::string_view extension) const {
    static const KindCheck check = imageCheck(*this);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isAACFile(OSType typeCode, std::string_view extension) const {
    static const KindCheck check(kAACTypes, kAACExtensions);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isMP3File(OSType typeCode, std::string_view extension) const {
    static const KindCheck check(kMP3Types, kMP3Extensions);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isSound(OSType typeCode, std::string_view extension) const {
    static const KindCheck check(kSoundTypes, kSoundExtensions);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isCompressed(OSType typeCode, std::string_view extension) const {
    static const KindCheck check(kArchiveTypes, kCompressedExtensions);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isFont(OSType typeCode, std::string_view extension) const {
    static const KindCheck check(kFontTypes, kFontExtensions);
    return check.accepts(typeCode, extension);
}

bool QVFilesUtilities::isFileURL(const FileUrl& url, const Texts& inExtensions) const {
    const std::string_view extension = url.pathExtension();
    return !extension.empty() && std::ranges::find(inExtensions, extension) != inExtensions.end();
}

std::vector<FileUrl> QVFilesUtilities::actualUrlsArray(const std::vector<FileUrl>& locations,
                                                       const Texts& withExtension,
                                                       std::vector<FileUrl>* foldersFound) const {
    std::unordered_set<FileUrl> known;
    if (foldersFound) known.insert(foldersFound->begin(), foldersFound->end());
    std::vector<FileUrl> found;
    for (const FileUrl& location : locations) {
        const std::size_t before = found.size();
        const bool isFolder = isDirectoryWithURL(location);
        if (isFolder && !isPackageWithURL(location)) {
            std::ranges::move(matchingFiles(*this, location, withExtension),
                              std::back_inserter(found));
        } else if (isFileURL(location, withExtension) && isFile(location)) {
            found.push_back(location);
        }
        if (!foldersFound || found.size() == before) continue;
        const FileUrl folder = isFolder ? location : location.parent();
        if (known.insert(folder).second) foldersFound->push_back(folder);
    }
    return found;
}

std::vector<FileUrl> QVFilesUtilities::actualUrlsArray(const Texts& paths,
                                                       const Texts& withExtension,
                                                       std::vector<FileUrl>* foldersFound) const {
    std::vector<FileUrl> locations;
    std::ranges::transform(paths, std::back_inserter(locations), FileUrl::fromPath);
    return actualUrlsArray(locations, withExtension, foldersFound);
}

Texts QVFilesUtilities::extensionsMissingInArray(Texts array,
                                                 FlatTableOperation withSelector) const {
    return withMissing(std::move(array), {(this->*withSelector)()});
}

Texts QVFilesUtilities::extensionsMissingInArray(Texts array,
                                                 ListTableOperation withSelector) const {
    return withMissing(std::move(array), (this->*withSelector)());
}

std::string QVFilesUtilities::normalizeString(std::string_view text) const {
    std::string normalized;
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacters(text);
        normalized += decomposed(text.substr(0, length));
        normalized += text.substr(length, 1);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return normalized;
}

FinderInformation QVFilesUtilities::finderFileInfoWithPath(const std::string& path,
                                                           int& error) const {
    error = 1;
    const FileUrl item = hostLocation(FileUrl::fromPath(path));
    const auto information = item.isEmpty() ? std::nullopt : finderInformationOf(item);
    if (!information) return {};
    error = 0;
    return *information;
}

OSType QVFilesUtilities::OSTypeWithURL(const FileUrl& url) const {
    const auto path = pathWithURL(url);
    int error = 0;
    return path ? finderFileInfoWithPath(*path, error).fileType : 0;
}

}  // namespace kestrin
