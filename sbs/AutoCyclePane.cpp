#include "sbs/AutoCyclePane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/TextWindow.h"
#include "look/Theme.h"
#include "platform/ProgramFolder.h"
#include "platform/WholeFile.h"
#include "sbs/CycleRows.h"
#include "sbs/PhaseStrip.h"
#include "sbs/RowTexts.h"
#include "sbs/frmAutoCycle.h"

#include <QPainter>
#include <QTimer>

namespace {

constexpr int kTile = 44;
constexpr int kRetryMs = 10;

enum Column { kTrigger, kNow, kCharge, kChargeState, kDischarge, kDischargeState };

QString WithUnit(std::int32_t value, const QString& unit)
{
    return unit.isEmpty() ? QString::number(value) : QStringLiteral("%1 %2").arg(value).arg(unit);
}

QString HexWord(std::int32_t value)
{
    return QStringLiteral("%1").arg(static_cast<std::uint32_t>(value), 4, 16, QLatin1Char('0')).toUpper();
}

/// Started, but nothing was switched so far.
bool Waits(const CycleFacts& facts)
{
    return facts.Running && facts.State == CycleState::Idle && facts.Why.isEmpty();
}

bool MayBeOn(const CycleFacts& facts) { return facts.ChargerOn || facts.LoadOn || facts.LinesInDoubt; }

QPixmap StatePicture(CycleState state, qreal ratio)
{
    const PhaseLook look = LookOf(state);
    QPixmap tile(QSize(kTile, kTile) * ratio);
    tile.setDevicePixelRatio(ratio);
    tile.fill(ToColour(look.Fill));
    QPainter painter(&tile);
    constexpr int kIcon = 24;
    constexpr int kEdge = (kTile - kIcon) / 2;
    painter.drawPixmap(QPoint(kEdge, kEdge), IconPixmap(look.Icon, kIcon, ToColour(look.Text), ratio));
    return tile;
}

} // namespace

// What the pane says and does; AutoCyclePaneLayout.cpp builds it.

void AutoCyclePane::Refresh()
{
    m_cycle.SetUnits(RawUnit(m_scan, m_cycle.Settings().RemCapRow),
                     RawUnit(m_scan, m_cycle.Settings().BattVoltRow));
    const CycleFacts facts = m_cycle.Facts();
    ShowState(facts);
    ShowWhy(facts);
    ShowLines(facts);
    ShowTriggers();
    ShowStops(facts);
    UpdateMenus(facts);
    grdCyclePhases->Show(m_cycle.History(), facts.PhaseMs, RawUnit(m_scan, m_cycle.Settings().RemCapRow));
    cmdStartCycle->setEnabled(!facts.Running);
    cmdStopCycle->setEnabled(facts.Running || MayBeOn(facts));
    if (facts.Running != m_running) {
        m_running = facts.Running;
        emit StateChanged();
    }
}

void AutoCyclePane::ShowState(const CycleFacts& facts)
{
    m_stateIcon->setPixmap(StatePicture(facts.State, devicePixelRatioF()));
    lblCycleState->setText(Waits(facts) ? tr("Waiting") : CycleStateText(facts.State));
    const int number = static_cast<int>(facts.State);
    QString elapsed;
    if (facts.State == CycleState::Idle)
        elapsed = facts.Running ? tr("running for %1").arg(AgeText(facts.PhaseMs)) : tr("not running");
    else if (facts.RelaxLeftMs > 0)
        elapsed = tr("state %1, %2 left").arg(number).arg(AgeText(facts.RelaxLeftMs));
    else if (facts.PhaseLimitMs > 0)
        elapsed = tr("state %1, for %2 of %3")
                      .arg(number)
                      .arg(AgeText(facts.PhaseMs), AgeText(facts.PhaseLimitMs));
    else
        elapsed = tr("state %1, for %2").arg(number).arg(AgeText(facts.PhaseMs));
    lblCycleElapsed->setText(elapsed);
}

void AutoCyclePane::ShowWhy(const CycleFacts& facts)
{
    QString why;
    if (Waits(facts))
        why = tr("Nothing is switched yet: no limit is crossed. It %1 and %2.")
                  .arg(StartText(Direction::Charge), StartText(Direction::Discharge));
    else if (facts.Running && !facts.Why.isEmpty() && facts.State == CycleState::RelaxBeforeCharge)
        why = tr("Both lines are off; it charges when the rest is over. %1").arg(facts.Why);
    else if (facts.Running && !facts.Why.isEmpty() && facts.State == CycleState::RelaxBeforeDischarge)
        why = tr("Both lines are off; it discharges when the rest is over. %1").arg(facts.Why);
    else if (!facts.Why.isEmpty())
        why = tr("Last switch: %1").arg(facts.Why.at(0).toLower() + facts.Why.mid(1));
    else if (!facts.StopReason.isEmpty())
        why = tr("The last run switched nothing.");
    else
        why = tr(
            "Charges and discharges the pack again and again by the adapter's output lines. Connect charger "
            "and load, check limits and wiring in the settings, then press Start.");
    lblCycleWhy->setText(why);
    lblCycleStopReason->setText(facts.StopReason);
    m_stopReason->setVisible(!facts.StopReason.isEmpty());
}

