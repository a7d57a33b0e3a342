// SPDX-License-Identifier: GPL-3.0-or-later
// The program in the status area, from its start to its end. It is a library of its own, loaded
// only when wanted: the terminal commands start without Qt Widgets.
#pragma once

/// Runs the program and returns its exit status. `action` is what the user asked for by option:
/// "empty-all", "smart-window", "preferences", "login" (a start by the session), "quit", or "" for
/// none. When the program runs already, it is told the action, and this start ends.
extern "C" __attribute__((visibility("default"))) int kestrinRunProgram(int* argc, char** argv,
                                                                        const char* action);
