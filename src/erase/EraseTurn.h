// SPDX-License-Identifier: GPL-3.0-or-later
// Knows which engine of this process has its turn, since two never erase at once.
#pragma once

#include <memory>

namespace kestrin {

class QVDeleteItems;

/// The turn of the engines of this process. An engine takes it before it asks and gives it back at
/// its end; an engine that goes before it has erased gives it back as well. Thread: any.
class EraseTurn {
 public:
    /// False while another engine has the turn.
    static bool take(const std::shared_ptr<QVDeleteItems>& engine);
    /// Keeps the engine that has the turn alive until it gives it back.
    static void keepAlive();
    static void giveBack(const QVDeleteItems& engine);

    /// The engine that has the turn; nullptr when nothing is asked or erased.
    static std::shared_ptr<QVDeleteItems> holder();
    /// The engine that had the turn last, as long as it lives, when `sender` of a notification is
    /// that engine; else nullptr.
    static std::shared_ptr<QVDeleteItems> engineOf(const void* sender);
};

}  // namespace kestrin
