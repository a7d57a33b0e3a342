// SPDX-License-Identifier: GPL-3.0-or-later
// What the parts of the browsing window tell each other.
#pragma once

#include <string_view>

namespace kestrin {

/// Names and keys of the window's notifications. Where a notification's own name is said to be its
/// sender, the sender is the address of its constant. All are posted on the main thread, also the
/// "updateCountAndSizeToDelete" of a source (see EraseNotification).
namespace SmartWindowNotification {

/// Sender: this name. The content list shows kSourceItem; kAllSourceItems are those of the window.
/// kSourceItem is nullptr when the shown volume went and no other can be shown: then nothing is.
inline constexpr std::string_view kShowSelectedItems = "showSelectedItems";
/// Sender: this name. The content list is there; the source list answers with kShowSelectedItems.
inline constexpr std::string_view kContentListDidLoad = "contentListDidLoad";
/// Sender: this name. The marks of entries of kSourceItem changed.
inline constexpr std::string_view kUpdateMarkedInfo = "updateMarkedInfo";
/// Sender: the source, also under kSourceItem. Entries came or went, or a folder was measured.
inline constexpr std::string_view kUpdateItemsList = "updateItemsList";
/// Sender: the source. All its entries got the mark kMark.
inline constexpr std::string_view kSourceCheckBtnDidClick = "sourceCheckBtnDidClick";
/// Sender: the controller of the content list. The mark of kItem was changed by its check box.
inline constexpr std::string_view kCheckBtnInListDidClick = "checkBtnInListDidClick";
/// Sender: the inner splitter, whose preview pane was collapsed or came back.
inline constexpr std::string_view kSplitViewDidCollapse = "splitViewDidCollapse";
inline constexpr std::string_view kSplitViewDidUncollapse = "splitViewDidUncollapse";
/// Sender: none. The window was closed.
inline constexpr std::string_view kSmartWindowDidClose = "smartWindowDidClose";
/// Sender: any. The volume mounted at kDevicePath came, or is about to go.
inline constexpr std::string_view kMountedVolumeDidChange = "mountedVolumeDidChange";

inline constexpr std::string_view kSourceItem = "sourceItem";  // std::shared_ptr<QVSourceItem>
// std::vector<std::shared_ptr<QVSourceItem>>
inline constexpr std::string_view kAllSourceItems = "allSourceItems";
inline constexpr std::string_view kItem = "item";  // std::shared_ptr<QVSmartWindowItem>
inline constexpr std::string_view kMark = "mark";  // bool
inline constexpr std::string_view kDiskWasAdded = "diskWasAdded";  // bool
inline constexpr std::string_view kDevicePath = "devicePath";      // std::string

}  // namespace SmartWindowNotification

}  // namespace kestrin
