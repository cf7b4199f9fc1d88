#include "comm/adapters/SimulatedAdapter.h"

#include "comm/adapters/OneWireModes.h"

#include <algorithm>
#include <utility>

namespace {

const QString kName = QStringLiteral("Simulated");
constexpr std::uint8_t kSpecificationInfo = 0x1A;
constexpr int kPecVersion = 3;
constexpr std::int16_t kChargerLine = 0;
constexpr std::int16_t kLoadLine = 1;
constexpr std::int32_t kFunctionPower = 0;
constexpr std::int32_t kFunctionWriteByte = 1;
constexpr std::int32_t kFunctionReadByte = 2;
constexpr std::int32_t kFunctionWireControl = 3;
constexpr ErrorCode kUnlistedCode{119}; // in no table: what a newer driver may answer
constexpr int kLongestBlock = 255;

bool IsByte(std::int32_t value) { return value >= 0 && value <= 255; }

bool IsAddress(std::int16_t addr) { return IsByte(addr) && addr % 2 == 0; }

std::uint8_t Low(std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

std::uint8_t High(std::int32_t value) { return static_cast<std::uint8_t>((value >> 8) & 0xFF); }

std::int32_t FrameOf(std::uint8_t byte) // as it came: start bit 0 first, data low bit first, stop bit 1
{
    return byte << 1 | 1 << 9;
}

/// CRC-8, polynomial 0x07, start 0, over every byte on the wire.
constexpr std::array<std::uint8_t, 256> kCrc8 = [] {
    std::array<std::uint8_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80U) != 0 ? (crc << 1U ^ 0x07U) & 0xFFU : crc << 1U;
        table[i] = static_cast<std::uint8_t>(crc);
    }
    return table;
}();

} // namespace