void AutoCyclePane::ShowLines(const CycleFacts& facts)
{
    const CycleHistory& history = m_cycle.History();
    const QString unit = RawUnit(m_scan, m_cycle.Settings().RemCapRow);
    const auto sum = [&unit](std::int64_t raw) {
        return unit.isEmpty() ? QString::number(raw) : QStringLiteral("%1 %2").arg(raw).arg(unit);
    };
    QStringList parts{tr("Cycles done: %1").arg(history.Cycles())};
    if (facts.Started.isValid())
        parts << tr("started %1").arg(facts.Started.toString(QStringLiteral("yyyy-MM-dd HH:mm")))
              << tr("charged %1").arg(sum(history.Charged()))
              << tr("discharged %1").arg(sum(history.Discharged()));
    lblCycleCount->setText(parts.join(QStringLiteral(" \u00b7 ")));

    const auto onOff = [](bool on) { return on ? tr("on") : tr("off"); };
    lblCycleLines->setText(facts.LinesInDoubt
                               ? tr("Charger and load may still be on")
                               : tr("Charger %1, load %2").arg(onOff(facts.ChargerOn), onOff(facts.LoadOn)));
    lblCycleLines->setFont(Theme::Current().Font(MayBeOn(facts) ? Type::Strong : Type::Body));
    const SkinColours& colours = Theme::Current().Colours();
    const QString icon = facts.LinesInDoubt ? QStringLiteral("warn")
        : facts.ChargerOn                   ? QStringLiteral("charge")
        : facts.LoadOn                      ? QStringLiteral("discharge")
                                            : QStringLiteral("remove");
    m_linesIcon->setPixmap(IconPixmap(
        icon, 16, ToColour(facts.LinesInDoubt ? colours.Failed : colours.TextFore), devicePixelRatioF()));
}

void AutoCyclePane::ShowTriggers()
{
    const AutoCycleSettings& settings = m_cycle.Settings();
    grdCycleTriggers->horizontalHeaderItem(kCharge)->setText(settings.ChgAny == 1 ? tr("Charge when any")
                                                                                  : tr("Charge when all"));
    grdCycleTriggers->horizontalHeaderItem(kDischarge)
        ->setText(settings.DChgAny == 1 ? tr("Discharge when any") : tr("Discharge when all"));
    const CycleTriggers charge = m_cycle.Triggers(Direction::Charge);
    const CycleTriggers discharge = m_cycle.Triggers(Direction::Discharge);
    for (std::size_t i = 0; i < charge.size(); ++i) {
        const int row = static_cast<int>(i);
        const CycleReading& reading = charge[i].Reading;
        QString now;
        if (reading.Value && charge[i].What == CycleTrigger::Kind::Status)
            now = tr("%1 hex").arg(HexWord(*reading.Value));
        else if (reading.Value)
            now = WithUnit(*reading.Value,
                           RawUnit(m_scan,
                                   charge[i].What == CycleTrigger::Kind::Voltage ? settings.BattVoltRow
                                                                                 : settings.RemCapRow));
        QTableWidgetItem* item = grdCycleTriggers->item(row, kNow);
        item->setText(now);
        item->setToolTip(
            reading.Value ? QString()
                : reading.Available
                ? tr("The last read failed.")
                : tr("The row is not scanned, or the settings name none: its triggers are skipped."));
        ShowTrigger(row, kCharge, charge[i], Direction::Charge);
        ShowTrigger(row, kDischarge, discharge[i], Direction::Discharge);
    }
}

bool AutoCyclePane::AnySuffices(Direction direction) const
{
    const AutoCycleSettings& settings = m_cycle.Settings();
    return (direction == Direction::Charge ? settings.ChgAny : settings.DChgAny) == 1;
}

