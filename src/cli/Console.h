// SPDX-License-Identifier: GPL-3.0-or-later
// What every command speaks through: standard output, the terminal, the texts and the numbers.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "cli/Output.h"
#include "cli/Terminal.h"

namespace kestrin {

class StringTable;

/// Main thread.
class Console {
 public:
    /// Both must outlive the console.
    Console(std::FILE* output, const StringTable& texts);

    Output& output() { return m_output; }
    Terminal& terminal() { return m_terminal; }
    const Terminal& terminal() const { return m_terminal; }

    /// The text of a key with its placeholders filled; `count` chooses the plural form.
    QString text(std::string_view key, const QStringList& arguments = {},
                 long long count = -1) const;
    const StringTable& texts() const { return m_texts; }
    QString number(std::uint64_t value) const;
    QString size(std::uint64_t bytes) const;

    /// Writes "kestrin: " and the text as a line on standard error.
    void complain(const QString& text);

 private:
    Output m_output;
    Terminal m_terminal;
    const StringTable& m_texts;
};

}  // namespace kestrin
