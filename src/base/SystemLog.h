// SPDX-License-Identifier: GPL-3.0-or-later
// Diagnostic lines for administrators and developers, one logging category a room. They go to the
// journal, or to stderr in a terminal. What users are to read goes through the presenter instead.
#pragma once

#include <QLoggingCategory>

namespace kestrin {

Q_DECLARE_LOGGING_CATEGORY(lcBase)
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
Q_DECLARE_LOGGING_CATEGORY(lcFsutil)
Q_DECLARE_LOGGING_CATEGORY(lcInventory)
Q_DECLARE_LOGGING_CATEGORY(lcErase)
Q_DECLARE_LOGGING_CATEGORY(lcHelper)
Q_DECLARE_LOGGING_CATEGORY(lcSmartWindow)
Q_DECLARE_LOGGING_CATEGORY(lcApp)

}  // namespace kestrin
