// SPDX-License-Identifier: GPL-3.0-or-later
// The program in a terminal: reads what was typed, runs the command, answers with its exit status.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/Console.h"

namespace kestrin {

struct Arguments;
struct UsageError;
class EraseSession;

/// Runs the commands of the terminal. Main thread; needs a QCoreApplication and the main thread's
/// mailbox. After a run it must live until the process ends: work in the background may still be
/// using it.
class CommandLine {
 public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Runs the command that the words behind the program's name make, and returns the exit status:
    /// 0 when it is done, and all that was to be erased is gone; 1 when something stayed or could
    /// not be read or written, or a volume does not answer; 2 for a usage error, or without a
    /// terminal to ask on; 3 when the user declined or stopped it.
    int run(const std::vector<std::string>& words);

 private:
    int dispatch(const Arguments& arguments);
    int refuse(const UsageError& error);
    void printHelp(const Arguments& arguments);
    EraseSession& session(const Arguments& arguments);
    int statusAfterOutput(int status);

    Console m_console;
    std::unique_ptr<EraseSession> m_session;
};

}  // namespace kestrin
