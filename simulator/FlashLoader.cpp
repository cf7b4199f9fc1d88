#include "simulator/FlashLoader.h"

#include "comm/adapters/Pc61vRW.h"
#include "platform/WholeFile.h"
#include "simulator/BootRom.h"
#include "simulator/GaugeFlash.h"
#include "simulator/SrecLines.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace {

constexpr std::uint8_t kControl = 0x00;
constexpr std::uint8_t kSpecificationInfo = 0x1A;
constexpr std::size_t kRow = BootRom::kRow;
constexpr std::uint32_t kFirstInstruction = 0x100000;
constexpr qint64 kMostFile = 16LL << 20;

struct Place {
    std::uint32_t Start;
    std::size_t Size;
};

constexpr std::array kPlaces{
    Place{GaugeFlash::kDataStart, GaugeFlash::kDataSize},
    Place{GaugeFlash::kProgramStart, GaugeFlash::kProgramSize},
};

bool Inside(std::int32_t area, std::uint32_t address, std::size_t length)
{
    if (area < 0 || area >= static_cast<std::int32_t>(kPlaces.size()))
        return false;
    const Place& place = kPlaces[static_cast<std::size_t>(area)];
    return length == 0
        || (address >= place.Start && length <= place.Size && address - place.Start <= place.Size - length);
}

std::uint32_t RowOf(std::uint32_t address) { return address & ~static_cast<std::uint32_t>(kRow - 1); }

Bytes WithAddress(std::uint32_t address)
{
    Bytes bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(address >> shift & 0xFFU));
    return bytes;
}

struct DeviceText {
    bool Known = false;
    std::uint16_t Device = 0;
    std::uint16_t Version = 0;
};

/// "800.1.02", "Device:800, Ver:1.02" and the like.
DeviceText ReadDevice(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("([0-9A-Fa-f]{1,4})\\s*[.,]\\s*(?:Ver:)?([0-9A-Fa-f]{1,2})\\.([0-9A-Fa-f]{1,2})"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return {};
    const auto hex = [&match](int group) { return match.captured(group).toUShort(nullptr, 16); };
    return {true, hex(1), static_cast<std::uint16_t>(hex(2) << 8 | hex(3))};
}

/// @return the first code when the devices differ, the second when only the versions do
ErrorCode Differ(const DeviceText& one, const DeviceText& other, ErrorCode device, ErrorCode version)
{
    if (!one.Known || !other.Known)
        return ErrorCode::Ok;
    if (one.Device != other.Device)
        return device;
    return one.Version != other.Version ? version : ErrorCode::Ok;
}

} // namespace

bool FlashLoader::RomAnswers()
{
    Bytes answer;
    return m_host.ReadI2C(BootRom::kAddress, std::array{std::uint8_t{BootRom::kIdentify}}, 1, answer)
        == ErrorCode::Ok;
}

ErrorCode FlashLoader::Mode(std::int16_t& status)
{
    status = 0;
    if (RomAnswers()) {
        status = Number(ErrorCode::DevRomMode);
        return ErrorCode::Ok;
    }
    std::uint16_t word = 0;
    const ErrorCode err = m_host.ReadWord(m_gauge, kSpecificationInfo, word);
    if (!Failed(err))
        status = Number(ErrorCode::DevGgMode);
    return err;
}

ErrorCode FlashLoader::NeedRom(std::int32_t flags, std::int16_t& status)
{
    ErrorCode err = Mode(status);
    if (Failed(err) || status == Number(ErrorCode::DevRomMode))
        return err;
    if ((flags & FlashCall::kEnterRom) == 0)
        return ErrorCode::DevGgMode;
    constexpr std::uint16_t word = GaugeModel::kBootRomWord;
    err = m_host.Write(
        m_gauge, kControl,
        std::array{static_cast<std::uint8_t>(word & 0xFFU), static_cast<std::uint8_t>(word >> 8U)});
    if (!Failed(err))
        err = Mode(status);
    return !Failed(err) && status != Number(ErrorCode::DevRomMode) ? ErrorCode::DevGgMode : err;
}

ErrorCode FlashLoader::MassEraseOnce()
{
    if (!m_massErase)
        return ErrorCode::Ok;
    m_massErase = false;
    constexpr std::uint16_t key = BootRom::kMassEraseKey;
    return m_host.WriteI2C(
        BootRom::kAddress, BootRom::kMassErase,
        std::array{static_cast<std::uint8_t>(key & 0xFFU), static_cast<std::uint8_t>(key >> 8U)});
}

