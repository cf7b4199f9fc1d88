#pragma once

#include "comm/adapters/IoThread.h"
#include "comm/adapters/LinuxAdapterSettings.h"
#include "comm/adapters/LinuxDiscovery.h"
#include "comm/adapters/Pc61vRW.h"
#include "platform/TimeSource.h"

#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class LinuxSmbus;
class LinuxLines;
class LinuxOneWire;

/// A real adapter: any USB-to-I2C adapter that the kernel has a driver for, through its I2C bus, its GPIO
/// lines and its one-wire lines.
///
/// Every transfer runs on the I/O thread while events run. One that has no answer after 3 s gives 92 and is
/// left to itself; until the kernel lets go of it, others give 94 (bus busy). An adapter that is gone gives 2
/// and is looked for at the next operations: plugged in again it goes on without a new open. Output lines
/// keep their level when the adapter is closed.
class LinuxAdapter final : public Pc61vRW {
public:
    LinuxAdapter(TimeSource& time, const LinuxAdapterSettings& settings);
    ~LinuxAdapter() override;
    LinuxAdapter(const LinuxAdapter&) = delete;
    LinuxAdapter& operator=(const LinuxAdapter&) = delete;

    /// The buses that these settings offer, free or not: the named one, else all that hang off USB. A PC's
    /// other buses (its memory modules hang on one) are never offered by themselves.
    [[nodiscard]] static std::vector<AdapterFacts> List(const LinuxAdapterSettings& settings);

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

private:
    /// What an operation leaves behind on the I/O thread.
    struct Answer {
        Bytes Data;
        std::uint16_t Word = 0;
        int Errno = 0;
        double Microseconds = 0;
        ErrorCode Code = ErrorCode::Unknown;
    };
    using BusWork = std::function<ErrorCode(LinuxSmbus&, Answer&)>;
    using LineWork = std::function<int(LinuxLines&, Answer&)>;
    using OneWireWork = std::function<int(LinuxOneWire&, Answer&)>;

    /// Each runs its work on the I/O thread, explains a failure and gives the code.
    /// @param understood  false: the arguments cannot be meant, nothing is done
    /// @param answer  receives what work left in its own
    ErrorCode OnBus(bool understood, std::int16_t addr, BusWork work, Answer& answer);
    ErrorCode OnLine(bool understood, const QString& line, const char* key, LineWork work, Answer& answer);
    ErrorCode OnOneWire(bool understood, OneWireWork work, Answer& answer);
    ErrorCode OnThread(const std::shared_ptr<Answer>& own, std::function<ErrorCode()> work, Answer& answer);
    ErrorCode Refuse(const QString& problem = {}); ///< 7: this adapter cannot do that
    ErrorCode ReadI2C(bool understood, std::int16_t addr, Bytes written, Bytes& data, std::int16_t& length);
    ErrorCode WriteI2C(std::int16_t addr, std::int16_t reg, const Bytes& data, std::int16_t length);
    ErrorCode WriteLine(const QString& line, const char* key, std::int16_t level);
    ErrorCode ReleaseLines();

    bool Connect(); ///< opens the bus again when it was lost
    void Disconnect();
    void ExplainBus(ErrorCode code, int error, std::int16_t addr);
    void FlushOneWire(); ///< sends written bits that still wait; a failure is posted

    TimeSource& m_time;
    const LinuxAdapterSettings m_settings;
    IoThread m_thread;
    // Used on the I/O thread alone, and kept alive by what still goes on there.
    std::shared_ptr<LinuxSmbus> m_smbus; ///< nothing: closed, or the adapter is gone
    std::shared_ptr<LinuxLines> m_lines; ///< a chip of its own may still switch when the adapter is gone
    std::shared_ptr<LinuxOneWire> m_oneWire;

    std::optional<LinuxBusPlace> m_place; ///< what is open, there or gone
    std::int64_t m_lookedMs = 0; ///< when the adapter was last looked for
    ErrorCode m_posted = ErrorCode::Ok; ///< of bits that were sent later than written, until it is polled
    bool m_oneWireWaits = false;
    QString m_problem;
    double m_microseconds = 0;
    QTimer m_watch; ///< lets go of an adapter that was pulled out while nobody used it
    QTimer m_flush; ///< sends written bits when nothing follows them
};
