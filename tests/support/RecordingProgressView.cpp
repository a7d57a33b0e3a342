// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/RecordingProgressView.h"

#include <utility>

namespace kestrin::test {

ProgressViewFactory ProgressRecord::factory() {
    return [this](std::function<void()> stopAction) -> std::unique_ptr<ProgressView> {
        if (!canBeMade) return nullptr;
        stop = std::move(stopAction);
        return std::make_unique<RecordingProgressView>(*this);
    };
}

void ProgressRecord::pressStop() {
    if (stop) stop();
}

}  // namespace kestrin::test
