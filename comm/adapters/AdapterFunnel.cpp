#include "comm/adapters/AdapterFunnel.h"

#include <type_traits>
#include <utility>

namespace {

template <typename Type>
struct Passed {
    DriverArgument::Way Direction;
    Type& Value;
};

template <typename Type>
Passed<Type> In(Type& value)
{
    return {DriverArgument::Way::In, value};
}

template <typename Type>
Passed<Type> InOut(Type& value)
{
    return {DriverArgument::Way::InOut, value};
}

template <typename Type>
Passed<Type> Out(Type& value)
{
    return {DriverArgument::Way::Out, value};
}

} // namespace

void AnswerWith(DriverCall& call, ErrorCode code)
{
    const std::int16_t number
        = Failed(code) && call.Number == AdapterCall::OpenDevice ? std::int16_t{-1} : Number(code);
    if (auto* const narrow = std::get_if<std::int16_t*>(&call.Result))
        **narrow = number;
    else if (auto* const wide = std::get_if<std::int32_t*>(&call.Result))
        **wide = number;
}

template <typename Result, typename... Parameters, typename... Passed>
Result AdapterFunnel::Through(Result (Pc61vRW::*operation)(Parameters...), AdapterCall number,
                              const char* name, Passed... passed)
{
    std::vector<DriverArgument> arguments{DriverArgument{passed.Direction, &passed.Value}...};
    if constexpr (std::is_void_v<Result>) {
        DriverCall call{number, name, std::move(arguments), {}, [&](Pc61vRW& other) {
                            (other.*operation)(passed.Value...);
                        }};
        Perform(call);
    } else {
        // An ErrorCode travels as the number that it is.
        std::conditional_t<std::is_same_v<Result, ErrorCode>, std::int16_t, Result> result{};
        DriverCall call{number, name, std::move(arguments), &result, [&](Pc61vRW& other) {
                            result = static_cast<decltype(result)>((other.*operation)(passed.Value...));
                        }};
        Perform(call);
        return static_cast<Result>(result);
    }
}

ErrorCode AdapterFunnel::AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpWriteSMBusWord, AdapterCall::WriteSMBusWord, "AdpWriteSMBusWord", In(cmd),
                   In(word), InOut(addr));
}

ErrorCode AdapterFunnel::AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpReadSMBusWord, AdapterCall::ReadSMBusWord, "AdpReadSMBusWord", In(cmd),
                   Out(word), InOut(addr));
}

ErrorCode AdapterFunnel::AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                            std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpWriteSMBusBlock, AdapterCall::WriteSMBusBlock, "AdpWriteSMBusBlock",
                   InOut(cmd), In(data), InOut(length), InOut(addr));
}

ErrorCode AdapterFunnel::AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                           std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpReadSMBusBlock, AdapterCall::ReadSMBusBlock, "AdpReadSMBusBlock", In(cmd),
                   Out(data), Out(length), InOut(addr));
}

std::int16_t AdapterFunnel::AdpOpenDevice(QString& name)
{
    return Through(&Pc61vRW::AdpOpenDevice, AdapterCall::OpenDevice, "AdpOpenDevice", InOut(name));
}

void AdapterFunnel::AdpCloseDevice()
{
    return Through(&Pc61vRW::AdpCloseDevice, AdapterCall::CloseDevice, "AdpCloseDevice");
}

void AdapterFunnel::AdpListFreeDevices(std::int32_t most, std::int32_t& count, QString& names)
{
    return Through(&Pc61vRW::AdpListFreeDevices, AdapterCall::ListFreeDevices, "AdpListFreeDevices", In(most),
                   Out(count), Out(names));
}

ErrorCode AdapterFunnel::AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpWriteSMBusCommand, AdapterCall::WriteSMBusCommand, "AdpWriteSMBusCommand",
                   InOut(cmd), InOut(addr));
}

ErrorCode AdapterFunnel::AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                                        std::int16_t& third)
{
    return Through(&Pc61vRW::AdpI2CFunction, AdapterCall::I2CFunction, "AdpI2CFunction", In(selector),
                   InOut(first), InOut(second), InOut(third));
}

ErrorCode AdapterFunnel::AdpGetLastError()
{
    return Through(&Pc61vRW::AdpGetLastError, AdapterCall::GetLastError, "AdpGetLastError");
}

ErrorCode AdapterFunnel::AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra)
{
    return Through(&Pc61vRW::AdpWriteOneWire, AdapterCall::WriteOneWire, "AdpWriteOneWire", In(mode),
                   In(value), In(extra));
}

ErrorCode AdapterFunnel::AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra)
{
    return Through(&Pc61vRW::AdpReadOneWire, AdapterCall::ReadOneWire, "AdpReadOneWire", In(mode),
                   InOut(value), InOut(extra));
}

