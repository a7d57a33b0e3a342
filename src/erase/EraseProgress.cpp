// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseProgress.h"

#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/SystemLog.h"
#include "erase/EraseCount.h"
#include "erase/EraseRun.h"
#include "format/DisplayName.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kWindowDelay = 700ms;
constexpr auto kRefreshInterval = 100ms;

}  // namespace

std::shared_ptr<EraseProgress> EraseProgress::create(Subject subject,
                                                     const std::stop_source& stop) {
    std::shared_ptr<EraseProgress> progress(new EraseProgress(std::move(subject)));
    progress->m_window =
        QVGenericProgressWindowCntrl::create(progress->m_subject.services.makeProgressView, stop);
    if (!progress->m_window) return nullptr;
    return progress;
}

bool EraseProgress::startTicks(std::function<bool()> tick) {
    auto ticks = m_subject.services.startTick(std::move(tick));
    if (ticks) {
        m_tick = std::move(*ticks);
        return true;
    }
    qCWarning(lcErase, "Erase progress displayLink creation failed with error:%d",
              ticks.error().code);
    return false;
}

/// Makes `change` on the main thread, where the view is, unless it was closed by then.
void EraseProgress::onMainThread(std::function<void(EraseProgress&)> change) {
    MainThread::post([weak = weak_from_this(), change = std::move(change)] {
        const auto progress = weak.lock();
        if (progress && progress->m_window) change(*progress);
    });
}

void EraseProgress::showGathering() {
    m_isGathering = true;
    update();
}

void EraseProgress::showErasing() {
    m_isGathering = false;
    update();
}

QString EraseProgress::mainText() const {
    const StringTable& texts = m_subject.services.texts;
    if (m_subject.isSmartErase) return texts.text("progress_checked"_key);
    return texts.text(m_subject.isAllDisks ? "progress_all"_key : "progress_main"_key);
}

QString EraseProgress::erasingText() const {
    const StringTable& texts = m_subject.services.texts;
    if (!m_subject.volumeName.isEmpty())
        return StringTable::filled(texts.text("erasing"_key), {displayName(m_subject.volumeName)});
    return texts.text(m_subject.isSmartErase ? "erasing_smart_window"_key : "erasing_all"_key);
}

void EraseProgress::tick() {
    const auto now = Clock::now();
    const auto elapsed = now - m_latest;
    if (m_isShown) {
        if (elapsed < kRefreshInterval) return;
        m_latest = now;
        update();
    } else if (elapsed >= kWindowDelay) {
        m_latest = now;
        onMainThread([](EraseProgress& progress) { progress.open(); });
    }
}

void EraseProgress::workIsOver() {
    m_isOver = true;
    update();
}

void EraseProgress::open() {
    if (m_isOver || m_isShown.exchange(true)) return;
    m_window->window().show(state());  // nobody sees the view without its figures
    m_window->window().open(m_subject.isSmartErase ? m_subject.smartWindow : nullptr);
}

void EraseProgress::update() {
    onMainThread(
        [](EraseProgress& progress) { progress.m_window->window().show(progress.state()); });
}

ProgressState EraseProgress::state() const {
    using Phase = ProgressState::Phase;
    const StringTable& texts = m_subject.services.texts;
    const bool isStopping = m_window->wasStopped();
    ProgressState state{.phase = m_isOver     ? Phase::Over
                                 : isStopping ? Phase::Stopping
                                              : Phase::Working};
    state.mainText = isStopping      ? texts.text("stopping"_key)
                     : m_isGathering ? texts.text("gathering_bin_info"_key)
                                     : mainText();
    if (m_isGathering) return state;
    const EraseDecisions& decisions = m_subject.run->decisions();
    const std::uint64_t items = decisions.totItemsDeleted;
    const std::uint64_t bytes = decisions.totSizeDeleted;
    state.infoText = erasingText();
    state.figures = {.items = items,
                     .allItems = m_subject.count->raisedTo({.size = bytes, .count = items}),
                     .bytes = bytes};
    return state;
}

void EraseProgress::close() {
    m_isOver = true;
    if (m_window) m_window->window().close();
    m_window.reset();
}

}  // namespace kestrin
