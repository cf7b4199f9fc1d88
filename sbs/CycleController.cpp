#include "sbs/CycleController.h"

namespace {

constexpr std::int32_t kRemCapTrigger = 0x01;
constexpr std::int32_t kVoltageTrigger = 0x02;
constexpr std::int32_t kStatusTrigger = 0xFC;

CycleTest Test(const CycleTriggers& triggers, std::int32_t anyKey)
{
    CycleTest test;
    for (const CycleTrigger& trigger : triggers) {
        if (!trigger.Used || !trigger.Reading.Available)
            continue;
        test.Any = test.Any || trigger.Holds;
        test.All = test.All && trigger.HoldsForAll;
    }
    // "all" over no trigger at all stays true, so the call is then made on every step; bench set-ups rely on
    // it
    test.Fires = anyKey == 1 ? test.Any : test.All;
    return test;
}

} // namespace

CycleTriggers EvaluateTriggers(const AutoCycleSettings& settings, const CycleValues& values,
                               Direction direction)
{
    using Kind = CycleTrigger::Kind;
    const bool charge = direction == Direction::Charge;
    const std::int32_t used = charge ? settings.ChgTrigType : settings.DChgTrigType;
    CycleTriggers triggers{
        CycleTrigger{Kind::RemainingCapacity, (used & kRemCapTrigger) != 0, values.Rem,
                     charge ? settings.ChgRemCapVal : settings.DChgRemCapVal},
        CycleTrigger{Kind::Voltage, (used & kVoltageTrigger) != 0, values.Volt,
                     charge ? settings.ChgBattvoltVal : settings.DChgBattvoltVal},
        CycleTrigger{Kind::Status, (used & kStatusTrigger) != 0, values.Stat,
                     charge ? settings.ChgVal : settings.DChgVal},
    };
    const std::array rows{settings.RemCapRow, settings.BattVoltRow, settings.BattStatRow};
    for (std::size_t i = 0; i < triggers.size(); ++i) {
        CycleTrigger& trigger = triggers[i];
        if (rows[i] < 0)
            trigger.Reading = {};
        if (!trigger.Reading.Value)
            continue; // a failed read holds for nothing: a broken wire never starts the charger
        const std::int32_t value = *trigger.Reading.Value;
        if (trigger.What == Kind::Status) {
            trigger.Holds = (value & trigger.Limit) != 0;
            trigger.HoldsForAll = (value & trigger.Limit) == trigger.Limit;
        } else {
            trigger.Holds = charge ? value < trigger.Limit : value > trigger.Limit;
            trigger.HoldsForAll = trigger.Holds;
        }
    }
    return triggers;
}

CycleStep CycleController::Step(const CycleValues& values, bool due)
{
    CycleStep step;
    if (!due)
        return step;
    step.Due = true;
    const auto startCharging = [&] {
        step.Calls << QStringLiteral("StartChargingStopDischarging");
        return StartChargingStopDischarging() != SwitchResult::Failed;
    };
    const auto startDischarging = [&] {
        step.Calls << QStringLiteral("StopChargingStartDischarging");
        return StopChargingStartDischarging() != SwitchResult::Failed;
    };

    if (State == CycleState::RelaxBeforeDischarge)
        State = CycleState::DischargeNow;
    if (State == CycleState::RelaxBeforeCharge)
        State = CycleState::ChargeNow;
    if (State == CycleState::DischargeNow && !startDischarging())
        return step;
    if (State == CycleState::ChargeNow && !startCharging())
        return step;

    // both tests on every step, whatever the state, the discharge test last: when both fire, discharging wins
    step.Charge = Test(EvaluateTriggers(Settings, values, Direction::Charge), Settings.ChgAny);
    if (step.Charge.Fires && !startCharging())
        return step;
    step.Discharge = Test(EvaluateTriggers(Settings, values, Direction::Discharge), Settings.DChgAny);
    if (step.Discharge.Fires)
        startDischarging();
    return step;
}

SwitchResult CycleController::Turn(Direction direction)
{
    const bool charge = direction == Direction::Charge;
    const CycleState inForce = charge ? CycleState::Charging : CycleState::Discharging;
    const CycleState relaxed = charge ? CycleState::ChargeNow : CycleState::DischargeNow;
    const CycleState relaxing = charge ? CycleState::RelaxBeforeCharge : CycleState::RelaxBeforeDischarge;
    const std::int32_t relax = charge ? Settings.ChgRelax : Settings.DChgRelax;

    const bool relaxFirst = relax > 0 && State != inForce && State != relaxed;
    const SwitchResult result = relaxFirst ? m_outputs.Relax(direction, relax) : m_outputs.Switch(direction);
    if (result == SwitchResult::Done)
        State = relaxFirst ? relaxing : inForce;
    return result;
}