ErrorCode FlashLoader::EraseRow(std::uint32_t address)
{
    return m_host.WriteI2C(BootRom::kAddress, BootRom::kEraseRow, WithAddress(address));
}

ErrorCode FlashLoader::ProgramRows(std::uint32_t address, std::span<const std::uint8_t> bytes)
{
    ErrorCode err = ErrorCode::Ok;
    while (!bytes.empty() && !Failed(err)) {
        const std::size_t count = std::min(bytes.size(), kRow - address % kRow);
        const auto row = bytes.first(count);
        if (std::any_of(row.begin(), row.end(), [](std::uint8_t byte) { return byte != 0xFF; })) {
            Bytes message = WithAddress(address);
            message.insert(message.end(), row.begin(), row.end());
            err = m_host.WriteI2C(BootRom::kAddress, BootRom::kProgramRow, message);
        }
        bytes = bytes.subspan(count);
        address += static_cast<std::uint32_t>(count);
    }
    return err;
}

ErrorCode FlashLoader::ReadBytes(std::uint32_t address, std::size_t length, Bytes& bytes)
{
    Bytes came;
    while (came.size() < length) {
        const std::size_t count = std::min(length - came.size(), kRow);
        Bytes command = WithAddress(address + static_cast<std::uint32_t>(came.size()));
        command.insert(command.begin(), BootRom::kRead);
        Bytes piece;
        const ErrorCode err = m_host.ReadI2C(BootRom::kAddress, command, static_cast<int>(count), piece);
        if (Failed(err))
            return err;
        came.insert(came.end(), piece.begin(), piece.end());
    }
    bytes = std::move(came);
    return ErrorCode::Ok;
}

ErrorCode FlashLoader::Program(std::int32_t area, std::uint32_t address, std::span<const std::uint8_t> bytes,
                               std::span<const std::uint8_t> options, std::int32_t flags,
                               std::int16_t& status)
{
    constexpr std::array<std::uint8_t, 4> rows{kRow, 0, kRow, 0};
    if (!Inside(area, address, bytes.size())
        || (!options.empty() && !std::equal(options.begin(), options.end(), rows.begin(), rows.end())))
        return ErrorCode::IncorrectParam;
    ErrorCode err = NeedRom(flags, status);
    if (!Failed(err))
        err = MassEraseOnce();
    if (!Failed(err) && (flags & FlashCall::kEraseRows) != 0 && !bytes.empty())
        for (std::uint32_t row = RowOf(address); row < address + bytes.size() && !Failed(err); row += kRow)
            err = EraseRow(row);
    if (!Failed(err))
        err = ProgramRows(address, bytes);
    if (err == ErrorCode::NoAcknowledge && !Failed(Mode(status)) && status == Number(ErrorCode::DevGgMode))
        return ErrorCode::DevGgMode; // it lost its power and started again
    return err;
}

ErrorCode FlashLoader::Read(std::int32_t area, std::uint32_t address, std::size_t length, std::int32_t flags,
                            Bytes& bytes, std::int16_t& status)
{
    if (!Inside(area, address, length))
        return ErrorCode::IncorrectParam;
    if (length == 0 && flags == 0)
        return Mode(status);
    const ErrorCode err = NeedRom(flags, status);
    return Failed(err) ? err : ReadBytes(address, length, bytes);
}

ErrorCode FlashLoader::ProgramSrec(const QString& path, std::int16_t& status, std::int32_t& detail)
{
    status = 0;
    detail = 0;
    const FileBytes bytes = ReadWhole(path, kMostFile);
    if (!bytes.error.isEmpty())
        return ErrorCode::SrecOpenFail;
    const SrecLines::File file = SrecLines::Parse(bytes.bytes);
    detail = file.Line;
    if (Failed(file.Code))
        return file.Code;
    for (const SrecLines::Record& record : file.Records)
        if (!Inside(record.Address >= kFirstInstruction ? 1 : 0, record.Address, record.Data.size()))
            return ErrorCode::SrecDevMismatch;
    detail = 0;
    const bool rowsToErase = !m_massErase;
    ErrorCode err = NeedRom(FlashCall::kEnterRom, status);
    if (!Failed(err))
        err = MassEraseOnce();
    std::vector<std::uint32_t> erased;
    for (const SrecLines::Record& record : file.Records)
        for (std::size_t at = 0; at < record.Data.size() && !Failed(err) && rowsToErase; ++at) {
            const std::uint32_t row = RowOf(record.Address + static_cast<std::uint32_t>(at));
            if (std::find(erased.rbegin(), erased.rend(), row) == erased.rend()) {
                err = EraseRow(row);
                erased.push_back(row);
            }
        }
    for (const SrecLines::Record& record : file.Records) {
        if (!Failed(err))
            err = ProgramRows(record.Address, record.Data);
        if (!Failed(err))
            detail += static_cast<std::int32_t>(record.Data.size());
    }
    Bytes back;
    for (const SrecLines::Record& record : file.Records) {
        if (!Failed(err))
            err = ReadBytes(record.Address, record.Data.size(), back);
        if (!Failed(err) && back != record.Data)
            err = ErrorCode::CompareDifferent;
    }
    return err;
}

