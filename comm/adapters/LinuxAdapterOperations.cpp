// The driver operations, each as work for the I/O thread.
#include "comm/adapters/LinuxAdapter.h"
#include "comm/adapters/LinuxLines.h"
#include "comm/adapters/LinuxOneWire.h"
#include "comm/adapters/LinuxSmbus.h"
#include "comm/adapters/OneWireModes.h"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

namespace {

constexpr std::int32_t kFunctionPower = 0;
constexpr std::int32_t kFunctionWriteByte = 1;
constexpr std::int32_t kFunctionReadByte = 2;
constexpr std::int32_t kFunctionWireControl = 3;

bool IsByte(std::int32_t value) { return value >= 0 && value <= 0xFF; }
bool IsLevel(std::int16_t value) { return value == 0 || value == 1; }
std::uint8_t Low(std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

bool Holds(const Bytes& data, std::int16_t length)
{
    return length >= 0 && static_cast<std::size_t>(length) <= data.size();
}

Bytes Front(const Bytes& data, std::int16_t length)
{
    return {data.begin(), data.begin() + (Holds(data, length) ? length : 0)};
}

} // namespace

// ---- SMBus ----

ErrorCode LinuxAdapter::AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr)
{
    Answer answer;
    const ErrorCode code = OnBus(
        IsByte(cmd), addr,
        [to = Low(addr), cmd = Low(cmd)](LinuxSmbus& bus, Answer& own) {
            return bus.ReadWord(to, cmd, own.Word);
        },
        answer);
    if (!Failed(code))
        word = static_cast<std::int16_t>(answer.Word);
    return code;
}

ErrorCode LinuxAdapter::AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr)
{
    Answer answer;
    return OnBus(
        IsByte(cmd), addr,
        [to = Low(addr), cmd = Low(cmd), value = static_cast<std::uint16_t>(word)](LinuxSmbus& bus, Answer&) {
            return bus.WriteWord(to, cmd, value);
        },
        answer);
}

ErrorCode LinuxAdapter::AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                          std::int16_t& addr)
{
    Answer answer;
    const ErrorCode code = OnBus(
        IsByte(cmd), addr,
        [to = Low(addr), cmd = Low(cmd)](LinuxSmbus& bus, Answer& own) {
            return bus.ReadBlock(to, cmd, own.Data);
        },
        answer);
    if (!Failed(code)) {
        data = std::move(answer.Data);
        length = static_cast<std::int16_t>(data.size());
    }
    return code;
}

ErrorCode LinuxAdapter::AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                           std::int16_t& addr)
{
    Answer answer;
    return OnBus(
        IsByte(cmd) && Holds(data, length), addr,
        [to = Low(addr), cmd = Low(cmd), block = Front(data, length)](LinuxSmbus& bus, Answer&) {
            return bus.WriteBlock(to, cmd, block);
        },
        answer);
}

ErrorCode LinuxAdapter::AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr)
{
    Answer answer;
    return OnBus(
        IsByte(cmd), addr,
        [to = Low(addr), cmd = Low(cmd)](LinuxSmbus& bus, Answer&) { return bus.Command(to, cmd); }, answer);
}

// ---- I2C ----

ErrorCode LinuxAdapter::ReadI2C(bool understood, std::int16_t addr, Bytes written, Bytes& data,
                                std::int16_t& length)
{
    Answer answer;
    const ErrorCode code = OnBus(
        understood && length >= 1, addr,
        [to = Low(addr), written = std::move(written),
         count = static_cast<std::size_t>(std::max<int>(length, 0))](LinuxSmbus& bus, Answer& own) {
            return bus.Exchange(to, written, count, own.Data);
        },
        answer);
    if (!Failed(code))
        data = std::move(answer.Data);
    return code;
}

ErrorCode LinuxAdapter::WriteI2C(std::int16_t addr, std::int16_t reg, const Bytes& data, std::int16_t length)
{
    Bytes written = Front(data, length);
    written.insert(written.begin(), Low(reg));
    Answer answer;
    return OnBus(
        IsByte(reg) && Holds(data, length), addr,
        [to = Low(addr), written = std::move(written)](LinuxSmbus& bus, Answer& own) {
            return bus.Exchange(to, written, 0, own.Data);
        },
        answer);
}

ErrorCode LinuxAdapter::AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write,
                                                  std::int16_t writeCount, Bytes& read,
                                                  std::int16_t& readCount, std::int16_t& addr)
{
    Bytes written = Front(write, writeCount);
    written.insert(written.begin(), Low(cmd));
    return ReadI2C(IsByte(cmd) && Holds(write, writeCount), addr, std::move(written), read, readCount);
}

ErrorCode LinuxAdapter::AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                             std::int16_t& addr)
{
    return ReadI2C(IsByte(cmd), addr, {Low(cmd)}, data, length);
}

ErrorCode LinuxAdapter::AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                              std::int16_t& addr)
{
    return WriteI2C(addr, cmd, data, length);
}

ErrorCode LinuxAdapter::AdpReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t& addr)
{
    return ReadI2C(true, addr, {}, data, length);
}

ErrorCode LinuxAdapter::AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                                        std::int16_t& length)
{
    return ReadI2C(IsByte(reg), addr, {Low(reg)}, data, length);
}

ErrorCode LinuxAdapter::AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                                         std::int16_t& length)
{
    return WriteI2C(addr, reg, data, length);
}

