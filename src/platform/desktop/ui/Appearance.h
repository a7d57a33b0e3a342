// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the desktop is light or dark.
#pragma once

class QPalette;

namespace kestrin {

/// Whether `palette` writes in a lighter colour than the ground that it writes on. Thread: any.
bool isDarkAppearance(const QPalette& palette);

}  // namespace kestrin