ErrorCode FlashLoader::ReadSrec(const QString& path, std::int16_t& status, std::int32_t& detail)
{
    detail = 0;
    ErrorCode err = NeedRom(FlashCall::kEnterRom, status);
    QByteArray text = SrecLines::Line(0, 0, {});
    for (const Place& place : kPlaces) {
        Bytes bytes;
        if (!Failed(err))
            err = ReadBytes(place.Start, place.Size, bytes);
        for (std::size_t at = 0; at < bytes.size(); at += kRow)
            text += SrecLines::Line(3, place.Start + static_cast<std::uint32_t>(at),
                                    std::span(bytes).subspan(at, kRow));
        detail += static_cast<std::int32_t>(bytes.size());
    }
    text += SrecLines::Line(7, 0, {});
    if (!Failed(err) && !SaveWhole(path, text).isEmpty())
        err = ErrorCode::SrecOpenFail;
    return err;
}

ErrorCode FlashLoader::Identity(std::uint16_t& device, std::uint16_t& version)
{
    ErrorCode err = ErrorCode::Ok;
    for (std::uint16_t* word : {&device, &version}) {
        const auto which = static_cast<std::uint8_t>(word == &device ? 1 : 2);
        if (!Failed(err))
            err = m_host.Write(m_gauge, kControl, std::array{which, std::uint8_t{0}});
        if (!Failed(err))
            err = m_host.ReadWord(m_gauge, kControl, *word);
    }
    return err;
}

/// The configuration has the lines "Device=800" and "Version=1.02", hexadecimal; ";" begins a comment.
ErrorCode FlashLoader::ProgramWithConfiguration(const QString& srecPath, const QString& configPath,
                                                const QString& third)
{
    const FileBytes config = ReadWhole(configPath, kMostFile);
    if (!config.error.isEmpty())
        return ErrorCode::ConfigOpenFail;
    QString device;
    QString version;
    for (const QString& raw : QString::fromUtf8(config.bytes).split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('[')))
            continue;
        const QString key = line.section(QLatin1Char('='), 0, 0).trimmed();
        if (!line.contains(QLatin1Char('=')))
            return ErrorCode::ConfigBadFormat;
        if (key.compare(QLatin1String("Device"), Qt::CaseInsensitive) == 0)
            device = line.section(QLatin1Char('='), 1).trimmed();
        if (key.compare(QLatin1String("Version"), Qt::CaseInsensitive) == 0)
            version = line.section(QLatin1Char('='), 1).trimmed();
    }
    if (device.isEmpty() || version.isEmpty())
        return ErrorCode::ConfigUnexpectedEof;
    const DeviceText asked = ReadDevice(device + QLatin1Char('.') + version);
    if (!asked.Known)
        return ErrorCode::ConfigBadFormat;

    const FileBytes srec = ReadWhole(srecPath, kMostFile);
    if (!srec.error.isEmpty())
        return ErrorCode::SrecOpenFail;
    const DeviceText image = ReadDevice(QString::fromLatin1(SrecLines::Parse(srec.bytes).Comment));
    DeviceText gauge;
    std::int16_t status = 0;
    ErrorCode err = Mode(status);
    if (!Failed(err) && status == Number(ErrorCode::DevGgMode)) { // a gauge in its boot ROM cannot say
        err = Identity(gauge.Device, gauge.Version);
        gauge.Known = !Failed(err);
    }
    if (!Failed(err))
        err = Differ(asked, gauge, ErrorCode::PcfgDevMismatch, ErrorCode::PcfgDevVerMismatch);
    if (!Failed(err))
        err = Differ(asked, image, ErrorCode::PcfgSrecDevMismatch, ErrorCode::PcfgSrecDevVerMismatch);
    if (!Failed(err))
        err = Differ(ReadDevice(third), gauge, ErrorCode::BcfgDevMismatch, ErrorCode::BcfgDevVerMismatch);
    std::int32_t detail = 0;
    return Failed(err) ? err : ProgramSrec(srecPath, status, detail);
}
