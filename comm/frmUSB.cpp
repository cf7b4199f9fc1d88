#include "comm/frmUSB.h"

#include "comm/adapters/OneWireModes.h"

#include <QFile>
#include <QLocale>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

constexpr std::int32_t kMostDevices = 16;
constexpr std::int16_t kEepromAddress = 0xA0;
constexpr std::int16_t kMostBlockBytes = 32;

QString LogValue(const QString& text) { return text; }

template <typename Number>
requires std::is_integral_v<Number> QString LogValue(Number number)
{
    return QString::number(static_cast<qulonglong>(static_cast<std::make_unsigned_t<Number>>(number)), 16)
        .toUpper();
}

// Only -1, all bits set, is a failure: any other answer, 0 and error codes included, means an open adapter.
bool Opened(std::int16_t answer) { return ~answer != 0; }

std::span<const std::uint8_t> Received(const Bytes& data, std::int16_t length)
{
    const auto count = static_cast<std::size_t>(std::max<std::int16_t>(length, 0));
    return std::span(data).first(std::min(count, data.size()));
}

// Flash results are tagged values: anything but 0 is a failure, 16 bits of it are a code.
ErrorCode FlashCode(std::int32_t result)
{
    constexpr std::int32_t kLowest = std::numeric_limits<std::int16_t>::min();
    constexpr std::int32_t kHighest = std::numeric_limits<std::uint16_t>::max();
    if (result < kLowest || result > kHighest)
        return ErrorCode::Unknown;
    return static_cast<ErrorCode>(static_cast<std::int16_t>(result));
}

} // namespace

frmUSB::frmUSB(Pc61vRW& driver, TimeSource& time, UserMessages& messages, QString programFolder)
    : m_driver(driver), m_time(time), m_messages(messages), m_programFolder(std::move(programFolder))
{
}

template <typename... Values>
ErrorCode frmUSB::Logged(ErrorCode code, QStringView form, const Values&... values)
{
    if (Failed(code) && !m_errorLogPath.isEmpty()) {
        if constexpr (sizeof...(values) == 0)
            LogError(code, form.toString());
        else
            LogError(code, form.toString().arg(LogValue(values)...));
    }
    return code;
}

ErrorCode frmUSB::Polled(ErrorCode code)
{
    if (!Failed(code))
        CheckForError(code);
    return code;
}

// Device and log

void frmUSB::OpenFirstFreeDevice(bool& ok)
{
    std::int32_t count = 0;
    QString names;
    m_driver.AdpListFreeDevices(kMostDevices, count, names);
    ok = count >= 1;
    if (!ok)
        return;
    QString name = names.left(names.indexOf(QLatin1Char(','))); // without a comma the whole text
    ok = Opened(m_driver.AdpOpenDevice(name));
}

void frmUSB::OpenFirstUsedDevice(bool& ok)
{
    QString name = QStringLiteral("dummy");
    ok = Opened(m_driver.AdpOpenDevice(name));
    if (!ok) // the missing blank after the first sentence is part of the text
        m_messages.Show(QStringLiteral(
            "Could not open device!Make sure that this plugin is started from Brevik. Or you may have "
            "started Brevik by ignoring errors!"));
}

void frmUSB::CloseDevice() { m_driver.AdpCloseDevice(); }

void frmUSB::EnableErrorLog() { m_errorLogPath = m_programFolder + QStringLiteral("/CommErr.log"); }

void frmUSB::DisableErrorLog() { m_errorLogPath.clear(); }

void frmUSB::ClearErrorLog()
{
    const bool wasOff = m_errorLogPath.isEmpty();
    if (wasOff)
        EnableErrorLog(); // gives the path
    QFile::remove(m_errorLogPath);
    if (wasOff)
        DisableErrorLog();
}

void frmUSB::LogError(ErrorCode code, const QString& text)
{
    if (!Failed(code) || m_errorLogPath.isEmpty())
        return;
    const QString when = QLocale::system().toString(m_time.Now(), QLocale::ShortFormat);
    QFile file(m_errorLogPath);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(QStringLiteral("%1  %2 - %3\n").arg(when, ErrorCodeToText(code), text).toUtf8());
}

void frmUSB::CheckForError(ErrorCode& err) { err = Logged(m_driver.AdpGetLastError(), u"CheckForError()"); }

