// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EmptyCommand.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/DryRun.h"
#include "cli/EraseReport.h"
#include "cli/EraseSession.h"
#include "cli/KindErase.h"
#include "cli/TrashSurvey.h"
#include "cli/VolumeChoice.h"

namespace kestrin {

namespace {

/// What is in the trashes at this moment.
struct Survey {
    std::vector<TrashLocation>
        trashes;  ///< those that can be read; `trashIsEmpty` means that there is no entry at all
    std::vector<UnreadableTrash> unreadable;
    TrashFigures figures;      ///< all zero unless the trashes were counted
    SharedItemsToErase items;  ///< empty unless the entries were named or counted
};

/// Asks each trash whether it holds anything, or for the names of all that it holds when
/// `namesEntries`. Hidden entries count: the exit status promises that the trash is empty
/// afterwards.
Survey surveyOf(const std::vector<TrashLocation>& trashes, bool namesEntries) {
    Survey survey;
    ItemsToErase all;
    const auto lookInto = [&](const FileUrl& trash) -> Result<bool> {
        if (!namesEntries) return trashHoldsEntries(trash);
        Result<ItemsToErase> items = namesInTrash(trash);
        if (!items) return items.error();
        std::ranges::move(*items, std::back_inserter(all));
        return !items->empty();
    };
    for (TrashLocation location : trashes) {
        const Result<bool> holdsEntries = lookInto(location.trashURL);
        if (!holdsEntries) {
            survey.unreadable.push_back({location.trashURL, holdsEntries.error()});
            continue;
        }
        location.trashIsEmpty = !*holdsEntries;
        survey.trashes.push_back(std::move(location));
    }
    survey.items = std::make_shared<const ItemsToErase>(std::move(all));
    return survey;
}

/// The same survey with the entries and the sums of all that the trashes hold.
Survey countedSurveyOf(const std::vector<TrashLocation>& trashes, const std::stop_token& stop) {
    std::vector<FileUrl> urls;
    for (const TrashLocation& location : trashes)
        urls.push_back(location.trashURL);
    TrashContents contents = countEntries(urls, stop);
    Survey survey{.trashes = {},
                  .unreadable = std::move(contents.unreadable),
                  .figures = contents.figures,
                  .items = std::move(contents.itemsToErase)};
    for (TrashLocation location : trashes) {
        if (std::ranges::find(survey.unreadable, location.trashURL, &UnreadableTrash::trash) !=
            survey.unreadable.end())
            continue;
        location.trashIsEmpty = survey.items->empty();
        survey.trashes.push_back(std::move(location));
    }
    return survey;
}

/// One run of the command.
class EmptyRun {
 public:
    EmptyRun(const Arguments& arguments, const ChosenTrashes& chosen, Console& console,
             EraseSession& session)
        : m_arguments(arguments), m_chosen(chosen), m_console(console), m_session(session) {}

    int run();

 private:
    bool survey();
    bool holdsNothing() const;
    EraseRequest requestForAll() const;
    EraseRequest requestForOne() const;
    int tidyUp();
    int erase();
    int status(int reported) const { return reported == 0 && !m_isComplete ? 1 : reported; }

    const Arguments& m_arguments;
    const ChosenTrashes& m_chosen;
    Console& m_console;
    EraseSession& m_session;
    Survey m_survey;
    bool m_isComplete = true;  ///< false: some trash cannot be read
};

int EmptyRun::run() {
    if (!survey()) return reportStop(m_arguments, m_console);
    for (const auto& [trash, error] : m_survey.unreadable)
        complainOfTrash(m_console, trash, error);
    m_isComplete = m_chosen.isComplete && m_survey.unreadable.empty();
    if (m_arguments.dryRun) {
        // Nobody knows whether a trash that could not be read is empty.
        const bool saysNothing = m_survey.items->empty() && !m_isComplete && !m_arguments.json;
        return status(
            saysNothing ? 0 : reportDryRun(*m_survey.items, m_arguments, m_console, m_session));
    }
    return status(holdsNothing() ? tidyUp() : erase());
}

/// False when the user stopped it.
bool EmptyRun::survey() {
    const bool counts = m_chosen.volumeCount == 1 && !m_arguments.dryRun;
    return m_session.runInBackground([&](const std::stop_token& stop) {
        m_survey = counts ? countedSurveyOf(m_chosen.trashes, stop)
                          : surveyOf(m_chosen.trashes, m_arguments.dryRun);
    });
}

bool EmptyRun::holdsNothing() const {
    return std::ranges::all_of(m_survey.trashes, &TrashLocation::trashIsEmpty);
}

EraseRequest EmptyRun::requestForAll() const {
    EraseRequest request = requestWithOptions(m_arguments, m_console);
    request.isAllDisks = true;
    request.volumeArray = m_survey.trashes;
    request.leftOut = m_chosen.leftOut;
    for (const TrashLocation& location : m_survey.trashes) {
        request.wholeTrashes.push_back(location);
    }
    return request;
}

EraseRequest EmptyRun::requestForOne() const {
    EraseRequest request = requestForAll();
    request.isAllDisks = false;
    request.volumeArray.clear();
    request.volumeName = m_survey.trashes.front().volumeName;
    request.size = m_survey.figures.size;
    request.count = m_survey.figures.count;
    return request;
}

/// Nothing is asked and nothing is logged, but the engine still removes records without data.
int EmptyRun::tidyUp() {
    EraseRequest request = requestForAll();
    request.confirmed = true;
    request.askAlways = false;
    request.writesLog = false;
    const EraseResult result = m_session.erase(request, nullptr);
    if (m_arguments.json || result.wasStopped || result.end != EraseResult::End::Finished) {
        return reportErase(result, m_arguments, m_console);
    }
    if (m_isComplete && !m_arguments.quiet) {
        sayThatNothingIsThere({}, m_console);
    }
    return 0;
}

int EmptyRun::erase() {
    const bool isOne = m_chosen.volumeCount == 1;
    const SharedItemsToErase items = isOne ? m_survey.items : nullptr;
    EraseResult result = m_session.erase(isOne ? requestForOne() : requestForAll(), items);
    const SharedItemsToErase asked = isOne ? items : result.itemsToErase;
    if (asked) addWhatIsStillThere(result, *asked, m_console);
    return reportErase(result, m_arguments, m_console);
}

}  // namespace

int runEmpty(const Arguments& arguments, Console& console, const SessionMaker& makeSession) {
    const auto volumes = listVolumes(console);
    if (!volumes) return kStatusVolumesUnknown;
    const std::optional<ChosenTrashes> chosen =
        chooseTrashes(arguments.operands, *volumes, console);
    if (!chosen || !mayBegin(arguments, console)) return kStatusUsageError;
    if (arguments.kind) return eraseKind(arguments, *chosen, console, makeSession());
    return EmptyRun(arguments, *chosen, console, makeSession()).run();
}

}  // namespace kestrin
