// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperBatches.h"

#include <utility>

namespace kestrin {
namespace {

/// Of the list itself, and of each path's element. Generous, so that a list of the longest length
/// also stays below the number of values that a reader puts up with.
constexpr std::size_t kBytesOfList = 1024;
constexpr std::size_t kBytesOfElement = 72;

/// At most: every byte may have to be percent-encoded.
std::size_t bytesOf(const FileUrl& path) {
    return 3 * path.path().size() + kBytesOfElement;
}

const std::vector<FileUrl>& foldersOf(const HelperRequest& request) {
    static const std::vector<FileUrl> none;
    const auto& folders = request.notTrashedBecauseFolderNotEmpty;
    return folders ? *folders : none;
}

}  // namespace

HelperBatches::HelperBatches(std::shared_ptr<const HelperRequest> request, std::size_t maximumBytes)
    : m_request(std::move(request)),
      m_maximumBytes(maximumBytes),
      m_end(m_request->unlockItems.size() + m_request->permissionsItems.size() +
            foldersOf(*m_request).size()) {}

std::optional<EraseItems> HelperBatches::next(std::uint64_t erasedCount, std::uint64_t erasedSize) {
    if (isAtEnd()) return {};
    EraseItems items;
    items.erasedCount = erasedCount;
    items.erasedSize = erasedSize;
    std::size_t bytes = kBytesOfList;
    bool isFirst = true;
    for (; m_position < m_end; ++m_position) {
        const FileUrl& path = pathAt();
        bytes += bytesOf(path);
        if (bytes > m_maximumBytes && !isFirst) break;
        listAt(items).push_back(path.path());
        isFirst = false;
    }
    m_hasBegun = true;
    return items;
}

const FileUrl& HelperBatches::pathAt() const {
    std::size_t position = m_position;
    for (const auto* list : {&m_request->unlockItems, &m_request->permissionsItems}) {
        if (position < list->size()) return (*list)[position];
        position -= list->size();
    }
    return foldersOf(*m_request)[position];
}

std::vector<std::string>& HelperBatches::listAt(EraseItems& items) const {
    const std::size_t locked = m_request->unlockItems.size();
    if (m_position < locked) return items.unlockItems;
    if (m_position < locked + m_request->permissionsItems.size()) return items.permissionsItems;
    if (!items.notTrashedBecauseFolderNotEmpty) items.notTrashedBecauseFolderNotEmpty.emplace();
    return *items.notTrashedBecauseFolderNotEmpty;
}

}  // namespace kestrin
