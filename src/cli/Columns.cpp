// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Columns.h"

#include <algorithm>
#include <cwchar>

namespace kestrin {

namespace {

int codePointWidth(char32_t codePoint) {
    const int width = ::wcwidth(static_cast<wchar_t>(codePoint));
    return width < 0 ? 1 : width;
}

bool isAscii(const QString& text) {
    return std::ranges::all_of(
        text, [](QChar character) { return character >= u' ' && character < u'\x7F'; });
}

}  // namespace

int displayWidth(const QString& text) {
    if (isAscii(text)) return static_cast<int>(text.size());
    int width = 0;
    for (const uint codePoint : text.toUcs4())
        width += codePointWidth(codePoint);
    return width;
}

QString fittedToWidth(const QString& text, int width) {
    if (displayWidth(text) <= width) return text;
    QString fitted;
    for (const uint codePoint : text.toUcs4()) {
        width -= codePointWidth(codePoint);
        if (width < 0) break;
        fitted += QString::fromUcs4(reinterpret_cast<const char32_t*>(&codePoint), 1);
    }
    return fitted;
}

QString rowText(const QStringList& cells, const std::vector<Column>& columns) {
    QString row;
    for (qsizetype index = 0; index < cells.size(); ++index) {
        const Column& column = columns.at(static_cast<std::size_t>(index));
        const int room = std::max(0, column.width - displayWidth(cells[index]));
        const QString blanks(room, u' ');
        if (index > 0) row += QStringLiteral("  ");
        row += column.alignsRight ? blanks + cells[index] : cells[index] + blanks;
    }
    while (row.endsWith(u' '))
        row.chop(1);
    return row;
}

QStringList alignedRows(const std::vector<QStringList>& rows, std::vector<Column> columns) {
    for (const QStringList& row : rows) {
        for (qsizetype index = 0; index < row.size(); ++index) {
            int& width = columns.at(static_cast<std::size_t>(index)).width;
            width = std::max(width, displayWidth(row[index]));
        }
    }
    QStringList lines;
    for (const QStringList& row : rows)
        lines += rowText(row, columns);
    return lines;
}

}  // namespace kestrin