/// One message on the wire as the host drives it: nothing more is sent after the first step that failed, and
/// the stop comes in any case.
class SimulatedAdapter::Transfer {
public:
    Transfer(SimulatedAdapter& adapter, const BusMessage& message)
        : m_adapter(adapter), m_state(adapter.m_faults.Begin(message)), m_began(m_state == Wire::Ok)
    {
    }
    ~Transfer() { End(); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    void Start(std::uint8_t addressByte)
    {
        if (m_state != Wire::Ok)
            return;
        See(addressByte);
        m_state = m_adapter.m_faults.Start(addressByte);
    }
    void Send(std::uint8_t byte)
    {
        if (m_state != Wire::Ok)
            return;
        See(byte);
        m_state = m_adapter.m_faults.Write(byte);
    }
    std::uint8_t Receive(bool last)
    {
        std::uint8_t byte = 0;
        if (m_state == Wire::Ok)
            m_state = m_adapter.m_faults.Read(byte, last);
        See(byte);
        return byte;
    }
    void SendCheck() { Send(m_crc); }
    [[nodiscard]] bool Checked() const
    {
        return m_crc == 0;
    } ///< the last byte was the check of those before it
    [[nodiscard]] bool Going() const { return m_state == Wire::Ok; }
    ErrorCode End()
    {
        if (m_began)
            m_adapter.m_faults.Stop();
        m_began = false;
        return Code(m_state);
    }

private:
    void See(std::uint8_t byte) { m_crc = kCrc8[m_crc ^ byte]; }

    SimulatedAdapter& m_adapter;
    Wire m_state;
    bool m_began;
    std::uint8_t m_crc = 0;
};

SimulatedAdapter::SimulatedAdapter(TimeSource& time, const SimulatorSettings& settings)
    : m_time(time), m_settings(settings), m_startMs(time.MonotonicMs()), m_bench(settings),
      m_gauge(m_bench.Gauge()), m_registers(m_bench.Gauge()), m_bus(settings.BusClock, m_chip, m_registers),
      m_faults(m_bus, settings.Faults, settings.Seed, [this] { m_bench.Gauge().Reset(); })
{
    m_bus.Attach(GaugeTarget::kAddress, m_gauge);
    m_bus.Attach(GaugeRegisterFile::kAddress, m_registers);
    m_bus.Attach(Eeprom::kAddress, m_eeprom);
}

ErrorCode SimulatedAdapter::Ready()
{
    if (!m_open || m_faults.Unplugged())
        return ErrorCode::NoUsb;
    const double elapsedMs = static_cast<double>(m_time.MonotonicMs() - m_startMs);
    m_bench.AdvanceTo(static_cast<std::int64_t>(elapsedMs * m_settings.TimeFactor / 1000));
    m_posted = ErrorCode::Ok;
    return ErrorCode::Ok;
}

ErrorCode SimulatedAdapter::Done(ErrorCode code, int busBytes)
{
    for (int turn = m_settings.Faults.Reentry ? -busBytes : 0; turn <= 0; ++turn)
        m_time.ProcessEvents(0);
    return code;
}

ErrorCode SimulatedAdapter::Posted(ErrorCode code, int busBytes)
{
    const bool late = code == ErrorCode::NoAcknowledge;
    Done(ErrorCode::Ok, busBytes);
    if (late)
        m_posted = code; // after the events: a nested transfer has its own
    return late ? ErrorCode::Ok : code;
}

ErrorCode SimulatedAdapter::Code(Wire wire)
{
    switch (wire) {
    case Wire::Ok:
        return ErrorCode::Ok;
    case Wire::Nack:
        return ErrorCode::NoAcknowledge;
    case Wire::TimedOut:
        return ErrorCode::T2hTimeout;
    case Wire::ArbitrationLost:
        return ErrorCode::BusBusy;
    case Wire::Ended:
        return ErrorCode::WrongNumBytes;
    case Wire::Unplugged:
        return ErrorCode::NoUsb;
    case Wire::Odd:
        break;
    }
    return kUnlistedCode;
}

// ---- packet error check
// ----------------------------------------------------------------------------------------

/// @param checked  the byte behind the word was its packet error check; the read itself does not judge
ErrorCode SimulatedAdapter::ReadWordOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, std::uint16_t& word,
                                         bool& checked)
{
    Transfer transfer(*this,
                      {.Address = addr, .Command = cmd, .Written = 1, .Read = pec ? 3 : 2, .Pec = pec});
    transfer.Start(addr);
    transfer.Send(cmd);
    transfer.Start(addr | 1U);
    const std::uint8_t low = transfer.Receive(false);
    const std::uint8_t high = transfer.Receive(!pec);
    const std::uint8_t check = pec ? transfer.Receive(true) : 0;
    word = static_cast<std::uint16_t>(high << 8 | low);
    // A line that stayed high all along is no answer, although FF FF FF passes the check of command 0x01.
    checked = transfer.Checked() && (word != 0xFFFF || check != 0xFF);
    return transfer.End();
}

/// Decides from SpecificationInfo. A good check together with version 3 is proof; that a part has none is
/// believed only when two reads agree, for a single flipped bit can look like it.
ErrorCode SimulatedAdapter::DecidePec(std::uint8_t addr, bool& pec)
{
    PecState& state = m_pec[addr / 2];
    std::uint16_t first = 0;
    for (int turn = 0; turn < 2 && state == PecState::Undecided; ++turn) {
        std::uint16_t info = 0;
        bool checked = false;
        if (const ErrorCode err = ReadWordOnce(addr, kSpecificationInfo, true, info, checked); Failed(err))
            return err;
        const bool version = (info >> 4 & 0xF) == kPecVersion;
        if (checked && version)
            state = PecState::On;
        else if (turn == 1 && info == first && !version)
            state = PecState::Off;
        first = info;
    }
    pec = state == PecState::On;
    return state == PecState::Undecided ? ErrorCode::BadPec : ErrorCode::Ok;
}

// ---- SMBus
// -----------------------------------------------------------------------------------------------------

