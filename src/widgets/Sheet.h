// SPDX-License-Identifier: GPL-3.0-or-later
// Windows that belong to another window. Main thread only.
#pragma once

#include <Qt>

class QWidget;
class QWindow;

namespace kestrin {

/// The frame of a window that waits for the user: it has a title and can be moved and closed, but
/// neither minimised, which would hide a question, nor maximised.
inline constexpr Qt::WindowFlags kDialogFrame =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

/// Makes `sheet`, a window that does not show yet, window-modal on the window of `parent` and puts
/// it in its middle; it becomes an ordinary window when `parent` is nullptr or does not show. The
/// sheet is not owned by the parent and may outlive it.
void makeSheet(QWidget& sheet, QWidget* parent);

/// The widget at `address`; nullptr when it has gone, or there never was one.
QWidget* livingWidget(const void* address);

/// The sheet that shows on the window of `parent`, which must not close meanwhile; nullptr when
/// there is none.
QWindow* sheetOn(const QWidget& parent);

}  // namespace kestrin
