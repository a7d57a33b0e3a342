// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OlderVersion.h"

#include "platform/desktop/LoginItem.h"
#include "platform/desktop/Places.h"

namespace kestrin {

OlderVersion olderVersion() {
    OlderVersion older;
    older.helper = location(Place::HelperTool).parent().appending("com.quorvane.Kestrin2Helper");
    if (const FileUrl entry = loginItemFile(); !entry.isEmpty())
        older.files.push_back(entry.parent().appending("com.quorvane.Kestrin2.desktop"));
    older.files.push_back(
        location(Place::PreferencesFile).parent().appending("com.quorvane.kestrin-2.conf"));
    return older;
}

}  // namespace kestrin
