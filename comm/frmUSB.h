#pragma once

#include "comm/ErrorCodes.h"
#include "comm/adapters/Pc61vRW.h"
#include "platform/Bytes.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <span>

/// The adapter command layer: every byte exchanged with a gauge passes through here. Each wrapper makes one
/// driver call (writes add one error poll), logs a failure and hands the code back in err, which is always
/// written. No retry, no lock and no wait of its own: those belong to the callers. The name is a window's for
/// historical reasons; it has none.
class frmUSB {
public:
    /// @param programFolder  where CommErr.log lies once the log is switched on
    frmUSB(Pc61vRW& driver, TimeSource& time, UserMessages& messages, QString programFolder);

    // device and log
    void OpenFirstFreeDevice(bool& ok);
    void OpenFirstUsedDevice(bool& ok);
    void CloseDevice();
    void EnableErrorLog();
    void DisableErrorLog();
    void ClearErrorLog();
    void LogError(ErrorCode code, const QString& text);
    void CheckForError(ErrorCode& err);
    void GetHX5100Version(std::int16_t& major, std::int16_t& minor, ErrorCode& err);
    void Delay(std::int32_t time, ErrorCode& err); ///< the adapter pauses, milliseconds
    void GetColor(std::int32_t index, std::int32_t value, std::int32_t& result);
    [[nodiscard]] const QString& ErrorLogPath() const { return m_errorLogPath; } ///< empty: logging is off

    // SMBus
    void ReadSMBusWord_(std::uint8_t cmd, std::int16_t& word, std::int16_t addr, ErrorCode& err);
    void ReadSMBusWord(std::uint8_t cmd, std::uint8_t& msb, std::uint8_t& lsb, std::int16_t addr,
                       ErrorCode& err);
    void WriteSMBusWord_(std::uint8_t cmd, std::int16_t word, std::int16_t addr, ErrorCode& err);
    void WriteSMBusWord(std::uint8_t cmd, std::uint8_t msb, std::uint8_t lsb, std::int16_t addr,
                        ErrorCode& err);
    void ReadSMBusBlock_(std::uint8_t cmd, Bytes& data, std::int16_t& length, std::int16_t addr,
                         ErrorCode& err);
    /// @param format  0: two upper-case hexadecimal digits a byte; 1: a character a byte; else: empty text
    void ReadSMBusBlock(std::uint8_t cmd, QString& text, std::int16_t addr, std::int16_t format,
                        ErrorCode& err);
    void WriteSMBusBlock(std::uint8_t cmd, const Bytes& data, std::int16_t length, std::int16_t addr,
                         ErrorCode& err);
    void WriteSMBusCommand(std::uint8_t cmd, std::int16_t addr, ErrorCode& err);

    // I2C
    // Lengths of I2C reads, in: how many bytes to read; out: how many came.
    void ReadI2CBlockOnSMB_(std::uint8_t cmd, Bytes& data, std::int16_t& length, std::int16_t addr,
                            ErrorCode& err);
    /// Reads 32 bytes, the most that a block holds, as two upper-case hexadecimal digits a byte.
    void ReadI2CBlockOnSMB(std::uint8_t cmd, QString& text, std::int16_t addr, ErrorCode& err);
    void WriteReadI2CBlockOnSMB(std::uint8_t cmd, const Bytes& write, std::int16_t writeCount, Bytes& read,
                                std::int16_t& readCount, std::int16_t addr, ErrorCode& err);
    void WriteI2CBlockOnSMB(std::uint8_t cmd, const Bytes& data, std::int16_t length, std::int16_t addr,
                            ErrorCode& err);
    void ReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t addr, ErrorCode& err);
    void I2CReadBlock(std::int16_t addr, std::int16_t reg, Bytes& data, std::int16_t& length, ErrorCode& err);
    void I2CReadBlock_(std::int16_t addr, std::int16_t reg, Bytes& data, std::int16_t& length,
                       ErrorCode& err);
    void I2CWriteBlock(std::int16_t addr, std::int16_t reg, const Bytes& data, std::int16_t length,
                       ErrorCode& err);
    void I2CPower(std::int16_t on, ErrorCode& err);
    void I2CWriteByte(std::int16_t addr, std::int16_t reg, std::uint8_t value, ErrorCode& err);
    void I2CReadByte(std::int16_t addr, std::int16_t reg, std::uint8_t& value, ErrorCode& err);
    void I2CWireControl(std::int16_t state, ErrorCode& err);
    // The EEPROM forms do what their I2C forms do and log the one line of a failure under their own name.
    void EEPower(std::int16_t on, ErrorCode& err);
    void EEWriteByte(std::int16_t address, std::uint8_t value, ErrorCode& err);
    void EEWrite(std::int16_t busAddress, std::int16_t address, std::uint8_t value, ErrorCode& err);
    void EEReadByte(std::int16_t address, std::uint8_t& value, ErrorCode& err);
    void EERead(std::int16_t busAddress, std::int16_t address, std::uint8_t& value, ErrorCode& err);

    // single wire; modes in comm/adapters/OneWireModes.h
    void ReadOneWire(std::int16_t mode, std::int32_t& value, ErrorCode& err);
    void WriteOneWire(std::int16_t mode, std::int32_t value, ErrorCode& err);

    // flash and image: any result but 0 is a failure
    void MassEraseOption(std::int16_t flag);
    void ProgramFromSrecWithCfg(const QString& srecPath, const QString& configPath, const QString& third,
                                ErrorCode& err);
    void ProgramSrec(const QString& path, std::int16_t& status, std::int32_t& detail, ErrorCode& err);
    void ReadSrec(const QString& path, std::int16_t& status, std::int32_t& detail, ErrorCode& err);
    void ProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data, std::int32_t length,
                      const Bytes& options, std::int32_t optionsLength, std::int32_t flags,
                      std::int16_t& status, ErrorCode& err);
    void ReadFlash(std::int32_t area, std::int32_t address, Bytes& data, std::int32_t length,
                   std::int32_t options, std::int32_t flags, std::int16_t& status, ErrorCode& err);
    void GPIOWrite(std::int16_t line, std::int16_t level, ErrorCode& err);
    void GPIORead(std::int16_t line, std::int16_t& level, ErrorCode& err);

    [[nodiscard]] AdapterFacts Facts() const { return m_driver.Facts(); }

private:
    /// Logs a failure under its text and hands the code back. "%1"... of the form stand for the values:
    /// numbers as upper-case hexadecimal bit patterns without leading zeros, texts as they are.
    template <typename... Values>
    ErrorCode Logged(ErrorCode code, QStringView form, const Values&... values);
    /// A write that was accepted may still not be acknowledged; the poll's code is then the write's.
    ErrorCode Polled(ErrorCode code);
    ErrorCode Power(std::int16_t on);
    ErrorCode WriteByte(std::int16_t addr, std::int16_t reg, std::uint8_t value);
    ErrorCode ReadByte(std::int16_t addr, std::int16_t reg, std::uint8_t& value);

    Pc61vRW& m_driver;
    TimeSource& m_time;
    UserMessages& m_messages;
    QString m_programFolder;
    QString m_errorLogPath;
};