ErrorCode SimulatedAdapter::AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr)
{
    ErrorCode err = Ready();
    if (!Failed(err) && !(IsByte(cmd) && IsAddress(addr)))
        err = ErrorCode::IncorrectParam;
    bool pec = false;
    if (!Failed(err))
        err = DecidePec(Low(addr), pec);
    if (!Failed(err)) {
        std::uint16_t value = 0;
        bool checked = false;
        err = ReadWordOnce(Low(addr), Low(cmd), pec, value, checked);
        if (!Failed(err) && pec && !checked)
            err = ErrorCode::BadPec;
        if (!Failed(err))
            word = static_cast<std::int16_t>(value);
    }
    return Done(err, pec ? 6 : 5);
}

ErrorCode SimulatedAdapter::AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                              std::int16_t& addr)
{
    ErrorCode err = Ready();
    if (!Failed(err) && !(IsByte(cmd) && IsAddress(addr)))
        err = ErrorCode::IncorrectParam;
    bool pec = false;
    if (!Failed(err))
        err = DecidePec(Low(addr), pec);
    int received = 0;
    if (!Failed(err)) {
        Transfer transfer(
            *this,
            {.Address = Low(addr), .Command = Low(cmd), .Written = 1, .Read = 1, .Block = true, .Pec = pec});
        transfer.Start(Low(addr));
        transfer.Send(Low(cmd));
        transfer.Start(Low(addr) | 1U);
        Bytes block(transfer.Receive(false));
        for (std::size_t i = 0; i < block.size() && transfer.Going(); ++i)
            block[i] = transfer.Receive(!pec && i + 1 == block.size());
        if (pec && transfer.Going())
            transfer.Receive(true);
        err = transfer.End();
        received = static_cast<int>(block.size());
        if (!Failed(err) && pec && !transfer.Checked())
            err = ErrorCode::BadPec;
        else if (!Failed(err) && block.empty())
            err = ErrorCode::WrongNumBytes; // a block of no bytes is none
        if (!Failed(err)) {
            length = static_cast<std::int16_t>(block.size());
            data = std::move(block);
        }
    }
    return Done(err, received + 4);
}

ErrorCode SimulatedAdapter::WriteSMBus(std::int16_t cmd, std::int16_t addr,
                                       std::span<const std::uint8_t> payload)
{
    ErrorCode err = Ready();
    if (!Failed(err) && !(IsByte(cmd) && IsAddress(addr)))
        err = ErrorCode::IncorrectParam;
    bool pec = false;
    if (!Failed(err))
        err = DecidePec(Low(addr), pec);
    const int written = 1 + static_cast<int>(payload.size()) + (pec ? 1 : 0);
    if (!Failed(err)) {
        Transfer transfer(*this, {.Address = Low(addr), .Command = Low(cmd), .Written = written, .Pec = pec});
        transfer.Start(Low(addr));
        transfer.Send(Low(cmd));
        for (const std::uint8_t byte : payload)
            transfer.Send(byte);
        if (pec)
            transfer.SendCheck();
        err = transfer.End();
    }
    return Posted(err, 1 + written);
}

ErrorCode SimulatedAdapter::AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr)
{
    return WriteSMBus(cmd, addr, std::array{Low(word), High(word)});
}

ErrorCode SimulatedAdapter::AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                               std::int16_t& addr)
{
    if (length < 1 || length > kLongestBlock || data.size() < static_cast<std::size_t>(length))
        return Done(ErrorCode::IncorrectParam);
    Bytes payload{Low(length)};
    payload.insert(payload.end(), data.begin(), data.begin() + length);
    return WriteSMBus(cmd, addr, payload);
}

ErrorCode SimulatedAdapter::AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr)
{
    return WriteSMBus(cmd, addr, {});
}

ErrorCode SimulatedAdapter::AdpGetLastError()
{
    // Taken before events run: a nested transfer must not answer for this one.
    const ErrorCode posted = std::exchange(m_posted, ErrorCode::Ok);
    return Done(!m_open || m_faults.Unplugged() ? ErrorCode::NoUsb : posted);
}

