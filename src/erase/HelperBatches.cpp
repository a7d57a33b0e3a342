// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperBatches.h"

#include <utility>

namespace kestrin {
namespace {

/// Of the list itself, and of each path's element. Generous, so that a list of the longest length
/// also stays below the number of values that a reader puts up with.
constexpr std::size_t kBytesOfList = 1024;
constexpr std::size_t kBytesOfElement = 72;
/// The element of an identity: three numbers of 20 digits at most.
constexpr std::size_t kBytesOfIdentity = 100;

/// At most: every byte of the path may have to be percent-encoded.
std::size_t bytesOf(const HelperItem& item) {
    return 3 * item.url.path().size() + kBytesOfElement + kBytesOfIdentity;
}

const std::vector<HelperItem>& foldersOf(const HelperRequest& request) {
    static const std::vector<HelperItem> none;
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
    items.keepsLocked = m_request->keepsLocked;
    std::size_t bytes = kBytesOfList;
    bool isFirst = true;
    for (; m_position < m_end; ++m_position) {
        const HelperItem& item = itemAt();
        bytes += bytesOf(item);
        if (bytes > m_maximumBytes && !isFirst) break;
        listAt(items).push_back(item.url.path());
        items.identities.push_back(item.identity);
        isFirst = false;
    }
    m_hasBegun = true;
    return items;
}

const HelperItem& HelperBatches::itemAt() const {
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
