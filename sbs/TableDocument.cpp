#include "sbs/TableDocument.h"

#include "platform/WholeFile.h"

#include <QFileInfo>

#include <algorithm>

namespace {

constexpr std::size_t kMostRows = 32767; // row numbers are signed 16-bit

QString Quoted(const QString& cell)
{
    if (!cell.contains(QLatin1Char('\t')) && !cell.contains(QLatin1Char('\n'))
        && !cell.startsWith(QLatin1Char('"')))
        return cell;
    return QLatin1Char('"') + QString(cell).replace(QLatin1Char('"'), QLatin1String("\"\""))
        + QLatin1Char('"');
}

/// Rows of cells; a cell that begins with a quote runs to its closing one, as spreadsheets write it.
std::vector<QStringList> SplitCells(const QString& text)
{
    std::vector<QStringList> rows;
    QStringList row;
    QString cell;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c != QLatin1Char('"'))
                cell += c;
            else if (i + 1 < text.size() && text[i + 1] == QLatin1Char('"'))
                cell += text[++i];
            else
                quoted = false;
        } else if (c == QLatin1Char('"') && cell.isEmpty()) {
            quoted = true;
        } else if (c == QLatin1Char('\t') || c == QLatin1Char('\n')) {
            row << std::exchange(cell, {});
            if (c == QLatin1Char('\n'))
                rows.push_back(std::exchange(row, {}));
        } else if (c != QLatin1Char('\r')) {
            cell += c;
        }
    }
    if (!cell.isEmpty() || !row.isEmpty()) {
        row << cell;
        rows.push_back(row);
    }
    return rows;
}

} // namespace

bool TableDocument::Edited(int row, int column) const
{
    const Row& entry = m_rows[static_cast<std::size_t>(row)];
    const auto saved = m_savedCells.constFind(entry.Id);
    return saved == m_savedCells.constEnd() || (*saved)[column] != entry.Cells[column];
}

QString TableDocument::Open(const QString& path, TableKind kind)
{
    TextGrid grid;
    QString problem;
    clsSBSCfgRW tables;
    switch (kind) {
    case TableKind::Registers:
        tables.LoadSBSInfo(path, &problem);
        tables.PopulateSBSInfo(grid);
        break;
    case TableKind::Flags:
        tables.LoadFlagsInfo(path, &problem);
        tables.PopulateSBSFlagsInfo(grid);
        break;
    case TableKind::Targets:
        problem = tables.PopulateSrecTarget(grid, path);
        break;
    }
    if (!problem.isEmpty())
        return problem;
    Replace(kind, path, grid);
    const qint64 left = QFileInfo(path).size() - FileSizeOf(kind, grid);
    if (left > 0)
        m_note = QStringLiteral(
                     "The last %1 bytes of the file are no whole row of a table of this kind; saving leaves "
                     "them out.")
                     .arg(left);
    return {};
}

void TableDocument::New(TableKind kind) { Replace(kind, {}, {}); }

void TableDocument::Replace(TableKind kind, const QString& path, const TextGrid& grid)
{
    if (m_watcher)
        m_watcher->TableComing();
    m_kind = kind;
    m_path = path;
    m_note.clear();
    m_rows.clear();
    for (std::size_t i = 1; i < grid.cells.size(); ++i)
        m_rows.push_back(Fresh(grid.cells[i]));
    m_steps.clear();
    m_done = 0;
    NoteSaved();
    if (m_watcher)
        m_watcher->TableCame();
}

void TableDocument::NoteSaved()
{
    m_saved = m_done;
    m_savedCells.clear();
    for (const Row& row : m_rows)
        m_savedCells.insert(row.Id, row.Cells);
}

TextGrid TableDocument::Grid() const
{
    TextGrid grid{{QStringList()}};
    for (const Row& row : m_rows)
        grid.cells.push_back(row.Cells);
    return grid;
}

QString TableDocument::Save(const QString& path)
{
    const TextGrid grid = Grid();
    const clsSBSCfgRW tables;
    QString problem;
    switch (m_kind) {
    case TableKind::Registers:
        problem = tables.WriteSBSInfo(grid, path);
        break;
    case TableKind::Flags:
        problem = tables.WriteSBSFlagsInfo(grid, path);
        break;
    case TableKind::Targets:
        problem = tables.WriteSrecTarget(grid, path);
        break;
    }
    if (!problem.isEmpty())
        return problem;
    m_path = path;
    m_note.clear();
    NoteSaved();
    if (m_watcher)
        m_watcher->RowsChanged(0, Rows());
    return {};
}

