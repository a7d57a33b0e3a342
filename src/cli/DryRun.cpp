// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/DryRun.h"

#include <atomic>
#include <cerrno>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/EraseOptions.h"
#include "cli/EraseReport.h"
#include "cli/TrashSurvey.h"
#include "erase/EraseDecisions.h"
#include "format/DisplayName.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/TreeRemover.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

namespace {

constexpr int kSizeWidth = 12;
constexpr int kCountWidth = 11;

/// Finds out what would become of every entry, by the decisions of the erase itself. No question is
/// put.
class Forecast final : public RemovalPolicy, public RemovalItems {
 public:
    Forecast(const ItemsToErase& items, const EraseRequest& request, std::stop_token stop)
        : m_items(items),
          m_stop(std::move(stop)),
          m_decisions({.locked = request.locked, .forbidden = request.forbidden},
                      {.ask = [](const RefusalQuestion&) { return RefusalAnswer(); },
                       .wasStopped = [this] { return shouldStop(); }}),
          m_sums(items.size()) {}

    bool next(RemovalItem& item) override {
        while (m_next < m_items.size()) {
            const std::size_t index = m_next++;
            const QVItemToErase& entry = m_items[index];
            const Result<OpenTrash>& trash = openTrash(*entry.trash);
            if (!trash) {
                m_decisions.couldNotBegin(entry.url(), trash.error());
                continue;
            }
            item = {index, trash->filesDescriptor(), entry.trash->path(), entry.name,
                    entry.identity};
            return true;
        }
        return false;
    }
    void finished(const RemovalItem&, RemovalOutcome) override {}

    Verdict willEnter(const RemovalEntry& folder) override {
        return verdict(m_decisions.decideLocked(folder));
    }
    Verdict willRemove(const RemovalEntry& entry) override {
        const Verdict locked = verdict(m_decisions.decideLocked(entry));
        return locked == Verdict::Leave ? locked : verdict(m_decisions.decideForbidden(entry));
    }
    void didRemove(const RemovalEntry& entry) override {
        m_decisions.didRemove(entry);
        EntrySums& sums = m_sums[entry.itemTag()];
        std::atomic_ref(sums.size).fetch_add(entry.size(), std::memory_order_relaxed);
        std::atomic_ref(sums.count).fetch_add(1, std::memory_order_relaxed);
    }
    void didFail(const RemovalEntry& entry, const HostError& error) override {
        m_decisions.didFail(entry, error);
    }
    bool shouldStop() const override { return m_stop.stop_requested(); }

    // The following are to be asked once the rehearsal is over.
    EraseResult result() const {
        return {.erasedCount = m_decisions.totItemsDeleted,
                .erasedSize = m_decisions.totSizeDeleted,
                .stayed = m_decisions.stayedEntries()};
    }
    /// What would go of each item.
    const std::vector<EntrySums>& sums() const { return m_sums; }

 private:
    static Verdict verdict(EraseDecisions::Decision decision) {
        return decision == EraseDecisions::Decision::Leave ? Verdict::Leave : Verdict::Proceed;
    }
    const Result<OpenTrash>& openTrash(const FileUrl& trash) {
        const auto known = m_trashes.find(trash);
        if (known != m_trashes.end()) return known->second;
        return m_trashes.emplace(trash, OpenTrash::open(trash)).first->second;
    }

    const ItemsToErase& m_items;
    const std::stop_token m_stop;
    EraseDecisions m_decisions;
    std::vector<EntrySums> m_sums;
    std::size_t m_next = 0;
    std::map<FileUrl, Result<OpenTrash>> m_trashes;
};

void writeItems(const ItemsToErase& items, const std::vector<EntrySums>& sums, Console& console) {
    const std::vector<Column> columns{{.width = kSizeWidth, .alignsRight = true},
                                      {.width = kCountWidth, .alignsRight = true},
                                      {}};
    console.output().line(
        rowText({console.text("cli_column_size"_key), console.text("cli_column_items"_key),
                 console.text("cli_column_path"_key)},
                columns));
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (console.output().failure() != 0) return;
        const auto& [size, count] = sums[index];
        if (count == 0) continue;
        console.output().line(
            rowText({console.size(size), console.number(count), displayName(items[index].path())},
                    columns));
    }
}

void writeSums(const EraseResult& result, Console& console) {
    console.output().line(
        console.text("cli_would_erase"_key,
                     {console.number(result.erasedCount), console.size(result.erasedSize)},
                     static_cast<long long>(result.erasedCount)));
}

}  // namespace

Result<ItemsToErase> namesInTrash(const FileUrl& trash) {
    ItemsToErase items;
    const auto shared = std::make_shared<const FileUrl>(trash);
    const MaybeError error = visitFolder(trash, [&](std::string_view name, EntryType) {
        items.push_back({.trash = shared, .name = std::string(name)});
        return true;
    });
    if (error && error->systemError != ENOENT) return *error;
    return items;
}

int reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console,
                 EraseSession& session) {
    std::optional<Forecast> forecast;
    const EraseRequest request = requestWithOptions(arguments, console);
    const bool wentOn = session.runInBackground([&](const std::stop_token& stop) {
        forecast.emplace(items, request, stop);
        TreeRemover(*forecast).rehearse(*forecast);
    });
    if (!wentOn) return reportStop(arguments, console);
    const EraseResult result = forecast->result();
    if (arguments.json) {
        writeEraseJson(result, true, console);
    } else if (items.empty()) {
        sayThatNothingIsThere(arguments.kind, console);
    } else {
        if (result.erasedCount != 0) writeItems(items, forecast->sums(), console);
        if (!arguments.quiet) writeSums(result, console);
    }
    if (result.stayed.empty()) return 0;
    console.output().flush();
    nameStayed(result.stayed, "cli_would_stay"_key, console);
    return 1;
}

}  // namespace kestrin
