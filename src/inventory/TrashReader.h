// SPDX-License-Identifier: GPL-3.0-or-later
// Reads what lies directly in a trash: what each entry is, when it came and from where.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "inventory/QVSmartWindowItem.h"
#include "platform/items/FolderListing.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

/// One reading of one trash. The trash is held open, so that its entries and their records are of
/// the same folder. It may hang with its volume. Nothing on the disk is changed, and of the
/// entries nothing is opened. One thread calls it; several work for it.
class TrashReader {
 public:
    /// Gets entries as they are read, on several threads at once.
    using Take = std::function<void(ItemList)>;

    /// Opens the trash at `trash`, which all its items then share. `volume` is the root of its
    /// volume. Errors: errorFromErrno with Read.
    static Result<std::unique_ptr<TrashReader>> open(std::shared_ptr<const FileUrl> trash,
                                                     FileUrl volume);

    /// Hands over every entry, in pieces that grow: the first one comes at once. When `stop` is
    /// requested it returns early. Errors: the trash could not be read to its end, or there was no
    /// memory for all of it.
    MaybeError readAll(const std::stop_token& stop, const Take& take);

    /// The names of all entries, without looking at any. Errors: the trash could not be read to its
    /// end. Throws std::bad_alloc.
    Result<std::vector<ListedName>> readNames(const std::stop_token& stop);
    /// Hands over the entries of these names that are still there. Errors: there was no memory for
    /// all of them.
    MaybeError read(std::vector<ListedName> names, const std::stop_token& stop, const Take& take);

 private:
    /// Gives the next names to look at, on any thread; empty when there are no more.
    using Next = std::function<std::vector<ListedName>(std::size_t most)>;

    TrashReader(std::shared_ptr<const FileUrl> trash, FileUrl volume, OpenTrash folder);
    MaybeError makeItems(const Next& next, const std::stop_token& stop, const Take& take);
    std::shared_ptr<QVSmartWindowItem> itemOf(ListedName name);
    void takeRecord(const TrashRecord& record, QVSmartWindowItem& item);
    std::shared_ptr<const std::string> sharedFolder(std::string folder);

    const std::shared_ptr<const FileUrl> m_trash;
    const FileUrl m_volume;
    const OpenTrash m_folder;
    FolderListing m_listing;
    std::mutex m_mutex;
    /// The original folders met so far. Guarded by m_mutex.
    std::unordered_map<std::string, std::shared_ptr<const std::string>> m_folders;
};

}  // namespace kestrin
