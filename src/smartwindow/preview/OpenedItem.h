// SPDX-License-Identifier: GPL-3.0-or-later
// The part of a preview that asks the disk: the files that a decoder is to be handed.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/UniqueFd.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// An entry of a trash, without the record that lists share.
struct PreviewedItem {
    FileUrl url;
    ItemIdentity identity;
    bool isFolder = false;
};

/// An open file of a volume that may hang. A file system of another process, or of another
/// computer, is asked when a file is closed, too, so that is left to a thread that can be
/// abandoned.
class HeldFile {
 public:
    HeldFile() = default;
    explicit HeldFile(UniqueFd file) : m_file(std::move(file)) {}
    HeldFile(HeldFile&&) noexcept = default;
    HeldFile& operator=(HeldFile&& other) noexcept;
    ~HeldFile() { close(); }

    int get() const { return m_file.get(); }
    void close() noexcept;

 private:
    UniqueFd m_file;
};

struct OpenedFile {
    HeldFile file;
    DecodePurpose purpose{};
    // Of a cached thumbnail: what must stand in it, or it is of something else.
    std::string thumbnailUri;
    std::string thumbnailTime;
};

/// Either what there is to show already, or files to try, one after the other.
struct OpenedItem {
    std::shared_ptr<const Preview> preview;  ///< nullptr: the files tell
    std::vector<OpenedFile> files;           ///< the best last
};

/// The preview that has nothing to show but why.
std::shared_ptr<const Preview> previewOfFault(PreviewFault fault);

/// Opens the entry, or lists the folder that it is, and for a thumbnail what the desktop's cache
/// has of it, too. `side` is the larger side in pixels of what is asked for. Thread: any that may
/// hang with the volume.
OpenedItem openForPreview(const PreviewedItem& item, DecodePurpose purpose, int side);

}  // namespace kestrin
