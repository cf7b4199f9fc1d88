#pragma once

#include "sbs/AutoCycleSettings.h"

#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>

/// States as recordings and reports number them; a value without an enumerator is kept and has no direction.
enum class CycleState : std::uint8_t {
    Idle = 0,
    Charging = 1,
    Discharging = 2,
    RelaxBeforeDischarge = 3,
    RelaxBeforeCharge = 4,
    DischargeNow = 5, ///< the relaxation is over, the line not yet written
    ChargeNow = 6,
};

enum class Direction { Charge, Discharge };

/// What the last scan pass left in a row the auto-cycle looks at.
struct CycleReading {
    bool Available = false; ///< false: no such row, or it is not being scanned
    std::optional<std::uint16_t> Value; ///< the raw word, unsigned; nothing after a failed read

    [[nodiscard]] static CycleReading Of(std::int32_t raw) { return {true, static_cast<std::uint16_t>(raw)}; }
    [[nodiscard]] static CycleReading Failed() { return {true, std::nullopt}; }
};

struct CycleValues {
    CycleReading Rem;
    CycleReading Volt;
    CycleReading Stat;
    bool AnyRowAnswered = true; ///< of all rows of the pass, for the loss of communication
};

/// One trigger of one direction against the values of a pass.
struct CycleTrigger {
    enum class Kind { RemainingCapacity, Voltage, Status };
    Kind What = Kind::RemainingCapacity;
    bool Used = false;
    CycleReading Reading; ///< not available as well when the settings give the row as -1
    std::int32_t Limit = 0;
    bool Holds = false; ///< good for "any"
    bool HoldsForAll = false; ///< a status trigger needs all of its bits here, one of them above
};
using CycleTriggers = std::array<CycleTrigger, 3>;

[[nodiscard]] CycleTriggers EvaluateTriggers(const AutoCycleSettings& settings, const CycleValues& values,
                                             Direction direction);

/// The two ways to sum the triggers of a direction up, and whether its call is made.
struct CycleTest {
    bool Any = false;
    bool All = true;
    bool Fires = false;
};

struct CycleStep {
    bool Due = false; ///< false: the time had not come and nothing was done
    CycleTest Charge;
    CycleTest Discharge;
    QStringList Calls; ///< StartChargingStopDischarging and StopChargingStartDischarging in order
};

enum class SwitchResult {
    Done,
    Refused, ///< nothing written, and it should not be; the step goes on
    Failed, ///< the line is in doubt; the step ends
};

/// What the controller switches.
class CycleOutputs {
public:
    virtual ~CycleOutputs() = default;
    virtual SwitchResult Switch(Direction direction) = 0;
    /// Both off; the time stamp moves to now + seconds. towards is what comes then.
    virtual SwitchResult Relax(Direction towards, std::int32_t seconds) = 0;
};

/// Decides when a pack is charged and when it is discharged. Knows no clock, bus or window, so a recording
/// can be replayed through the very code that drives the lines.
class CycleController {
public:
    explicit CycleController(CycleOutputs& outputs) : m_outputs(outputs) { }

    AutoCycleSettings Settings;
    CycleState State = CycleState::Idle;

    /// @param due  whether the state's time stamp has passed
    CycleStep Step(const CycleValues& values, bool due);

    /// The other direction first, with its relaxation if there is one; the direction in force repeats the
    /// write.
    SwitchResult StartChargingStopDischarging() { return Turn(Direction::Charge); }
    SwitchResult StopChargingStartDischarging() { return Turn(Direction::Discharge); }

private:
    SwitchResult Turn(Direction direction);
    CycleOutputs& m_outputs;
};
