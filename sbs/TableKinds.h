#pragma once

#include "sbs/TableFields.h"
#include "sbs/clsSBSCfgRW.h"

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <vector>

/// The three tables that describe a gauge, as a person edits them. docs/tables.md describes the files.
enum class TableKind { Registers, Flags, Targets };

struct TableColumn {
    QString Name; ///< of the field, as files, messages and tests know it
    CellForm Form;
    QString Help; ///< what belongs into the column, in a few short lines
};
[[nodiscard]] const std::vector<TableColumn>& ColumnsOf(TableKind kind);
/// Cells of a row that does no harm and shows what belongs where.
[[nodiscard]] QStringList NewRowOf(TableKind kind);

/// What a table file most likely holds: the kind as which it reads to its last byte with sensible values;
/// where that does not decide, its name does.
[[nodiscard]] TableKind GuessKind(const QString& fileName, QByteArrayView bytes);

/// "SMBus word" and so on; empty for a style outside 0..14.
[[nodiscard]] QString ReadStyleName(int style);

/// What is to be said of a cell. Wrong: the table cannot be written with it. Odd: it can, but does hardly
/// what somebody wants.
struct CellCheck {
    enum class Level { Fine, Odd, Wrong };
    Level What = Level::Fine;
    QString Text; ///< empty, or the reason in plain words
};
/// Only whether the cell converts: quick, for whole tables.
[[nodiscard]] QString WhyWrong(TableKind kind, int column, const QString& cell);
/// @param registers  the register table that flag rows point into; empty or nullptr when it is not known
[[nodiscard]] CellCheck CheckCell(TableKind kind, const QStringList& cells, int column,
                                  const clsSBSCfgRW* registers);

/// Bytes that a file with these rows has; -1 when a cell does not convert.
[[nodiscard]] qint64 FileSizeOf(TableKind kind, const TextGrid& grid);
