#include "sbs/FlagView.h"

#include <algorithm>

FlagLine ReadFlagLine(const ScanEngine& scan, int flag)
{
    constexpr int kRegisterBits = 16;
    const clsSBSCfgRW& tables = scan.Tables();
    const auto number = static_cast<std::int16_t>(flag);

    FlagLine line;
    line.Caption = tables.GetFlagCaption(number);
    line.Row = tables.GetFlagSBSRowNum(number).toInt();
    const bool exists = line.Row >= 0 && line.Row < scan.RowCount();
    line.Scanned = exists && scan.ScanOn(line.Row);
    const bool known = exists && scan.Row(line.Row).Raw.has_value();
    const RawValue raw = known ? *scan.Row(line.Row).Raw : 0;

    const QStringList names = tables.GetFlagBitDesc(number).split(u'|');
    const int width = std::clamp(tables.GetFlagBitWidth(number).toInt(), 0, kMostFlagBits);
    for (int bit = width - 1; bit >= 0; --bit) {
        FlagBit entry{names.value(width - 1 - bit).trimmed(), bit, std::nullopt};
        if (known && bit < kRegisterBits)
            entry.Value = (raw >> bit & 1) != 0;
        line.Bits.push_back(entry);
    }
    return line;
}

namespace {

QString Shortened(const QString& name, qsizetype lettersOfFirst)
{
    const QStringList words = name.split(QLatin1Char('_'), Qt::SkipEmptyParts);
    if (words.size() < 2)
        return name.left(4);
    QString letters = words.front().left(lettersOfFirst);
    for (const QString& word : words.mid(1))
        letters += word.front();
    return letters;
}

} // namespace

QStringList ShortBitNames(const FlagLine& line)
{
    QStringList names;
    for (const FlagBit& bit : line.Bits)
        names << Shortened(bit.Name, 1);
    QStringList distinct = names;
    for (qsizetype i = 0; i < names.size(); ++i)
        if (names.count(names[i]) > 1)
            distinct[i] = Shortened(line.Bits[static_cast<std::size_t>(i)].Name, 3);
    return distinct;
}
