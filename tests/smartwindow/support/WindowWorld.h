// SPDX-License-Identifier: GPL-3.0-or-later
// What the browsing window works with in a test: volumes that are folders, each with its trash.
#pragma once

#include <QStringList>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVDeleteItems.h"
#include "erase/QVErrorDelegate.h"
#include "format/NameSortKey.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVSmartWindowItem.h"
#include "inventory/TrashListing.h"
#include "smartwindow/SmartWindowServices.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewServices.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {

/// The mounted volumes as TrashListing hears of them. They may hang; a question to one may outlive
/// the test.
class Volumes {
 public:
    std::vector<MountedVolume> mounts() {
        const std::lock_guard lock(m_mutex);
        std::vector<MountedVolume> mounts;
        for (const ListedVolume& volume : m_volumes)
            mounts.push_back({.root = volume.url, .mountId = volume.mountId});
        return mounts;
    }
    ListedVolume ask(const FileUrl& url) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_hanging != url; });
        for (const ListedVolume& volume : m_volumes) {
            if (volume.url == url) return volume;
        }
        return {.url = url, .name = {}, .problem = {}};
    }
    /// Adds the volume, or changes the one that is mounted there.
    void mount(ListedVolume volume) {
        const std::lock_guard lock(m_mutex);
        for (ListedVolume& known : m_volumes) {
            if (known.url == volume.url) return void(known = std::move(volume));
        }
        m_volumes.push_back(std::move(volume));
    }
    void unmount(const FileUrl& url) {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_volumes, [&](const ListedVolume& volume) { return volume.url == url; });
    }
    /// The volume does not answer from now on; with no location, all of them do.
    void hang(const FileUrl& url) {
        const std::lock_guard lock(m_mutex);
        m_hanging = url;
        m_changed.notify_all();
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    FileUrl m_hanging;
    std::vector<ListedVolume> m_volumes;
};

/// An entry as a listing makes it.
inline std::shared_ptr<QVSmartWindowItem> listedItem(std::string_view name) {
    auto item = QVSmartWindowItem::item();
    item->trash = std::make_shared<FileUrl>(FileUrl::fromPath("/trash/files"));
    item->name = name;
    item->nameKey = nameSortKey(name);
    item->isMeasured = true;
    return item;
}

struct WindowWorld {
    explicit WindowWorld(std::chrono::milliseconds patience = std::chrono::hours(1))
        : trashes({.mounts = [volumes = volumes] { return volumes->mounts(); },
                   .ask = [volumes = volumes](const FileUrl& url) { return volumes->ask(url); },
                   .patience = patience}) {}
    ~WindowWorld() { volumes->hang({}); }

    /// A usable volume of that name with an empty trash, not mounted yet.
    ListedVolume volume(const std::string& name, int mountId = 1) const {
        const FileUrl root = FileUrl::fromPath(scratch / name);
        const FileUrl files = root.appending(".Trash-1/files");
        makeFolder(files.path());
        makeFolder(files.parent().path() + "/info");
        ListedVolume volume{.url = root, .name = QString::fromStdString(name), .problem = {}};
        volume.state = ListedVolume::State::Usable;
        volume.mountId = mountId;
        volume.trashes = {{files, root, volume.name, root.path(), false}};
        return volume;
    }
    /// Puts a file into the trash of `volume`, as if its top came from `folder` on 3 March 2026.
    void trash(const std::string& volume, const std::string& entry, std::size_t size = 10,
               const std::string& folder = "/home/user") const {
        const std::string place = scratch / (volume + "/.Trash-1/");
        writeFile(place + "files/" + entry, std::string(size, 'x'));
        const std::string name = entry.substr(0, entry.find('/'));
        writeFile(place + "info/" + name + ".trashinfo",
                  "[Trash Info]\nPath=" + folder + "/" + percentEncode(name, false) +
                      "\nDeletionDate=2026-03-03T12:00:00\n");
    }

    SmartWindowServices services() {
        return {center,
                texts,
                numbers,
                dates,
                presenter,
                defaults,
                trashes,
                QVFilesUtilities::sharedControl(),
                [] { return std::shared_ptr<QVDeleteItems>(); },
                [](const TrashLocation&) { return QIcon(); },
                [this] { ++beeps; },
                [this](const std::vector<FileUrl>& urls) { revealed = urls; },
                [this](std::vector<std::string> paths, const LaunchAnswer& done) {
                    opened = std::move(paths);
                    done(launchResults);
                },
                [this](const QString& text) { told.append(text); },
                [](const PreviewRequest&, const PreviewAnswer&) { return PreviewTicket(); },
                [](const PreviewRequest&) { return std::shared_ptr<const Preview>(); },
                [](const QVSmartWindowItem&, int) { return QImage(); }};
    }

    const ScratchFolder scratch;
    const std::shared_ptr<Volumes> volumes = std::make_shared<Volumes>();
    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    QVDateUtilities dates;
    UserDefaults defaults{scratch / "defaults.conf"};
    ScriptedAlerts alerts;
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    TrashListing trashes;
    int beeps = 0;
    std::vector<FileUrl> revealed;
    std::vector<std::string> opened;
    std::vector<LaunchResult> launchResults;  ///< the answer to the next `open`
    QStringList told;
};

/// The preview beside a list, of which nothing is decoded.
struct ListPreview {
    explicit ListPreview(WindowWorld& world)
        : services{.center = world.center,
                   .texts = world.texts,
                   .numbers = world.numbers,
                   .files = QVFilesUtilities::sharedControl(),
                   .beep = [] {},
                   .reveal = [](const auto&) {},
                   .open = [](const auto&) {},
                   .iconOf = [](const auto&) { return QIcon(); },
                   .request = [](const auto&, const auto&) { return nullptr; },
                   .known = [](const auto&) { return nullptr; },
                   .requestDetails = [](const auto&, const auto&) { return nullptr; },
                   .imageMakers = {}} {}

    const PreviewServices services;
    PreviewCollectionView collectionView{services, false};
    QWidget emptyView;
    QObject splitView;
};

}  // namespace kestrin::test
