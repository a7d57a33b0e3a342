// SPDX-License-Identifier: GPL-3.0-or-later
// What the parts of the preview tell each other and the window around them.
#pragma once

#include <string_view>

namespace kestrin {

/// Names and keys of the notifications. All are posted on the main thread.
namespace PreviewNotification {

/// Sender: the QWidget that is the window of the preview. The divider beside the preview was moved.
inline constexpr std::string_view kSplitViewPositionDidSwitch = "splitViewPositionDidSwitch";
/// Sender: the view that shows the content of an entry, whose live resize has ended.
inline constexpr std::string_view kViewDidEndLiveResize = "viewDidEndLiveResize";
/// Sender: the QWidget that is the window of the preview. A menu of a path is about to open: kMenu
/// is the menu, and kUrl is the location that it acts on.
inline constexpr std::string_view kPreviewMenuNeedsUpdate = "previewMenuNeedsUpdate";
/// Sender: the QWidget that is the window of the list. The quick-look panel kQlPanel comes or goes.
inline constexpr std::string_view kQuickLookWindowVisibilityWillChange =
    "quickLookWindowVisibilityWillChange";

inline constexpr std::string_view kMenu = "menu";            // QMenu*
inline constexpr std::string_view kUrl = "url";              // FileUrl
inline constexpr std::string_view kQlPanel = "qlPanel";      // PreviewPanel*
inline constexpr std::string_view kIsVisible = "isVisible";  // bool

}  // namespace PreviewNotification

}  // namespace kestrin
