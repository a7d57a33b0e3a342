// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseProgress.h"

#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "erase/EraseCount.h"
#include "erase/EraseRun.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"

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
    progress->m_mainText = progress->m_window->mainInfoFieldTxt();
    return progress;
}

/// Makes `change` on the main thread, where the view is, unless it was closed by then.
void EraseProgress::onMainThread(std::function<void(EraseProgress&)> change) {
    MainThread::post([weak = weak_from_this(), change = std::move(change)] {
        const auto progress = weak.lock();
        if (progress && progress->m_window) change(*progress);
    });
}

void EraseProgress::showGathering() {
    onMainThread([](EraseProgress& progress) {
        progress.m_window->hideInfoSizeFields(true);
        progress.m_window->spinner().startIndeterminateAnimation();
        progress.m_window->setMainInfoFieldTxt(
            progress.m_subject.services.texts.text("gathering_bin_info"_key));
    });
}

void EraseProgress::showStopping() {
    onMainThread([](EraseProgress& progress) {
        progress.m_window->setMainInfoFieldTxt(
            progress.m_subject.services.texts.text("stopping"_key));
    });
}

void EraseProgress::showErasing() {
    onMainThread([](EraseProgress& progress) {
        progress.m_window->hideInfoSizeFields(false);
        progress.m_window->spinner().startDeterminateAnimation();
        progress.m_window->setInfoFld({});
        progress.m_window->setMainInfoFieldTxt(progress.m_mainText);
        progress.m_window->setInfoFld(progress.erasingText());
    });
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
        onMainThread([](EraseProgress& progress) { progress.show(); });
        update();  // nobody sees the window without its figures
    }
}

void EraseProgress::workIsOver() {
    m_isOver = true;
    update();
}

void EraseProgress::show() {
    if (m_isOver || m_isShown.exchange(true)) return;
    if (m_subject.isSmartErase) {
        m_window->window().showAsSheet(m_subject.smartWindow);
    } else {
        m_window->window().show();
    }
}

void EraseProgress::update() {
    onMainThread([](EraseProgress& progress) {
        if (progress.m_isShown && !progress.m_window->spinner().isIndeterminate())
            progress.updateBar();
    });
}

void EraseProgress::updateBar() {
    const std::uint64_t items = m_subject.run->decisions().totItemsDeleted;
    const std::uint64_t size = m_subject.run->decisions().totSizeDeleted;
    const std::uint64_t total = m_subject.count->raisedTo({.size = size, .count = items});
    const QVNumberUtilities& numbers = m_subject.services.numbers;
    m_window->spinner().updateProgress(total == 0 ? 0 : 100.0 * double(items) / double(total));
    m_window->setSizeFld(numbers.sizeToFormatString(size, 4, true));
    m_window->setCountFld(
        StringTable::filled(m_window->countStr(), {numbers.numberToFormatString(double(items)),
                                                   numbers.numberToFormatString(double(total))}));
}

void EraseProgress::close() {
    m_isOver = true;
    if (m_window) m_window->window().close();
    m_window.reset();
}

}  // namespace kestrin
