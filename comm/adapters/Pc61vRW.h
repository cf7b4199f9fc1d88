#pragma once

#include "comm/ErrorCodes.h"
#include "platform/Bytes.h"

#include <QString>
#include <QStringList>

#include <cstdint>

/// What the adapter can do and what it is, beside its driver operations; for people, not for decisions.
struct AdapterFacts {
    QString Name; ///< as AdpOpenDevice takes it, "Simulated" or "i2c:/dev/i2c-1"
    QString Kind; ///< "simulated", "linux" or "replay"
    bool Free = true;
    QStringList Functions; ///< of "word", "block", "command", "pec", "i2c", "one-wire", "gpio", "power"
    QString Problem; ///< plain words on why the last open failed and what helps; empty when it did not
    double BusMicroseconds = 0; ///< ideal bus time of all transactions since the open, at BusHertz
    double BusHertz = 100'000;
};

/// What the flash operations take for their numbers.
namespace FlashCall {
inline constexpr std::int32_t kDataArea = 0;
inline constexpr std::int32_t kInstructionArea = 1;
inline constexpr std::int32_t kEnterRom
    = 1; ///< flag: a gauge that runs its firmware goes into its boot ROM first
inline constexpr std::int32_t kEraseRows = 2; ///< flag: the rows that the bytes touch are erased before
inline constexpr std::int16_t kReadWhole = 0; ///< the second value that AdpReadSrec takes
} // namespace FlashCall

/// The adapter as the program sees it: one member per driver operation, same names, same order of arguments.
/// "&" marks what the driver may write. Implementations hold no policy: no retry, no lock, no log; every
/// operation lets pending events run at least once, so callers can be re-entered.
/// Addresses are in 8-bit form with the read/write bit clear; words carry MSB * 256 + LSB as a bit pattern;
/// block lengths leave out the SMBus length byte; delays are milliseconds.
/// An operation that the bus cannot do answers ErrorCode::IncorrectParam, never a silent success.
class Pc61vRW {
public:
    virtual ~Pc61vRW() = default;

    virtual ErrorCode AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr) = 0;
    virtual ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr) = 0;
    virtual ErrorCode AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                         std::int16_t& addr)
        = 0;
    virtual ErrorCode AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                        std::int16_t& addr)
        = 0;
    /// @return -1 when the adapter cannot be opened; any other value means that it is open
    virtual std::int16_t AdpOpenDevice(QString& name) = 0;
    virtual void AdpCloseDevice() = 0;
    /// @param most   how many names the caller takes
    /// @param names  comma-separated
    virtual void AdpListFreeDevices(std::int32_t most, std::int32_t& count, QString& names) = 0;
    virtual ErrorCode AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr) = 0;
    /// selector 0 power (first: on), 1 write byte and 2 read byte (first: address, second: register,
    /// third: value), 3 wire control (first: line state, 0 releases charger, load and power line)
    virtual ErrorCode AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                                     std::int16_t& third)
        = 0;
    virtual ErrorCode AdpGetLastError() = 0; ///< a missing acknowledge is known only after the transfer
    virtual ErrorCode AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra) = 0;
    virtual ErrorCode AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra) = 0;
    virtual ErrorCode AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write, std::int16_t writeCount,
                                                Bytes& read, std::int16_t& readCount, std::int16_t& addr)
        = 0;
    /// length in: how many bytes to read; out: how many came
    virtual ErrorCode AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                           std::int16_t& addr)
        = 0;
    virtual ErrorCode AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                            std::int16_t& addr)
        = 0;
    virtual ErrorCode AdpReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t& addr) = 0;
    /// Programs a whole S-record file after a look at a configuration that says which gauge it is for.
    /// @param third  device key of the data-flash configuration in use, such as "800.1.02"; empty: none
    /// @return 0 or a code: 221 to 236 for what is wrong with a file or does not go together
    virtual std::int32_t AdpProgramFromSrecWithCfg(QString& srecPath, QString& configPath, QString& third)
        = 0;
    virtual void AdpDelay(std::int32_t time) = 0; ///< the adapter itself pauses, milliseconds
    virtual ErrorCode AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                                      std::int16_t& length)
        = 0;
    virtual ErrorCode AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                                       std::int16_t& length)
        = 0;
    virtual ErrorCode AdpGetVersion(std::int16_t& major, std::int16_t& minor) = 0;
    /// Programs bytes of one area in the gauge's boot ROM; rows of FF alone are left as they are. Without
    /// kEnterRom a gauge that runs its firmware answers DevGgMode (13) and nothing happens.
    /// @param length   0: only what the flags ask for
    /// @param options  sizes of a programmed and of an erased row, two bytes each, low byte first; or empty
    /// @param status   out: DevGgMode or DevRomMode, the mode that the gauge was left in; 0: not known
    virtual std::int32_t AdpProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data,
                                         std::int32_t length, const Bytes& options,
                                         std::int32_t optionsLength, std::int32_t flags, std::int16_t& status)
        = 0;
    /// The same way round. Length 0 without flags asks for the mode alone, which changes nothing.
    virtual std::int32_t AdpReadFlash(std::int32_t area, std::int32_t address, Bytes& data,
                                      std::int32_t length, std::int32_t options, std::int32_t flags,
                                      std::int16_t& status)
        = 0;
    /// first: line number, second: level
    virtual ErrorCode AdpGPIOWrite(std::int16_t& first, std::int16_t& second) = 0;
    virtual ErrorCode AdpGPIORead(std::int16_t& line, std::int16_t& level) = 0;
    /// 1: the next programming run erases both areas first, once.
    virtual void AdpSetMassErase(std::int16_t flag) = 0;
    /// Programs a file, compares, and leaves the gauge in its boot ROM.
    /// @param status  out: as of AdpProgramFlash
    /// @param detail  out: bytes programmed; of a file that is refused the line, counted from 1
    virtual std::int32_t AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail) = 0;
    virtual std::int32_t AdpReadSrec(QString& path, std::int16_t zero, std::int16_t& status,
                                     std::int32_t& detail)
        = 0;

    virtual AdapterFacts Facts() const = 0;
};

/// Dispatch numbers of the driver operations; traces name operations by them.
enum class AdapterCall : std::int16_t {
    WriteSMBusWord = 1,
    ReadSMBusWord = 2,
    WriteSMBusBlock = 3,
    ReadSMBusBlock = 4,
    OpenDevice = 5,
    CloseDevice = 6,
    ListFreeDevices = 7,
    WriteSMBusCommand = 11,
    I2CFunction = 12,
    GetLastError = 13,
    WriteOneWire = 14,
    ReadOneWire = 15,
    WriteReadI2CBlockOnSMB = 16,
    ReadI2CBlockOnSMB = 17,
    WriteI2CBlockOnSMB = 18,
    ReadI2CBlockNoCmdOnSMB = 19,
    ProgramFromSrecWithCfg = 21,
    Delay = 23,
    I2CReadBlock = 24,
    I2CWriteBlock = 25,
    GetVersion = 26,
    ProgramFlash = 28,
    ReadFlash = 29,
    GPIOWrite = 30,
    GPIORead = 31,
    SetMassErase = 33,
    ProgramSrec = 38,
    ReadSrec = 42,
};
