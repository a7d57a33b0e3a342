// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseItemSource.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "base/SystemLog.h"
#include "platform/items/HostErrors.h"

namespace kestrin {

struct EraseItemSource::Folder {
    std::string path;
    std::optional<OpenTrash> trash;  ///< none for a folder that is no trash
    UniqueFd plain;
    MaybeError error;

    int descriptor() const { return trash ? trash->filesDescriptor() : plain.get(); }
};

EraseItemSource::EraseItemSource(const ItemsToErase& items, Callbacks callbacks)
    : m_items(items), m_callbacks(std::move(callbacks)) {}

EraseItemSource::~EraseItemSource() = default;

bool EraseItemSource::next(RemovalItem& item) {
    while (m_next < m_items.size()) {
        const std::size_t index = m_next++;
        const FileUrl& entry = m_items[index].url;
        Folder* folder = folderOf(entry);
        if (folder->error) {
            m_callbacks.couldNotBegin(entry, *folder->error);
            continue;
        }
        item = {index, folder->descriptor(), folder->path, std::string(entry.lastPathComponent())};
        return true;
    }
    return false;
}

EraseItemSource::Folder* EraseItemSource::folderOf(const FileUrl& entry) {
    const std::string& path = entry.path();
    const auto slash = path.rfind('/');
    const auto isIn = [&](const Folder& folder) {
        return folder.path.size() == slash && path.starts_with(folder.path);
    };
    if (m_latest && isIn(*m_latest)) return m_latest;

    const FileUrl url = entry.parent();
    const std::lock_guard lock(m_lock);
    auto& folder = m_folders[url.path()];
    if (!folder) {
        folder = std::make_unique<Folder>();
        folder->path = url.path();
        if (url.lastPathComponent() == "files") {
            auto trash = OpenTrash::open(url);
            if (trash) {
                folder->trash.emplace(std::move(*trash));
            } else {
                folder->error = trash.error();
            }
        } else {
            constexpr int kFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
            folder->plain.reset(open(url.path().c_str(), kFlags));
            if (!folder->plain) folder->error = errorFromErrno(errno, HostAccess::Read);
        }
        m_byDescriptor[folder->descriptor()] = folder.get();
    }
    m_latest = folder.get();
    return m_latest;
}

void EraseItemSource::finished(const RemovalItem& item, RemovalOutcome outcome) {
    if (outcome != RemovalOutcome::Gone) {
        m_callbacks.stayed(m_items[item.tag].url);
        return;
    }
    Folder* folder = nullptr;
    {
        const std::lock_guard lock(m_lock);
        folder = m_byDescriptor.at(item.parentDescriptor);
    }
    if (!folder->trash) return;
    if (const auto error = folder->trash->removeRecord(item.name)) {
        qCWarning(lcErase, "The record of an erased entry stays: %s",
                  error->localizedDescription().c_str());
    }
}

void EraseItemSource::tidy() {
    for (auto& [path, folder] : m_folders) {
        if (folder->trash) folder->trash->tidyDirectorySizes();
    }
}

}  // namespace kestrin
