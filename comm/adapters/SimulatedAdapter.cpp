#include "comm/adapters/SimulatedAdapter.h"

#include "comm/adapters/OneWireModes.h"

#include <algorithm>
#include <utility>

namespace {

const QString kName = QStringLiteral("Simulated");
constexpr std::int16_t kChargerLine = 0;
constexpr std::int16_t kLoadLine = 1;
constexpr std::int32_t kFunctionPower = 0;
constexpr std::int32_t kFunctionWriteByte = 1;
constexpr std::int32_t kFunctionReadByte = 2;
constexpr std::int32_t kFunctionWireControl = 3;

bool IsByte(std::int32_t value) { return value >= 0 && value <= 255; }

bool IsAddress(std::int16_t addr) { return IsByte(addr) && addr % 2 == 0; }

bool Holds(const Bytes& data, std::int16_t length)
{
    return IsByte(length) && data.size() >= static_cast<std::size_t>(length);
}

bool HoldsAll(const Bytes& data, std::int32_t length)
{
    return length >= 0 && data.size() >= static_cast<std::size_t>(length);
}

std::uint8_t Low(std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

std::uint8_t High(std::int32_t value) { return static_cast<std::uint8_t>((value >> 8) & 0xFF); }

std::int32_t FrameOf(std::uint8_t byte) // as it came: start bit 0 first, data low bit first, stop bit 1
{
    return byte << 1 | 1 << 9;
}

} // namespace

SimulatedAdapter::SimulatedAdapter(TimeSource& time, const SimulatorSettings& settings)
    : m_time(time), m_settings(settings), m_startMs(time.MonotonicMs()), m_bench(settings),
      m_gauge(m_bench.Gauge()), m_memory(m_gauge, m_bench.Gauge()), m_registers(m_bench.Gauge()),
      m_meter(m_bench.Pack()), m_rom(m_bench.Flash(), m_bench.Gauge()),
      m_bus(settings.BusClock, m_chip, m_registers), m_faults(m_bus, settings.Faults, settings.Seed,
                                                              [this] {
                                                                  m_rom.PowerUp();
                                                                  m_memory.Reset();
                                                              }),
      m_host(m_faults), m_loader(m_host, GaugeTarget::kAddress)
{
    m_bench.Gauge().OnBootRom = [this] { m_rom.Enter(); };
    m_rom.PowerUp();
    m_bus.Attach(GaugeTarget::kAddress, m_memory);
    m_bus.Attach(GaugeRegisterFile::kAddress, m_registers);
    m_bus.Attach(Eeprom::kAddress, m_eeprom);
    m_bus.Attach(BootRom::kAddress, m_rom);
    m_bus.Attach(BenchMeter::kAddress, m_meter);
}

ErrorCode SimulatedAdapter::Ready(bool understood)
{
    if (!m_open || m_faults.Unplugged())
        return ErrorCode::NoUsb;
    if (!understood)
        return ErrorCode::IncorrectParam;
    const double elapsedMs = static_cast<double>(m_time.MonotonicMs() - m_startMs);
    m_bench.AdvanceTo(static_cast<std::int64_t>(elapsedMs * m_settings.TimeFactor / 1000));
    m_bench.Gauge().SetNow(m_time.MonotonicMs() - m_startMs); // its flash is as slow whatever the pack's time
    m_posted = ErrorCode::Ok;
    return ErrorCode::Ok;
}

ErrorCode SimulatedAdapter::Done(ErrorCode code)
{
    m_bench.KeepFlash();
    const std::int64_t bytes = m_faults.BytesMoved() - std::exchange(m_bytesSeen, m_faults.BytesMoved());
    m_time.ProcessEvents(0);
    for (std::int64_t turn = 1; m_settings.Faults.Reentry && turn < bytes; ++turn)
        m_time.ProcessEvents(0);
    return code;
}

ErrorCode SimulatedAdapter::OrInRom(ErrorCode code, std::int16_t addr)
{
    const bool silent = code == ErrorCode::NoAcknowledge && addr == GaugeTarget::kAddress;
    return silent && m_loader.RomAnswers() ? ErrorCode::DevRomMode : code;
}

ErrorCode SimulatedAdapter::Posted(ErrorCode code)
{
    const bool late = code == ErrorCode::NoAcknowledge;
    Done(code);
    if (late)
        m_posted = code; // after the events: a nested transfer has its own
    return late ? ErrorCode::Ok : code;
}

// ---- SMBus ----

ErrorCode SimulatedAdapter::AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr)
{
    ErrorCode err = Ready(IsByte(cmd) && IsAddress(addr));
    std::uint16_t value = 0;
    if (!Failed(err))
        err = m_host.ReadWord(Low(addr), Low(cmd), value);
    if (!Failed(err))
        word = static_cast<std::int16_t>(value);
    return Done(OrInRom(err, addr));
}

