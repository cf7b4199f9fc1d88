#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "platform/WholeFile.h"
#include "sbs/clsSBSCfgRW.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace {

enum class FieldKind { Text, Number, HexNumber };

struct Field {
    const char* Name;
    FieldKind Kind = FieldKind::Text;
};

/// One of the three tables: its fields in file order, which are the columns of its grid.
struct TableKind {
    const char* Name;
    std::vector<Field> Fields;
};

const TableKind& FindKind(const QString& name)
{
    static const std::array<TableKind, 3> kinds{
        TableKind{"registers",
                  {{"Desc"},
                   {"LogDesc"},
                   {"ReadStyle", FieldKind::Number},
                   {"ReadCommand", FieldKind::HexNumber},
                   {"ReadFactor"},
                   {"WriteFactor"},
                   {"Writeable", FieldKind::Number},
                   {"DisplayFormat"},
                   {"Unit"}}},
        TableKind{
            "flags",
            {{"Caption"}, {"BitDesc"}, {"SBSRowNum", FieldKind::Number}, {"BitWidth", FieldKind::Number}}},
        TableKind{"targets",
                  {{"Name"},
                   {"Number", FieldKind::Number},
                   {"Value1", FieldKind::Number},
                   {"Value2", FieldKind::Number},
                   {"Value3", FieldKind::Number},
                   {"Value4", FieldKind::Number},
                   {"Value5", FieldKind::Number}}},
    };
    for (const TableKind& kind : kinds)
        if (name == QLatin1String(kind.Name))
            return kind;
    static const TableKind none{"", {}};
    return none;
}

QJsonValue JsonCell(const Field& field, const QString& cell)
{
    bool ok = false;
    if (field.Kind == FieldKind::Number) {
        const int number = cell.toInt(&ok);
        return ok ? QJsonValue(number) : QJsonValue(cell);
    }
    if (field.Kind == FieldKind::HexNumber) { // a negative number stands as its 16-bit complement
        const auto bits = static_cast<std::uint16_t>(cell.toUInt(&ok, 16));
        return ok ? QJsonValue(static_cast<std::int16_t>(bits)) : QJsonValue(cell);
    }
    return cell;
}

/// Cell text of a JSON value, as the grid would show it. Nothing is checked here: the table's writer names
/// the cell that does not convert.
QString GridCell(const Field& field, const QJsonValue& value)
{
    if (!value.isDouble())
        return value.toVariant().toString();
    const double number = value.toDouble();
    const bool isWord = number >= std::numeric_limits<std::int16_t>::min()
        && number <= std::numeric_limits<std::uint16_t>::max() && number == static_cast<std::int32_t>(number);
    if (field.Kind == FieldKind::HexNumber && isWord)
        return QString::number(static_cast<std::uint16_t>(static_cast<std::int32_t>(number)), 16).toUpper();
    return QString::number(number, 'g', 17);
}

/// Loads FILE into a grid; row 0 is the header.
QString LoadGrid(const TableKind& kind, const QString& file, clsSBSCfgRW& tables, TextGrid& grid)
{
    QString error;
    if (std::strcmp(kind.Name, "registers") == 0) {
        tables.LoadSBSInfo(file, &error);
        if (error.isEmpty())
            tables.PopulateSBSInfo(grid);
    } else if (std::strcmp(kind.Name, "flags") == 0) {
        tables.LoadFlagsInfo(file, &error);
        if (error.isEmpty())
            tables.PopulateSBSFlagsInfo(grid);
    } else {
        error = tables.PopulateSrecTarget(grid, file);
    }
    return error;
}

QString WriteGrid(const TableKind& kind, const QString& file, const TextGrid& grid)
{
    const clsSBSCfgRW tables;
    if (std::strcmp(kind.Name, "registers") == 0)
        return tables.WriteSBSInfo(grid, file);
    if (std::strcmp(kind.Name, "flags") == 0)
        return tables.WriteSBSFlagsInfo(grid, file);
    return tables.WriteSrecTarget(grid, file);
}

