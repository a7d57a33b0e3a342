// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MenuCreationOperationQueue.h"

#include "base/OperationQueue.h"

namespace kestrin {

OperationQueue& MenuCreationOperationQueue() {
    static auto& queue = *new OperationQueue("menuCreation");
    return queue;
}

}  // namespace kestrin