ErrorCode SimulatedAdapter::AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                              std::int16_t& addr)
{
    ErrorCode err = Ready(IsByte(cmd) && IsAddress(addr));
    if (!Failed(err))
        err = m_host.ReadBlock(Low(addr), Low(cmd), data);
    if (!Failed(err))
        length = static_cast<std::int16_t>(data.size());
    return Done(OrInRom(err, addr));
}

ErrorCode SimulatedAdapter::WriteSMBus(std::int16_t cmd, std::int16_t addr,
                                       std::span<const std::uint8_t> payload)
{
    ErrorCode err = Ready(IsByte(cmd) && IsAddress(addr));
    if (!Failed(err))
        err = m_host.Write(Low(addr), Low(cmd), payload);
    return Posted(OrInRom(err, addr));
}

ErrorCode SimulatedAdapter::AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr)
{
    return WriteSMBus(cmd, addr, std::array{Low(word), High(word)});
}

ErrorCode SimulatedAdapter::AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                               std::int16_t& addr)
{
    if (length < 1 || !Holds(data, length))
        return Done(ErrorCode::IncorrectParam);
    Bytes payload(1 + static_cast<std::size_t>(length), Low(length));
    std::copy_n(data.begin(), length, payload.begin() + 1);
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

// ---- I2C ----

ErrorCode SimulatedAdapter::WriteI2C(std::int16_t addr, std::int16_t reg, const Bytes& data,
                                     std::int16_t length)
{
    ErrorCode err = Ready(IsAddress(addr) && IsByte(reg) && Holds(data, length));
    if (!Failed(err))
        err = m_host.WriteI2C(Low(addr), Low(reg), std::span(data).first(static_cast<std::size_t>(length)));
    return Posted(err);
}

ErrorCode SimulatedAdapter::ReadI2C(std::int16_t addr, std::span<const std::uint8_t> written, Bytes& data,
                                    std::int16_t length)
{
    ErrorCode err = Ready(IsAddress(addr) && length >= 1);
    if (!Failed(err))
        err = m_host.ReadI2C(Low(addr), written, length, data);
    return Done(err);
}

ErrorCode SimulatedAdapter::AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write,
                                                      std::int16_t writeCount, Bytes& read,
                                                      std::int16_t& readCount, std::int16_t& addr)
{
    if (!IsByte(cmd) || !Holds(write, writeCount))
        return Done(ErrorCode::IncorrectParam);
    Bytes written(1 + static_cast<std::size_t>(writeCount), Low(cmd));
    std::copy_n(write.begin(), writeCount, written.begin() + 1);
    return ReadI2C(addr, written, read, readCount);
}

ErrorCode SimulatedAdapter::AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                                 std::int16_t& addr)
{
    return IsByte(cmd) ? ReadI2C(addr, std::array{Low(cmd)}, data, length) : Done(ErrorCode::IncorrectParam);
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
    // One pin drives both ways; releasing is the only wire state there is.
    const bool release = selector == kFunctionWireControl;
    const ErrorCode err = Ready(first >= 0 && first <= (release ? 0 : 1));
    if (!Failed(err)) {
        m_lines = {};
        m_bench.SetCharger(!release && first == 1);
        m_bench.SetLoad(!release && first == 0);
    }
    return Done(err);
}

// ---- single wire ----

ErrorCode SimulatedAdapter::AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra)
{
    const bool framed = (value & OneWire::kFramed) != 0;
    const std::int32_t index = value & ~OneWire::kFramed;
    const int count = mode == OneWire::kReadTwoBytes ? 2 : 1;
    const bool memory = mode == OneWire::kReset || mode == OneWire::kReadEightBits;
    const bool registers = mode == OneWire::kReadTwoBytes || (mode == OneWire::kReadPlainByte && !framed)
        || (mode == OneWire::kReadFrame && framed);
    const bool inside = index >= 0 && index + count <= GaugeRegisterFile::kRegisters;
    ErrorCode err = Ready((memory || (registers && inside)) && extra == OneWire::kBits);
    if (!Failed(err))
        err = BusHost::Code(m_faults.Begin({.Command = Low(index), .Read = count, .SingleWire = true}));
    if (Failed(err))
        return Done(err);
    std::int32_t came = 0;
    int bits = 8;
    if (mode == OneWire::kReset) {
        came = m_bus.OneWireReset() ? 1 : 0;
        bits = 1;
    } else if (memory) {
        came = m_bus.OneWireRead();
    } else {
        const int each = framed ? 10 : 8;
        bits = each * count;
        for (int i = 0; i < count; ++i) {
            const std::uint8_t byte = m_bus.SingleWireRead(Low(index + i));
            came |= (framed ? FrameOf(byte) : byte) << each * i;
        }
    }
    err = BusHost::Code(m_faults.Disturb(came, bits));
    if (!Failed(err))
        value = came;
    return Done(err);
}

