#include "calibration/CalibrationUnit.h"

#include "comm/Wait.h"
#include "comm/WriteTwoWords.h"

namespace {

constexpr std::uint8_t kSignatureCommand = 0x53;
constexpr std::uint8_t kModeCommand = 0x54;
constexpr std::uint8_t kReadingCommand = 0x55;
constexpr std::uint8_t kConstantsCommand = 0x56;
constexpr std::uint8_t kStoreCommand = 0x57;
constexpr std::uint8_t kModeOn = 6;
constexpr std::size_t kReadingBytes = 18;

std::int32_t BigEndian(const Bytes& bytes, std::size_t at, int width)
{
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i)
        value = value << 8U | bytes[at++];
    return static_cast<std::int32_t>(value);
}

} // namespace

ErrorCode CalibrationUnit::SetMode(bool on)
{
    ErrorCode err = ErrorCode::Ok;
    m_usb.WriteSMBusWord(kModeCommand, 0, on ? kModeOn : 0, m_address, err);
    if (!Failed(err))
        m_usb.Delay(m_settings.LOAD_VI_SETTLE, err);
    if (!Failed(err))
        WaitMs(m_time, m_settings.LOAD_VI_SETTLE);
    return err;
}

ErrorCode CalibrationUnit::Read(RawReading& reading)
{
    Bytes block;
    const ErrorCode err = ReadBlock(kReadingCommand, kReadingBytes, block);
    if (Failed(err))
        return err;
    reading.Number = static_cast<std::uint16_t>(BigEndian(block, 0, 2));
    reading.Voltage = BigEndian(block, 2, 2);
    reading.Current = BigEndian(block, 4, 4) / 16.0;
    reading.Shorted = BigEndian(block, 8, 4) / 16.0;
    for (std::size_t sensor = 0; sensor < reading.DeciKelvin.size(); ++sensor)
        reading.DeciKelvin[sensor] = BigEndian(block, 12 + 2 * sensor, 2);
    return err;
}

ErrorCode CalibrationUnit::ReadConstants(CalibrationConstants& constants)
{
    Bytes block;
    const ErrorCode err = ReadBlock(kConstantsCommand, CalibrationConstants::kBytes, block);
    if (!Failed(err))
        constants = CalibrationConstants::From(block).value_or(constants);
    return err;
}

ErrorCode CalibrationUnit::Try(const CalibrationConstants& constants)
{
    ErrorCode err = ErrorCode::Ok;
    const Bytes& block = constants.Block();
    m_usb.WriteSMBusBlock(kConstantsCommand, block, static_cast<std::int16_t>(block.size()), m_address, err);
    return err;
}

ErrorCode CalibrationUnit::Store()
{
    const auto word = [](std::int32_t value) { return static_cast<std::int16_t>(value); };
    ErrorCode err = WriteTwoWords(m_usb, word(m_settings.CalWr), kSignatureCommand, kStoreCommand,
                                  word(m_settings.CalWrSig), m_address);
    if (!Failed(err))
        m_usb.Delay(m_settings.GGModeDFDelay, err);
    if (!Failed(err))
        WaitMs(m_time, m_settings.GGModeDFDelay); // it answers nobody while it programs its flash
    return err;
}

ErrorCode CalibrationUnit::ReadBlock(std::uint8_t command, std::size_t length, Bytes& block)
{
    ErrorCode err = ErrorCode::Ok;
    std::int16_t came = 0;
    m_usb.ReadSMBusBlock_(command, block, came, m_address, err);
    if (!Failed(err) && (block.size() != length || static_cast<std::size_t>(came) != length))
        err = ErrorCode::WrongNumBytes;
    return err;
}
