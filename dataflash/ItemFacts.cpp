#include "dataflash/ItemFacts.h"

#include "dataflash/EachItem.h"
#include "dataflash/EditJudge.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/ValueEncoding.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

QString Tr(const char* text) { return QCoreApplication::translate("ItemFacts", text); }

QString Spaced(std::span<const std::uint8_t> bytes)
{
    QString text = HexText(bytes);
    for (qsizetype at = text.size() - 2; at > 0; at -= 2)
        text.insert(at, QLatin1Char(' '));
    return text;
}

/// The item's place in a buffer; nothing when its type is unknown or the buffer too short.
std::span<const std::uint8_t> PlaceIn(const Bytes& buffer, const DataItem& item)
{
    const int width = WidthOf(item.DataType).value_or(0);
    if (item.Offset < 0 || item.Offset + width > static_cast<int>(buffer.size()))
        return {};
    return std::span(buffer).subspan(static_cast<std::size_t>(item.Offset), static_cast<std::size_t>(width));
}

QString BytesText(const SubClass& subClass, const DataItem& item)
{
    if (item.Value.isNull() && item.ReadValue.isNull())
        return Tr("not known");
    QString now = Spaced(PlaceIn(subClass.Buffer, item));
    if (!item.Edited())
        return now;
    const std::optional<Bytes> then = BytesOf(item, item.Value);
    if (!then)
        return now;
    const QString next = Spaced(*then);
    return item.ReadValue.isNull() ? next : now + QStringLiteral(" \u2192 ") + next;
}

QString RangeOf(const DataItem& item)
{
    if (!item.MinVal.isEmpty() && !item.MaxVal.isEmpty())
        return Tr("%1 to %2").arg(Shown(item, item.MinVal), ShownWithUnit(item, item.MaxVal));
    if (!item.MinVal.isEmpty())
        return Tr("from %1").arg(ShownWithUnit(item, item.MinVal));
    if (!item.MaxVal.isEmpty())
        return Tr("up to %1").arg(ShownWithUnit(item, item.MaxVal));
    return Tr("no limits");
}

QString OrX(const QString& formula) { return formula.isEmpty() ? QStringLiteral("x") : formula; }

} // namespace

ItemFacts FactsOf(const SubClass& subClass, const DataItem& item)
{
    ItemFacts facts;
    facts.InTheGauge = item.ReadValue.isNull() ? Tr("not read yet") : ShownWithUnit(item, item.ReadValue);
    facts.OnScreen = item.Value.isNull() ? Tr("no value") : ShownWithUnit(item, item.Value);
    if (item.Edited())
        facts.OnScreen += QStringLiteral(", ") + Tr("edited");
    facts.Default = item.DefValue.isEmpty() ? Tr("none") : ShownWithUnit(item, item.DefValue);
    facts.Range = RangeOf(item);
    facts.Type = Tr("%1, offset %2").arg(item.DataType).arg(item.Offset);
    if (item.Private)
        facts.Type += QStringLiteral(", ") + Tr("private");
    facts.Bytes = BytesText(subClass, item);
    facts.Formula = Tr("read %1, write %2").arg(OrX(item.ReadFormula), OrX(item.WriteFormula));
    return facts;
}

QString ItemToolTip(const SubClass& subClass, const DataItem& item)
{
    const ItemFacts facts = FactsOf(subClass, item);
    return (item.FullName.isEmpty() ? item.Name : item.FullName) + QLatin1Char('\n') + facts.Type
        + QStringLiteral(" \u00b7 ") + facts.Bytes;
}

void ReadTrends::NoteBefore(const DataFlashTree& tree) { m_before = tree; }

bool ReadTrends::Rose(const DataFlashTree& tree, const ItemPlace& place) const
{
    if (m_before.Classes.empty())
        return true;
    const DataItem& item = ItemAt(tree, place);
    const QString& before = ItemAt(m_before, place).Value;
    const int base = item.DataType.startsWith(QLatin1Char('H'), Qt::CaseInsensitive) ? 16 : 10;
    bool wasNumber = false;
    bool isNumber = false;
    const double was = base == 16 ? before.toUInt(&wasNumber, base) : before.toDouble(&wasNumber);
    const double is = base == 16 ? item.Value.toUInt(&isNumber, base) : item.Value.toDouble(&isNumber);
    return wasNumber && isNumber ? is > was : item.Value > before;
}
