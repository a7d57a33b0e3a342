// SPDX-License-Identifier: GPL-3.0-or-later
// The question whether an erase may begin.
#pragma once

#include <functional>
#include <memory>

#include "erase/EraseRequest.h"

namespace kestrin {

class EraseCount;
class QVAlert;

/// Shows the confirmation of `request` with the figures that `count` has and those that come later,
/// and returns the alert. With a window it is a sheet that may still be open, else it is answered.
/// Main thread.
std::shared_ptr<QVAlert> showConfirmation(const EraseRequest& request,
                                          const EraseServices& services, EraseCount& count);

/// Has `answered` called with whether the user wants to erase, on a background thread, when the
/// sheet of `alert` is closed. Where no thread is to be had the sheet is not shown, and the answer
/// is given at once: no. Main thread.
void waitForAnswer(std::shared_ptr<QVAlert> alert, std::function<void(bool)> answered);

}  // namespace kestrin
