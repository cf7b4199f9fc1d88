#include "sbs/CycleHints.h"

#include "sbs/CycleController.h"

namespace {

struct Side {
    QString name; ///< as a sentence goes on with it
    Direction direction;
    std::int32_t any;
    std::int32_t longest;
};

CycleTriggers TriggersOf(const AutoCycleSettings& settings, Direction direction)
{
    return EvaluateTriggers(settings, {}, direction);
}

/// Charging starts below its limit, discharging above its own: where both hold, the discharge wins and
/// nothing is ever charged.
void HintAtOverlap(const AutoCycleSettings& settings, QStringList& hints)
{
    const CycleTriggers charge = TriggersOf(settings, Direction::Charge);
    const CycleTriggers discharge = TriggersOf(settings, Direction::Discharge);
    for (std::size_t i = 0; i < charge.size(); ++i) {
        if (charge[i].What == CycleTrigger::Kind::Status || !charge[i].Used || !discharge[i].Used
            || charge[i].Limit <= discharge[i].Limit)
            continue;
        hints << QStringLiteral(
                     "%1: the charge limit %2 is above the discharge limit %3. Between them both hold, "
                     "and the discharge wins.")
                     .arg(charge[i].What == CycleTrigger::Kind::Voltage
                              ? QStringLiteral("Voltage")
                              : QStringLiteral("Remaining capacity"))
                     .arg(charge[i].Limit)
                     .arg(discharge[i].Limit);
    }
}

void HintAtTriggers(const AutoCycleSettings& settings, const Side& side, QStringList& hints)
{
    bool used = false;
    for (const CycleTrigger& trigger : TriggersOf(settings, side.direction)) {
        used = used || trigger.Used;
        if (trigger.Used && trigger.What == CycleTrigger::Kind::Status && trigger.Limit == 0)
            hints << (side.any == 1
                          ? QStringLiteral("The %1 uses status bits, but none is chosen: that never holds.")
                          : QStringLiteral(
                              "The %1 uses status bits, but none is chosen: all of none always holds."))
                         .arg(side.name);
    }
    if (!used)
        hints << (side.any == 1 ? QStringLiteral("The %1 has no trigger: it never starts.")
                                : QStringLiteral(
                                    "The %1 has no trigger and all must hold: it is called on every step."))
                     .arg(side.name);
    if (side.longest <= 0)
        hints << QStringLiteral("The %1 may last without limit.").arg(side.name);
}

void HintAtRows(const AutoCycleSettings& settings, QStringList& hints)
{
    constexpr std::int32_t kCapacity = 0x01;
    constexpr std::int32_t kVoltage = 0x02;
    const std::int32_t used = settings.ChgTrigType | settings.DChgTrigType;
    if (settings.RemCapRow < 0 && (used & kCapacity) != 0)
        hints << QStringLiteral("No row holds the remaining capacity: its triggers are skipped.");
    if (settings.BattVoltRow < 0 && (used & kVoltage) != 0)
        hints << QStringLiteral("No row holds the voltage: its triggers are skipped.");
    if (settings.BattStatRow < 0)
        hints << QStringLiteral("No row holds the status: alarms of the pack are not seen.");
}

} // namespace

QStringList CycleHints(const AutoCycleSettings& settings)
{
    QStringList hints;
    HintAtOverlap(settings, hints);
    HintAtTriggers(
        settings, {QStringLiteral("charge"), Direction::Charge, settings.ChgAny, settings.ChgLongest}, hints);
    HintAtTriggers(
        settings, {QStringLiteral("discharge"), Direction::Discharge, settings.DChgAny, settings.DChgLongest},
        hints);
    HintAtRows(settings, hints);
    return hints;
}