QString AutoCyclePane::LimitText(const CycleTrigger& trigger, Direction direction) const
{
    const AutoCycleSettings& settings = m_cycle.Settings();
    if (trigger.What == CycleTrigger::Kind::Status)
        return trigger.Limit == 0    ? tr("no bit chosen")
            : AnySuffices(direction) ? tr("any bit of %1").arg(HexWord(trigger.Limit))
                                     : tr("all bits of %1").arg(HexWord(trigger.Limit));
    return (direction == Direction::Charge ? tr("below %1") : tr("above %1"))
        .arg(WithUnit(trigger.Limit,
                      RawUnit(m_scan,
                              trigger.What == CycleTrigger::Kind::Voltage ? settings.BattVoltRow
                                                                          : settings.RemCapRow)));
}

/// As a sentence goes on with it: "charges below 10 % or below 12200 mV".
QString AutoCyclePane::StartText(Direction direction) const
{
    const bool charge = direction == Direction::Charge;
    QStringList limits;
    for (const CycleTrigger& trigger : m_cycle.Triggers(direction))
        if (trigger.Used && (trigger.What != CycleTrigger::Kind::Status || trigger.Limit != 0))
            limits << (trigger.What == CycleTrigger::Kind::Status ? tr("at %1") : QStringLiteral("%1"))
                          .arg(LimitText(trigger, direction));
    if (limits.isEmpty())
        return charge ? tr("never charges") : tr("never discharges");
    return (charge ? tr("charges %1") : tr("discharges %1"))
        .arg(limits.join(AnySuffices(direction) ? tr(" or ") : tr(" and ")));
}

void AutoCyclePane::ShowTrigger(int row, int column, const CycleTrigger& trigger, Direction direction)
{
    const bool any = AnySuffices(direction);
    QString state = tr("no");
    QIcon icon = ThemeIcon(QStringLiteral("remove"), IconInk::Secondary);
    if (!trigger.Used) {
        state = tr("not used");
        icon = {};
    } else if (!trigger.Reading.Value) {
        state = tr("no value");
        icon = ThemeIcon(QStringLiteral("warn"), IconInk::Caution);
    } else if (any ? trigger.Holds : trigger.HoldsForAll) {
        state = tr("holds");
        icon = ThemeIcon(QStringLiteral("ok"), IconInk::Good);
    }
    QTableWidgetItem* limitItem = grdCycleTriggers->item(row, column);
    QTableWidgetItem* stateItem = grdCycleTriggers->item(row, column + 1);
    limitItem->setText(LimitText(trigger, direction));
    stateItem->setText(state);
    stateItem->setIcon(icon);
    const QVariant ink
        = trigger.Used ? QVariant() : QVariant(QBrush(ToColour(Theme::Current().Colours().TextDisabled)));
    for (QTableWidgetItem* item : {limitItem, stateItem})
        item->setData(Qt::ForegroundRole, ink);
}

void AutoCyclePane::ShowStops(const CycleFacts& facts)
{
    const SkinColours& colours = Theme::Current().Colours();
    const auto show = [&](std::size_t line, bool good, const QString& text, const QString& detail) {
        m_stops[line].icon->setPixmap(IconPixmap(good ? QStringLiteral("ok") : QStringLiteral("warn"), 16,
                                                 ToColour(good ? colours.Good : colours.Caution),
                                                 devicePixelRatioF()));
        m_stops[line].text->setText(text);
        m_stops[line].text->setToolTip(detail);
    };
    show(0, facts.LostPasses == 0,
         tr("no answer: %1 of %2 passes").arg(facts.LostPasses).arg(AutoCycle::kLostPassesLimit),
         tr("No answer in %1 passes in a row or for %2 s.")
             .arg(AutoCycle::kLostPassesLimit)
             .arg(AutoCycle::kLostLimitMs / 1000));

    const CycleReading status = m_cycle.Triggers(Direction::Charge)[2].Reading;
    QStringList set;
    for (const auto& [bit, name] : {std::pair{kTerminateCharge, "TCA"}, std::pair{kOverTemp, "OTA"},
                                    std::pair{kTerminateDischarge, "TDA"}})
        if (status.Value && (*status.Value & bit) != 0)
            set << QLatin1String(name);
    show(1, status.Value && set.isEmpty(),
         !status.Value       ? tr("alarms not read")
             : set.isEmpty() ? tr("TCA, OTA, TDA clear")
                             : tr("%1 set").arg(set.join(QStringLiteral(", "))),
         tr("TERMINATE_CHARGE or OVER_TEMP while charging,\nTERMINATE_DISCHARGE while discharging."));

    const AutoCycleSettings& settings = m_cycle.Settings();
    const auto limit
        = [](std::int32_t seconds) { return seconds > 0 ? AgeText(1000LL * seconds) : tr("no limit"); };
    QString phase
        = tr("charge %1, discharge %2").arg(limit(settings.ChgLongest), limit(settings.DChgLongest));
    if (facts.PhaseLimitMs > 0)
        phase = tr("phase %1 of %2").arg(AgeText(facts.PhaseMs), AgeText(facts.PhaseLimitMs));
    const bool limited = settings.ChgLongest > 0 && settings.DChgLongest > 0;
    show(2, limited, phase, tr("The longest time of a phase, from the settings."));
}

