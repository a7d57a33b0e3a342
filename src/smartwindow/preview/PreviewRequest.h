// SPDX-License-Identifier: GPL-3.0-or-later
// What is asked of whoever makes previews, and how the answer comes.
#pragma once

#include <QSize>
#include <cstdint>
#include <functional>
#include <memory>

#include "viewer/ViewerProtocol.h"

namespace kestrin {

class QVSmartWindowItem;

/// One preview of one entry.
struct PreviewRequest {
    std::shared_ptr<const QVSmartWindowItem> item;  ///< never nullptr
    QSize pixels;                                   ///< the box that the preview is to fill
    std::uint32_t page = 0;                         ///< of a document; 0 is the first
    DecodePurpose purpose = DecodePurpose::Preview;
};

/// Stands for a request. When the last one goes, the request is withdrawn and its answer never
/// comes.
using PreviewTicket = std::shared_ptr<void>;
/// Gets the answer on the main thread, later than the call that asked, once, and never nullptr.
using PreviewAnswer = std::function<void(std::shared_ptr<const Preview>)>;

}  // namespace kestrin
