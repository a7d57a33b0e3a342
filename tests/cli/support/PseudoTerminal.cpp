// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/support/PseudoTerminal.h"

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace kestrin::test {

PseudoTerminal::PseudoTerminal(unsigned short columns) {
    std::fflush(nullptr);
    const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    int program = -1;
    termios settings{};
    ::openpty(&m_user, &program, nullptr, nullptr, &size);
    ::tcgetattr(program, &settings);
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    ::tcsetattr(program, TCSANOW, &settings);
    ::fcntl(m_user, F_SETFL, O_NONBLOCK);
    for (int stream = 0; stream < 3; ++stream) {
        m_kept[static_cast<std::size_t>(stream)] = ::dup(stream);
        ::dup2(program, stream);
    }
    ::close(program);
}

PseudoTerminal::~PseudoTerminal() {
    std::fflush(nullptr);
    for (int stream = 0; stream < 3; ++stream) {
        const int kept = m_kept[static_cast<std::size_t>(stream)];
        ::dup2(kept, stream);
        ::close(kept);
    }
    ::close(m_user);
}

void PseudoTerminal::type(std::string_view keys) const {
    [[maybe_unused]] const ssize_t written = ::write(m_user, keys.data(), keys.size());
}

std::string PseudoTerminal::printed() const {
    std::string text;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 0; (count = ::read(m_user, bytes.data(), bytes.size())) > 0;) {
        text.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace kestrin::test
