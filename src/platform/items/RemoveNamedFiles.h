// SPDX-License-Identifier: GPL-3.0-or-later
// Files that are known by their names alone, taken out of a folder and of the folders in it.
#pragma once

#include <functional>
#include <string_view>

#include "base/FileUrl.h"

namespace kestrin {

/// Removes what `isMeant` says of the entries of `folder` and of the folders below it, `depth`
/// levels deep (0: of `folder` alone). Links are not followed, not at `folder` either; a link whose
/// name is meant goes itself. Folders stay, and what cannot be removed does. Thread: any.
void removeNamedFiles(const FileUrl& folder, int depth,
                      const std::function<bool(std::string_view name)>& isMeant);

}  // namespace kestrin
