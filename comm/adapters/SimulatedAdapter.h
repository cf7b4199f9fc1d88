#pragma once

#include "comm/adapters/Pc61vRW.h"
#include "platform/TimeSource.h"
#include "simulator/BenchMeter.h"
#include "simulator/BootRom.h"
#include "simulator/BusHost.h"
#include "simulator/Eeprom.h"
#include "simulator/FaultyBus.h"
#include "simulator/FlashLoader.h"
#include "simulator/GaugeMemory.h"
#include "simulator/GaugeRegisterFile.h"
#include "simulator/GaugeTarget.h"
#include "simulator/OneWireChip.h"
#include "simulator/SimulatedBench.h"
#include "simulator/SimulatedBus.h"
#include "simulator/SimulatorSettings.h"

#include <array>
#include <span>

/// An adapter with a simulated pack behind it: chosen like any other, wire by wire like a real one.
///
/// The pack's time follows the TimeSource and passes when an operation needs it. Bus time is summed up in
/// Facts().BusMicroseconds and never slept. A transfer is done before its operation lets events run, so a
/// nested operation queues behind it. docs/simulator.md describes pack, gauge, wiring and faults.
class SimulatedAdapter final : public Pc61vRW {
public:
    SimulatedAdapter(TimeSource& time, const SimulatorSettings& settings);

    ErrorCode AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr) override;
    ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr) override;
    ErrorCode AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                 std::int16_t& addr) override;
    ErrorCode AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                std::int16_t& addr) override;
    std::int16_t AdpOpenDevice(QString& name) override;
    void AdpCloseDevice() override;
    void AdpListFreeDevices(std::int32_t most, std::int32_t& count, QString& names) override;
    ErrorCode AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr) override;
    ErrorCode AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                             std::int16_t& third) override;
    ErrorCode AdpGetLastError() override;
    ErrorCode AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra) override;
    ErrorCode AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra) override;
    ErrorCode AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write, std::int16_t writeCount,
                                        Bytes& read, std::int16_t& readCount, std::int16_t& addr) override;
    ErrorCode AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                   std::int16_t& addr) override;
    ErrorCode AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                    std::int16_t& addr) override;
    ErrorCode AdpReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t& addr) override;
    std::int32_t AdpProgramFromSrecWithCfg(QString& srecPath, QString& configPath, QString& third) override;
    void AdpDelay(std::int32_t time) override;
    ErrorCode AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                              std::int16_t& length) override;
    ErrorCode AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                               std::int16_t& length) override;
    ErrorCode AdpGetVersion(std::int16_t& major, std::int16_t& minor) override;
    std::int32_t AdpProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data,
                                 std::int32_t length, const Bytes& options, std::int32_t optionsLength,
                                 std::int32_t flags, std::int16_t& status) override;
    std::int32_t AdpReadFlash(std::int32_t area, std::int32_t address, Bytes& data, std::int32_t length,
                              std::int32_t options, std::int32_t flags, std::int16_t& status) override;
    ErrorCode AdpGPIOWrite(std::int16_t& first, std::int16_t& second) override;
    ErrorCode AdpGPIORead(std::int16_t& line, std::int16_t& level) override;
    void AdpSetMassErase(std::int16_t flag) override;
    std::int32_t AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail) override;
    std::int32_t AdpReadSrec(QString& path, std::int16_t zero, std::int16_t& status,
                             std::int32_t& detail) override;

    AdapterFacts Facts() const override;

    // for tests and for what is shown about a simulated run
    [[nodiscard]] const SimulatedBench& Bench() const { return m_bench; }
    [[nodiscard]] SimulatedBench& Bench() { return m_bench; }
    [[nodiscard]] const FaultyBus& Faults() const { return m_faults; }

private:
    /// Open, plugged in and asked for something that can be; the pack's time then catches up.
    ErrorCode Ready(bool understood = true);
    ErrorCode Done(ErrorCode code); ///< lets events run
    /// A gauge that does not answer because it is in its boot ROM answers so.
    ErrorCode OrInRom(ErrorCode code, std::int16_t addr);
    ErrorCode Posted(ErrorCode code); ///< of a write: a missing acknowledge waits for the poll
    ErrorCode WriteSMBus(std::int16_t cmd, std::int16_t addr, std::span<const std::uint8_t> payload);
    ErrorCode WriteI2C(std::int16_t addr, std::int16_t reg, const Bytes& data, std::int16_t length);
    ErrorCode ReadI2C(std::int16_t addr, std::span<const std::uint8_t> written, Bytes& data,
                      std::int16_t length);

    TimeSource& m_time;
    const SimulatorSettings m_settings;
    std::int64_t m_startMs;
    SimulatedBench m_bench;
    GaugeTarget m_gauge;
    GaugeMemory m_memory;
    GaugeRegisterFile m_registers;
    Eeprom m_eeprom;
    BenchMeter m_meter;
    OneWireChip m_chip;
    BootRom m_rom;
    SimulatedBus m_bus;
    FaultyBus m_faults;
    BusHost m_host;
    FlashLoader m_loader;

    bool m_open = false;
    double m_openedMicroseconds = 0;
    QString m_problem;
    ErrorCode m_posted = ErrorCode::Ok; ///< of the last write, until it is polled
    std::int64_t m_bytesSeen = 0; ///< of the bus, up to the last operation
    std::array<std::int16_t, 2> m_lines{};
};
