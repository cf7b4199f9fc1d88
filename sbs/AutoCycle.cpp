#include "sbs/AutoCycle.h"

#include <QScopedValueRollback>

#include <algorithm>

namespace {

QString Number(std::int32_t value, const QString& unit)
{
    return unit.isEmpty() ? QString::number(value) : QStringLiteral("%1 %2").arg(value).arg(unit);
}

QString HexWord(std::int32_t value)
{
    return QStringLiteral("%1").arg(value & 0xFFFF, 4, 16, QLatin1Char('0')).toUpper();
}

QString MissingLineText(const QStringList& keys)
{
    return QStringLiteral(
               "This adapter lacks an output line for the auto-cycle. Name it in section [Adapter] of "
               "tarnlo.ini: %1 %2, as chip:offset (for example gpiochip0:4).")
        .arg(keys.size() == 1 ? QStringLiteral("key") : QStringLiteral("keys"),
             keys.join(QStringLiteral(" and ")));
}

bool SameWiring(const AutoCycleSettings& a, const AutoCycleSettings& b)
{
    return a.TwoPins() == b.TwoPins() && a.PinHi == b.PinHi && a.ChgHi == b.ChgHi && a.LoadHi == b.LoadHi;
}

} // namespace

QString CycleStateText(CycleState state)
{
    switch (state) {
    case CycleState::Idle:
        return QStringLiteral("Idle");
    case CycleState::Charging:
        return QStringLiteral("Charging");
    case CycleState::Discharging:
        return QStringLiteral("Discharging");
    case CycleState::RelaxBeforeDischarge:
        return QStringLiteral("Relaxing before discharge");
    case CycleState::RelaxBeforeCharge:
        return QStringLiteral("Relaxing before charge");
    case CycleState::DischargeNow:
        return QStringLiteral("About to discharge");
    case CycleState::ChargeNow:
        return QStringLiteral("About to charge");
    }
    return QStringLiteral("State %1").arg(static_cast<int>(state));
}

AutoCycle::AutoCycle(CycleLines& lines, TimeSource& time, UserMessages& messages)
    : m_lines(lines), m_time(time), m_messages(messages), m_controller(*this)
{
}

void AutoCycle::SetSettings(const AutoCycleSettings& settings)
{
    if (LinesOn() && !SameWiring(settings, Settings()))
        StopAndSwitchOff(QStringLiteral("The wiring was changed."));
    m_controller.Settings = settings;
}

void AutoCycle::SetUnits(const QString& rem, const QString& volt)
{
    m_remUnit = rem;
    m_voltUnit = volt;
}

bool AutoCycle::StartAutoCycle(const CycleValues& rows, std::optional<Direction> first)
{
    SwitchOffIfWanted();
    if (m_running || m_starting || m_working || m_lines.Busy())
        return m_running;
    const QScopedValueRollback starting(m_starting, true);
    const int stopsBefore = m_stops;

    // one write before anything starts tells whether there are lines at all; what is on stays on unless
    // somebody chose where to begin
    if (!LinesOn() || first) {
        const bool wasInDoubt = m_linesInDoubt;
        bool off = false;
        {
            const QScopedValueRollback working(m_working, true);
            off = SwitchOffLines();
        }
        if (!off) {
            m_linesInDoubt = wasInDoubt; // this run switched nothing on
            m_stopReason = QStringLiteral("The auto-cycle was not started. ") + m_lineError;
            m_messages.Show(m_stopReason);
            return false;
        }
        if (LinesOn())
            m_controller.State = CycleState::Idle;
        m_why.clear();
    }
    const auto warnWithout = [&](const CycleReading& row, const QString& text) {
        if (!row.Available)
            m_messages.Show(text);
    };
    warnWithout(rows.Rem,
                QStringLiteral("Remaining capacity not available. Any Autocycle options based on remaining "
                               "capacity will not function!"));
    warnWithout(
        rows.Volt,
        QStringLiteral("Battery voltage not available. Any Autocycle options based on Battery voltage "
                       "will not function!"));
    warnWithout(rows.Stat,
                QStringLiteral("Battery Status not available. Any Autocycle options based on Battery Status "
                               "will not function!"));
    const QString chosenText
        = QStringLiteral("At %1 chosen at the start.").arg(m_time.Now().toString(QStringLiteral("HH:mm:ss")));
    const CycleState state = m_controller.State;
    if (!first && (state == CycleState::RelaxBeforeCharge || state == CycleState::RelaxBeforeDischarge)) {
        const Answer answer
            = m_messages.Ask(QStringLiteral("The battery is currently in relaxation mode.\n"
                                            "Click YES to begin Charging after relaxation\n"
                                            "Click NO to begin Discharging after relaxation.\n"
                                            "Click Cancel to abort and manually set the state."),
                             Answer::Yes | Answer::No | Answer::Cancel);
        if (answer != Answer::Yes && answer != Answer::No)
            return false;
        const bool charge = answer == Answer::Yes;
        // a rest towards the same side goes on where it stood
        if (charge != (state == CycleState::RelaxBeforeCharge))
            SetRelaxState(charge ? Direction::Charge : Direction::Discharge);
        m_why = chosenText;
    }
    if (m_stops != stopsBefore) // the stop button, or the end of the program, while something was open
        return false;
    m_running = true;
    m_stopReason.clear();
    m_values = rows;
    m_lostPasses = 0;
    m_lastPassMs = m_time.MonotonicMs();
    m_started = m_time.Now();
    m_history = {};
    NoteState(false);
    if (first) {
        SetRelaxState(*first);
        m_why = chosenText;
    }
    return true;
}

