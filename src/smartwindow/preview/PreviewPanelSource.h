// SPDX-License-Identifier: GPL-3.0-or-later
// Where a quick-look window gets its items from. Main thread.
#pragma once

#include <QPixmap>
#include <QRect>
#include <cstddef>
#include <functional>
#include <memory>

class QKeyEvent;

namespace kestrin {

class QVPreviewItem;

/// What a panel shows, and who takes the keys that it has no use for. Every function is given.
struct PreviewPanelSource {
    std::function<std::size_t()> numberOfPreviewItems;
    /// `index` is below that number.
    std::function<std::shared_ptr<QVPreviewItem>(std::size_t index)> previewItemAtIndex;
    /// Takes a key that was pressed in the panel. False: it has no use for it either.
    std::function<bool(QKeyEvent&)> handleEvent;
    /// Where on the screen the item stands in its list, in points; an empty place when it is not
    /// to be seen. The panel comes out of that place and goes back to it.
    std::function<QRect(const QVPreviewItem&)> sourceFrameOnScreenForPreviewItem;
    /// What is seen at that place; it may be null.
    std::function<QPixmap(const QVPreviewItem&)> transitionImageForPreviewItem;
};

}  // namespace kestrin
