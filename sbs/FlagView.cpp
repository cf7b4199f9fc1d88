#include "sbs/FlagView.h"

#include <algorithm>

std::vector<FlagBit> MakeFlagBits(const QString& bitDesc, int bitWidth, std::optional<RawValue> raw)
{
    constexpr int kRegisterBits = 16;
    const QStringList names = bitDesc.split(u'|');
    const int width = std::clamp(bitWidth, 0, kMostFlagBits);
    std::vector<FlagBit> bits;
    for (int bit = width - 1; bit >= 0; --bit) {
        FlagBit entry{names.value(width - 1 - bit).trimmed(), bit, std::nullopt};
        if (raw && bit < kRegisterBits)
            entry.Value = (*raw >> bit & 1) != 0;
        bits.push_back(entry);
    }
    return bits;
}

FlagLine ReadFlagLine(const ScanEngine& scan, int flag)
{
    const clsSBSCfgRW& tables = scan.Tables();
    const auto number = static_cast<std::int16_t>(flag);

    FlagLine line;
    line.Caption = tables.GetFlagCaption(number);
    line.Row = tables.GetFlagSBSRowNum(number).toInt();
    const bool exists = line.Row >= 0 && line.Row < scan.RowCount();
    line.Scanned = exists && scan.ScanOn(line.Row);
    const bool known = exists && scan.Row(line.Row).Raw.has_value();
    line.Bits = MakeFlagBits(tables.GetFlagBitDesc(number), tables.GetFlagBitWidth(number).toInt(),
                             known ? scan.Row(line.Row).Raw : std::nullopt);
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