// ---- I2C
// -------------------------------------------------------------------------------------------------------

ErrorCode SimulatedAdapter::WriteI2C(std::int16_t addr, std::int16_t reg, const Bytes& data,
                                     std::int16_t length)
{
    ErrorCode err = Ready();
    if (!Failed(err)
        && (!IsAddress(addr) || !IsByte(reg) || !IsByte(length)
            || data.size() < static_cast<std::size_t>(length)))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err)) {
        Transfer transfer(*this, {.Address = Low(addr), .Command = Low(reg), .Written = 1 + length});
        transfer.Start(Low(addr));
        transfer.Send(Low(reg));
        for (int i = 0; i < length; ++i)
            transfer.Send(data[static_cast<std::size_t>(i)]);
        err = transfer.End();
    }
    return Posted(err, 2 + length);
}

/// @param written  sent before the turn to reading; nothing: the read starts at once
/// @param length   in: bytes to read, out: bytes that came
ErrorCode SimulatedAdapter::ReadI2C(std::int16_t addr, const Bytes& written, Bytes& data,
                                    std::int16_t& length)
{
    ErrorCode err = Ready();
    if (!Failed(err) && (!IsAddress(addr) || length < 1))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err)) {
        Transfer transfer(*this,
                          {.Address = Low(addr),
                           .Command = written.empty() ? std::uint8_t{0} : written.front(),
                           .Written = static_cast<int>(written.size()),
                           .Read = length});
        if (!written.empty())
            transfer.Start(Low(addr));
        for (const std::uint8_t byte : written)
            transfer.Send(byte);
        transfer.Start(Low(addr) | 1U);
        Bytes bytes;
        while (transfer.Going() && bytes.size() < static_cast<std::size_t>(length))
            bytes.push_back(transfer.Receive(bytes.size() + 1 == static_cast<std::size_t>(length)));
        err = transfer.End();
        if (!Failed(err))
            data = std::move(bytes);
    }
    return Done(err, length + 2 + static_cast<int>(written.size()));
}

ErrorCode SimulatedAdapter::AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write,
                                                      std::int16_t writeCount, Bytes& read,
                                                      std::int16_t& readCount, std::int16_t& addr)
{
    if (!IsByte(cmd) || !IsByte(writeCount) || write.size() < static_cast<std::size_t>(writeCount))
        return Done(ErrorCode::IncorrectParam);
    Bytes written{Low(cmd)};
    written.insert(written.end(), write.begin(), write.begin() + writeCount);
    return ReadI2C(addr, written, read, readCount);
}

ErrorCode SimulatedAdapter::AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                                 std::int16_t& addr)
{
    return IsByte(cmd) ? ReadI2C(addr, {Low(cmd)}, data, length) : Done(ErrorCode::IncorrectParam);
}

ErrorCode SimulatedAdapter::AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                                  std::int16_t& addr)
{
    return WriteI2C(addr, cmd, data, length);
}

ErrorCode SimulatedAdapter::AdpReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t& addr)
{
    return ReadI2C(addr, {}, data, length);
}

ErrorCode SimulatedAdapter::AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                                            std::int16_t& length)
{
    return AdpReadI2CBlockOnSMB(reg, data, length, addr);
}

ErrorCode SimulatedAdapter::AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                                             std::int16_t& length)
{
    return WriteI2C(addr, reg, data, length);
}

ErrorCode SimulatedAdapter::AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                                           std::int16_t& third)
{
    switch (selector) {
    case kFunctionWriteByte:
        return IsByte(third) ? WriteI2C(first, second, {Low(third)}, 1) : Done(ErrorCode::IncorrectParam);
    case kFunctionReadByte: {
        Bytes data;
        std::int16_t length = 1;
        const ErrorCode err = AdpReadI2CBlockOnSMB(second, data, length, first);
        if (!Failed(err))
            third = data.front();
        return err;
    }
    case kFunctionPower:
    case kFunctionWireControl:
        break;
    default:
        return Done(ErrorCode::IncorrectParam);
    }
    ErrorCode err = Ready();
    // One pin drives both ways; releasing is the only wire state there is.
    const bool release = selector == kFunctionWireControl;
    if (!Failed(err) && (first < 0 || first > (release ? 0 : 1)))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err)) {
        m_lines = {};
        m_bench.SetCharger(!release && first == 1);
        m_bench.SetLoad(!release && first == 0);
    }
    return Done(err);
}

