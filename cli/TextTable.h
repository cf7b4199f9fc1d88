#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// Columns of text under a header, each as wide as its widest cell.
class TextTable {
public:
    /// @param header  a column whose header begins with ">" is set flush right, without that sign
    explicit TextTable(const QStringList& header);
    void AddRow(const QStringList& cells) { m_rows.push_back(cells); }
    /// Header and rows without blanks at the ends of lines.
    /// @param gap  blanks between two columns
    [[nodiscard]] QStringList Lines(int gap = 2) const;
    [[nodiscard]] QString Text() const { return Lines().join(QLatin1Char('\n')); }

private:
    std::vector<QStringList> m_rows;
    std::vector<bool> m_flushRight;
};