void AutoCycle::StopAutoCycle()
{
    if (!m_running)
        return;
    m_running = false;
    m_stopReason = LinesOn() ? QStringLiteral("Stopped. The lines were left as they are.")
                             : QStringLiteral("Stopped.");
}

void AutoCycle::StopAndSwitchOff(const QString& reason)
{
    WantOff(reason, false);
    SwitchOffIfWanted();
}

bool AutoCycle::LeaveProgram()
{
    if (m_running || LinesOn() || m_linesInDoubt || m_offWanted)
        StopAndSwitchOff(QStringLiteral("The program was left."));
    return !m_offWanted && !Working();
}

void AutoCycle::SetRelaxState(Direction towards)
{
    const bool charge = towards == Direction::Charge;
    const std::int64_t seconds = std::max(0, charge ? Settings().ChgRelax : Settings().DChgRelax);
    m_controller.State = charge ? CycleState::RelaxBeforeCharge : CycleState::RelaxBeforeDischarge;
    m_stampMs = m_time.MonotonicMs() + seconds * 1000;
    NoteState(false);
}

void AutoCycle::SetLineLevel(Level line, bool high)
{
    if (m_working || m_lines.Busy())
        return;
    const bool wasOn = LinesOn();
    const bool towardsCharge
        = m_controller.State == CycleState::Charging || m_controller.State == CycleState::RelaxBeforeCharge;
    AutoCycleSettings& settings = m_controller.Settings;
    (line == Level::Pin ? settings.PinHi : line == Level::Charger ? settings.ChgHi : settings.LoadHi) = high;
    if (line == Level::Pin && !wasOn)
        return;
    bool off = false;
    {
        const QScopedValueRollback working(m_working, true);
        off = SwitchOffLines();
    }
    if (off)
        SetRelaxState(towardsCharge ? Direction::Charge : Direction::Discharge);
    else
        m_messages.Show(QStringLiteral("Communication error"));
    SwitchOffIfWanted();
}

CycleStep AutoCycle::Step(const CycleValues& values)
{
    CycleStep step;
    if (m_working)
        return step;
    {
        const QScopedValueRollback working(m_working, true);
        const std::int64_t now = m_time.MonotonicMs();
        m_values = values;
        m_lastPassMs = now;
        if (values.Rem.Value)
            m_rem = values.Rem.Value;
        if (!CommunicationLost(values))
            m_lostPasses = 0;
        else if (m_lostPasses++ == 0)
            m_lostSinceMs = now;

        if (m_running) {
            m_lineError.clear();
            m_alarm.clear();
            step = m_controller.Step(values, now >= m_stampMs);
            NoteState(true);
            if (!m_lineError.isEmpty())
                WantOff(m_lineError, true);
            else if (!m_alarm.isEmpty())
                WantOff(m_alarm, true);
        }
    }
    Watch();
    return step;
}

void AutoCycle::Watch()
{
    if (m_working)
        return;
    const QString danger = Danger();
    if (!danger.isEmpty())
        WantOff(danger, true);
    SwitchOffIfWanted();
    if (m_linesInDoubt && m_time.MonotonicMs() - m_lastOffMs >= kSwitchOffAgainMs && !m_lines.Busy()) {
        const QScopedValueRollback working(m_working, true);
        if (SwitchOffLines())
            m_stopReason += QStringLiteral(" They were switched off at %1.")
                                .arg(m_time.Now().toString(QStringLiteral("HH:mm:ss")));
    }
}

