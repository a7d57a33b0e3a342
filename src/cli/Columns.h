// SPDX-License-Identifier: GPL-3.0-or-later
// Text in columns, measured as a terminal shows it: a wide character takes two cells, a combining
// mark none. Requires a UTF-8 locale, which QCoreApplication sets.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace kestrin {

/// Cells that `text` takes.
int displayWidth(const QString& text);

/// As much of the beginning of `text` as fits into `width` cells.
QString fittedToWidth(const QString& text, int width);

struct Column {
    int width = 0;  ///< cells; a longer text pushes the rest of its line to the right
    bool alignsRight = false;
};

/// The cells in their columns, with two blanks between them and nothing behind the last text.
QString rowText(const QStringList& cells, const std::vector<Column>& columns);

/// The rows below each other, each column as wide as its widest text.
QStringList alignedRows(const std::vector<QStringList>& rows, std::vector<Column> columns);

}  // namespace kestrin
