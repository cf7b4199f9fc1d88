#pragma once

#include "sbs/TableKinds.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

struct TablePlace {
    int Row = 0; ///< from 0, as settings and flag tables count
    int Column = 0;
    bool operator==(const TablePlace&) const = default;
};

/// Hears of every change of a table's rows, in time for a view to follow.
class TableWatcher {
public:
    virtual ~TableWatcher() = default;
    virtual void RowsComing(int at, int count) = 0;
    virtual void RowsCame() = 0;
    virtual void RowsGoing(int at, int count) = 0;
    virtual void RowsGone() = 0;
    virtual void RowsChanged(int at, int count) = 0;
    virtual void TableComing() = 0; ///< another table takes the place of this one
    virtual void TableCame() = 0;
};

/// A register, flag or flash-target table while it is edited: cells as texts, checked but never altered, with
/// undo. A cell that does not convert may stand until the table is saved. Files go through clsSBSCfgRW.
class TableDocument {
public:
    explicit TableDocument(TableKind kind = TableKind::Registers) : m_kind(kind) { }
    void SetWatcher(TableWatcher* watcher) { m_watcher = watcher; }
    /// The register table that flag rows point into; outlives the document.
    void SetRegisters(const clsSBSCfgRW* registers) { m_registers = registers; }

    [[nodiscard]] TableKind Kind() const { return m_kind; }
    [[nodiscard]] const QString& Path() const { return m_path; } ///< empty for a table without a file
    [[nodiscard]] int Rows() const { return static_cast<int>(m_rows.size()); }
    [[nodiscard]] int Columns() const { return static_cast<int>(ColumnsOf(m_kind).size()); }
    [[nodiscard]] const QStringList& Cells(int row) const
    {
        return m_rows[static_cast<std::size_t>(row)].Cells;
    }
    [[nodiscard]] bool Edited(int row, int column) const; ///< since the table was opened or saved
    [[nodiscard]] bool Changed() const { return m_done != m_saved; }

    /// @return empty, or what went wrong; the table then stays as it was
    [[nodiscard]] QString Open(const QString& path, TableKind kind);
    /// What is to be known of the file that was opened; empty when all is in order.
    [[nodiscard]] const QString& Note() const { return m_note; }
    void New(TableKind kind);
    /// Whole or not at all.
    /// @return empty, or what went wrong, a cell that does not convert by row, column and text
    [[nodiscard]] QString Save(const QString& path);

    // Checks. Text names row, column and the cell's text.
    [[nodiscard]] CellCheck Check(TablePlace place) const
    {
        return CheckTyped(place, Cells(place.Row)[place.Column]);
    }
    [[nodiscard]] CellCheck CheckTyped(TablePlace place, const QString& text) const; ///< as if it stood there
    [[nodiscard]] std::optional<TablePlace> FirstWrong() const;

    // Edits. Each one is one step of the undo list; rows are given in any order.
    void SetCell(TablePlace place, const QString& text);
    void Insert(int at);
    void Remove(std::vector<int> rows);
    void Duplicate(int first, int last); ///< the copies stand behind
    bool Move(int first, int last, int by); ///< false at the end of the table
    struct Pasted {
        int Rows = 0;
        int Added = 0; ///< of these, behind the last row
        bool Cut = false; ///< texts right of the last column were left out
        QString Problem; ///< why nothing was pasted
    };
    /// Rows of cells separated by tabs, as spreadsheets and Copy give them; rows beyond the end are added.
    Pasted Paste(TablePlace place, const QString& text);
    /// Whole rows, as Copy gives them, before a row instead of over it.
    Pasted PasteRows(int before, const QString& text);
    [[nodiscard]] QString Copy(int firstRow, int lastRow, int firstColumn, int lastColumn) const;

    [[nodiscard]] QString UndoText() const; ///< what Undo takes back; empty: nothing
    [[nodiscard]] QString RedoText() const;
    int Undo(); ///< @return the row that changed, or -1
    int Redo();

    /// Next cell that holds the text, in either case of letters, round the end of the table.
    [[nodiscard]] std::optional<TablePlace> Find(const QString& text, TablePlace from, bool forward) const;

private:
    struct Row {
        int Id = 0; ///< for as long as the row lives, whatever its place
        QStringList Cells;
    };
    using RowList = std::vector<Row>;
    /// Rows taken out at a place and others put there: none for some, some for none, or as many for as many.
    struct Splice {
        int At = 0;
        RowList Before;
        RowList After;
    };
    struct Step {
        QString Text;
        std::vector<Splice> Splices;
    };

    void Do(const QString& text, std::vector<Splice> splices);
    void Put(int at, const RowList& before, const RowList& after);
    [[nodiscard]] RowList Taken(int first, int last) const;
    [[nodiscard]] Row Fresh(QStringList cells) { return {m_nextId++, std::move(cells)}; }
    [[nodiscard]] TextGrid Grid() const;
    void Replace(TableKind kind, const QString& path, const TextGrid& grid);
    void NoteSaved();

    TableKind m_kind;
    QString m_path;
    QString m_note;
    RowList m_rows;
    int m_nextId = 0;
    QHash<int, QStringList> m_savedCells; ///< by row id
    std::vector<Step> m_steps;
    std::size_t m_done = 0; ///< steps that are in force
    std::optional<std::size_t> m_saved = 0; ///< steps when last saved; nothing when no undo leads back there
    TableWatcher* m_watcher = nullptr;
    const clsSBSCfgRW* m_registers = nullptr;
};
