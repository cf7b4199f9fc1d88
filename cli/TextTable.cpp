#include "cli/TextTable.h"

#include <algorithm>

TextTable::TextTable(const QStringList& header)
{
    QStringList cells;
    for (const QString& cell : header) {
        m_flushRight.push_back(cell.startsWith(QLatin1Char('>')));
        cells << (m_flushRight.back() ? cell.mid(1) : cell);
    }
    m_rows.push_back(cells);
}

QStringList TextTable::Lines(int gap) const
{
    std::vector<qsizetype> widths(m_flushRight.size(), 0);
    for (const QStringList& row : m_rows)
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], row.value(static_cast<qsizetype>(column)).size());
    QStringList lines;
    for (const QStringList& row : m_rows) {
        QString line;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const QString cell = row.value(static_cast<qsizetype>(column));
            if (column > 0)
                line += QString(gap, QLatin1Char(' '));
            line += m_flushRight[column] ? cell.rightJustified(widths[column])
                                         : cell.leftJustified(widths[column]);
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        lines << line;
    }
    return lines;
}
