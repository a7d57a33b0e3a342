// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseOptions.h"

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"

namespace kestrin {

bool mayBegin(const Arguments& arguments, Console& console) {
    if (arguments.yes || arguments.dryRun || console.terminal().canAsk()) return true;
    console.complain(console.text("cli_no_terminal"_key));
    return false;
}

EraseRequest requestWithOptions(const Arguments& arguments, const Console& console) {
    const bool canAsk = console.terminal().canAsk();
    const auto answerable = [canAsk](RefusedEntries choice) {
        return choice == RefusedEntries::Ask && !canAsk ? RefusedEntries::Skip : choice;
    };
    EraseRequest request;
    request.locked = answerable(arguments.locked);
    request.forbidden = answerable(arguments.forbidden);
    request.confirmed = arguments.yes;
    request.askAlways = !arguments.yes;
    request.writesLog = !arguments.noLog;
    return request;
}

}  // namespace kestrin
