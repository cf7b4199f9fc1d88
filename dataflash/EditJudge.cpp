#include "dataflash/EditJudge.h"

#include "dataflash/ItemBytes.h"
#include "dataflash/ItemText.h"

QString Shown(const DataItem& item, const QString& native)
{
    const ItemText text = ConvertDisplayNative(item, native, TextDirection::NativeToShown);
    return text.Ok() ? text.Text : native;
}

QString ShownWithUnit(const DataItem& item, const QString& native)
{
    const QString text = Shown(item, native);
    return text.isEmpty() || item.Units.isEmpty() ? text : text + QLatin1Char(' ') + item.Units;
}

EditVerdict JudgeEdit(const DataItem& item, const QString& typed)
{
    // back through the formulas it could come out as a neighbour of what it was
    if (!item.Value.isNull() && typed == Shown(item, item.Value))
        return {item.Value, {}, false};
    const ItemText native = ConvertDisplayNative(item, typed, TextDirection::ShownToNative);
    if (!native.Ok())
        return {{}, native.Error, false};
    const QString form = ValidateDataFormat(item, native.Text);
    if (!form.isEmpty())
        return {{}, form, false};
    const ItemText normal = NormalNative(item, native.Text);
    if (!normal.Ok())
        return {{}, normal.Error, false};
    const QString range = CheckRange(item, normal.Text);
    return {normal.Text, range, !range.isEmpty()};
}

bool DiffersFromDefault(const DataItem& item)
{
    return !item.Value.isNull() && !item.DefValue.isEmpty() && !SameBytes(item, item.Value, item.DefValue);
}