ErrorCode AdapterFunnel::AdpWriteReadI2CBlockOnSMB(std::int16_t cmd, const Bytes& write,
                                                   std::int16_t writeCount, Bytes& read,
                                                   std::int16_t& readCount, std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpWriteReadI2CBlockOnSMB, AdapterCall::WriteReadI2CBlockOnSMB,
                   "AdpWriteReadI2CBlockOnSMB", In(cmd), In(write), In(writeCount), Out(read),
                   InOut(readCount), InOut(addr));
}

ErrorCode AdapterFunnel::AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                              std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpReadI2CBlockOnSMB, AdapterCall::ReadI2CBlockOnSMB, "AdpReadI2CBlockOnSMB",
                   In(cmd), Out(data), InOut(length), InOut(addr));
}

ErrorCode AdapterFunnel::AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                               std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpWriteI2CBlockOnSMB, AdapterCall::WriteI2CBlockOnSMB, "AdpWriteI2CBlockOnSMB",
                   InOut(cmd), In(data), InOut(length), InOut(addr));
}

ErrorCode AdapterFunnel::AdpReadI2CBlockNoCmdOnSMB(Bytes& data, std::int16_t& length, std::int16_t& addr)
{
    return Through(&Pc61vRW::AdpReadI2CBlockNoCmdOnSMB, AdapterCall::ReadI2CBlockNoCmdOnSMB,
                   "AdpReadI2CBlockNoCmdOnSMB", Out(data), InOut(length), InOut(addr));
}

std::int32_t AdapterFunnel::AdpProgramFromSrecWithCfg(QString& srecPath, QString& configPath, QString& third)
{
    return Through(&Pc61vRW::AdpProgramFromSrecWithCfg, AdapterCall::ProgramFromSrecWithCfg,
                   "AdpProgramFromSrecWithCfg", InOut(srecPath), InOut(configPath), InOut(third));
}

void AdapterFunnel::AdpDelay(std::int32_t time)
{
    return Through(&Pc61vRW::AdpDelay, AdapterCall::Delay, "AdpDelay", In(time));
}

ErrorCode AdapterFunnel::AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                                         std::int16_t& length)
{
    return Through(&Pc61vRW::AdpI2CReadBlock, AdapterCall::I2CReadBlock, "AdpI2CReadBlock", InOut(addr),
                   InOut(reg), Out(data), InOut(length));
}

ErrorCode AdapterFunnel::AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                                          std::int16_t& length)
{
    return Through(&Pc61vRW::AdpI2CWriteBlock, AdapterCall::I2CWriteBlock, "AdpI2CWriteBlock", InOut(addr),
                   InOut(reg), In(data), InOut(length));
}

ErrorCode AdapterFunnel::AdpGetVersion(std::int16_t& major, std::int16_t& minor)
{
    return Through(&Pc61vRW::AdpGetVersion, AdapterCall::GetVersion, "AdpGetVersion", Out(major), Out(minor));
}

std::int32_t AdapterFunnel::AdpProgramFlash(std::int32_t area, std::int32_t address, const Bytes& data,
                                            std::int32_t length, const Bytes& options,
                                            std::int32_t optionsLength, std::int32_t flags,
                                            std::int16_t& status)
{
    return Through(&Pc61vRW::AdpProgramFlash, AdapterCall::ProgramFlash, "AdpProgramFlash", In(area),
                   In(address), In(data), In(length), In(options), In(optionsLength), In(flags), Out(status));
}

std::int32_t AdapterFunnel::AdpReadFlash(std::int32_t area, std::int32_t address, Bytes& data,
                                         std::int32_t length, std::int32_t options, std::int32_t flags,
                                         std::int16_t& status)
{
    return Through(&Pc61vRW::AdpReadFlash, AdapterCall::ReadFlash, "AdpReadFlash", In(area), In(address),
                   Out(data), In(length), In(options), In(flags), Out(status));
}

ErrorCode AdapterFunnel::AdpGPIOWrite(std::int16_t& first, std::int16_t& second)
{
    return Through(&Pc61vRW::AdpGPIOWrite, AdapterCall::GPIOWrite, "AdpGPIOWrite", InOut(first),
                   InOut(second));
}

ErrorCode AdapterFunnel::AdpGPIORead(std::int16_t& line, std::int16_t& level)
{
    return Through(&Pc61vRW::AdpGPIORead, AdapterCall::GPIORead, "AdpGPIORead", InOut(line), Out(level));
}

void AdapterFunnel::AdpSetMassErase(std::int16_t flag)
{
    return Through(&Pc61vRW::AdpSetMassErase, AdapterCall::SetMassErase, "AdpSetMassErase", In(flag));
}

std::int32_t AdapterFunnel::AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail)
{
    return Through(&Pc61vRW::AdpProgramSrec, AdapterCall::ProgramSrec, "AdpProgramSrec", InOut(path),
                   Out(status), Out(detail));
}

std::int32_t AdapterFunnel::AdpReadSrec(QString& path, std::int16_t zero, std::int16_t& status,
                                        std::int32_t& detail)
{
    return Through(&Pc61vRW::AdpReadSrec, AdapterCall::ReadSrec, "AdpReadSrec", InOut(path), In(zero),
                   Out(status), Out(detail));
}