void frmUSB::GetHX5100Version(std::int16_t& major, std::int16_t& minor, ErrorCode& err)
{
    err = Logged(m_driver.AdpGetVersion(major, minor), u"GetHX5100Version()");
}

void frmUSB::Delay(std::int32_t time, ErrorCode& err)
{
    m_driver.AdpDelay(time);
    err = Logged(Polled(ErrorCode::Ok), u"Delay(%1)", time);
}

// A stub, and stays one: no adapter has a colour to ask for.
void frmUSB::GetColor(std::int32_t /*index*/, std::int32_t value, std::int32_t& result) { result = value; }

// SMBus

void frmUSB::ReadSMBusWord_(std::uint8_t cmd, std::int16_t& word, std::int16_t addr, ErrorCode& err)
{
    err = Logged(m_driver.AdpReadSMBusWord(cmd, word, addr), u"ReadSMBusWord_(%1)", cmd);
}

void frmUSB::ReadSMBusWord(std::uint8_t cmd, std::uint8_t& msb, std::uint8_t& lsb, std::int16_t addr,
                           ErrorCode& err)
{
    std::int16_t word = 0;
    ReadSMBusWord_(cmd, word, addr, err);
    const auto pattern = static_cast<std::uint16_t>(word);
    msb = static_cast<std::uint8_t>(pattern >> 8);
    lsb = static_cast<std::uint8_t>(pattern & 0xFF);
}

void frmUSB::WriteSMBusWord_(std::uint8_t cmd, std::int16_t word, std::int16_t addr, ErrorCode& err)
{
    err = Logged(Polled(m_driver.AdpWriteSMBusWord(cmd, word, addr)), u"WriteSMBusWord_(%1,%2)", cmd, word);
}

void frmUSB::WriteSMBusWord(std::uint8_t cmd, std::uint8_t msb, std::uint8_t lsb, std::int16_t addr,
                            ErrorCode& err)
{
    WriteSMBusWord_(cmd, static_cast<std::int16_t>(msb * 256 + lsb), addr, err);
}

// The one read that logs nothing, on purpose: who polls with it expects failures.
void frmUSB::ReadSMBusBlock_(std::uint8_t cmd, Bytes& data, std::int16_t& length, std::int16_t addr,
                             ErrorCode& err)
{
    err = m_driver.AdpReadSMBusBlock(cmd, data, length, addr);
}

void frmUSB::ReadSMBusBlock(std::uint8_t cmd, QString& text, std::int16_t addr, std::int16_t format,
                            ErrorCode& err)
{
    Bytes data;
    std::int16_t length = 0;
    text.clear();
    ReadSMBusBlock_(cmd, data, length, addr, err);
    const auto received = Received(data, length);
    if (!Failed(err) && format == 0)
        text = HexText(received);
    else if (!Failed(err) && format == 1)
        text = QString::fromLatin1(reinterpret_cast<const char*>(received.data()),
                                   static_cast<qsizetype>(received.size()));
    Logged(err, u"ReadSMBusBlock(%1)", cmd);
}

void frmUSB::WriteSMBusBlock(std::uint8_t cmd, const Bytes& data, std::int16_t length, std::int16_t addr,
                             ErrorCode& err)
{
    std::int16_t command = cmd;
    const std::int16_t asked = length;
    // People search logs for this wording: it names the word write on purpose.
    err = Logged(Polled(m_driver.AdpWriteSMBusBlock(command, data, length, addr)),
                 u"WriteSMBusWord(%1,...,%2)", cmd, asked);
}

void frmUSB::WriteSMBusCommand(std::uint8_t cmd, std::int16_t addr, ErrorCode& err)
{
    std::int16_t command = cmd;
    err = Logged(Polled(m_driver.AdpWriteSMBusCommand(command, addr)), u"WriteSMBusCommand(%1)", cmd);
}

// I2C

void frmUSB::ReadI2CBlockOnSMB_(std::uint8_t cmd, Bytes& data, std::int16_t& length, std::int16_t addr,
                                ErrorCode& err)
{
    err = Logged(m_driver.AdpReadI2CBlockOnSMB(cmd, data, length, addr), u"ReadI2CBlockOnSMB_(%1)", cmd);
}

