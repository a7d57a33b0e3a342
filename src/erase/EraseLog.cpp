// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseLog.h"

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVLogController.h"

namespace kestrin {
namespace {

LogSettings logSettings(const EraseRequest& request, std::size_t entries,
                        const EraseServices& services) {
    LogSettings settings;
    std::string_view name = "selected_items_log_name"_key;
    if (request.isSmartErase) {
        settings.startStr = "start_delete_checked"_key;
        settings.endStr = "end_delete_checked"_key;
    } else if (entries < 2) {
        settings.startStr = "start_delete_single"_key;
        settings.endStr = "end_delete_single"_key;
    } else {
        settings.startStr = "start_delete_all"_key;
        settings.endStr = "end_delete_all"_key;
        name = "all_vols_log_name"_key;
    }
    settings.partialLogName = services.texts.text(name);
    settings.gapTime = services.defaults.integerForKey("how_many_days_for_new_log_file");
    return settings;
}

}  // namespace

std::unique_ptr<QVLogController> makeEraseLog(const EraseRequest& request, std::size_t entries,
                                              const EraseServices& services) {
    if (!request.writesLog || !services.defaults.boolForKey("write_log")) return nullptr;
    return QVLogController::initWitDictionary(logSettings(request, entries, services),
                                              services.texts, services.numbers, services.dates);
}

/// A question whose answers come to the same.
void tellThatLogIsClosed(const EraseRequest& request, QVErrorDelegate& presenter) {
    presenter.askToTheUser({.question = std::string("open_log_file_error"_key),
                            .defaultButton = std::string("yes_btn"_key),
                            .alternateButton = std::string("no_btn"_key),
                            .notAnswered = kAlertSecondButton,
                            .parentWindow = request.window});
}

}  // namespace kestrin