CycleFacts AutoCycle::Facts() const
{
    CycleFacts facts;
    facts.Running = m_running;
    facts.State = m_controller.State;
    facts.ChargerOn = facts.State == CycleState::Charging;
    facts.LoadOn = facts.State == CycleState::Discharging;
    facts.LinesInDoubt = m_linesInDoubt;
    facts.Why = m_why;
    facts.StopReason = m_stopReason;
    facts.Started = m_started;
    facts.PhaseMs = PhaseMs();
    if (LinesOn())
        facts.PhaseLimitMs
            = 1000LL * std::max(0, facts.ChargerOn ? Settings().ChgLongest : Settings().DChgLongest);
    facts.RelaxLeftMs = std::max<std::int64_t>(0, m_stampMs - m_time.MonotonicMs());
    facts.LostPasses = m_lostPasses;
    return facts;
}

CycleTriggers AutoCycle::Triggers(Direction direction) const
{
    return EvaluateTriggers(Settings(), m_values, direction);
}

SwitchResult AutoCycle::Switch(Direction direction)
{
    if (!m_running || m_offWanted) // stopped while the last line operation let events run
        return SwitchResult::Failed;
    // asked before the line is written: a pack that forbids it does not get the current even for a moment
    m_alarm = AlarmAgainst(direction);
    if (!m_alarm.isEmpty())
        return SwitchResult::Refused;
    const SwitchResult result = Told(TryTwice([&] { return m_lines.Switch(direction, Settings()); }));
    if (result != SwitchResult::Done) {
        m_linesInDoubt = true;
        return result;
    }
    const bool charge = direction == Direction::Charge;
    const CycleState state = m_controller.State;
    const std::int32_t relaxed = charge ? Settings().ChgRelax : Settings().DChgRelax;
    if (state == (charge ? CycleState::ChargeNow : CycleState::DischargeNow))
        m_why += relaxed > 0 ? QStringLiteral(" Relaxed for %1 s.").arg(relaxed) : QString();
    else if (state != (charge ? CycleState::Charging : CycleState::Discharging))
        m_why = SwitchReason(direction);
    return result;
}

SwitchResult AutoCycle::Relax(Direction towards, std::int32_t seconds)
{
    if (!m_running || m_offWanted)
        return SwitchResult::Failed;
    m_alarm.clear();
    const SwitchResult result = Told(TryTwice([&] { return m_lines.BothOff(Settings()); }));
    if (result == SwitchResult::Done) {
        m_stampMs = m_time.MonotonicMs() + 1000LL * seconds;
        m_why = SwitchReason(towards);
    } else {
        m_linesInDoubt = true;
    }
    return result;
}

bool AutoCycle::LinesOn() const
{
    return m_controller.State == CycleState::Charging || m_controller.State == CycleState::Discharging;
}

bool AutoCycle::CommunicationLost(const CycleValues& values) const
{
    bool watched = false;
    for (const CycleReading* row : {&values.Rem, &values.Volt, &values.Stat}) {
        if (row->Available && row->Value)
            return false;
        watched = watched || row->Available;
    }
    // rows that decide nothing may go on answering: a run that sees none of its own is blind all the same
    return watched || !values.AnyRowAnswered;
}

QString AutoCycle::AlarmAgainst(Direction direction) const
{
    if (Settings().BattStatRow < 0 || !m_values.Stat.Value)
        return {};
    const std::uint16_t status = *m_values.Stat.Value;
    const auto text = [](const QString& name, const QString& doing) {
        return QStringLiteral("The pack reported %1 while %2.").arg(name, doing);
    };
    if (direction == Direction::Discharge)
        return status & kTerminateDischarge
            ? text(QStringLiteral("TERMINATE_DISCHARGE"), QStringLiteral("discharging"))
            : QString();
    if (status & kTerminateCharge)
        return text(QStringLiteral("TERMINATE_CHARGE"), QStringLiteral("charging"));
    return status & kOverTemp ? text(QStringLiteral("OVER_TEMP"), QStringLiteral("charging")) : QString();
}

QString AutoCycle::Danger() const
{
    if (!m_running && !LinesOn())
        return {};
    const std::int64_t now = m_time.MonotonicMs();
    if (m_lostPasses >= kLostPassesLimit)
        return QStringLiteral("The gauge did not answer %1 passes in a row.").arg(m_lostPasses);
    if (m_lostPasses > 0 && now - m_lostSinceMs >= kLostLimitMs)
        return QStringLiteral("The gauge has not answered for %1 s.").arg((now - m_lostSinceMs) / 1000);
    if (now - m_lastPassMs >= kNoPassLimitMs)
        return QStringLiteral("The registers were not read for %1 s.").arg((now - m_lastPassMs) / 1000);
    if (!LinesOn())
        return {};
    const bool charge = m_controller.State == CycleState::Charging;
    const std::int64_t limit = charge ? Settings().ChgLongest : Settings().DChgLongest;
    if (limit > 0 && PhaseMs() >= limit * 1000)
        return QStringLiteral("The %1 phase reached its longest time, %2 s.")
            .arg(charge ? QStringLiteral("charge") : QStringLiteral("discharge"))
            .arg(limit);
    return AlarmAgainst(charge ? Direction::Charge : Direction::Discharge);
}