void frmUSB::ReadI2CBlockOnSMB(std::uint8_t cmd, QString& text, std::int16_t addr, ErrorCode& err)
{
    Bytes data;
    std::int16_t length = kMostBlockBytes;
    err = Logged(m_driver.AdpReadI2CBlockOnSMB(cmd, data, length, addr), u"ReadI2CBlockOnSMB(%1)", cmd);
    text = Failed(err) ? QString() : HexText(Received(data, length));
}

void frmUSB::WriteReadI2CBlockOnSMB(std::uint8_t cmd, const Bytes& write, std::int16_t writeCount,
                                    Bytes& read, std::int16_t& readCount, std::int16_t addr, ErrorCode& err)
{
    const std::int16_t asked = readCount;
    err = Logged(m_driver.AdpWriteReadI2CBlockOnSMB(cmd, write, writeCount, read, readCount, addr),
                 u"WriteReadI2CBlockOnSMB(%1,%2,%3)", cmd, writeCount, asked);
}

void frmUSB::WriteI2CBlockOnSMB(std::uint8_t cmd, const Bytes& data, std::int16_t length, std::int16_t addr,
                                ErrorCode& err)
{
    std::int16_t command = cmd;
    const std::int16_t asked = length;
    err = Logged(Polled(m_driver.AdpWriteI2CBlockOnSMB(command, data, length, addr)),
                 u"WriteI2CBlockOnSMB(%1,...,%2)", cmd, asked);
}

void frmUSB::ReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t addr, ErrorCode& err)
{
    // This read logs the write's name on purpose.
    err = Logged(m_driver.AdpReadI2CBlockNoCmdOnSMB(data, length, addr), u"WriteI2CBlockOnSMB()");
}

void frmUSB::I2CReadBlock(std::int16_t addr, std::int16_t reg, Bytes& data, std::int16_t& length,
                          ErrorCode& err)
{
    I2CReadBlock_(addr, reg, data, length, err);
}

void frmUSB::I2CReadBlock_(std::int16_t addr, std::int16_t reg, Bytes& data, std::int16_t& length,
                           ErrorCode& err)
{
    const std::int16_t asked = length;
    err = Logged(m_driver.AdpI2CReadBlock(addr, reg, data, length), u"I2CReadBlock_(%1,%2,...,%3)", addr, reg,
                 asked);
}

void frmUSB::I2CWriteBlock(std::int16_t addr, std::int16_t reg, const Bytes& data, std::int16_t length,
                           ErrorCode& err)
{
    err = Logged(Polled(m_driver.AdpI2CWriteBlock(addr, reg, data, length)), u"I2CWriteBlock(%1,%2,...,%3)",
                 addr, reg, length);
}

ErrorCode frmUSB::Power(std::int16_t on)
{
    std::int16_t unused = 0;
    std::int16_t answer = 0;
    return Polled(m_driver.AdpI2CFunction(0, on, unused, answer));
}

ErrorCode frmUSB::WriteByte(std::int16_t addr, std::int16_t reg, std::uint8_t value)
{
    std::int16_t byte = value;
    return Polled(m_driver.AdpI2CFunction(1, addr, reg, byte));
}

ErrorCode frmUSB::ReadByte(std::int16_t addr, std::int16_t reg, std::uint8_t& value)
{
    std::int16_t byte = 0;
    const ErrorCode err = m_driver.AdpI2CFunction(2, addr, reg, byte);
    value = static_cast<std::uint8_t>(byte & 0xFF);
    return err;
}

void frmUSB::I2CPower(std::int16_t on, ErrorCode& err) { err = Logged(Power(on), u"I2CPower(%1)", on); }

void frmUSB::I2CWriteByte(std::int16_t addr, std::int16_t reg, std::uint8_t value, ErrorCode& err)
{
    err = Logged(WriteByte(addr, reg, value), u"I2CWriteByte(%1,%2,%3)", addr, reg, value);
}

void frmUSB::I2CReadByte(std::int16_t addr, std::int16_t reg, std::uint8_t& value, ErrorCode& err)
{
    err = Logged(ReadByte(addr, reg, value), u"I2CReadByte(%1,%2)", addr, reg);
}

void frmUSB::I2CWireControl(std::int16_t state, ErrorCode& err)
{
    std::int16_t line = state;
    std::int16_t unused = 0;
    std::int16_t answer = 0;
    err = Logged(Polled(m_driver.AdpI2CFunction(3, line, unused, answer)), u"I2CWireControl(%1)", state);
}

