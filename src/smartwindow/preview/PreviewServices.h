// SPDX-License-Identifier: GPL-3.0-or-later
// What the parts of the preview work with.
#pragma once

#include <QIcon>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVPreviewItem.h"
#include "smartwindow/preview/PreviewRequest.h"

namespace kestrin {

class NotificationCenter;
class QVNumberUtilities;
class StringTable;
struct ItemDetails;

/// All of it outlives the preview. The functions are called on the main thread, and so is what they
/// are handed; each is given, and none waits for a disk.
struct PreviewServices {
    NotificationCenter& center;
    const StringTable& texts;
    QVNumberUtilities& numbers;
    QVFilesUtilities& files;
    std::function<void()> beep;
    /// Shows items in the desktop's file manager.
    std::function<void(const std::vector<FileUrl>&)> reveal;
    /// Opens items, given by their paths, with their default programs, and tells the user which of
    /// them were not opened, and why.
    std::function<void(std::vector<std::string>)> open;
    /// The icon of an entry by its name and kind, from memory.
    std::function<QIcon(const QVSmartWindowItem&)> iconOf;
    /// Asks for a preview.
    std::function<PreviewTicket(PreviewRequest, PreviewAnswer)> request;
    /// The last answer for that entry and page, from memory; nullptr when none is remembered.
    std::function<std::shared_ptr<const Preview>(const PreviewRequest&)> known;
    /// Asks what the file system tells of an entry. The answer comes once and later, unless the
    /// volume stays silent: then never. Dropping the ticket withdraws the request.
    std::function<PreviewTicket(std::shared_ptr<const QVSmartWindowItem>,
                                std::function<void(const ItemDetails&)>)>
        requestDetails;
    /// Make the images of tiles. Without them a tile keeps the icon.
    PreviewImageMakers imageMakers;
};

}  // namespace kestrin
