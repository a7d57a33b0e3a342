// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin empty --kind": the entries of one kind in some trashes.
#pragma once

namespace kestrin {

struct Arguments;
struct ChosenTrashes;
class Console;
class EraseSession;

/// Lists the entries of the kind wanted, as "show" does, then asks and erases exactly those: what
/// comes later stays, as does what takes the name of one, and what could not be looked at. Returns
/// the exit status. Requires: `arguments` has a kind. Main thread.
int eraseKind(const Arguments& arguments, const ChosenTrashes& trashes, Console& console,
              EraseSession& session);

}  // namespace kestrin
