// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/DeclaredTypes.h"

#include <utility>

#include "platform/items/KeyFile.h"
#include "platform/items/SmallFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kLargestDictionary = std::size_t{1} << 20;
constexpr std::string_view kGroup = "Desktop Entry";

std::optional<PropertyList> dictionaryOfBundle(const FileUrl& bundle) {
    const auto text = readSmallFile(bundle.appending("Contents/Info.plist"), kLargestDictionary,
                                    LastLink::Follow);
    if (!text) return std::nullopt;
    auto dictionary = fromXml(*text);
    if (!dictionary || !dictionary->get<PropertyList::Dictionary>()) return std::nullopt;
    return *std::move(dictionary);
}

std::optional<PropertyList> dictionaryOfEntry(const FileUrl& entry) {
    const auto content = KeyFile::read(entry, LastLink::Follow);
    if (!content || content->text(kGroup, "Type") != "Application" ||
        content->flag(kGroup, "Hidden"))
        return std::nullopt;
    PropertyList::Array types;
    for (std::string& type : content->list(kGroup, "MimeType"))
        types.emplace_back(std::move(type));
    PropertyList::Array documentTypes;
    if (!types.empty())
        documentTypes.emplace_back(PropertyList::Dictionary{{"LSItemContentTypes", types}});
    return PropertyList::Dictionary{{"CFBundleDocumentTypes", documentTypes}};
}

}  // namespace

std::optional<PropertyList> applicationDictionary(const FileUrl& application) {
    if (application.isEmpty()) return std::nullopt;
    return application.pathExtension() == "desktop" ? dictionaryOfEntry(application)
                                                    : dictionaryOfBundle(application);
}

}  // namespace kestrin
