// SPDX-License-Identifier: GPL-3.0-or-later
// Telling a message bus that lives from one that only listens. The bus library waits for such a one
// without end, and with it all that the program has to do with any bus.
#pragma once

#include <chrono>
#include <string_view>

namespace kestrin {

/// Whether somebody answers at that address of a bus, by `timeout`. True as well for an address
/// that only the bus library understands. Thread: any.
bool busAnswers(std::string_view address, std::chrono::milliseconds timeout);

}  // namespace kestrin
