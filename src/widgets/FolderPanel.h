// SPDX-License-Identifier: GPL-3.0-or-later
// A panel in which the user chooses a folder. Main thread.
#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// Opens a panel at `start` for one folder, under the text `message`, which may be empty. Returns
/// at once; `answered` is called when the panel closes, with QDialog::Accepted and the folder, or
/// with QDialog::Rejected and nothing. A folder whose name the panel cannot spell counts as not
/// chosen.
void openFolderPanel(const FileUrl& start, const QString& message,
                     std::function<void(int response, const std::vector<FileUrl>&)> answered);

}  // namespace kestrin
