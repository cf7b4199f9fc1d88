#include "cli/ScanReport.h"

#include "cli/TextTable.h"
#include "sbs/FlagView.h"

#include <algorithm>
#include <map>
#include <vector>

namespace {

constexpr int kBarWidth = 20;

/// "!" at the beginning of a description asks for emphasis and is not shown.
QString ShownDesc(const ScanEngine& scan, int row)
{
    const QString desc = scan.Tables().GetSBSDesc(static_cast<std::int16_t>(row));
    return desc.startsWith(QLatin1Char('!')) ? desc.mid(1) : desc;
}

QString Unit(const ScanEngine& scan, int row)
{
    return scan.Tables().GetSBSUnit(static_cast<std::int16_t>(row));
}

std::vector<int> ScannedRows(const ScanEngine& scan)
{
    std::vector<int> rows;
    for (int row = 0; row < scan.RowCount(); ++row)
        if (scan.ScanOn(row))
            rows.push_back(row);
    return rows;
}

std::vector<FlagLine> ScannedFlags(const ScanEngine& scan)
{
    std::vector<FlagLine> lines;
    lines.reserve(static_cast<std::size_t>(scan.Tables().GetNumFlags()));
    for (int flag = 0; flag < scan.Tables().GetNumFlags(); ++flag)
        lines.push_back(ReadFlagLine(scan, flag));
    return lines;
}

/// The names of the bits that are set, such as "BatteryStatus: INITIALIZED DISCHARGING".
QStringList FlagTexts(const ScanEngine& scan)
{
    QStringList texts;
    for (const FlagLine& line : ScannedFlags(scan)) {
        if (!line.Scanned)
            continue;
        QStringList set;
        bool known = false;
        for (const FlagBit& bit : line.Bits) {
            known = known || bit.Value.has_value();
            if (bit.Value.value_or(false) && !bit.Name.isEmpty())
                set << bit.Name;
        }
        texts << line.Caption + QLatin1String(": ")
                + (!known              ? QStringLiteral("not known")
                       : set.isEmpty() ? QStringLiteral("no bit set")
                                       : set.join(QLatin1Char(' ')));
    }
    return texts;
}

QString RemCapText(const PassFacts& facts)
{
    if (!facts.RemCap)
        return {};
    const int filled = *facts.RemCap * kBarWidth / 100;
    return QStringLiteral("Remaining capacity [%1%2] %3%")
        .arg(QString(filled, QLatin1Char('#')), QString(kBarWidth - filled, QLatin1Char('.')))
        .arg(*facts.RemCap);
}

QString Headline(const PassFacts& facts)
{
    QString text = QStringLiteral("%1  %2  pass %3: %4 rows read")
                       .arg(facts.Adapter, TimeText(facts.Time))
                       .arg(facts.Number)
                       .arg(facts.Report.Answered);
    if (facts.Report.Failed > 0)
        text += QStringLiteral(", %1 failed").arg(facts.Report.Failed);
    return text;
}

/// "No Acknowledge: VB_T2H_NACK (rows 3, 9)": failures of one kind share a line.
QStringList Failures(const ScanEngine& scan, const std::vector<int>& rows)
{
    std::map<QString, QStringList> byReason;
    for (const int row : rows)
        if (!scan.Row(row).Reason.isEmpty())
            byReason[scan.Row(row).Reason] << QString::number(row);
    QStringList texts;
    for (const auto& [reason, numbers] : byReason)
        texts << (numbers.size() == static_cast<qsizetype>(rows.size())
                      ? QStringLiteral("! %1 (all rows)").arg(reason)
                      : QStringLiteral("! %1 (rows %2)").arg(reason, numbers.join(QLatin1String(", "))));
    return texts;
}

QString Cut(const QString& text, int columns)
{
    return text.size() <= columns ? text : text.left(columns - 1) + QChar(0x2026);
}

/// The rows of the table side by side in so many columns; every line keeps the row it began with in its
/// place.
QStringList SideBySide(const QStringList& cells, int columns)
{
    const qsizetype high = (cells.size() + columns - 1) / columns;
    qsizetype wide = 0;
    for (const QString& cell : cells)
        wide = std::max(wide, cell.size());
    QStringList lines;
    for (qsizetype line = 0; line < high; ++line) {
        QString text;
        for (qsizetype place = line; place < cells.size(); place += high)
            text += cells.at(place).leftJustified(place + high < cells.size() ? wide + 2 : 0);
        lines << text;
    }
    return lines;
}

QString Paint(const QString& text, const char* code, const Screen& screen)
{
    return screen.Colours ? QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(code), text) : text;
}

} // namespace

int RemCapBar(std::int16_t value)
{
    return value > 100 || value < 0 ? 100 : value; // a negative value shows a full bar too, on purpose
}

