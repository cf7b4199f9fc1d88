#include "sbs/StaticData.h"

#include <QDate>

#include <array>
#include <optional>

namespace {

// Standard Smart Battery commands.
constexpr std::uint8_t kBatteryMode = 0x03;
constexpr std::uint8_t kDesignCapacity = 0x18;
constexpr std::uint8_t kDesignVoltage = 0x19;
constexpr std::uint8_t kSpecificationInfo = 0x1A;
constexpr std::uint8_t kManufactureDate = 0x1B;
constexpr std::uint8_t kSerialNumber = 0x1C;
constexpr std::uint8_t kManufacturerName = 0x20;
constexpr std::uint8_t kDeviceName = 0x21;
constexpr std::uint8_t kDeviceChemistry = 0x22;

struct WordRead {
    std::uint16_t word = 0;
    QString error;
};

/// The pack gives its figures in tens, hundreds or thousands of a unit; exponents 0 to 3 are defined.
std::optional<qint64> PowerOfTen(int exponent)
{
    constexpr std::array<qint64, 4> kPowers{1, 10, 100, 1000};
    if (exponent >= static_cast<int>(kPowers.size()))
        return std::nullopt;
    return kPowers[static_cast<std::size_t>(exponent)];
}

class StaticReader {
public:
    StaticReader(frmUSB& usb, GaugeAccess& access, std::int16_t addr)
        : m_usb(usb), m_access(access), m_addr(addr)
    {
    }

    [[nodiscard]] WordRead Word(std::uint8_t cmd)
    {
        ErrorCode err = ErrorCode::BusBusy;
        std::int16_t word = 0;
        if (const ExclusiveAccess access(m_access, QStringLiteral("SBS")); access)
            m_usb.ReadSMBusWord_(cmd, word, m_addr, err);
        return {static_cast<std::uint16_t>(word), Failed(err) ? ErrorCodeToText(err) : QString()};
    }

    [[nodiscard]] StaticItem Text(const QString& caption, std::uint8_t cmd)
    {
        constexpr std::int16_t kCharacters = 1;
        ErrorCode err = ErrorCode::BusBusy;
        QString text;
        if (const ExclusiveAccess access(m_access, QStringLiteral("SBS")); access)
            m_usb.ReadSMBusBlock(cmd, text, m_addr, kCharacters, err);
        if (Failed(err))
            return {caption, {}, ErrorCodeToText(err)};
        for (QChar& character : text)
            if (!character.isPrint()) // a line end or a zero would spoil log heads and lines of a table
                character = u'?';
        return {caption, text, {}};
    }

private:
    frmUSB& m_usb;
    GaugeAccess& m_access;
    std::int16_t m_addr;
};

QString Part(int value, bool valid, int width)
{
    return valid ? QStringLiteral("%1").arg(value, width, 10, QChar(u'0')) : QStringLiteral("unknown");
}

QString DateText(std::uint16_t packed)
{
    const int year = 1980 + (packed >> 9);
    const int month = packed >> 5 & 0xF;
    const int day = packed & 0x1F;
    const bool monthValid = month >= 1 && month <= 12;
    const bool dayValid = monthValid ? QDate::isValid(year, month, day) : day >= 1;
    return QStringLiteral("%1-%2-%3").arg(year).arg(Part(month, monthValid, 2), Part(day, dayValid, 2));
}

QString VersionText(std::uint16_t specification)
{
    const int version = specification >> 4 & 0xF; // any revision in the low four bits is accepted
    switch (version) {
    case 1:
        return QStringLiteral("1.0");
    case 2:
        return QStringLiteral("1.1");
    case 3:
        return QStringLiteral("1.1 with PEC");
    default:
        return QStringLiteral("unknown (%1)").arg(version);
    }
}

/// A design figure in the pack's scale; without it the figure would be off by powers of ten.
StaticItem Scaled(const QString& caption, const WordRead& figure, const WordRead& specification,
                  std::optional<qint64> scale, const QString& unit)
{
    if (!figure.error.isEmpty())
        return {caption, {}, figure.error};
    if (!specification.error.isEmpty())
        return {caption, {}, QStringLiteral("scale not known: %1").arg(specification.error)};
    if (!scale)
        return {caption, {}, QStringLiteral("the pack gives a scale that is not defined")};
    return {caption, QStringLiteral("%1 %2").arg(figure.word * *scale).arg(unit), {}};
}

StaticItem Shown(const QString& caption, const WordRead& read, QString (*text)(std::uint16_t))
{
    return {caption, read.error.isEmpty() ? text(read.word) : QString(), read.error};
}

} // namespace

std::vector<StaticItem> ReadStaticData(frmUSB& usb, GaugeAccess& access, std::int16_t addr)
{
    StaticReader gauge(usb, access, addr);
    const WordRead specification = gauge.Word(kSpecificationInfo); // first: it carries the scales
    const std::optional<qint64> currentScale = PowerOfTen(specification.word >> 12);
    const std::optional<qint64> voltageScale = PowerOfTen(specification.word >> 8 & 0xF);

    std::vector<StaticItem> items{
        gauge.Text(QStringLiteral("Manufacturer name"), kManufacturerName),
        gauge.Text(QStringLiteral("Device name"), kDeviceName),
        gauge.Text(QStringLiteral("Chemistry"), kDeviceChemistry),
        Shown(QStringLiteral("Manufacture date"), gauge.Word(kManufactureDate), DateText),
        Shown(QStringLiteral("Serial number"), gauge.Word(kSerialNumber),
              [](std::uint16_t number) { return QString::number(number); }),
    };

    const QString capacityCaption = QStringLiteral("Design capacity");
    const WordRead mode = gauge.Word(kBatteryMode);
    const WordRead capacity = gauge.Word(kDesignCapacity);
    if (!mode.error.isEmpty()) {
        items.push_back({capacityCaption, {}, QStringLiteral("unit not known: %1").arg(mode.error)});
    } else if ((mode.word & 0x8000) != 0) { // in units of 10 mWh
        std::optional<qint64> scale;
        if (currentScale && voltageScale)
            scale = *currentScale * *voltageScale * 10;
        items.push_back(Scaled(capacityCaption, capacity, specification, scale, QStringLiteral("mWh")));
    } else {
        items.push_back(
            Scaled(capacityCaption, capacity, specification, currentScale, QStringLiteral("mAh")));
    }

    items.push_back(Scaled(QStringLiteral("Design voltage"), gauge.Word(kDesignVoltage), specification,
                           voltageScale, QStringLiteral("mV")));
    items.push_back(Shown(QStringLiteral("Smart Battery version"), specification, VersionText));
    return items;
}
