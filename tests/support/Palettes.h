// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPalette>

namespace kestrin::test {

/// A dark and a light palette, whatever the machine's own is.
QPalette darkPalette();
QPalette lightPalette();

}  // namespace kestrin::test
