#include "dataflash/PackIdentity.h"

#include <QStringList>

#include <algorithm>

namespace {

// Standard Smart Battery commands.
constexpr std::uint8_t kManufactureDate = 0x1B;
constexpr std::uint8_t kSerialNumber = 0x1C;
constexpr std::uint8_t kManufacturerName = 0x20;
constexpr std::uint8_t kDeviceName = 0x21;

QString Shown(const Bytes& bytes)
{
    QString text = QString::fromLatin1(reinterpret_cast<const char*>(bytes.data()),
                                       static_cast<qsizetype>(bytes.size()));
    for (QChar& character : text)
        if (!character.isPrint())
            character = u'?';
    return text;
}

QString DateText(std::uint16_t date)
{
    return QStringLiteral("%1-%2-%3")
        .arg(1980 + (date >> 9))
        .arg(date >> 5 & 0xF, 2, 10, QLatin1Char('0'))
        .arg(date & 0x1F, 2, 10, QLatin1Char('0'));
}

std::optional<Bytes> BytesOf(const QJsonValue& value)
{
    return value.isString() ? ParseHex(value.toString()) : std::nullopt;
}

std::optional<std::uint16_t> WordOf(const QJsonValue& value)
{
    const int number = value.toInt(-1);
    if (number < 0 || number > 0xFFFF)
        return std::nullopt;
    return static_cast<std::uint16_t>(number);
}

} // namespace

QString PackIdentity::Text() const
{
    if (!Known())
        return QStringLiteral("a pack that did not say who it is");
    QString text = Device ? Shown(*Device) : QStringLiteral("a pack");
    if (Manufacturer)
        text += QStringLiteral(" of %1").arg(Shown(*Manufacturer));
    if (Serial)
        text += QStringLiteral(", serial number %1").arg(*Serial);
    if (Date)
        text += QStringLiteral(", %1").arg(DateText(*Date));
    return text;
}

QJsonObject PackIdentity::ToJson() const
{
    QJsonObject object;
    if (Manufacturer)
        object[QStringLiteral("manufacturer")] = HexText(*Manufacturer);
    if (Device)
        object[QStringLiteral("device")] = HexText(*Device);
    if (Serial)
        object[QStringLiteral("serial")] = *Serial;
    if (Date)
        object[QStringLiteral("date")] = *Date;
    return object;
}

PackIdentity PackIdentity::FromJson(const QJsonObject& object)
{
    return {BytesOf(object[QStringLiteral("manufacturer")]), BytesOf(object[QStringLiteral("device")]),
            WordOf(object[QStringLiteral("serial")]), WordOf(object[QStringLiteral("date")])};
}

PackIdentity ReadPackIdentity(frmUSB& usb, std::int16_t address)
{
    const auto block = [&](std::uint8_t command) -> std::optional<Bytes> {
        Bytes bytes;
        std::int16_t length = 0;
        ErrorCode err = ErrorCode::Ok;
        usb.ReadSMBusBlock_(command, bytes, length, address, err);
        if (Failed(err))
            return std::nullopt;
        bytes.resize(std::min(bytes.size(), static_cast<std::size_t>(std::max<int>(length, 0))));
        return bytes;
    };
    const auto word = [&](std::uint8_t command) -> std::optional<std::uint16_t> {
        std::int16_t value = 0;
        ErrorCode err = ErrorCode::Ok;
        usb.ReadSMBusWord_(command, value, address, err);
        if (Failed(err))
            return std::nullopt;
        return static_cast<std::uint16_t>(value);
    };
    PackIdentity pack;
    pack.Manufacturer = block(kManufacturerName);
    pack.Device = block(kDeviceName);
    pack.Serial = word(kSerialNumber);
    pack.Date = word(kManufactureDate);
    return pack;
}
