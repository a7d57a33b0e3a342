// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSourceItem.h"

namespace kestrin {

std::shared_ptr<QVSourceItem> QVSourceItem::sourceItem() {
    return std::make_shared<QVSourceItem>();
}

}  // namespace kestrin
