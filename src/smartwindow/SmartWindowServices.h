// SPDX-License-Identifier: GPL-3.0-or-later
// What the window that browses the trashes works with.
#pragma once

#include <QIcon>
#include <QImage>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "fsutil/QVFilesUtilities.h"
#include "smartwindow/preview/PreviewRequest.h"

namespace kestrin {

class NotificationCenter;
class QVDateUtilities;
class QVDeleteItems;
class QVErrorDelegate;
class QVNumberUtilities;
class StringTable;
class TrashListing;
class UserDefaults;

/// All of it outlives the window. The functions are called on the main thread; each is given.
struct SmartWindowServices {
    NotificationCenter& center;
    const StringTable& texts;
    QVNumberUtilities& numbers;
    QVDateUtilities& dates;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    TrashListing& trashes;
    QVFilesUtilities& files;
    /// Makes the engine of one erase.
    std::function<std::shared_ptr<QVDeleteItems>()> makeEngine;
    /// The icon of the volume that a trash is on.
    std::function<QIcon(const TrashLocation&)> volumeIcon;
    std::function<void()> beep;
    /// Shows entries in the desktop's file manager.
    std::function<void(const std::vector<FileUrl>&)> reveal;
    /// Opens entries, given by their paths, with their default programs, and waits for no disk. The
    /// answer comes later, on the main thread: one result for each path, in their order.
    std::function<void(std::vector<std::string>, LaunchAnswer)> open;
    /// Tells the user one message that needs no answer.
    std::function<void(const QString&)> tellUser;
    /// Asks what an entry looks like; see PreviewLoader::request.
    std::function<PreviewTicket(PreviewRequest, PreviewAnswer)> requestPreview;
    /// What is remembered of such an answer; see PreviewLoader::known.
    std::function<std::shared_ptr<const Preview>(const PreviewRequest&)> knownPreview;
    /// Makes the thumbnail of an entry, on workers; see QVSmartWindowItem::thumbnailWithValue.
    std::function<QImage(const QVSmartWindowItem&, int value)> thumbnail;
};

}  // namespace kestrin