QString TimeText(const QDateTime& time) { return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")); }

QJsonArray RowsJson(const ScanEngine& scan)
{
    QJsonArray rows;
    for (const int row : ScannedRows(scan)) {
        const RowState& state = scan.Row(row);
        QJsonObject object{
            {QStringLiteral("row"), row},
            {QStringLiteral("desc"), ShownDesc(scan, row)},
            {QStringLiteral("raw"), state.Raw ? QJsonValue(*state.Raw) : QJsonValue()},
            {QStringLiteral("text"), state.Text},
            {QStringLiteral("unit"), Unit(scan, row)},
            {QStringLiteral("error"), state.Reason.isEmpty() ? QJsonValue() : QJsonValue(state.Reason)}};
        if (Failed(state.Code))
            object[QStringLiteral("code")] = Number(state.Code);
        rows << object;
    }
    return rows;
}

QJsonObject PassJson(const ScanEngine& scan, const PassFacts& facts)
{
    QJsonArray flags;
    for (const FlagLine& line : ScannedFlags(scan)) {
        QJsonObject bits;
        for (const FlagBit& bit : line.Bits)
            if (!bit.Name.isEmpty())
                bits[bit.Name] = bit.Value ? QJsonValue(*bit.Value ? 1 : 0) : QJsonValue();
        flags << QJsonObject{{QStringLiteral("caption"), line.Caption}, {QStringLiteral("bits"), bits}};
    }
    QJsonValue remCap;
    if (facts.RemCap)
        remCap = QJsonObject{{QStringLiteral("bar"), *facts.RemCap},
                             {QStringLiteral("label"), QString::number(*facts.RemCap) + QLatin1Char('%')}};
    return {{QStringLiteral("time"), TimeText(facts.Time)},
            {QStringLiteral("elapsed_ms"), static_cast<double>(facts.ElapsedMs)},
            {QStringLiteral("rows"), RowsJson(scan)},
            {QStringLiteral("flags"), flags},
            {QStringLiteral("remcap"), remCap}};
}

QStringList PassLines(const ScanEngine& scan, const PassFacts& facts)
{
    TextTable table({QStringLiteral(">Row"), QStringLiteral("Register"), QStringLiteral(">Value"),
                     QStringLiteral("Unit")});
    for (const int row : ScannedRows(scan)) {
        const RowState& state = scan.Row(row);
        table.AddRow({QString::number(row), ShownDesc(scan, row),
                      state.Reason.isEmpty() ? state.Text : QStringLiteral("!"),
                      state.Reason.isEmpty() ? Unit(scan, row) : state.Reason});
    }
    QStringList lines{Headline(facts)};
    lines += table.Lines();
    lines += FlagTexts(scan);
    if (facts.RemCap)
        lines << RemCapText(facts);
    return lines << QString();
}

QStringList LiveLines(const ScanEngine& scan, const PassFacts& facts, const Screen& screen)
{
    const std::vector<int> rows = ScannedRows(scan);
    TextTable table({QStringLiteral(">"), QString(), QStringLiteral(">"), QString()});
    for (const int row : rows) {
        const RowState& state = scan.Row(row);
        table.AddRow({QString::number(row), ShownDesc(scan, row),
                      state.Reason.isEmpty() ? state.Text : QStringLiteral("!"), Unit(scan, row)});
    }
    QStringList cells = table.Lines(1);
    cells.removeFirst(); // no header: the columns speak for themselves, and lines are scarce

    QStringList below = FlagTexts(scan);
    if (facts.RemCap)
        below << RemCapText(facts);
    QStringList failures = Failures(scan, rows);
    for (const QString& message : facts.Messages)
        failures << QLatin1String("! ") + QString(message).replace(QLatin1Char('\n'), QLatin1Char(' '));

    // the last line stays free, or the terminal would scroll
    const qsizetype room = std::max<qsizetype>(screen.Lines - 3 - below.size() - failures.size(), 1);
    qsizetype wide = 1;
    for (const QString& cell : cells)
        wide = std::max(wide, cell.size());
    const auto most = static_cast<int>(std::max<qsizetype>((screen.Columns + 2) / (wide + 2), 1));
    const auto needed = static_cast<int>((cells.size() + room - 1) / room);
    QStringList body = SideBySide(cells, std::clamp(needed, 1, most));
    if (body.size() > room) {
        const qsizetype hidden = body.size() - room + 1;
        body = body.mid(0, room - 1);
        body << QStringLiteral("%1 more lines; enlarge the window or choose rows with --rows").arg(hidden);
    }

    QStringList lines{
        Paint(Cut(Headline(facts) + QStringLiteral("  (Ctrl+C ends)"), screen.Columns), "1", screen)};
    for (const QString& line : body)
        lines << Cut(line, screen.Columns);
    for (const QString& line : below)
        lines << Cut(line, screen.Columns);
    for (const QString& line : failures)
        lines << Paint(Cut(line, screen.Columns), "31", screen);
    return lines;
}