void frmUSB::EEPower(std::int16_t on, ErrorCode& err) { err = Logged(Power(on), u"EEPower(%1)", on); }

void frmUSB::EEWriteByte(std::int16_t address, std::uint8_t value, ErrorCode& err)
{
    err = Logged(WriteByte(kEepromAddress, address, value), u"EEWriteByte(%1,%2)", address, value);
}

void frmUSB::EEWrite(std::int16_t busAddress, std::int16_t address, std::uint8_t value, ErrorCode& err)
{
    err = Logged(WriteByte(busAddress, address, value), u"EEWrite(%1,%2,%3)", busAddress, address, value);
}

void frmUSB::EEReadByte(std::int16_t address, std::uint8_t& value, ErrorCode& err)
{
    err = Logged(ReadByte(kEepromAddress, address, value), u"EEReadByte(%1)", address);
}

void frmUSB::EERead(std::int16_t busAddress, std::int16_t address, std::uint8_t& value, ErrorCode& err)
{
    err = Logged(ReadByte(busAddress, address, value), u"EERead(%1,%2)", busAddress, address);
}

// Single wire: there is no acknowledge to poll for, and the numbers of a log line run together.

void frmUSB::ReadOneWire(std::int16_t mode, std::int32_t& value, ErrorCode& err)
{
    const std::int32_t asked = value;
    std::int16_t extra = OneWire::kBits;
    err = Logged(m_driver.AdpReadOneWire(mode, value, extra), u"ReadOneWire(%1%2)", mode, asked);
}

void frmUSB::WriteOneWire(std::int16_t mode, std::int32_t value, ErrorCode& err)
{
    err = Logged(m_driver.AdpWriteOneWire(mode, value, OneWire::kBits), u"WriteOneWire(%1%2%3)", mode, value,
                 OneWire::kBits);
}

// Flash, image and lines

void frmUSB::MassEraseOption(std::int16_t flag) { m_driver.AdpSetMassErase(flag); }

void frmUSB::ProgramFromSrecWithCfg(const QString& srecPath, const QString& configPath, const QString& third,
                                    ErrorCode& err)
{
    QString srec = srecPath;
    QString config = configPath;
    QString last = third;
    err = Logged(FlashCode(m_driver.AdpProgramFromSrecWithCfg(srec, config, last)),
                 u"ProgramFromSrecWithCfg(%1)", srecPath);
}

void frmUSB::ProgramSrec(const QString& path, std::int16_t& status, std::int32_t& detail, ErrorCode& err)
{
    QString file = path;
    err = Logged(FlashCode(m_driver.AdpProgramSrec(file, status, detail)), u"ProgramSrec(%1)", path);
}

void frmUSB::ReadSrec(const QString& path, std::int16_t& status, std::int32_t& detail, ErrorCode& err)
{
    QString file = path;
    err = Logged(FlashCode(m_driver.AdpReadSrec(file, 0, status, detail)), u"ReadSrec(%1)", path);
}

void frmUSB::ProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data, std::int32_t length,
                          const Bytes& options, std::int32_t optionsLength, std::int32_t flags,
                          std::int16_t& status, ErrorCode& err)
{
    err = Logged(FlashCode(m_driver.AdpProgramFlash(area, address, data, length, options, optionsLength,
                                                    flags, status)),
                 u"ProgramFlash(%1,%2,...,%3,...,%4)", QString::number(area), QString::number(address),
                 QString::number(length), QString::number(optionsLength));
}

void frmUSB::ReadFlash(std::int32_t area, std::int32_t address, Bytes& data, std::int32_t length,
                       std::int32_t options, std::int32_t flags, std::int16_t& status, ErrorCode& err)
{
    err = Logged(FlashCode(m_driver.AdpReadFlash(area, address, data, length, options, flags, status)),
                 u"ReadFlash(%1,%2,...,%3,...,%4)", QString::number(area), QString::number(address),
                 QString::number(length), QString::number(flags));
}

// The output lines log nothing: the auto-cycle watches them itself.

void frmUSB::GPIOWrite(std::int16_t line, std::int16_t level, ErrorCode& err)
{
    err = m_driver.AdpGPIOWrite(line, level);
}

void frmUSB::GPIORead(std::int16_t line, std::int16_t& level, ErrorCode& err)
{
    err = m_driver.AdpGPIORead(line, level);
}
