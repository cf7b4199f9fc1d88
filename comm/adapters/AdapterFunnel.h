#pragma once

#include "comm/adapters/Pc61vRW.h"

#include <functional>
#include <variant>
#include <vector>

/// One argument of a driver operation and who gives it: the caller, the driver, or first one and then the
/// other.
struct DriverArgument {
    enum class Way { In, InOut, Out };
    using Place = std::variant<std::int16_t*, std::int32_t*, QString*, Bytes*, const Bytes*>;
    Way Direction;
    Place Value; ///< of an In argument never written
};

/// A call of any driver operation.
struct DriverCall {
    using ResultPlace = std::variant<std::monostate, std::int16_t*, std::int32_t*>;
    AdapterCall Number;
    const char* Name; ///< "AdpReadSMBusWord"
    std::vector<DriverArgument> Arguments; ///< in call order
    ResultPlace Result; ///< 0 until somebody writes it; nothing for the operations without a result
    std::function<void(Pc61vRW&)>
        On; ///< makes this call on another adapter, which writes arguments and result
};

/// An adapter whose operations all arrive at one member: for what treats them alike, such as recording,
/// replay and injected faults. Here alone stands which argument goes which way.
class AdapterFunnel : public Pc61vRW {
public:
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

protected:
    virtual void Perform(DriverCall& call) = 0;

private:
    template <typename Result, typename... Parameters, typename... Passed>
    Result Through(Result (Pc61vRW::*operation)(Parameters...), AdapterCall number, const char* name,
                   Passed... passed);
};

/// Gives a call the result that says code. Opening knows one failure only, -1.
void AnswerWith(DriverCall& call, ErrorCode code);
