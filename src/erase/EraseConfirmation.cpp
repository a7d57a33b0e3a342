// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseConfirmation.h"

#include <exception>
#include <utility>

#include "base/StringTable.h"
#include "base/SystemLog.h"
#include "erase/CheckedDetails.h"
#include "erase/EraseCount.h"
#include "erase/EraseQueue.h"
#include "erase/QVAlert.h"
#include "erase/QVErrorDelegate.h"
#include "format/DisplayName.h"

namespace kestrin {
namespace {

TrashInfo trashInfo(const EraseRequest& request, const EraseServices& services) {
    const StringTable& texts = services.texts;
    TrashInfo info;
    if (request.isAllDisks) {
        info.information = texts.text("erase_all"_key);
        info.calculatedStr = "all_disks"_key;
    } else if (request.isSmartErase) {
        info.information = texts.text("smart_erase_info"_key);
        info.calculatedStr = "smart_erase"_key;
    } else {
        info.information =
            StringTable::filled(texts.text("erase_vol"_key), {titleName(request.volumeName)});
        info.calculatedStr = "single_disk"_key;
    }
    info.message = "delete_mess"_key;
    info.isSmartErase = request.isSmartErase;
    info.volumeName = request.volumeName;
    QStringList notes = leftOutSentences(request.leftOut, texts);
    notes << hiddenSentence(request.hiddenCount, texts, services.numbers);
    notes.removeAll({});
    info.notes = notes.join(u'\n');
    info.details = checkedDetails(request.checked, texts, services.numbers);
    return info;
}

}  // namespace

std::shared_ptr<QVAlert> showConfirmation(const EraseRequest& request,
                                          const EraseServices& services, EraseCount& count) {
    const auto alert = std::make_shared<QVAlert>(
        [&presenter = services.presenter] { return presenter.alertPanel(); }, services.texts,
        services.numbers);
    TrashInfo info = trashInfo(request, services);
    const TrashFigures figures = count.follow([alert](const TrashFigures& added) {
        alert->showSizeInfoStringWithSize(added.size, added.count);
    });
    info.size = figures.size;
    info.count = figures.count;
    alert->showAlertWithTrashInfo(info, request.window);
    return alert;
}

void waitForAnswer(std::shared_ptr<QVAlert> alert, std::function<void(bool)> answered) {
    try {
        deletionsOperationQueue().enqueue([alert = std::move(alert), answered] {
            answered(alert->waitUntilSheetWindowIsClosed() == kAlertFirstButton);
        });
    } catch (const std::exception& failure) {
        qCWarning(lcErase, "Nobody can wait for the confirmation: %s", failure.what());
        answered(false);
    }
}

}  // namespace kestrin