ErrorCode SimulatedAdapter::AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra)
{
    const std::int32_t payload = mode == OneWire::kWriteRegister ? value & ~OneWire::kFramed : value;
    const bool known = (mode == OneWire::kWriteEightBits && IsByte(payload))
        || (mode == OneWire::kWriteRegister && payload >= 0 && payload < GaugeRegisterFile::kRegisters * 256);
    ErrorCode err = Ready(known && extra == OneWire::kBits);
    if (!Failed(err))
        err = BusHost::Code(m_faults.Begin({.Command = High(payload), .Written = 1, .SingleWire = true}));
    std::int32_t sent = Low(payload);
    if (!Failed(err))
        err = BusHost::Code(m_faults.Disturb(sent, 8));
    if (!Failed(err) && mode == OneWire::kWriteEightBits)
        m_bus.OneWireWrite(Low(sent));
    else if (!Failed(err))
        m_bus.SingleWireWrite(High(payload), Low(sent));
    return Done(err);
}

// ---- lines ----

ErrorCode SimulatedAdapter::AdpGPIOWrite(std::int16_t& first, std::int16_t& second)
{
    const ErrorCode err = Ready(first >= kChargerLine && first <= kLoadLine && second >= 0 && second <= 1);
    if (!Failed(err)) {
        m_lines[static_cast<std::size_t>(first)] = second;
        m_bench.SetCharger(m_lines[kChargerLine] == 1);
        m_bench.SetLoad(m_lines[kLoadLine] == 1);
    }
    return Done(err);
}

ErrorCode SimulatedAdapter::AdpGPIORead(std::int16_t& line, std::int16_t& level)
{
    const ErrorCode err = Ready(line >= kChargerLine && line <= kLoadLine);
    if (!Failed(err))
        level = m_lines[static_cast<std::size_t>(line)];
    return Done(err);
}

// ---- device ----

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
    QStringList problems = m_settings.Problems;
    if (!m_bench.FlashProblem().isEmpty())
        problems << m_bench.FlashProblem();
    m_problem = problems.join(QLatin1Char('\n'));
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
    for (const char* function :
         {"word", "block", "command", "pec", "i2c", "one-wire", "gpio", "power", "flash"})
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

// ---- flash: decided by FlashLoader ----

std::int32_t SimulatedAdapter::AdpProgramFromSrecWithCfg(QString& srecPath, QString& configPath,
                                                         QString& third)
{
    ErrorCode err = Ready();
    if (!Failed(err))
        err = m_loader.ProgramWithConfiguration(srecPath, configPath, third);
    return Number(Done(err));
}

std::int32_t SimulatedAdapter::AdpProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data,
                                               std::int32_t length, const Bytes& options,
                                               std::int32_t optionsLength, std::int32_t flags,
                                               std::int16_t& status)
{
    status = 0;
    ErrorCode err = Ready(HoldsAll(data, length) && HoldsAll(options, optionsLength));
    if (!Failed(err))
        err = m_loader.Program(area, static_cast<std::uint32_t>(address),
                               std::span(data).first(static_cast<std::size_t>(length)),
                               std::span(options).first(static_cast<std::size_t>(optionsLength)), flags,
                               status);
    return Number(Done(err));
}

std::int32_t SimulatedAdapter::AdpReadFlash(std::int32_t area, std::int32_t address, Bytes& data,
                                            std::int32_t length, std::int32_t options, std::int32_t flags,
                                            std::int16_t& status)
{
    status = 0;
    ErrorCode err = Ready(length >= 0 && options == 0); // it knows no options
    if (!Failed(err))
        err = m_loader.Read(area, static_cast<std::uint32_t>(address), static_cast<std::size_t>(length),
                            flags, data, status);
    return Number(Done(err));
}

void SimulatedAdapter::AdpSetMassErase(std::int16_t flag)
{
    m_loader.SetMassErase(flag != 0);
    m_time.ProcessEvents(0);
}

std::int32_t SimulatedAdapter::AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail)
{
    ErrorCode err = Ready();
    if (!Failed(err))
        err = m_loader.ProgramSrec(path, status, detail);
    return Number(Done(err));
}

std::int32_t SimulatedAdapter::AdpReadSrec(QString& path, std::int16_t zero, std::int16_t& status,
                                           std::int32_t& detail)
{
    ErrorCode err = Ready(zero == FlashCall::kReadWhole);
    if (!Failed(err))
        err = m_loader.ReadSrec(path, status, detail);
    return Number(Done(err));
}
