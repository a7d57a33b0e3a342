// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseItemSource.h"

#include <utility>

#include "base/SystemLog.h"

namespace kestrin {

struct EraseItemSource::Folder {
    const FileUrl* url = nullptr;  ///< as the entries have it
    std::optional<OpenTrash> trash;
    MaybeError error;  ///< why there is none; no error of one that may not be opened
};

EraseItemSource::EraseItemSource(const ItemsToErase& items, Callbacks callbacks)
    : m_items(items), m_callbacks(std::move(callbacks)) {}

EraseItemSource::~EraseItemSource() = default;

bool EraseItemSource::next(RemovalItem& item) {
    while (m_next < m_items.size()) {
        const std::size_t index = m_next++;
        const QVItemToErase& entry = m_items[index];
        const Folder& folder = *folderOf(entry);
        if (folder.error) m_callbacks.couldNotBegin(entry.url(), *folder.error);
        if (!folder.trash) continue;
        item = {index, folder.trash->filesDescriptor(), entry.trash->path(), entry.name,
                entry.identity};
        return true;
    }
    return false;
}

EraseItemSource::Folder* EraseItemSource::folderOf(const QVItemToErase& entry) {
    if (m_latest && m_latest->url == entry.trash.get()) return m_latest;
    const std::lock_guard lock(m_lock);
    auto& folder = m_folders[*entry.trash];
    if (!folder) {
        folder = std::make_unique<Folder>();
        if (m_callbacks.mayOpen(*entry.trash)) open(*folder, *entry.trash);
    }
    folder->url = entry.trash.get();
    m_latest = folder.get();
    return m_latest;
}

void EraseItemSource::open(Folder& folder, const FileUrl& url) {
    auto trash = OpenTrash::open(url);
    if (!trash) {
        folder.error = trash.error();
        return;
    }
    folder.trash.emplace(std::move(*trash));
    m_byDescriptor[folder.trash->filesDescriptor()] = &folder;
}

void EraseItemSource::finished(const RemovalItem& item, RemovalOutcome outcome) {
    if (outcome == RemovalOutcome::Replaced) return;
    if (outcome != RemovalOutcome::Gone) {
        m_callbacks.stayed(m_items[item.tag]);
        return;
    }
    Folder* folder = nullptr;
    {
        const std::lock_guard lock(m_lock);
        folder = m_byDescriptor.at(item.parentDescriptor);
    }
    if (const auto error = folder->trash->removeRecord(item.name)) {
        qCWarning(lcErase, "The record of an erased entry stays: %s",
                  error->localizedDescription().c_str());
    }
    m_thumbnails.add(*m_items[item.tag].trash, item.name);
}

void EraseItemSource::tidy() {
    for (auto& [path, folder] : m_folders) {
        if (folder->trash) folder->trash->tidyDirectorySizes();
    }
    m_thumbnails.remove();
}

}  // namespace kestrin
