// SPDX-License-Identifier: GPL-3.0-or-later
// Where the picture of a theme icon is, after the FreeDesktop.org icon theme specification.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// True for what can name a theme icon: letters, digits, ".", "_", "-" and "+", not beginning with
/// a full stop. A path is never one.
bool isThemeIconName(std::string_view name);

enum class IconFormats { Png, PngAndSvg };

/// The file of the first of `names` that the user's icon theme, the themes it inherits or "hicolor"
/// has, in the size nearest to `size` pixels; the unthemed pixmaps are looked at last. Names that
/// cannot be those of icons are passed over. Every call reads the themes' indexes, so callers keep
/// the answer for each kind of item.
std::optional<FileUrl> themeIconFile(const std::vector<std::string>& names, int size,
                                     IconFormats formats);

}  // namespace kestrin
