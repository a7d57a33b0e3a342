// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/SmartErase.h"

#include <memory>
#include <utility>

#include "cli/EraseOptions.h"
#include "cli/EraseReport.h"
#include "cli/EraseSession.h"
#include "inventory/TrashCount.h"

namespace kestrin {

int eraseChosen(ChosenEntries chosen, const Arguments& arguments, Console& console,
                EraseSession& session) {
    const auto items = std::make_shared<const ItemsToErase>(std::move(chosen.items));
    const TrashFigures figures = figuresOf(*items);
    EraseRequest request = requestWithOptions(arguments, console);
    request.isSmartErase = true;
    request.size = figures.size;
    request.count = figures.count;
    request.trashes = std::move(chosen.trashes);
    request.leftOut = std::move(chosen.leftOut);
    request.itemsDict.set(EraseNotification::kItemsToErase, SharedItemsToErase(items));
    EraseResult result = session.erase(request, items);
    addWhatIsStillThere(result, *items, console);
    return reportErase(result, arguments, console);
}

}  // namespace kestrin
