// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Console.h"

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {

Console::Console(std::FILE* output, const StringTable& texts) : m_output(output), m_texts(texts) {}

QString Console::text(std::string_view key, const QStringList& arguments, long long count) const {
    return StringTable::filled(m_texts.text(key, StringTable::Table::Default, count), arguments);
}

// The shared formatter is made for the first number that a person is to read; JSON never needs it.
QString Console::number(std::uint64_t value) const {
    return QVNumberUtilities::sharedControl().numberToFormatString(static_cast<double>(value));
}

QString Console::size(std::uint64_t bytes) const {
    return QVNumberUtilities::sharedControl().sizeToFormatString(bytes, 4, true);
}

void Console::complain(const QString& text) {
    m_terminal.message(QStringLiteral("kestrin: ") + text);
}

}  // namespace kestrin