void AutoCyclePane::NoteState(CycleState before, EventLog& events)
{
    // first what came between the passes: the stop button, a level change
    const bool between = Note(before, events);
    const bool noted = Note(m_cycle.Facts().State, events) || between;
    const CycleFacts facts = m_cycle.Facts();
    if (m_runNoted && !facts.Running && !noted) // ended with the lines as they were
        events.Add(RegisterEvent::Kind::Stop, tr("Auto-cycle: %1").arg(facts.StopReason));
    m_runNoted = facts.Running;
    Refresh(); // the limits are those of the step that was just made
}

bool AutoCyclePane::Note(CycleState state, EventLog& events)
{
    if (state == m_noted)
        return false;
    m_noted = state;
    const CycleFacts facts = m_cycle.Facts();
    const auto add = [&](RegisterEvent::Kind kind, const QString& reason) {
        const QString what
            = kind == RegisterEvent::Kind::Stop ? tr("Auto-cycle stopped") : CycleStateText(state);
        events.Add(kind, reason.isEmpty() ? what : QStringLiteral("%1: %2").arg(what, reason));
        return true;
    };
    switch (state) {
    case CycleState::Charging:
    case CycleState::ChargeNow:
        return add(RegisterEvent::Kind::Charge, facts.Why);
    case CycleState::Discharging:
    case CycleState::DischargeNow:
        return add(RegisterEvent::Kind::Discharge, facts.Why);
    case CycleState::RelaxBeforeCharge:
    case CycleState::RelaxBeforeDischarge:
        return add(RegisterEvent::Kind::Relax, facts.Running ? facts.Why : QString());
    case CycleState::Idle:
        return add(RegisterEvent::Kind::Stop, facts.StopReason);
    }
    return false;
}

void AutoCyclePane::WhenFree(const std::function<void()>& command)
{
    if (m_scan.Running() || m_cycle.Busy())
        QTimer::singleShot(kRetryMs, this, [this, command] { WhenFree(command); });
    else
        command();
}

void AutoCyclePane::StartAutoCycle(std::optional<Direction> first)
{
    WhenFree([this, first] {
        m_cycle.StartAutoCycle(ReadCycleValues(m_scan, m_cycle.Settings(), {}), first);
        Refresh();
    });
}

void AutoCyclePane::StopAutoCycle()
{
    m_cycle.StopAutoCycle();
    Refresh();
}

void AutoCyclePane::StopAndSwitchOff()
{
    m_cycle.StopAndSwitchOff(tr("Stopped by hand."));
    Refresh();
}

void AutoCyclePane::SetWiring(std::int32_t pins)
{
    const AutoCycleSettings before = m_cycle.Settings();
    AutoCycleSettings settings = before;
    if (settings.TwoPins() != (pins == 2))
        settings.ChgPin = pins;
    m_cycle.SetSettings(settings);
    Save(before);
}

void AutoCyclePane::SetLevel(AutoCycle::Level line, bool high)
{
    WhenFree([this, line, high] {
        const AutoCycleSettings before = m_cycle.Settings();
        m_cycle.SetLineLevel(line, high);
        Save(before);
    });
}

void AutoCyclePane::Save(const AutoCycleSettings& before)
{
    const QString problem = SaveAutoCycleSettings(m_settings, before, m_cycle.Settings());
    if (!problem.isEmpty())
        m_messages.Show(problem);
    Refresh(); // a level that could not be changed now shows as it is
}

void AutoCyclePane::ShowSettings()
{
    auto* dialog = new frmAutoCycle(m_cycle, m_settings, m_scan, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, &AutoCyclePane::Refresh);
    dialog->open(); // not exec: the passes go on, and with them the limits of a run
}

void AutoCyclePane::ShowHelp()
{
    if (m_help) {
        m_help->raise();
        m_help->activateWindow();
        return;
    }
    constexpr qint64 kLongestHelp = 1 << 20;
    const QString name = QStringLiteral("Documentation/AutoCycleHlp.txt");
    const FileBytes file = ReadWhole(ResolvePath(m_settings.ProgramFolder(), name), kLongestHelp);
    if (!file.error.isEmpty()) {
        m_messages.Show(QStringLiteral("Error opening file ") + name);
        return;
    }
    m_help = new TextWindow(tr("Tarnlo - Auto-cycle help"), QString::fromUtf8(file.bytes), this);
    m_help->show();
}
