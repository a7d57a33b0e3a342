// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSourceItem.h"

#include <utility>

#include "format/DisplayName.h"

namespace kestrin {

QVSourceItem::QVSourceItem(TrashLocation trashLocation, int volumeMountId)
    : location(std::move(trashLocation)),
      mountId(volumeMountId),
      trash(std::make_shared<const FileUrl>(location.trashURL)),
      name(location.volumeURL.lastPathComponent()),
      displayName(kestrin::displayName(location.volumeName)),
      trashIsEmpty(location.trashIsEmpty) {}

}  // namespace kestrin
