#include "sbs/RowTexts.h"

#include "comm/ErrorCodes.h"
#include "platform/CsvField.h"

#include <QStringList>

namespace {

QString Hex(int value, int digits) { return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0')); }

QString Quoted(const QString& field, QChar separator)
{
    return separator == QLatin1Char(',') ? CsvField(field) : field;
}

} // namespace

QString AgeText(std::int64_t ms)
{
    const std::int64_t seconds = ms / 1000;
    if (seconds < 10)
        return QStringLiteral("%1 s").arg(static_cast<double>(ms) / 1000, 0, 'f', 1);
    const QString lastTwo = QStringLiteral("%1").arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (seconds < 3600)
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(lastTwo);
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(lastTwo);
}

QString ShownDescription(const QString& desc) { return IsEmphasised(desc) ? desc.mid(1) : desc; }

QString RowToolTip(const ScanEngine& scan, int row)
{
    SBSInfoRec record;
    scan.Tables().GetSBSRow(static_cast<std::int16_t>(row), record);
    const RowState& state = scan.Row(row);
    QStringList lines;
    if (!state.Reason.isEmpty()) {
        lines << (Failed(state.Code) ? QStringLiteral("Read failed (%1):").arg(Number(state.Code))
                                     : QStringLiteral("No value:"));
        lines << state.Reason;
        lines << QStringLiteral("%1 of %2 reads failed").arg(state.Failures).arg(state.Reads);
        if (const auto age = scan.AgeMs(row))
            lines << QStringLiteral("Last good: %1 %2, %3 ago")
                         .arg(state.LastGoodText, record.Unit, AgeText(*age));
        return lines.join(QLatin1Char('\n'));
    }
    lines << QStringLiteral("Command %1, read style %2")
                 .arg(Hex(record.ReadCommand & 0xFF, 2))
                 .arg(record.ReadStyle);
    lines << QStringLiteral("Factor %1, format %2").arg(record.ReadFactor, record.DisplayFormat);
    if (state.Raw)
        lines << QStringLiteral("Last raw value %1 (%2)").arg(*state.Raw).arg(Hex(*state.Raw & 0xFFFF, 4));
    lines << QStringLiteral("%1 reads, %2 failed").arg(state.Reads).arg(state.Failures);
    return lines.join(QLatin1Char('\n'));
}

WritePreview PreviewWrite(const ScanEngine& scan, int row, const QString& typed)
{
    SBSInfoRec record;
    scan.Tables().GetSBSRow(static_cast<std::int16_t>(row), record);
    const WriteWord word = ConvertForWrite(typed, record.WriteFactor);
    if (!word.error.isEmpty())
        return {false, word.error};
    return {true,
            QStringLiteral("Enter writes %1 (%2) to command %3; Esc gives up")
                .arg(word.raw)
                .arg(Hex(word.raw & 0xFFFF, 4), Hex(record.ReadCommand & 0xFF, 2))};
}

QString RowsAsText(const ScanEngine& scan, const std::vector<int>& rows, QChar separator)
{
    QString text;
    const auto line = [&](const QStringList& fields) {
        QStringList quoted;
        for (const QString& field : fields)
            quoted << Quoted(field, separator);
        text += quoted.join(separator) + QLatin1Char('\n');
    };
    line({QStringLiteral("Description"), QStringLiteral("Value"), QStringLiteral("Unit"),
          QStringLiteral("Min"), QStringLiteral("Max")});
    for (const int row : rows) {
        const auto at = static_cast<std::int16_t>(row);
        line({ShownDescription(scan.Tables().GetSBSDesc(at)), scan.Row(row).Text,
              scan.Tables().GetSBSUnit(at), scan.StatisticText(row, scan.Row(row).Min),
              scan.StatisticText(row, scan.Row(row).Max)});
    }
    return text;
}

QString RawUnit(const ScanEngine& scan, std::int32_t row)
{
    if (row < 0 || row >= scan.RowCount())
        return {};
    const auto at = static_cast<std::int16_t>(row);
    if (scan.Tables().GetSBSReadFactor(at).trimmed().compare(QLatin1String("x"), Qt::CaseInsensitive) != 0)
        return {};
    const QString unit = scan.Tables().GetSBSUnit(at);
    return unit == QLatin1String("mAh") && !scan.CapacityUnit().isEmpty() ? scan.CapacityUnit() : unit;
}
