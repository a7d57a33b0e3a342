// SPDX-License-Identifier: GPL-3.0-or-later
// Which keys a content keeps for itself. Main thread only.
#pragma once

class QAbstractScrollArea;
class QKeyEvent;

namespace kestrin {

/// Whether the window around `area` gets the key: Space and Escape always, the others that scroll
/// when there is nothing to scroll.
bool isKeyOfTheWindow(const QKeyEvent& event, const QAbstractScrollArea& area);

}  // namespace kestrin
