#include "dataflash/ItemBytes.h"

#include "dataflash/ValueEncoding.h"
#include "platform/NoMessages.h"

std::optional<Bytes> BytesOf(const DataItem& item, const QString& native, QString* why)
{
    NoMessages messages;
    Bytes bytes(static_cast<std::size_t>(WidthOf(item.DataType).value_or(0)));
    if (!DataTypeToByte(bytes, 0, item.DataType, native, messages, why))
        return std::nullopt;
    return bytes;
}

bool HasValue(const DataItem& item, const QString& native)
{
    if (!native.isEmpty() || native.isNull())
        return !native.isNull();
    const std::optional<DataTypeForm> type = ParseDataType(item.DataType);
    return type && type->What == DataTypeForm::Kind::Text;
}

bool SameBytes(const DataItem& item, const QString& a, const QString& b)
{
    const std::optional<Bytes> first = BytesOf(item, a);
    return first && first == BytesOf(item, b);
}

QString TextOf(const DataItem& item, const Bytes& subClass)
{
    NoMessages messages;
    return ByteToDataType(subClass, item.Offset, item.DataType, messages);
}
