// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin list": every trash with its entries and bytes.
#pragma once

namespace kestrin {

struct Arguments;
class Console;

/// Returns the exit status: 1 when a trash could not be read or a volume
/// does not answer.
int runList(const Arguments& arguments, Console& console);

}  // namespace kestrin