// ---- single wire
// -----------------------------------------------------------------------------------------------

ErrorCode SimulatedAdapter::AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra)
{
    ErrorCode err = Ready();
    const bool framed = (value & OneWire::kFramed) != 0;
    const std::int32_t index = value & ~OneWire::kFramed;
    const bool memory = mode == OneWire::kReset || mode == OneWire::kReadEightBits;
    const bool known = memory || (mode == OneWire::kReadPlainByte && !framed)
        || mode == OneWire::kReadTwoBytes || (mode == OneWire::kReadFrame && framed);
    const int count = mode == OneWire::kReadTwoBytes ? 2 : 1;
    if (!Failed(err)
        && (!known || extra != OneWire::kBits
            || (!memory && (index < 0 || index + count > GaugeRegisterFile::kRegisters))))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err))
        err = Code(m_faults.Begin({.Command = Low(index), .Read = count, .SingleWire = true}));
    if (!Failed(err)) {
        std::int32_t came = 0;
        int bits = 8 * count;
        if (mode == OneWire::kReset) {
            came = m_bus.OneWireReset() ? 1 : 0;
            bits = 1;
        } else if (memory) {
            came = m_bus.OneWireRead();
        } else {
            bits = (framed ? 10 : 8) * count;
            for (int i = 0; i < count; ++i) {
                const std::uint8_t byte = m_bus.SingleWireRead(Low(index + i));
                came |= (framed ? FrameOf(byte) : byte) << (bits / count * i);
            }
        }
        err = Code(m_faults.Disturb(came, bits));
        if (!Failed(err))
            value = came;
    }
    return Done(err, count);
}

ErrorCode SimulatedAdapter::AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra)
{
    ErrorCode err = Ready();
    const std::int32_t payload = mode == OneWire::kWriteRegister ? value & ~OneWire::kFramed : value;
    const bool known = (mode == OneWire::kWriteEightBits && IsByte(payload))
        || (mode == OneWire::kWriteRegister && payload >= 0 && payload < GaugeRegisterFile::kRegisters * 256);
    if (!Failed(err) && (!known || extra != OneWire::kBits))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err))
        err = Code(m_faults.Begin({.Command = High(payload), .Written = 1, .SingleWire = true}));
    std::int32_t sent = Low(payload);
    if (!Failed(err))
        err = Code(m_faults.Disturb(sent, 8));
    if (!Failed(err)) {
        if (mode == OneWire::kWriteEightBits)
            m_bus.OneWireWrite(Low(sent));
        else
            m_bus.SingleWireWrite(High(payload), Low(sent));
    }
    return Done(err, 1);
}

// ---- lines
// -----------------------------------------------------------------------------------------------------

ErrorCode SimulatedAdapter::AdpGPIOWrite(std::int16_t& first, std::int16_t& second)
{
    ErrorCode err = Ready();
    if (!Failed(err) && (first < kChargerLine || first > kLoadLine || second < 0 || second > 1))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err)) {
        m_lines[static_cast<std::size_t>(first)] = second;
        m_bench.SetCharger(m_lines[kChargerLine] == 1);
        m_bench.SetLoad(m_lines[kLoadLine] == 1);
    }
    return Done(err);
}

ErrorCode SimulatedAdapter::AdpGPIORead(std::int16_t& line, std::int16_t& level)
{
    ErrorCode err = Ready();
    if (!Failed(err) && (line < kChargerLine || line > kLoadLine))
        err = ErrorCode::IncorrectParam;
    if (!Failed(err))
        level = m_lines[static_cast<std::size_t>(line)];
    return Done(err);
}