CellCheck TableDocument::CheckTyped(TablePlace place, const QString& text) const
{
    QStringList cells = Cells(place.Row);
    cells[place.Column] = text;
    CellCheck check = CheckCell(m_kind, cells, place.Column, m_registers);
    if (!check.Text.isEmpty())
        check.Text = QStringLiteral("Row %1, %2, \"%3\": %4")
                         .arg(QString::number(place.Row),
                              ColumnsOf(m_kind)[static_cast<std::size_t>(place.Column)].Name, text.left(60),
                              check.Text);
    return check;
}

std::optional<TablePlace> TableDocument::FirstWrong() const
{
    for (int row = 0; row < Rows(); ++row)
        for (int column = 0; column < Columns(); ++column)
            if (!WhyWrong(m_kind, column, Cells(row)[column]).isEmpty())
                return TablePlace{row, column};
    return std::nullopt;
}

TableDocument::RowList TableDocument::Taken(int first, int last) const
{
    return {m_rows.begin() + first, m_rows.begin() + last + 1};
}

void TableDocument::Do(const QString& text, std::vector<Splice> splices)
{
    if (m_saved && *m_saved > m_done)
        m_saved.reset();
    m_steps.resize(m_done);
    m_steps.push_back({text, std::move(splices)});
    ++m_done; // first: who hears of the change asks whether there is something to undo
    for (const Splice& splice : m_steps.back().Splices)
        Put(splice.At, splice.Before, splice.After);
}

void TableDocument::Put(int at, const RowList& before, const RowList& after)
{
    const auto place = m_rows.begin() + at;
    const auto count = static_cast<int>(std::max(before.size(), after.size()));
    if (before.size() == after.size()) {
        std::ranges::copy(after, place);
        if (m_watcher)
            m_watcher->RowsChanged(at, count);
    } else if (before.empty()) {
        if (m_watcher)
            m_watcher->RowsComing(at, count);
        m_rows.insert(place, after.begin(), after.end());
        if (m_watcher)
            m_watcher->RowsCame();
    } else {
        if (m_watcher)
            m_watcher->RowsGoing(at, count);
        m_rows.erase(place, place + count);
        if (m_watcher)
            m_watcher->RowsGone();
    }
}

void TableDocument::SetCell(TablePlace place, const QString& text)
{
    RowList rows = Taken(place.Row, place.Row);
    if (rows[0].Cells[place.Column] == text)
        return;
    const RowList before = rows;
    rows[0].Cells[place.Column] = text;
    Do(QStringLiteral("edit of row %1").arg(place.Row), {{place.Row, before, rows}});
}

void TableDocument::Insert(int at)
{
    if (m_rows.size() < kMostRows)
        Do(QStringLiteral("insertion of a row"), {{at, {}, {Fresh(NewRowOf(m_kind))}}});
}

void TableDocument::Remove(std::vector<int> rows)
{
    std::ranges::sort(rows, std::greater());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<Splice> splices;
    for (std::size_t i = 0; i < rows.size();) {
        std::size_t end = i + 1; // of a run of neighbours, downwards
        while (end < rows.size() && rows[end] == rows[end - 1] - 1)
            ++end;
        splices.push_back({rows[end - 1], Taken(rows[end - 1], rows[i]), {}});
        i = end;
    }
    if (!splices.empty())
        Do(QStringLiteral("removal of %n rows").replace(QLatin1String("%n"), QString::number(rows.size())),
           std::move(splices));
}

void TableDocument::Duplicate(int first, int last)
{
    RowList copies;
    for (const Row& row : Taken(first, last))
        copies.push_back(Fresh(row.Cells));
    if (m_rows.size() + copies.size() <= kMostRows)
        Do(QStringLiteral("copy of rows"), {{last + 1, {}, std::move(copies)}});
}

bool TableDocument::Move(int first, int last, int by)
{
    if (first + by < 0 || last + by >= Rows())
        return false;
    const int from = std::min(first, first + by);
    const int to = std::max(last, last + by);
    const RowList before = Taken(from, to);
    RowList after = before;
    const auto begin = after.begin() + (first - from);
    const auto end = after.begin() + (last - from) + 1;
    if (by < 0)
        std::rotate(after.begin(), begin, end);
    else
        std::rotate(begin, end, after.end());
    Do(QStringLiteral("move of rows"), {{from, before, std::move(after)}});
    return true;
}