/// One row through the getters, which answer beyond the count as well: empty fields up to the capacity, and
/// empty texts and -1 beyond it.
QJsonObject RowByGetters(const TableKind& kind, const clsSBSCfgRW& tables, std::int16_t row)
{
    if (std::strcmp(kind.Name, "flags") == 0)
        return {{QStringLiteral("Caption"), tables.GetFlagCaption(row)},
                {QStringLiteral("BitDesc"), tables.GetFlagBitDesc(row)},
                {QStringLiteral("SBSRowNum"), JsonCell(kind.Fields[2], tables.GetFlagSBSRowNum(row))},
                {QStringLiteral("BitWidth"), JsonCell(kind.Fields[3], tables.GetFlagBitWidth(row))}};
    return {{QStringLiteral("Desc"), tables.GetSBSDesc(row)},
            {QStringLiteral("LogDesc"), tables.GetSBSLogDesc(row)},
            {QStringLiteral("ReadStyle"), tables.GetSBSReadStyle(row)},
            {QStringLiteral("ReadCommand"), tables.GetSBSReadCommand(row)},
            {QStringLiteral("ReadFactor"), tables.GetSBSReadFactor(row)},
            {QStringLiteral("WriteFactor"), tables.GetSBSWriteFactor(row)},
            {QStringLiteral("Writeable"), tables.GetSBSWriteable(row)},
            {QStringLiteral("DisplayFormat"), tables.GetSBSDisplayFormat(row)},
            {QStringLiteral("Unit"), tables.GetSBSUnit(row)}};
}

/// Rows of a JSON file, {"rows": [...]}, {"cells": [...]} or the bare list, as a grid with a header row.
QString ReadRowsFile(const TableKind& kind, const QString& file, TextGrid& grid)
{
    const FileBytes content = ReadWhole(file);
    if (!content.error.isEmpty())
        return content.error;
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(content.bytes, &problem);
    if (document.isNull())
        return QStringLiteral("%1 is no JSON text: %2 at byte %3")
            .arg(file, problem.errorString())
            .arg(problem.offset);
    const QJsonValue cells = document.object().value(QLatin1String("cells"));
    const QJsonValue rows = cells.isArray() ? cells
        : document.isArray()                ? QJsonValue(document.array())
                                            : document.object().value(QLatin1String("rows"));
    if (!rows.isArray())
        return QStringLiteral("%1 holds no list of rows: give [{field: value}, ...], {\"rows\": [...]} or "
                              "{\"cells\": [[text, ...], ...]}")
            .arg(file);
    if (!cells.isArray())
        grid.cells.push_back({}); // the header, which is not written
    const QJsonArray list = rows.toArray();
    for (const auto& row : list) {
        QStringList texts;
        if (cells.isArray()) {
            const QJsonArray line = row.toArray();
            for (const auto& cell : line)
                texts << cell.toVariant().toString();
        }
        const QJsonObject members = row.toObject();
        for (const QString& name : members.keys())
            if (std::ranges::none_of(kind.Fields,
                                     [&](const Field& field) { return name == QLatin1String(field.Name); }))
                return QStringLiteral("%1: row %2 has a field \"%3\", which this table does not know")
                    .arg(file)
                    .arg(grid.cells.size() - 1)
                    .arg(name);
        if (!cells.isArray())
            for (const Field& field : kind.Fields) {
                const QJsonValue value = members.value(QLatin1String(field.Name));
                if (value.isUndefined() && field.Kind != FieldKind::Text)
                    return QStringLiteral("%1: row %2 lacks the field \"%3\"")
                        .arg(file)
                        .arg(grid.cells.size() - 1)
                        .arg(QLatin1String(field.Name));
                texts << GridCell(field, value);
            }
        grid.cells.push_back(texts);
    }
    return {};
}