// ---- device
// ----------------------------------------------------------------------------------------------------

std::int16_t SimulatedAdapter::AdpOpenDevice(QString& name)
{
    m_time.ProcessEvents(0);
    if (m_open || name != kName) {
        m_problem = m_open
            ? QStringLiteral("The simulated adapter is open already.")
            : QStringLiteral("There is no adapter \"%1\" here; the simulated one is called \"%2\".")
                  .arg(name, kName);
        return -1;
    }
    m_problem.clear();
    m_faults.PlugIn();
    m_open = true;
    m_openedMicroseconds = m_bus.Microseconds();
    return 0;
}

void SimulatedAdapter::AdpCloseDevice()
{
    m_open = false;
    m_time.ProcessEvents(0);
}

void SimulatedAdapter::AdpListFreeDevices(std::int32_t most, std::int32_t& count, QString& names)
{
    count = !m_open && most > 0 ? 1 : 0;
    names = count > 0 ? kName : QString();
    m_time.ProcessEvents(0);
}

void SimulatedAdapter::AdpDelay(std::int32_t time)
{
    const std::int64_t end = m_time.MonotonicMs() + std::max(time, 0);
    m_time.ProcessEvents(0);
    for (std::int64_t left = end - m_time.MonotonicMs(); left > 0; left = end - m_time.MonotonicMs())
        m_time.ProcessEvents(static_cast<int>(left));
}

ErrorCode SimulatedAdapter::AdpGetVersion(std::int16_t& major, std::int16_t& minor)
{
    const ErrorCode err = Ready();
    if (!Failed(err)) {
        major = 1;
        minor = 0;
    }
    return Done(err);
}

AdapterFacts SimulatedAdapter::Facts() const
{
    AdapterFacts facts;
    facts.Name = kName;
    facts.Kind = QStringLiteral("simulated");
    facts.Free = !m_open;
    for (const char* function : {"word", "block", "command", "pec", "i2c", "one-wire", "gpio", "power"})
        facts.Functions << QString::fromLatin1(function);
    facts.Problem = m_problem;
    if (m_faults.Unplugged())
        facts.Problem
            = QStringLiteral("The simulated adapter was unplugged at transaction %1, as its settings ask. "
                             "Open it again to plug it in.")
                  .arg(m_faults.Transactions());
    facts.BusMicroseconds = m_bus.Microseconds() - m_openedMicroseconds;
    facts.BusHertz = m_bus.Hertz();
    return facts;
}

// ---- flash: this adapter has none
// ------------------------------------------------------------------------------

std::int32_t SimulatedAdapter::AdpProgramFromSrecWithCfg(QString&, QString&, QString&)
{
    return Number(Done(ErrorCode::IncorrectParam));
}

std::int32_t SimulatedAdapter::AdpProgramFlash(std::int32_t, std::int32_t, const Bytes&, std::int32_t,
                                               const Bytes&, std::int32_t, std::int32_t, std::int16_t&)
{
    return Number(Done(ErrorCode::IncorrectParam));
}

std::int32_t SimulatedAdapter::AdpReadFlash(std::int32_t, std::int32_t, Bytes&, std::int32_t, std::int32_t,
                                            std::int32_t, std::int16_t&)
{
    return Number(Done(ErrorCode::IncorrectParam));
}

void SimulatedAdapter::AdpSetMassErase(std::int16_t) { m_time.ProcessEvents(0); }

std::int32_t SimulatedAdapter::AdpProgramSrec(QString&, std::int16_t&, std::int32_t&)
{
    return Number(Done(ErrorCode::IncorrectParam));
}

std::int32_t SimulatedAdapter::AdpReadSrec(QString&, std::int16_t, std::int16_t&, std::int32_t&)
{
    return Number(Done(ErrorCode::IncorrectParam));
}
