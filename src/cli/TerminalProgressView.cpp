// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TerminalProgressView.h"

#include <utility>

#include "base/StringTable.h"
#include "cli/Console.h"

namespace kestrin {

TerminalProgressView::TerminalProgressView(Console& console,
                                           std::function<std::uint64_t()> bytesErased,
                                           bool isVisible)
    : m_console(console),
      m_bytesErased(std::move(bytesErased)),
      m_isVisible(isVisible && console.terminal().hasStatusLine()),
      m_mainText(console.text("cli_progress_erasing"_key)) {
    m_drawing.setSingleShot(true);
    m_drawing.setInterval(0);
    QObject::connect(&m_drawing, &QTimer::timeout, &m_drawing, [this] { draw(); });
}

QString TerminalProgressView::countFormat() const {
    return m_console.text("cli_progress_count"_key);
}

void TerminalProgressView::setMainText(const QString& text) {
    m_mainText = text;
    drawSoon();
}

void TerminalProgressView::setCountText(const QString& text) {
    m_countText = text;
    drawSoon();
}

void TerminalProgressView::setSizeText(const QString& text) {
    m_sizeText = text;
    drawSoon();
}

void TerminalProgressView::hideInfoSizeFields(bool hide) {
    m_hidesFigures = hide;
    drawSoon();
}

void TerminalProgressView::show() {
    m_isShown = m_isVisible;
    drawSoon();
}

void TerminalProgressView::close() {
    m_isShown = false;
    m_drawing.stop();
    m_console.terminal().clearStatus();
}

void TerminalProgressView::startIndeterminateAnimation() {
    m_isIndeterminate = true;
    drawSoon();
}

void TerminalProgressView::startDeterminateAnimation() {
    m_isIndeterminate = false;
    drawSoon();
}

void TerminalProgressView::updateProgress(double percent) {
    m_percent = percent;
    m_rate.add(RateMeter::Clock::now(), m_bytesErased());
    drawSoon();
}

QString TerminalProgressView::rateText() const {
    const std::optional<std::uint64_t> rate = m_rate.bytesPerSecond();
    return rate ? m_console.text("cli_progress_rate"_key, {m_console.size(*rate)}) : QString();
}

void TerminalProgressView::drawSoon() {
    if (m_isShown) m_drawing.start();
}

void TerminalProgressView::draw() {
    // A question that waits for its answer owns the line.
    if (!m_isShown || m_console.terminal().isAsking()) return;
    ProgressLine line{.percent = std::nullopt, .text = m_mainText, .figures = {}};
    if (!m_isIndeterminate) line.percent = m_percent;
    if (!m_hidesFigures) line.figures = {m_countText, m_sizeText, rateText()};
    m_console.terminal().showStatus(progressText(line, m_console.terminal().width() - 1));
}

}  // namespace kestrin
