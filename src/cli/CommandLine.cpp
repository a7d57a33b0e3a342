// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/CommandLine.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <variant>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/EmptyCommand.h"
#include "cli/EraseCommand.h"
#include "cli/EraseSession.h"
#include "cli/ListCommand.h"
#include "cli/ShowCommand.h"
#include "format/DisplayName.h"
#include "platform/items/HostErrors.h"

namespace kestrin {

namespace {

std::string_view helpKey(const std::optional<Command>& topic) {
    switch (topic.value_or(Command::Help)) {
        case Command::List:
            return "cli_help_list"_key;
        case Command::Show:
            return "cli_help_show"_key;
        case Command::Empty:
            return "cli_help_empty"_key;
        case Command::Erase:
            return "cli_help_erase"_key;
        case Command::Help:
        case Command::Version:
            break;
    }
    return "cli_help"_key;
}

/// The words that ask for the help page, such as "kestrin help list".
QString helpCommand(const std::optional<Command>& topic) {
    const QString help = QStringLiteral("kestrin help");
    if (!topic) return help;
    const std::string_view name = commandName(*topic);
    return help + u' ' + QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

}  // namespace

CommandLine::CommandLine() : m_console(stdout, StringTable::sharedControl()) {}

CommandLine::~CommandLine() = default;

int CommandLine::run(const std::vector<std::string>& words) {
    // A reader that goes away is then seen as a failed write.
    std::signal(SIGPIPE, SIG_IGN);
    const ParsedArguments parsed = parseArguments(words);
    if (const auto* const error = std::get_if<UsageError>(&parsed)) return refuse(*error);
    try {
        return statusAfterOutput(dispatch(std::get<Arguments>(parsed)));
    } catch (const std::exception& failure) {  // no thread or no memory to be had
        const QString reason = displayName(errorFromException(failure).localizedDescription());
        m_console.complain(m_console.text("cli_system_refused"_key, {reason}));
        return 1;
    }
}

int CommandLine::dispatch(const Arguments& arguments) {
    if (arguments.json) m_console.terminal().keepOffStandardOutput();
    const SessionMaker makeSession = [&]() -> EraseSession& { return session(arguments); };
    switch (arguments.command) {
        case Command::Help:
            printHelp(arguments);
            break;
        case Command::Version:
            m_console.output().write("kestrin " KESTRIN_VERSION "\n");
            break;
        case Command::List:
            return runList(arguments, m_console);
        case Command::Show:
            return runShow(arguments, m_console);
        case Command::Empty:
            return runEmpty(arguments, m_console, makeSession);
        case Command::Erase:
            return runErase(arguments, m_console, makeSession);
    }
    return 0;
}

int CommandLine::refuse(const UsageError& error) {
    QStringList names;
    for (const std::string& name : error.names)
        names += displayName(name);
    const QString hint = m_console.text("cli_help_hint"_key, {helpCommand(error.helpTopic)});
    m_console.complain(m_console.text(error.textKey, names) + u' ' + hint);
    return kStatusUsageError;
}

void CommandLine::printHelp(const Arguments& arguments) {
    QString page = m_console.text(helpKey(arguments.helpTopic));
    while (page.endsWith(u'\n'))
        page.chop(1);
    m_console.output().line(page);
}

EraseSession& CommandLine::session(const Arguments& arguments) {
    m_session = std::make_unique<EraseSession>(m_console, !arguments.quiet);
    return *m_session;
}

/// The status of the command, or a failure when not all of its output went out.
int CommandLine::statusAfterOutput(int status) {
    m_console.output().flush();
    const int failure = m_console.output().failure();
    if (failure == 0) return status;
    if (failure != EPIPE) {
        const std::string reason = std::generic_category().message(failure);
        m_console.complain(m_console.text("cli_output_failed"_key, {displayName(reason)}));
    }
    return status == 0 ? 1 : status;
}

}  // namespace kestrin
