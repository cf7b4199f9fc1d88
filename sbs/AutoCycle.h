#pragma once

#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "sbs/CycleController.h"
#include "sbs/CycleHistory.h"
#include "sbs/CycleLines.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

// Bits of the battery status word that end a phase: the first two a charge, the third a discharge.
inline constexpr std::uint16_t kTerminateCharge = 0x4000;
inline constexpr std::uint16_t kOverTemp = 0x1000;
inline constexpr std::uint16_t kTerminateDischarge = 0x0800;

/// What a panel shows of the auto-cycle.
struct CycleFacts {
    bool Running = false;
    CycleState State = CycleState::Idle;
    bool ChargerOn = false; ///< as last switched
    bool LoadOn = false;
    bool LinesInDoubt = false; ///< switching off failed: they may still be on
    QString Why; ///< the numbers of the last switch; empty before the first
    QString StopReason; ///< why the last run ended, or could not begin; empty while running
    QDateTime Started; ///< not valid before the first start
    std::int64_t PhaseMs = 0; ///< in this state
    std::int64_t PhaseLimitMs = 0; ///< 0: none
    std::int64_t RelaxLeftMs = 0;
    int LostPasses = 0; ///< in a row
};

/// Charges and discharges a pack again and again by the adapter's output lines. The owner calls Step after
/// every scan pass, whether a run is on or not, and Watch about once a second: lines that were switched on
/// stay under watch until they are off. Every line operation lets events run; what comes in meanwhile is
/// dropped (a step) or put off until the end of the operation (switching off).
///
/// Both lines are switched off and the reason kept when the gauge has not answered for 10 passes in a row or
/// 30 s, when no pass came for 95 s, on an alarm of the pack against the direction, when a phase outlasts its
/// limit, when a line cannot be written, on StopAndSwitchOff and on LeaveProgram.
class AutoCycle final : private CycleOutputs {
public:
    static constexpr int kLostPassesLimit = 10;
    static constexpr std::int64_t kLostLimitMs = 30'000;
    /// the longest scan interval and the limit above
    static constexpr std::int64_t kNoPassLimitMs = 95'000;
    static constexpr std::int64_t kSwitchOffAgainMs = 10'000;

    AutoCycle(CycleLines& lines, TimeSource& time, UserMessages& messages);

    /// A changed wiring switches lines that are on off first, in the old wiring.
    void SetSettings(const AutoCycleSettings& settings);
    [[nodiscard]] const AutoCycleSettings& Settings() const { return m_controller.Settings; }
    /// Units of the raw values for the texts; empty where a factor scales what is shown.
    void SetUnits(const QString& rem, const QString& volt);

    /// Warns of each row that is not available, asks where to go on while the pack is relaxing, and starts.
    /// @param first  where to begin, whatever the triggers say, after that direction's relaxation time; lines
    /// that are on are switched off before. Nothing is asked then
    /// @return false when the adapter lacks a line or does not answer (the message names what to set), or the
    /// question was cancelled
    bool StartAutoCycle(const CycleValues& rows, std::optional<Direction> first = {});
    /// Ends the run and leaves the lines as they are, still under watch.
    void StopAutoCycle();
    /// Ends the run and switches both lines off, now or as soon as the bus sequence further down ends.
    void StopAndSwitchOff(const QString& reason);
    /// Switches off what may be on. Call before the adapter is closed.
    /// @return false while a line operation or a bus sequence further down the stack is in the way: call
    /// again when that has ended
    [[nodiscard]] bool LeaveProgram();

    /// The pack rests, and goes towards the direction after that direction's relaxation time.
    void SetRelaxState(Direction towards);

    enum class Level { Pin, Charger, Load };
    /// Chooses at which level a line is on. Charger and load lines get their off level at once and the pack
    /// relaxes; the one pin is only released when it was switching something on.
    void SetLineLevel(Level line, bool high);

    CycleStep Step(const CycleValues& values);
    void Watch();

    /// A line operation asked for now would be dropped or put off: one of this run or a bus sequence is under
    /// way further down the stack.
    [[nodiscard]] bool Busy() const { return m_working || m_starting || m_lines.Busy(); }
    /// An operation of this run is under way further down the stack.
    [[nodiscard]] bool Working() const { return m_working || m_starting; }
    [[nodiscard]] CycleFacts Facts() const;
    [[nodiscard]] const CycleHistory& History() const { return m_history; }
    /// The triggers against the last pass.
    [[nodiscard]] CycleTriggers Triggers(Direction direction) const;

private:
    SwitchResult Switch(Direction direction) override;
    SwitchResult Relax(Direction towards, std::int32_t seconds) override;

    [[nodiscard]] bool LinesOn() const;
    [[nodiscard]] bool CommunicationLost(const CycleValues& values) const;
    [[nodiscard]] QString AlarmAgainst(Direction direction) const;
    [[nodiscard]] QString Danger() const; ///< empty, or why the lines must go off
    [[nodiscard]] QString SwitchReason(Direction direction) const;
    [[nodiscard]] std::int64_t PhaseMs() const;
    void NoteState(bool counts);
    SwitchResult Told(const LineResult& result);
    LineResult TryTwice(const std::function<LineResult()>& operation);
    bool SwitchOffLines();
    void WantOff(const QString& reason, bool tell);
    void SwitchOffIfWanted();

    struct Wish {
        QString reason;
        bool tell;
    };

    CycleLines& m_lines;
    TimeSource& m_time;
    UserMessages& m_messages;
    CycleController m_controller;
    CycleHistory m_history;
    CycleValues m_values;
    std::optional<std::uint16_t> m_rem; ///< the last one read, for the history
    QString m_remUnit;
    QString m_voltUnit;
    bool m_running = false;
    bool m_starting = false; ///< a warning or the question of a start may be open
    bool m_working = false; ///< a step or a line operation is under way further down the stack
    int m_stops = 0; ///< how often switching off was asked for
    std::optional<Wish> m_offWanted;
    bool m_linesInDoubt = false;
    QString m_lineError; ///< of the last line operation that failed
    QString m_alarm; ///< why the last switch was refused
    QString m_why;
    QString m_stopReason;
    QDateTime m_started;
    std::int64_t m_stampMs = 0; ///< end of the relaxation
    std::int64_t m_lastPassMs = 0;
    std::int64_t m_lostSinceMs = 0;
    std::int64_t m_lastOffMs = 0;
    int m_lostPasses = 0;
};

/// "Idle", "Charging", "Discharging", "Relaxing before discharge"...
[[nodiscard]] QString CycleStateText(CycleState state);
