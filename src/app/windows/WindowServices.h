// SPDX-License-Identifier: GPL-3.0-or-later
// What the small windows of the program work with.
#pragma once

#include <QString>
#include <functional>
#include <optional>
#include <string_view>

#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "platform/desktop/PackageOwner.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/SoftwareCenter.h"

namespace kestrin {

class StringTable;
class UserDefaults;

/// The id of the program in the AppStream catalogues of software.
inline constexpr std::string_view kAppStreamId = "com.quorvane.Kestrin3";

/// All of it must outlive the windows. Where a function is not given, what needs it is not offered.
struct WindowServices {
    NotificationCenter& center;
    const StringTable& texts;
    UserDefaults& defaults;
    /// The shortcut of the setting "empty_trash" or "smart_delete" as it is in force, in words;
    /// empty when there is none, and no value while the desktop has not answered.
    std::function<std::optional<QString>(std::string_view key)> shortcutText{};
    /// Calls `changed` whenever a shortcut may read otherwise, as long as the observation lives.
    std::function<Observation(std::function<void()> changed)> observeShortcuts{};
    std::function<void()> openSmartWindow{};
    std::function<void()> showPreferences{};
    /// Hands the address to the desktop; false when nothing there takes it.
    std::function<bool(const QString& url)> openUrl{};
    /// Where the version is kept of which the user was told what is new.
    FileUrl shownVersionFile = location(Place::ShownVersion);
    /// How this copy of the program came here.
    std::function<void(std::function<void(const PackageAnswer&)>)> findOwnPackage =
        &kestrin::findOwnPackage;
    /// Whether `openUrl` would show the program in a software center.
    std::function<bool()> softwareCenterKnowsProgram = [] {
        return softwareCenterKnows(kAppStreamId);
    };
};

}  // namespace kestrin