TableDocument::Pasted TableDocument::Paste(TablePlace place, const QString& text)
{
    const std::vector<QStringList> texts = SplitCells(text);
    Pasted pasted;
    if (texts.empty()) {
        pasted.Problem = QStringLiteral("The clipboard holds no text.");
        return pasted;
    }
    if (static_cast<std::size_t>(place.Row) + texts.size() > kMostRows) {
        pasted.Problem = QStringLiteral("A table holds at most %1 rows; nothing was pasted.").arg(kMostRows);
        return pasted;
    }
    RowList before;
    RowList after;
    RowList added;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const int at = place.Row + static_cast<int>(i);
        const bool exists = at < Rows();
        Row row = exists ? m_rows[static_cast<std::size_t>(at)] : Fresh(NewRowOf(m_kind));
        if (exists)
            before.push_back(row);
        for (qsizetype j = 0; j < texts[i].size(); ++j) {
            if (place.Column + j < Columns())
                row.Cells[place.Column + j] = texts[i][j];
            else
                pasted.Cut |= !texts[i][j].isEmpty();
        }
        (exists ? after : added).push_back(std::move(row));
    }
    pasted.Rows = static_cast<int>(texts.size());
    pasted.Added = static_cast<int>(added.size());
    std::vector<Splice> splices;
    if (!before.empty())
        splices.push_back({place.Row, std::move(before), std::move(after)});
    if (!added.empty())
        splices.push_back({Rows(), {}, std::move(added)});
    Do(QStringLiteral("paste"), std::move(splices));
    return pasted;
}

TableDocument::Pasted TableDocument::PasteRows(int before, const QString& text)
{
    Pasted pasted;
    RowList added;
    for (const QStringList& texts : SplitCells(text)) {
        Row row = Fresh(NewRowOf(m_kind));
        for (int column = 0; column < Columns() && column < texts.size(); ++column)
            row.Cells[column] = texts[column];
        added.push_back(std::move(row));
    }
    if (m_rows.size() + added.size() > kMostRows) {
        pasted.Problem = QStringLiteral("A table holds at most %1 rows; nothing was pasted.").arg(kMostRows);
        return pasted;
    }
    pasted.Rows = static_cast<int>(added.size());
    Do(QStringLiteral("paste"), {{before, {}, std::move(added)}});
    return pasted;
}

QString TableDocument::Copy(int firstRow, int lastRow, int firstColumn, int lastColumn) const
{
    QString text;
    for (int row = firstRow; row <= lastRow; ++row) {
        QStringList cells;
        for (int column = firstColumn; column <= lastColumn; ++column)
            cells << Quoted(Cells(row)[column]);
        text += cells.join(QLatin1Char('\t')) + QLatin1Char('\n');
    }
    return text;
}

QString TableDocument::UndoText() const { return m_done > 0 ? m_steps[m_done - 1].Text : QString(); }

QString TableDocument::RedoText() const { return m_done < m_steps.size() ? m_steps[m_done].Text : QString(); }

int TableDocument::Undo()
{
    if (m_done == 0)
        return -1;
    const Step& step = m_steps[--m_done];
    for (auto splice = step.Splices.rbegin(); splice != step.Splices.rend(); ++splice)
        Put(splice->At, splice->After, splice->Before);
    return std::min(step.Splices.front().At, Rows() - 1);
}

int TableDocument::Redo()
{
    if (m_done == m_steps.size())
        return -1;
    const Step& step = m_steps[m_done++];
    for (const Splice& splice : step.Splices)
        Put(splice.At, splice.Before, splice.After);
    return std::min(step.Splices.front().At, Rows() - 1);
}

std::optional<TablePlace> TableDocument::Find(const QString& text, TablePlace from, bool forward) const
{
    const int cells = Rows() * Columns();
    int at = from.Row * Columns() + from.Column;
    for (int i = 0; i < cells && !text.isEmpty(); ++i) {
        at = (at + (forward ? 1 : cells - 1)) % cells;
        const TablePlace place{at / Columns(), at % Columns()};
        if (Cells(place.Row)[place.Column].contains(text, Qt::CaseInsensitive))
            return place;
    }
    return std::nullopt;
}