QString AutoCycle::SwitchReason(Direction direction) const
{
    const bool charge = direction == Direction::Charge;
    const bool any = (charge ? Settings().ChgAny : Settings().DChgAny) == 1;
    QStringList parts;
    for (const CycleTrigger& trigger : Triggers(direction)) {
        if (!trigger.Used || !trigger.Reading.Value || !(any ? trigger.Holds : trigger.HoldsForAll))
            continue;
        const std::int32_t value = *trigger.Reading.Value;
        if (trigger.What == CycleTrigger::Kind::Status) {
            parts << QStringLiteral("status %1 had %2 of the bits %3")
                         .arg(HexWord(value), any ? QStringLiteral("one") : QStringLiteral("all"),
                              HexWord(trigger.Limit));
            continue;
        }
        const bool capacity = trigger.What == CycleTrigger::Kind::RemainingCapacity;
        const QString& unit = capacity ? m_remUnit : m_voltUnit;
        parts << QStringLiteral("%1 %2 was %3 %4")
                     .arg(capacity ? QStringLiteral("remaining capacity") : QStringLiteral("voltage"),
                          Number(value, unit), charge ? QStringLiteral("below") : QStringLiteral("above"),
                          Number(trigger.Limit, unit));
    }
    const QString what = parts.isEmpty()
        ? QStringLiteral("no trigger is in use, and all of none counts as fulfilled")
        : parts.join(QStringLiteral(" and "));
    return QStringLiteral("At %1 %2.").arg(m_time.Now().toString(QStringLiteral("HH:mm:ss")), what);
}

std::int64_t AutoCycle::PhaseMs() const
{
    if (m_history.Phases().empty())
        return 0;
    // a computer that slept counted no monotonic time, but the load went on
    const CyclePhase& phase = m_history.Phases().back();
    return std::max<std::int64_t>(m_time.MonotonicMs() - phase.BeganMs, phase.Began.msecsTo(m_time.Now()));
}

void AutoCycle::NoteState(bool counts)
{
    const auto& phases = m_history.Phases();
    if (phases.empty() || phases.back().State != m_controller.State)
        m_history.Enter(m_controller.State, m_time.Now(), m_time.MonotonicMs(), m_rem, counts);
}

SwitchResult AutoCycle::Told(const LineResult& result)
{
    if (result.Ok())
        return SwitchResult::Done;
    m_lineError = result.MissingKeys.isEmpty()
        ? QStringLiteral("The output lines could not be written (%1).").arg(ErrorCodeToText(result.Code))
        : MissingLineText(result.MissingKeys);
    return SwitchResult::Failed;
}

LineResult AutoCycle::TryTwice(const std::function<LineResult()>& operation)
{
    LineResult result = operation();
    if (!result.Ok() && result.MissingKeys.isEmpty()) // one disturbed transfer must not end a run of days
        result = operation();
    return result;
}

bool AutoCycle::SwitchOffLines()
{
    const LineResult result = TryTwice([&] { return m_lines.BothOff(Settings()); });
    m_lastOffMs = m_time.MonotonicMs();
    // where there is no line, nothing can be on
    m_linesInDoubt = !result.Ok() && result.MissingKeys.isEmpty();
    return Told(result) == SwitchResult::Done;
}

void AutoCycle::WantOff(const QString& reason, bool tell)
{
    m_running = false;
    ++m_stops;
    if (!m_offWanted)
        m_offWanted = Wish{reason, tell};
}

void AutoCycle::SwitchOffIfWanted()
{
    if (!m_offWanted || m_working || m_lines.Busy())
        return;
    const Wish wish = *m_offWanted;
    bool tell = wish.tell;
    {
        const QScopedValueRollback working(m_working, true);
        m_stopReason = wish.reason;
        if (SwitchOffLines()) {
            m_stopReason += QStringLiteral(" Charger and load are off.");
        } else if (m_linesInDoubt) {
            m_stopReason
                += QStringLiteral(" The adapter no longer answers: charger and load may still be on. "
                                  "Switch them off by hand.");
            tell = true;
        }
        m_controller.State = CycleState::Idle;
        NoteState(false);
        m_offWanted.reset(); // what came in meanwhile wished for the same
    }
    if (tell)
        m_messages.Show(m_stopReason);
}
