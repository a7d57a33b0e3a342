// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Output.h"

#include <cerrno>

namespace kestrin {

void Output::write(std::string_view bytes) {
    if (m_failure != 0 || bytes.empty()) return;
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_stream) != bytes.size()) m_failure = errno;
}

void Output::line(const QString& text) {
    write(text.toStdString());
    write("\n");
}

void Output::flush() {
    if (m_failure == 0 && std::fflush(m_stream) != 0) m_failure = errno;
}

}  // namespace kestrin