Outcome WriteTable(const TableKind& kind, const QString& file, const QString& rowsFile)
{
    TextGrid grid;
    QString problem = ReadRowsFile(kind, rowsFile, grid);
    if (problem.isEmpty())
        problem = WriteGrid(kind, file, grid);
    if (!problem.isEmpty())
        return Refused(problem);
    const qsizetype count = std::max<qsizetype>(static_cast<qsizetype>(grid.cells.size()) - 1, 0);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("count"), count}};
    outcome.Text = QStringLiteral("%1 rows written to %2").arg(count).arg(file);
    return outcome;
}

Outcome Table(CommandContext&, const Arguments& arguments)
{
    const TableKind& kind = FindKind(arguments.Text(QStringLiteral("kind")));
    if (kind.Fields.empty())
        return WrongUsage(QStringLiteral("--kind must be registers, flags or targets, not \"%1\"")
                              .arg(arguments.Text(QStringLiteral("kind"))));
    const QString file = arguments.Text(QStringLiteral("file"));
    if (arguments.Has(QStringLiteral("from")))
        return WriteTable(kind, file, arguments.Text(QStringLiteral("from")));

    clsSBSCfgRW tables;
    TextGrid grid;
    if (const QString problem = LoadGrid(kind, file, tables, grid); !problem.isEmpty())
        return Refused(problem);

    Outcome outcome;
    const bool isTargets = std::strcmp(kind.Name, "targets") == 0;
    const bool oneRow = arguments.Has(QStringLiteral("row"));
    const std::int64_t wanted = arguments.Number(QStringLiteral("row"));
    const std::int64_t count = static_cast<std::int64_t>(grid.cells.size()) - 1;
    if (oneRow && isTargets && wanted >= count)
        return Refused(QStringLiteral("%1 has %2 rows, numbered from 0; there is no row %3")
                           .arg(file)
                           .arg(count)
                           .arg(wanted));

    QStringList header{QStringLiteral(">Row")};
    for (const Field& field : kind.Fields)
        header << (field.Kind == FieldKind::Text ? QString() : QStringLiteral(">"))
                + QLatin1String(field.Name);
    TextTable text(header);
    QJsonArray rows;
    for (std::int64_t row = 0; row < count; ++row) {
        const QStringList& cells = grid.cells[static_cast<std::size_t>(row + 1)];
        if (oneRow && row != wanted)
            continue;
        QJsonObject object;
        for (std::size_t column = 0; column < kind.Fields.size(); ++column)
            object[QLatin1String(kind.Fields[column].Name)]
                = JsonCell(kind.Fields[column], cells.value(static_cast<qsizetype>(column)));
        rows << object;
        text.AddRow(QStringList{QString::number(row)} + cells);
    }
    if (oneRow && !isTargets)
        rows = {RowByGetters(kind, tables, static_cast<std::int16_t>(wanted))};

    outcome.Json = {{QStringLiteral("count"), static_cast<qint64>(count)}};
    if (arguments.On(QStringLiteral("grid"))) {
        QJsonArray cells;
        for (const QStringList& row : grid.cells)
            cells << QJsonArray::fromStringList(row);
        outcome.Json = {{QStringLiteral("cells"), cells}};
    } else {
        outcome.Json[QStringLiteral("rows")] = rows;
    }
    outcome.Text = text.Text();
    return outcome;
}

} // namespace

std::vector<CommandSpec> TableCommands()
{
    return {
        {.Path = "table",
         .Summary = "Show a register, flag or flash-target table, or write one",
         .Arguments = {{"FILE", "Table file (.sbs, Srec.tgt)", ArgumentKind::Text, true},
                       {"--kind", "registers, flags or targets", ArgumentKind::Text, true},
                       {"--grid", "Answer the texts of the editing grid, header first", ArgumentKind::Switch},
                       {"--row", "Only this row, numbered from 0", ArgumentKind::Number, false, 0, 32767},
                       {"--from", "Write FILE from the rows of this JSON file"}},
         .Examples = {"tarnlo-cli table default.sbs --kind registers",
                      "tarnlo-cli table mine.sbs --kind registers --from rows.json",
                      "tarnlo-cli table default.sbs --kind registers --json > rows.json"},
         .Run = Table},
    };
}
