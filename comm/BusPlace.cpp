#include "comm/BusPlace.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr int kNone = -1;

/// Where in its arguments an operation says whom it means.
struct Operation {
    AdapterCall Call;
    BusGroup Group;
    bool Writes;
    int Command; ///< index of the argument, kNone
    int Address;
    const char* Text;
};

constexpr std::array kOperations{
    Operation{AdapterCall::WriteSMBusWord, BusGroup::SMBus, true, 0, 2, "Write word"},
    Operation{AdapterCall::ReadSMBusWord, BusGroup::SMBus, false, 0, 2, "Read word"},
    Operation{AdapterCall::WriteSMBusBlock, BusGroup::SMBus, true, 0, 3, "Write block"},
    Operation{AdapterCall::ReadSMBusBlock, BusGroup::SMBus, false, 0, 3, "Read block"},
    Operation{AdapterCall::OpenDevice, BusGroup::Adapter, false, kNone, kNone, "Open"},
    Operation{AdapterCall::CloseDevice, BusGroup::Adapter, false, kNone, kNone, "Close"},
    Operation{AdapterCall::ListFreeDevices, BusGroup::Adapter, false, kNone, kNone, "List adapters"},
    Operation{AdapterCall::WriteSMBusCommand, BusGroup::SMBus, true, 0, 1, "Send command"},
    Operation{AdapterCall::I2CFunction, BusGroup::I2C, false, 2, 1, "I2C byte"},
    Operation{AdapterCall::GetLastError, BusGroup::Adapter, false, kNone, kNone, "Poll for error"},
    Operation{AdapterCall::WriteOneWire, BusGroup::OneWire, true, kNone, kNone, "Write one-wire"},
    Operation{AdapterCall::ReadOneWire, BusGroup::OneWire, false, kNone, kNone, "Read one-wire"},
    Operation{AdapterCall::WriteReadI2CBlockOnSMB, BusGroup::I2C, false, 0, 5, "Write and read I2C"},
    Operation{AdapterCall::ReadI2CBlockOnSMB, BusGroup::I2C, false, 0, 3, "Read I2C"},
    Operation{AdapterCall::WriteI2CBlockOnSMB, BusGroup::I2C, true, 0, 3, "Write I2C"},
    Operation{AdapterCall::ReadI2CBlockNoCmdOnSMB, BusGroup::I2C, false, kNone, 2, "Read I2C, no command"},
    Operation{AdapterCall::ProgramFromSrecWithCfg, BusGroup::Flash, true, kNone, kNone, "Program image"},
    Operation{AdapterCall::Delay, BusGroup::Adapter, false, kNone, kNone, "Pause"},
    Operation{AdapterCall::I2CReadBlock, BusGroup::I2C, false, 1, 0, "Read I2C"},
    Operation{AdapterCall::I2CWriteBlock, BusGroup::I2C, true, 1, 0, "Write I2C"},
    Operation{AdapterCall::GetVersion, BusGroup::Adapter, false, kNone, kNone, "Adapter version"},
    Operation{AdapterCall::ProgramFlash, BusGroup::Flash, true, kNone, kNone, "Program flash"},
    Operation{AdapterCall::ReadFlash, BusGroup::Flash, false, kNone, kNone, "Read flash"},
    Operation{AdapterCall::GPIOWrite, BusGroup::Lines, false, 0, kNone, "Set line"},
    Operation{AdapterCall::GPIORead, BusGroup::Lines, false, 0, kNone, "Read line"},
    Operation{AdapterCall::SetMassErase, BusGroup::Adapter, false, kNone, kNone, "Mass erase option"},
    Operation{AdapterCall::ProgramSrec, BusGroup::Flash, true, kNone, kNone, "Program image"},
    Operation{AdapterCall::ReadSrec, BusGroup::Flash, false, kNone, kNone, "Read image"},
};
static_assert(std::ranges::is_sorted(kOperations, {}, &Operation::Call)); // looked up by halving

const Operation& Find(AdapterCall call)
{
    const auto found = std::ranges::lower_bound(kOperations, call, {}, &Operation::Call);
    return found != kOperations.end() && found->Call == call ? *found : kOperations[0];
}

std::int16_t Short(const DriverCall& call, int index)
{
    if (index == kNone)
        return -1;
    const auto* const* value
        = std::get_if<std::int16_t*>(&call.Arguments[static_cast<std::size_t>(index)].Value);
    return value ? **value : std::int16_t{-1};
}

} // namespace

BusPlace PlaceOf(const DriverCall& call)
{
    const Operation& operation = Find(call.Number);
    BusPlace place{call.Number, operation.Group, operation.Writes, Short(call, operation.Address),
                   Short(call, operation.Command)};
    if (call.Number == AdapterCall::I2CFunction) {
        // selector 1 and 2 move a byte; the others switch lines and have no address
        const auto* const* selector = std::get_if<std::int32_t*>(&call.Arguments[0].Value);
        const std::int32_t which = selector ? **selector : 0;
        place.Writes = which == 1;
        if (which != 1 && which != 2)
            place = {call.Number, BusGroup::Lines, false, -1, -1};
    }
    return place;
}

QString OperationText(AdapterCall call) { return QString::fromLatin1(Find(call).Text); }

QString GroupText(BusGroup group)
{
    static const std::array names{"SMBus", "I2C", "One-wire", "Lines", "Flash", "Adapter"};
    return QString::fromLatin1(names[static_cast<std::size_t>(group)]);
}

ErrorCode CodeOf(const DriverCall& call)
{
    if (const auto* const* narrow = std::get_if<std::int16_t*>(&call.Result))
        return static_cast<ErrorCode>(**narrow);
    if (const auto* const* wide = std::get_if<std::int32_t*>(&call.Result))
        return std::in_range<std::int16_t>(**wide) ? static_cast<ErrorCode>(**wide) : ErrorCode::Unknown;
    return ErrorCode::Ok;
}
