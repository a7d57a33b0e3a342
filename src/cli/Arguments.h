// SPDX-License-Identifier: GPL-3.0-or-later
// What the user typed, as a value. Pure: nothing here asks the disk or prints.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "erase/QVDeleteItems.h"
#include "fsutil/EntryKind.h"

namespace kestrin {

enum class Command { Help, Version, List, Show, Empty, Erase };

enum class SortOrder {
    Name,  ///< by bytes, letters of both cases alike
    Size,  ///< largest first
    Date,  ///< newest first, entries without a date last
    Kind,  ///< in the order of EntryKind
};

/// A command with its options. Options that a command does not know keep their defaults.
struct Arguments {
    Command command = Command::Help;
    std::optional<Command>
        helpTopic{};  ///< the command that help is wanted about; none for all of them
    std::vector<std::string> operands{};  ///< exact bytes, none of them empty
    bool json = false;
    bool yes = false;     ///< no confirmation
    bool dryRun = false;  ///< say what would go, change nothing
    bool noLog = false;
    bool quiet = false;
    RefusedEntries locked = RefusedEntries::Ask;
    RefusedEntries forbidden = RefusedEntries::Ask;
    SortOrder sort = SortOrder::Name;
    std::optional<EntryKind> kind{};  ///< only entries of this kind; none: of every kind
};

/// Why the words make no command.
struct UsageError {
    std::string_view textKey;          ///< string-table key of a text with a "%@" for each name
    std::vector<std::string> names;    ///< what the text speaks of, exact bytes
    std::optional<Command> helpTopic;  ///< the command whose help page tells more
};

using ParsedArguments = std::variant<Arguments, UsageError>;

/// Reads the words behind the program's name. Options may stand before and after operands, and "--"
/// ends them. A value follows its option after "=" or as the next word. When an option is repeated,
/// the last one counts. A request for help wins over everything that comes after it.
ParsedArguments parseArguments(const std::vector<std::string>& words);

/// Whether the word is an option for the program on the desktop, such as "--quit". It takes
/// nothing.
bool isDesktopOption(std::string_view word);

/// The word that calls a command.
std::string_view commandName(Command command);

}  // namespace kestrin
