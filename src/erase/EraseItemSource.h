// SPDX-License-Identifier: GPL-3.0-or-later
// The entries of one erase as the remover takes them: each in its open trash folder, and its record
// removed when it is gone.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "inventory/QVItemToErase.h"
#include "inventory/ThumbnailCache.h"
#include "platform/items/TreeRemover.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

/// Hands out entries in their order. Each trash is opened once and stays open until this goes, so
/// that what is erased lies in the folder that was meant, whatever happens to its path.
class EraseItemSource final : public RemovalItems {
 public:
    struct Callbacks {
        /// Whether the trash may be opened, asked once. The entries of one that may not are passed
        /// over.
        std::function<bool(const FileUrl& trash)> mayOpen;
        /// The entry's folder cannot be opened; the entry was not begun.
        std::function<void(const FileUrl& entry, const HostError& error)> couldNotBegin;
        /// An entry was begun and is still there.
        std::function<void(const QVItemToErase& entry)> stayed;
    };

    /// `items` must outlive this.
    EraseItemSource(const ItemsToErase& items, Callbacks callbacks);
    ~EraseItemSource() override;

    bool next(RemovalItem& item) override;
    void finished(const RemovalItem& item, RemovalOutcome outcome) override;

    /// Takes the lines of what went out of the trashes' `directorysizes`, and its pictures out of
    /// the desktop's thumbnail cache. Call when removal is over.
    void tidy();

 private:
    struct Folder;
    Folder* folderOf(const QVItemToErase& entry);
    void open(Folder& folder, const FileUrl& url);

    const ItemsToErase& m_items;
    ErasedThumbnails m_thumbnails;
    const Callbacks m_callbacks;
    std::size_t m_next = 0;
    Folder* m_latest = nullptr;  ///< entries of one folder mostly follow each other
    std::mutex m_lock;           ///< guards what follows
    std::unordered_map<FileUrl, std::unique_ptr<Folder>> m_folders;  ///< by trash
    std::unordered_map<int, Folder*> m_byDescriptor;
};

}  // namespace kestrin
