// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "base/WriteAll.h"
#include "cli/Columns.h"

namespace kestrin {

namespace {

/// Standard error may be gone or full; then there is nobody to tell.
void writeLine(int descriptor, const QString& text) {
    writeAll(descriptor, (text + u'\n').toStdString());
}

}  // namespace

Terminal::Terminal()
    : m_inputIsTerminal(::isatty(STDIN_FILENO) == 1),
      m_outputIsTerminal(::isatty(STDOUT_FILENO) == 1),
      m_errorIsTerminal(::isatty(STDERR_FILENO) == 1) {}

Terminal::~Terminal() {
    clearStatus();
}

bool Terminal::canAsk() const {
    return m_inputIsTerminal && (m_errorIsTerminal || (m_outputIsTerminal && m_mayUseOutput));
}

int Terminal::promptDescriptor() const {
    return m_errorIsTerminal || !m_mayUseOutput ? STDERR_FILENO : STDOUT_FILENO;
}

int Terminal::width() const {
    constexpr int kUsualWidth = 80;
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualWidth;
    return size.ws_col;
}

void Terminal::message(const QString& text) {
    clearStatus();
    writeLine(STDERR_FILENO, text);
}

void Terminal::promptMessage(const QString& text) {
    clearStatus();
    const int descriptor = promptDescriptor();
    if (isAsking()) writeAll(descriptor, "\n");
    writeLine(descriptor, text);
    if (isAsking()) writeAll(descriptor, m_prompt.toStdString());
}

void Terminal::holdStatus(bool holds) {
    if (holds) clearStatus();
    m_holdsStatus = holds;
}

void Terminal::showStatus(const QString& text) {
    if (m_holdsStatus) return;
    // The last cell stays free, since terminals differ in whether filling it wraps the line.
    const QString fitted = fittedToWidth(text, width() - 1);
    if (fitted == m_status) return;
    const int cells = displayWidth(fitted);
    // Blanks clear the line, and no escape sequence does: every terminal knows blanks.
    const QString rest(std::max(0, m_statusWidth - cells), u' ');
    writeAll(STDERR_FILENO, (u'\r' + fitted + rest).toStdString());
    m_status = fitted;
    m_statusWidth = cells;
}

void Terminal::clearStatus() {
    if (m_statusWidth == 0) return;
    const QString blanks(m_statusWidth, u' ');
    writeAll(STDERR_FILENO, (u'\r' + blanks + u'\r').toStdString());
    m_status.clear();
    m_statusWidth = 0;
}

void Terminal::ask(const QString& prompt, Answered answered) {
    if (m_hasEndedQuestions) return answered(std::nullopt);
    clearStatus();
    m_prompt = prompt;
    m_answered = std::move(answered);
    writeAll(promptDescriptor(), prompt.toStdString());
    if (!m_inputNotifier) {
        m_inputNotifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(m_inputNotifier.get(), &QSocketNotifier::activated, m_inputNotifier.get(),
                         [this] { readInput(); });
    }
    m_inputNotifier->setEnabled(true);
}

void Terminal::cancelQuestion() {
    if (!isAsking()) return;
    writeAll(promptDescriptor(), "\n");
    finish(std::nullopt);
}

void Terminal::endQuestions() {
    m_hasEndedQuestions = true;
    cancelQuestion();
}

void Terminal::readInput() {
    std::array<char, 512> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count <= 0) return cancelQuestion();
    m_typed.append(bytes.data(), static_cast<std::size_t>(count));
    // A terminal hands out one line a read at most, so nothing stands behind the line feed.
    const std::size_t end = m_typed.find('\n');
    if (end != std::string::npos) finish(m_typed.substr(0, end));
}

void Terminal::finish(std::optional<std::string> line) {
    if (m_inputNotifier) m_inputNotifier->setEnabled(false);
    m_typed.clear();
    const Answered answered = std::exchange(m_answered, nullptr);
    if (answered) answered(std::move(line));
}

}  // namespace kestrin
