// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TerminalProgressView.h"

#include <optional>

#include "base/StringTable.h"
#include "cli/Console.h"

namespace kestrin {

TerminalProgressView::TerminalProgressView(Console& console, bool isVisible)
    : m_console(console), m_isVisible(isVisible && console.terminal().hasStatusLine()) {
    m_drawing.setSingleShot(true);
    m_drawing.setInterval(0);
    QObject::connect(&m_drawing, &QTimer::timeout, &m_drawing, [this] { draw(); });
}

void TerminalProgressView::show(const ProgressState& state) {
    m_state = state;
    if (state.figures) m_rate.add(RateMeter::Clock::now(), state.figures->bytes);
    drawSoon();
}

void TerminalProgressView::open(WindowHandle) {
    m_isOpen = m_isVisible;
    drawSoon();
}

void TerminalProgressView::close() {
    m_isOpen = false;
    m_drawing.stop();
    m_console.terminal().clearStatus();
}

void TerminalProgressView::drawSoon() {
    if (m_isOpen) m_drawing.start();
}

void TerminalProgressView::draw() {
    // A question that waits for its answer owns the line.
    if (!m_isOpen || m_console.terminal().isAsking()) return;
    const bool isErasing = m_state.figures && m_state.phase != ProgressState::Phase::Stopping;
    ProgressLine line{
        .percent = std::nullopt,
        .text = isErasing ? m_console.text("cli_progress_erasing"_key) : m_state.mainText,
        .figures = {}};
    if (m_state.figures) {
        line.percent = m_state.figures->percent();
        line.figures = figures();
    }
    m_console.terminal().showStatus(progressText(line, m_console.terminal().width() - 1));
}

QStringList TerminalProgressView::figures() const {
    const ProgressFigures& figures = *m_state.figures;
    const std::optional<std::uint64_t> rate = m_rate.bytesPerSecond();
    return {m_console.text("cli_progress_count"_key,
                           {m_console.number(figures.items), m_console.number(figures.allItems)}),
            m_console.size(figures.bytes),
            rate ? m_console.text("cli_progress_rate"_key, {m_console.size(*rate)}) : QString()};
}

}  // namespace kestrin
