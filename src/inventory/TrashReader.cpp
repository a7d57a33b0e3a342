// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashReader.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

#include "format/NameSortKey.h"
#include "platform/items/HostErrors.h"

namespace kestrin {

namespace {

constexpr std::size_t kFirstPiece = 128;
constexpr std::size_t kLargestPiece = 4096;
constexpr std::int64_t kReferenceDateSince1970 = 978307200;

/// More than cores: a disk answers several questions at once faster than one after the other.
unsigned helpers() {
    return std::clamp(2 * std::thread::hardware_concurrency(), 4U, 8U) - 1;
}

}  // namespace

TrashReader::TrashReader(std::shared_ptr<const FileUrl> trash, FileUrl volume, OpenTrash folder)
    : m_trash(std::move(trash)),
      m_volume(std::move(volume)),
      m_folder(std::move(folder)),
      m_listing(m_folder.filesDescriptor()) {}

Result<std::unique_ptr<TrashReader>> TrashReader::open(std::shared_ptr<const FileUrl> trash,
                                                       FileUrl volume) {
    Result<OpenTrash> folder = OpenTrash::open(*trash);
    if (!folder) return folder.error();
    return std::unique_ptr<TrashReader>(
        new TrashReader(std::move(trash), std::move(volume), std::move(*folder)));
}

MaybeError TrashReader::readAll(const std::stop_token& stop, const Take& take) {
    const auto next = [this](std::size_t most) { return m_listing.next(most); };
    if (auto error = makeItems(next, stop, take)) return error;
    return m_listing.error();
}

Result<std::vector<ListedName>> TrashReader::readNames(const std::stop_token& stop) {
    std::vector<ListedName> names;
    while (!stop.stop_requested()) {
        std::vector<ListedName> piece = m_listing.next(kLargestPiece);
        if (piece.empty()) break;
        std::ranges::move(piece, std::back_inserter(names));
    }
    if (auto error = m_listing.error()) return *std::move(error);
    return names;
}

MaybeError TrashReader::read(std::vector<ListedName> names, const std::stop_token& stop,
                             const Take& take) {
    std::atomic<std::size_t> begun = 0;
    const auto next = [&](std::size_t most) {
        const std::size_t begin = std::min(begun.fetch_add(most), names.size());
        const auto first = names.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto last = first + static_cast<std::ptrdiff_t>(std::min(most, names.size() - begin));
        return std::vector<ListedName>(std::move_iterator(first), std::move_iterator(last));
    };
    return makeItems(next, stop, take);
}

MaybeError TrashReader::makeItems(const Next& next, const std::stop_token& stop, const Take& take) {
    std::atomic<std::size_t> pieceSize = kFirstPiece;
    std::atomic<bool> hasMemory = true;
    const auto makePiece = [&] {
        const std::size_t size = pieceSize;
        pieceSize = std::min(2 * size, kLargestPiece);
        std::vector<ListedName> names = next(size);
        ItemList items;
        items.reserve(names.size());
        for (ListedName& name : names) {
            if (stop.stop_requested()) return false;
            if (auto item = itemOf(std::move(name))) items.push_back(std::move(item));
        }
        if (!items.empty()) take(std::move(items));
        return !names.empty();
    };
    const auto goesOn = [&] {
        try {
            return hasMemory && makePiece();
        } catch (const std::exception&) {
            hasMemory = false;
            return false;
        }
    };
    const auto work = [&] {
        while (goesOn()) {
        }
    };
    if (goesOn() && goesOn()) {  // a small trash is not worth a thread
        std::vector<std::jthread> threads;
        try {
            while (threads.size() < helpers())
                threads.emplace_back(work);
        } catch (const std::system_error&) {  // those there are will do it
        }
        work();
    }
    if (!hasMemory) return errorFromErrno(ENOMEM, HostAccess::Read);
    return std::nullopt;
}

std::shared_ptr<QVSmartWindowItem> TrashReader::itemOf(ListedName name) {
    std::optional<ListedEntry> entry = m_listing.examine(std::move(name));
    if (!entry) return nullptr;
    auto item = QVSmartWindowItem::item();
    item->trash = m_trash;
    item->name = std::move(entry->name);
    item->identity = entry->identity;
    item->mode = entry->mode;
    item->isHidden = item->name.starts_with('.');
    item->nameKey = nameSortKey(item->name);
    if (const auto record = m_folder.recordOf(item->name, m_volume)) takeRecord(*record, *item);
    if (!item->isFolder()) {
        item->size = entry->size.value_or(0);
        item->actualCount = entry->size ? 1 : 0;
    }
    // What is mounted on a folder is not of this trash, and is not measured.
    item->isMeasured = !item->isFolder() || entry->isMountRoot;
    return item;
}

void TrashReader::takeRecord(const TrashRecord& record, QVSmartWindowItem& item) {
    if (record.deletionDate)
        item.dateAdded = static_cast<double>(*record.deletionDate - kReferenceDateSince1970);
    const auto slash = record.originalPath.rfind('/');
    if (slash == std::string::npos) return;
    item.originalFolder =
        sharedFolder(record.originalPath.substr(0, std::max<std::size_t>(slash, 1)));
}

std::shared_ptr<const std::string> TrashReader::sharedFolder(std::string folder) {
    const std::lock_guard lock(m_mutex);
    auto& shared = m_folders[folder];
    if (!shared) shared = std::make_shared<const std::string>(std::move(folder));
    return shared;
}

}  // namespace kestrin