ErrorCode LinuxAdapter::AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                                       std::int16_t& third)
{
    switch (selector) {
    case kFunctionPower:
        return WriteLine(m_settings.PowerLine, "PowerLine", first);
    case kFunctionWriteByte:
        return IsByte(third) ? WriteI2C(first, second, {Low(third)}, 1) : Refuse();
    case kFunctionReadByte: {
        Bytes data;
        std::int16_t one = 1;
        const ErrorCode code = ReadI2C(IsByte(second), first, {Low(second)}, data, one);
        if (!Failed(code))
            third = data.front();
        return code;
    }
    case kFunctionWireControl:
        return first == 0 ? ReleaseLines() : Refuse();
    default:
        return Refuse();
    }
}

// ---- lines ----

ErrorCode LinuxAdapter::WriteLine(const QString& line, const char* key, std::int16_t level)
{
    Answer answer;
    return OnLine(
        IsLevel(level), line, key,
        [line, level](LinuxLines& lines, Answer&) { return lines.Write(line, level == 1); }, answer);
}

/// Tries every line, whatever happens to another one: this is also the way to switch off.
ErrorCode LinuxAdapter::ReleaseLines()
{
    ErrorCode first = ErrorCode::Ok;
    bool any = false;
    Answer answer;
    for (const QString& line : {m_settings.PowerLine, m_settings.ChgLine, m_settings.LoadLine}) {
        if (line.isEmpty())
            continue;
        any = true;
        const ErrorCode code = OnLine(
            true, line, "", [line](LinuxLines& lines, Answer&) { return lines.Release(line); }, answer);
        if (!Failed(first))
            first = code;
    }
    return any ? first : OnLine(true, {}, "PowerLine", {}, answer);
}

ErrorCode LinuxAdapter::AdpGPIOWrite(std::int16_t& first, std::int16_t& second)
{
    switch (first) {
    case 0:
        return WriteLine(m_settings.ChgLine, "ChgLine", second);
    case 1:
        return WriteLine(m_settings.LoadLine, "LoadLine", second);
    default:
        return Refuse();
    }
}

ErrorCode LinuxAdapter::AdpGPIORead(std::int16_t& line, std::int16_t& level)
{
    Answer answer;
    const QString wanted = line == 0 ? m_settings.ChgLine : m_settings.LoadLine;
    const ErrorCode code = OnLine(
        IsLevel(line), wanted, line == 0 ? "ChgLine" : "LoadLine",
        [wanted](LinuxLines& lines, Answer& own) {
            bool high = false;
            const int error = lines.Read(wanted, high);
            own.Word = high ? 1 : 0;
            return error;
        },
        answer);
    if (!Failed(code))
        level = static_cast<std::int16_t>(answer.Word);
    return code;
}

// ---- one-wire: a memory's bit groups; the kernel knows no single-wire gauges ----

ErrorCode LinuxAdapter::AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra)
{
    Answer answer;
    const bool reset = mode == OneWire::kReset;
    const ErrorCode code = OnOneWire((reset || mode == OneWire::kReadEightBits) && extra == OneWire::kBits,
                                     [reset](LinuxOneWire& wire, Answer& own) {
                                         bool present = false;
                                         std::uint8_t byte = 0;
                                         const int error = reset ? wire.Reset(present) : wire.Read(byte);
                                         own.Word
                                             = reset ? static_cast<std::uint16_t>(present ? 1 : 0) : byte;
                                         return error;
                                     },
                                     answer);
    if (!Failed(code)) {
        m_oneWireWaits = false;
        value = answer.Word;
    }
    return code;
}

ErrorCode LinuxAdapter::AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra)
{
    Answer answer;
    const ErrorCode code = OnOneWire(
        mode == OneWire::kWriteEightBits && IsByte(value) && extra == OneWire::kBits,
        [byte = Low(value)](LinuxOneWire& wire, Answer&) { return wire.Write(byte); }, answer);
    if (!Failed(code)) {
        m_oneWireWaits = true;
        if (QCoreApplication::instance())
            m_flush.start();
    }
    return code;
}

void LinuxAdapter::FlushOneWire()
{
    m_flush.stop();
    if (!std::exchange(m_oneWireWaits, false))
        return;
    Answer answer;
    const ErrorCode code = OnOneWire(
        true, [](LinuxOneWire& wire, Answer&) { return wire.Flush(); }, answer);
    if (Failed(code))
        m_posted = code;
}

// ---- what no kernel driver of an adapter offers ----

ErrorCode LinuxAdapter::AdpGetVersion(std::int16_t&, std::int16_t&) { return Refuse(); }

std::int32_t LinuxAdapter::AdpProgramFromSrecWithCfg(QString&, QString&, QString&)
{
    return Number(Refuse());
}

std::int32_t LinuxAdapter::AdpProgramFlash(std::int32_t, std::int32_t, const Bytes&, std::int32_t,
                                           const Bytes&, std::int32_t, std::int32_t, std::int16_t&)
{
    return Number(Refuse());
}

std::int32_t LinuxAdapter::AdpReadFlash(std::int32_t, std::int32_t, Bytes&, std::int32_t, std::int32_t,
                                        std::int32_t, std::int16_t&)
{
    return Number(Refuse());
}

void LinuxAdapter::AdpSetMassErase(std::int16_t) { m_time.ProcessEvents(0); }

std::int32_t LinuxAdapter::AdpProgramSrec(QString&, std::int16_t&, std::int32_t&) { return Number(Refuse()); }

std::int32_t LinuxAdapter::AdpReadSrec(QString&, std::int16_t, std::int16_t&, std::int32_t&)
{
    return Number(Refuse());
}
