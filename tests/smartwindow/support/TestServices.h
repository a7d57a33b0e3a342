// SPDX-License-Identifier: GPL-3.0-or-later
// What the browsing window works with, for tests: real where that touches nothing, and a record of
// what was asked of the desktop.
#pragma once

#include <QStringList>
#include <memory>
#include <string>
#include <string_view>
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
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {

struct TestServices {
    ScratchFolder scratch;
    ScriptedAlerts alerts;
    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers;
    UserDefaults defaults{scratch / "settings.conf"};
    QVDateUtilities dates{defaults, [] { return "en_US"; }, "UTC"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    TrashListing trashes{{.mounts = [] { return std::vector<MountedVolume>(); }}};
    QVFilesUtilities files;

    int beeps = 0;
    std::vector<FileUrl> revealed;
    std::vector<std::string> opened;
    QStringList told;

    SmartWindowServices services{
        .center = center,
        .texts = texts,
        .numbers = numbers,
        .dates = dates,
        .presenter = presenter,
        .defaults = defaults,
        .trashes = trashes,
        .files = files,
        .makeEngine = [] { return nullptr; },
        .volumeIcon = [](const TrashLocation&) { return QIcon(); },
        .beep = [this] { ++beeps; },
        .reveal = [this](const std::vector<FileUrl>& urls) { revealed = urls; },
        .open =
            [this](const std::vector<std::string>& paths) {
                opened = paths;
                return std::vector(paths.size(), LaunchResult::Opened);
            },
        .tellUser = [this](const QString& text) { told.append(text); },
    };
};

/// An entry as a listing makes it.
inline std::shared_ptr<QVSmartWindowItem> listedItem(std::string_view name, std::uint64_t size = 1,
                                                     double dateAdded = 0) {
    auto item = QVSmartWindowItem::item();
    item->trash = std::make_shared<FileUrl>(FileUrl::fromPath("/trash/files"));
    item->name = name;
    item->nameKey = nameSortKey(name);
    item->isHidden = name.starts_with('.');
    item->size = size;
    item->actualCount = 1;
    item->dateAdded = dateAdded;
    item->isMeasured = true;
    return item;
}

}  // namespace kestrin::test
