// SPDX-License-Identifier: GPL-3.0-or-later
// The types of documents that installed applications declare, and what the system calls them.
#include <algorithm>
#include <functional>

#include "base/StringTable.h"
#include "fsutil/FlatText.h"
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/DeclaredTypes.h"
#include "platform/desktop/Places.h"
#include "platform/items/FolderWalk.h"

namespace kestrin {
namespace {

using Texts = std::vector<std::string>;

constexpr std::string_view kFolderKind = "Folder";
constexpr std::string_view kFolderType = "inode/directory";
/// What documents are never told apart by.
constexpr std::string_view kRefused[] = {"", "*", "    ", "****", "????", "fold"};

std::string caseFolded(std::string_view text) {
    return displayText(text).toCaseFolded().toStdString();
}

/// The texts of a list; none when `value` is no list.
Texts textsOf(const PropertyList* value) {
    const auto* const list = value ? value->get<PropertyList::Array>() : nullptr;
    if (!list) return {};
    Texts texts;
    for (const PropertyList& member : *list)
        if (const auto* text = member.get<std::string>()) texts.push_back(*text);
    return texts;
}

Texts preferredExtensions(const Texts& contentTypes) {
    Texts extensions;
    for (const std::string& type : contentTypes)
        if (const auto tag = preferredExtensionOfType(type))
            std::ranges::move(piecesOf(*tag), std::back_inserter(extensions));
    return extensions;
}

Texts declaredTags(const PropertyList& documentType, TagClass tagClass) {
    if (tagClass == TagClass::TypeCode) return textsOf(documentType.find("CFBundleTypeOSTypes"));
    Texts extensions = preferredExtensions(textsOf(documentType.find("LSItemContentTypes")));
    return extensions.empty() ? textsOf(documentType.find("CFBundleTypeExtensions")) : extensions;
}

bool isRefused(const std::string& tag, TagClass tagClass) {
    if (tagClass == TagClass::TypeCode && displayText(tag).size() != 4) return true;
    return std::ranges::find(kRefused, tag) != std::end(kRefused);
}

void appendDeclared(const std::optional<PropertyList>& dictionary, TagClass tagClass,
                    std::string& text) {
    const PropertyList* const value =
        dictionary ? dictionary->find("CFBundleDocumentTypes") : nullptr;
    const auto* const documentTypes = value ? value->get<PropertyList::Array>() : nullptr;
    if (!documentTypes) return;
    std::string known = caseFolded(text);
    for (const PropertyList& documentType : *documentTypes) {
        for (const std::string& tag : declaredTags(documentType, tagClass)) {
            const std::string folded = caseFolded(tag);
            if (isRefused(tag, tagClass) || known.find(folded) != std::string::npos) continue;
            text += tag + ',';
            known += folded + ',';
        }
    }
}

struct FolderItem {
    FileUrl url;
    bool isFolder = false;
};

/// Puts what stands in `folder` at the end of `items`, in the order of the names backwards.
void appendItems(const QVFilesUtilities& files, const FileUrl& folder,
                 std::vector<FolderItem>& items) {
    const auto first = static_cast<std::ptrdiff_t>(items.size());
    visitFolder(folder, [&](std::string_view name, EntryType type) {
        FileUrl url = folder.appending(name);
        const bool isFolder = type == EntryType::Directory ||
                              (type == EntryType::Unknown && files.isDirectoryWithURL(url));
        items.push_back({std::move(url), isFolder});
        return true;
    });
    std::ranges::sort(items.begin() + first, items.end(), std::greater(), &FolderItem::url);
}

/// An application bundle by its extension or type code, or a desktop entry. It may be a link.
bool declaresTypes(const QVFilesUtilities& files, const FolderItem& item) {
    const std::string_view extension = item.url.pathExtension();
    return extension == "app" || (extension == "desktop" && !item.isFolder) ||
           files.OSTypeWithURL(item.url) == typeCodeOf("APPL");
}

/// A kind by the name that the system has for it.
struct NamedKind {
    QString name;
    bool isFolder = false;
};

NamedKind kindWithTag(TagClass tagClass, std::string_view tag) {
    const auto type = typeForTag(tagClass, tag);
    const auto description = type ? descriptionOfType(*type) : std::nullopt;
    return {description ? displayText(*description)
                        : StringTable::sharedControl().text("no_file_kind"_key),
            type == kFolderType || description == kFolderKind};
}

}  // namespace

std::string& QVFilesUtilities::multiTypesFromURL(const FileUrl& url, TagClass kindOfType,
                                                 std::string& indentifiersString) const {
    appendDeclared(applicationDictionary(hostLocation(url)), kindOfType, indentifiersString);
    return indentifiersString;
}

void QVFilesUtilities::iterateFolderDocuments(const FileUrl& folder, std::string& types,
                                              std::string& extensions) const {
    const FileUrl top = hostLocation(folder);
    if (top.isEmpty()) return;
    std::vector<FolderItem> waiting;
    // The full stop has a link followed that stands for the folder itself.
    appendItems(*this, top.appending("."), waiting);
    while (!waiting.empty()) {
        const FolderItem item = std::move(waiting.back());
        waiting.pop_back();
        if (declaresTypes(*this, item)) {
            const auto dictionary = applicationDictionary(item.url);
            appendDeclared(dictionary, TagClass::TypeCode, types);
            appendDeclared(dictionary, TagClass::Extension, extensions);
        }
        if (item.isFolder && !isPackageWithURL(item.url)) appendItems(*this, item.url, waiting);
    }
}

DeclaredTypes QVFilesUtilities::availableExtensionsAnTypes() const {
    DeclaredTypes declared;
    for (const FileUrl& folder : applicationFolders())
        iterateFolderDocuments(folder, declared.typesString, declared.extensionsString);
    return declared;
}

std::map<QString, KindTags> QVFilesUtilities::kindNamesWithTypes(const std::string& types,
                                                                 const std::string& andExtensions,
                                                                 QStringList* orderedResult) const {
    std::map<QString, KindTags> kinds;
    const auto add = [&](TagClass tagClass, Texts KindTags::*list, const std::string& text) {
        for (const std::string& tag : piecesOf(text)) {
            const NamedKind kind = kindWithTag(tagClass, tag);
            if (kind.name.isEmpty() || (kind.isFolder && tagClass == TagClass::TypeCode)) continue;
            const auto [known, isNew] = kinds.try_emplace(kind.name);
            if (isNew && orderedResult) orderedResult->append(kind.name);
            Texts& tags = known->second.*list;
            if (std::ranges::find(tags, tag) == tags.end()) tags.push_back(tag);
        }
    };
    if (displayText(types).size() >= 3) add(TagClass::TypeCode, &KindTags::types, types);
    if (displayText(andExtensions).size() > 1)
        add(TagClass::Extension, &KindTags::extensions, andExtensions);
    return kinds;
}

}  // namespace kestrin
