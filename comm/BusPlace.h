#pragma once

#include "comm/adapters/AdapterFunnel.h"

#include <QString>

#include <cstdint>

/// What moves on which wires; the kinds that people filter bus calls by.
enum class BusGroup : std::uint8_t { SMBus, I2C, OneWire, Lines, Flash, Adapter };

/// Which operation met which register of which part.
struct BusPlace {
    AdapterCall Call = AdapterCall::GetLastError;
    BusGroup Group = BusGroup::Adapter; ///< Adapter: nothing goes over a bus (open, delay, poll)
    bool Writes = false;
    std::int16_t Address = -1; ///< 8-bit form; -1 where the operation has none
    std::int16_t Command = -1; ///< command, register or line; -1 where the operation has none

    [[nodiscard]] bool Transfers() const { return Group != BusGroup::Adapter; }
    bool operator==(const BusPlace&) const = default;
};

[[nodiscard]] BusPlace PlaceOf(const DriverCall& call);
/// "Read word", for people.
[[nodiscard]] QString OperationText(AdapterCall call);
/// "SMBus", for people.
[[nodiscard]] QString GroupText(BusGroup group);
/// The code that a call answered with. Only the operations without a result have none; they count as done.
[[nodiscard]] ErrorCode CodeOf(const DriverCall& call);
