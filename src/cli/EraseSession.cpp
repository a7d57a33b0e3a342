// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseSession.h"

#include <exception>
#include <thread>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "cli/Console.h"
#include "cli/TerminalAlertPanel.h"
#include "cli/TerminalProgressView.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "format/SettingsProblemText.h"

namespace kestrin {

namespace {

UserDefaults& registeredDefaults(Console& console) {
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.registerDefaults(defaultSettings());
    defaults.setProblemHandler([&console](const SettingsProblem& problem) {
        const QString text = settingsProblemText(problem, console.texts());
        if (MainThread::isCurrent()) return console.complain(text);
        MainThread::post([&console, text] { console.complain(text); });
    });
    return defaults;
}

}  // namespace

EraseSession::EraseSession(Console& console, bool showsProgress)
    : m_console(console),
      m_showsProgress(showsProgress),
      m_presenter([&console] { return std::make_unique<TerminalAlertPanel>(console); },
                  StringTable::sharedControl(), registeredDefaults(console)),
      m_helper(console, m_presenter),
      m_signals([this] { stop(); }) {}

bool EraseSession::runInBackground(const std::function<void(std::stop_token)>& work) {
    bool isDone = false;
    std::exception_ptr failure;
    const std::jthread worker([&] {
        try {
            work(m_backgroundStop.get_token());
        } catch (...) {
            failure = std::current_exception();
        }
        MainThread::post([&] {
            isDone = true;
            m_loop.quit();
        });
    });
    waitUntil([&] { return isDone; });
    if (failure) std::rethrow_exception(failure);
    return !m_wasStopped;
}

EraseServices EraseSession::services() {
    // Stop comes by signal, not by a button of the view.
    const auto makeView = [this](const std::function<void()>&) {
        return std::make_unique<TerminalProgressView>(m_console, m_showsProgress);
    };
    return {.files = QVFilesUtilities::sharedControl(),
            .numbers = QVNumberUtilities::sharedControl(),
            .dates = QVDateUtilities::sharedControl(),
            .presenter = m_presenter,
            .defaults = UserDefaults::standardUserDefaults(),
            .center = NotificationCenter::defaultCenter(),
            .texts = StringTable::sharedControl(),
            .makeProgressView = makeView,
            .helper = m_helper.access()};
}

EraseResult EraseSession::erase(const EraseRequest& request, const SharedItemsToErase& items) {
    const Observation end = observeEnd();
    const Observation response = observeResponse();
    m_engine = QVDeleteItems::create(services());
    if (!isConfirmed(request) || m_wasStopped) {
        return {.end = EraseResult::End::Declined, .wasStopped = m_wasStopped};
    }
    waitForCount();
    if (m_wasStopped) return {.end = EraseResult::End::Declined, .wasStopped = true};
    m_isErasing = true;
    if (!m_engine->proceedToEraseWithArray(items)) {
        return {.end = EraseResult::End::NotStarted, .startProblem = m_engine->startProblem()};
    }
    waitUntil([this] { return m_hasEnded; });
    return finished();
}

Observation EraseSession::observeEnd() {
    return NotificationCenter::defaultCenter().observe(EraseNotification::kStopWorking,
                                                       [this](const Notification&) {
                                                           m_hasEnded = true;
                                                           m_loop.quit();
                                                       });
}

/// The answer to a smart erase comes on a background thread.
Observation EraseSession::observeResponse() {
    return NotificationCenter::defaultCenter().observe(
        EraseNotification::kWaitForResponse, [this](const Notification& notification) {
            const bool canContinue =
                notification.userInfo.value<bool>(EraseNotification::kCanContinue);
            MainThread::post([this, canContinue] {
                m_canContinue = canContinue;
                m_loop.quit();
            });
        });
}

bool EraseSession::isConfirmed(const EraseRequest& request) {
    const bool goesOn = m_engine->askToContinue(request);
    if (!request.isSmartErase) return goesOn;
    waitUntil([this] { return m_canContinue.has_value(); });
    return *m_canContinue;
}

/// What kind of log is written depends on the number of entries, so it must be known.
void EraseSession::waitForCount() {
    m_engine->whenCountHasArrived([this] {
        m_countHasArrived = true;
        m_loop.quit();
    });
    waitUntil([this] { return m_countHasArrived || m_wasStopped; });
}

void EraseSession::waitUntil(const std::function<bool()>& isTrue) {
    while (!isTrue())
        m_loop.exec();
}

EraseResult EraseSession::finished() const {
    return {.end = EraseResult::End::Finished,
            .wasStopped = m_engine->isStoppedByUser(),
            .erasedCount = m_engine->totItemsDeleted(),
            .erasedSize = m_engine->totSizeDeleted(),
            .stayed = m_engine->stayedEntries(),
            .itemsToErase = m_engine->itemsToErase(),
            .startProblem = {},
            .problems = m_engine->hasReported() ? QStringList() : m_engine->problems(),
            .gaveUp = m_engine->gaveUp()};
}

void EraseSession::stop() {
    m_wasStopped = true;
    m_backgroundStop.request_stop();
    // The engine is stopped before an open question ends, so that no further one follows.
    if (m_engine) m_engine->stop();
    MainThread::post([this] {
        m_loop.quit();
        m_console.terminal().endQuestions();
        if (m_isErasing && m_console.terminal().hasStatusLine()) {
            m_console.terminal().message(m_console.text("cli_stopping"_key));
        }
    });
}

}  // namespace kestrin
