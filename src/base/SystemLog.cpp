// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/SystemLog.h"

namespace kestrin {

Q_LOGGING_CATEGORY(lcBase, "kestrin.base", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlatform, "kestrin.platform", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFsutil, "kestrin.fsutil", QtInfoMsg)
Q_LOGGING_CATEGORY(lcInventory, "kestrin.inventory", QtInfoMsg)
Q_LOGGING_CATEGORY(lcErase, "kestrin.erase", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHelper, "kestrin.helper", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSmartWindow, "kestrin.smartwindow", QtInfoMsg)
Q_LOGGING_CATEGORY(lcApp, "kestrin.app", QtInfoMsg)

}  // namespace kestrin
