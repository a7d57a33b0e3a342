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
/// has, the nearest to `size` pixels; in the end the unthemed pixmaps. Names that are none are
/// passed over. Reads the themes' indexes anew: callers keep what they got by kind.
std::optional<FileUrl> themeIconFile(const std::vector<std::string>& names, int size,
                                     IconFormats formats);

}  // namespace kestrin
