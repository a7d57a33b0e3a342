// SPDX-License-Identifier: GPL-3.0-or-later
// The tables of file kinds in the forms in which they are handed out.
#include <span>

#include "fsutil/FileKindTables.h"
#include "fsutil/QVFilesUtilities.h"

namespace kestrin {
namespace {

using Members = std::span<const std::string_view>;

std::vector<std::string> list(Members table) {
    return {table.begin(), table.end()};
}

/// The members joined by commas, each between two `quote`s.
std::string text(Members table, std::string_view quote = "") {
    std::string joined;
    for (const std::string_view member : table) {
        if (!joined.empty()) joined += ',';
        joined.append(quote).append(member).append(quote);
    }
    return joined;
}

std::string quotedText(Members table) {
    return text(table, "'");
}

/// As few texts as leave no more than four members to each, as even as can be.
std::vector<std::string> textsToShow(Members table) {
    const std::size_t count = (table.size() + 3) / 4;
    std::vector<std::string> texts;
    for (std::size_t number = 0; number < count; ++number) {
        const std::size_t begin = number * table.size() / count;
        const std::size_t end = (number + 1) * table.size() / count;
        texts.push_back(text(table.subspan(begin, end - begin)));
    }
    return texts;
}

}  // namespace

std::string QVFilesUtilities::imagesTypes() const {
    return quotedText(kImageTypes);
}
std::vector<std::string> QVFilesUtilities::imagesOSTypesArray() const {
    return list(kImageTypes);
}
std::vector<std::string> QVFilesUtilities::arrayImagesTypes() const {
    return textsToShow(kImageTypesToShow);
}
std::string QVFilesUtilities::imagesExtensions() const {
    return text(kImageExtensions);
}
std::vector<std::string> QVFilesUtilities::arrayImagesExtensions() const {
    return textsToShow(kImageExtensionsToShow);
}
std::string QVFilesUtilities::imagesForContentCheckTypes() const {
    return quotedText(kImageContentTypes);
}
std::vector<std::string> QVFilesUtilities::arrayImagesForContentCheckTypes() const {
    return list(kImageContentTypesList);
}
std::vector<std::string> QVFilesUtilities::imagesContentCheckExtensions() const {
    return list(kImageContentExtensions);
}
std::string QVFilesUtilities::musicExtensions() const {
    return text(kMusicExtensions);
}
std::vector<std::string> QVFilesUtilities::arrayMusicExtensions() const {
    return textsToShow(kMusicExtensions);
}
std::string QVFilesUtilities::musicOSTypes() const {
    return text(kMusicTypes);
}
std::vector<std::string> QVFilesUtilities::musicOSTypesArray() const {
    return list(kMusicTypesList);
}
std::vector<std::string> QVFilesUtilities::musicForTagCheckExtensions() const {
    return list(kTagExtensions);
}
std::vector<std::string> QVFilesUtilities::musicForTagCheckTypes() const {
    return list(kTagTypes);
}
std::string QVFilesUtilities::moviesExtensions() const {
    return text(kMovieExtensions);
}
std::vector<std::string> QVFilesUtilities::moviesContentCheckExtensions() const {
    return list(kMovieContentExtensions);
}
std::vector<std::string> QVFilesUtilities::arrayMoviesOSTypes() const {
    return textsToShow(kMovieTypes);
}
std::vector<std::string> QVFilesUtilities::moviesOSTypesArray() const {
    return list(kMovieTypesList);
}
std::string QVFilesUtilities::archiveExtensions() const {
    return text(kArchiveExtensions);
}
std::vector<std::string> QVFilesUtilities::archiveOSTYpesArray() const {
    return list(kArchiveTypes);
}
std::string QVFilesUtilities::documentExtensions() const {
    return text(kDocumentExtensions);
}
std::vector<std::string> QVFilesUtilities::documentOSTypesArray() const {
    return list(kDocumentTypes);
}
std::vector<std::string> QVFilesUtilities::textExtensions() const {
    return list(kTextExtensions);
}
std::vector<std::string> QVFilesUtilities::arrayTextExtensions() const {
    return textsToShow(kTextExtensionsToShow);
}
std::vector<std::string> QVFilesUtilities::arrayTextOSTypes() const {
    return textsToShow(kTextTypes);
}
std::string QVFilesUtilities::PDFExtensions() const {
    return text(kPDFExtensions);
}
std::vector<std::string> QVFilesUtilities::arrayPDFOSTypes() const {
    return textsToShow(kPDFTypes);
}

}  // namespace kestrin
