// SPDX-License-Identifier: GPL-3.0-or-later
// Chooses the log that an erase writes.
#pragma once

#include <cstddef>
#include <memory>

#include "erase/EraseRequest.h"

namespace kestrin {

class QVLogController;

/// The log of an erase of that many entries, not opened yet; nullptr when the request or the user's
/// settings want none.
std::unique_ptr<QVLogController> makeEraseLog(const EraseRequest& request, std::size_t entries,
                                              const EraseServices& services);

/// Tells the user that the log cannot be opened, so that nothing was erased. Main thread.
void tellThatLogIsClosed(const EraseRequest& request, QVErrorDelegate& presenter);

}  // namespace kestrin
