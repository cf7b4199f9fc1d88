#include "sbs/TablePreview.h"

namespace {

QString WithHex(RawValue raw)
{
    return QStringLiteral("%1 (0x%2)")
        .arg(raw)
        .arg(QString::number(raw & 0xFFFF, 16).toUpper().rightJustified(4, u'0'));
}

/// What typing the shown text would send; nothing for formats that do not show a decimal number.
void AddWayBack(RegisterPreview& preview, const QString& factor, const QString& format, RawValue raw)
{
    const QChar letter = format.trimmed().isEmpty() ? QChar() : format.trimmed().front();
    if (letter != u'd' && letter != u'u' && letter != u'f')
        return;
    const WriteWord word = ConvertForWrite(preview.Shown, factor);
    if (!word.error.isEmpty()) {
        preview.Problem = QStringLiteral("Typing %1 would be refused: %2").arg(preview.Shown, word.error);
    } else if ((word.raw & 0xFFFF) != (raw & 0xFFFF)) {
        preview.Problem
            = QStringLiteral("Typing %1 would send %2, not %3: WriteFactor %4 does not undo ReadFactor.")
                  .arg(preview.Shown, WithHex(word.raw), WithHex(raw), factor);
    } else {
        preview.Steps << QStringLiteral("Typing %1 sends %2").arg(preview.Shown, WithHex(word.raw));
    }
}

} // namespace

TypedRaw ParseRaw(const QString& text, ReadStyle style)
{
    const QString typed = text.trimmed();
    const bool hex = typed.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
        || typed.startsWith(QLatin1String("&H"), Qt::CaseInsensitive);
    bool ok = false;
    const int number = hex ? typed.mid(2).toInt(&ok, 16) : typed.toInt(&ok);
    const bool byte = IsByteStyle(style);
    const int lowest = byte ? 0 : -32768;
    const int highest = byte ? 255 : 65535;
    if (!ok || number < lowest || number > highest)
        return {std::nullopt,
                QStringLiteral("Not a raw value of this style: %1 to %2, or hexadecimal such as 0x%3")
                    .arg(lowest)
                    .arg(highest)
                    .arg(byte ? QStringLiteral("A0") : QStringLiteral("0E80"))};
    return {number > 32767 ? number - 65536 : number, {}};
}

RegisterPreview PreviewRegister(const QStringList& cells, RawValue raw)
{
    const auto style = static_cast<ReadStyle>(cells[2].toShort());
    const QString& readFactor = cells[4];
    const QString& format = cells[7];
    RegisterPreview preview;
    preview.Unit = cells[8];
    const Converted converted = ApplyFactor(raw, style, readFactor);
    if (!converted.Ok()) {
        preview.Problem
            = QStringLiteral("ReadFactor %1 fails for %2: %3").arg(readFactor, WithHex(raw), converted.error);
        return preview;
    }
    preview.Steps << QStringLiteral("ReadFactor %1 makes %2 of %3")
                         .arg(readFactor.isEmpty() ? QStringLiteral("(empty)") : readFactor,
                              PlainNumber(converted.value, 6), WithHex(raw));
    const Formatted formatted = FormatValue(converted, format);
    if (!formatted.message.isEmpty() || !formatted.error.isEmpty()) {
        preview.Problem = QStringLiteral("DisplayFormat %1: %2")
                              .arg(format, formatted.message.isEmpty() ? formatted.error : formatted.message);
        return preview;
    }
    preview.Shown = formatted.text;
    preview.Steps << QStringLiteral("DisplayFormat %1 shows %2").arg(format, formatted.text);
    if (cells[6].toInt() != 0)
        AddWayBack(preview, cells[5], format, raw);
    const QString column = cells[1].trimmed();
    preview.Steps << (column.isEmpty() ? QStringLiteral("Not in the log: LogDesc is empty")
                                       : QStringLiteral("In the log as %1").arg(column));
    return preview;
}

FlagLine PreviewFlag(const QStringList& cells, std::optional<RawValue> raw)
{
    return {cells[0], cells[2].toInt(), true, MakeFlagBits(cells[1], cells[3].toInt(), raw)};
}
