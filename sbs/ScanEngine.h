#pragma once

#include "comm/ErrorCodes.h"
#include "comm/GaugeAccess.h"
#include "platform/ErrorList.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "sbs/Conversion.h"
#include "sbs/FormState.h"
#include "sbs/RegisterReader.h"
#include "sbs/ValueHistory.h"
#include "sbs/clsSBSCfgRW.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// What is known of one register row.
struct RowState {
    std::optional<RawValue> Raw; ///< of the last read; nothing after a failed read or before the first one
    std::optional<double> Value; ///< converted; nothing also after a factor that failed
    QString Text; ///< as shown; empty without a value
    ErrorCode Code = ErrorCode::Ok; ///< of the last read
    QString Reason; ///< why Text is empty, in plain words; empty before the first read and when all is well

    QString LastGoodText;
    std::optional<double> LastGoodValue;
    QDateTime LastGoodAt;
    std::int64_t LastGoodMs = 0; ///< monotonic; counts only with LastGoodValue
    bool Changed = false; ///< the latest pass gave another value than the last good one before it
    int Direction = 0; ///< of that change: 1 up, -1 down, 0 none or not known

    std::optional<double> Min;
    std::optional<double> Max;
    std::uint64_t Reads = 0; ///< failed ones included
    std::uint64_t Failures = 0; ///< failed reads
};

enum class PassEnd {
    Complete,
    Stopped, ///< on request, after the row in hand
    BusBusy, ///< the bus was not to be had; later rows keep their old values
    Dropped, ///< one was running already, or a sequence further down the stack held the bus: nothing was done
};

struct PassReport {
    PassEnd End = PassEnd::Complete;
    int Answered = 0; ///< rows read
    int Failed = 0; ///< rows whose read failed
    ErrorCode LastError = ErrorCode::Ok; ///< of the last row that failed
    /// Rows were asked and none answered: the gauge may be gone, or another one.
    [[nodiscard]] bool WhollyFailed() const { return Answered == 0 && Failed > 0; }
};

struct WriteReport {
    RawValue Raw = 0; ///< what was sent; counts only when Sent
    bool Sent = false; ///< false: refused before any byte went out, Reason says why
    ErrorCode Code = ErrorCode::Ok;
    QString Reason; ///< empty, or plain words
    [[nodiscard]] bool Ok() const { return Sent && !Failed(Code); }
};

/// The register rows of a target: reads them pass by pass, converts and formats what came, writes single
/// rows, and remembers. It shows messages but no values; views ask for the states.
///
/// Events run between two rows and inside every bus operation, so all members may be called in the middle of
/// a pass; what cannot be done then is dropped or refused, never waited for.
class ScanEngine {
public:
    ScanEngine(RegisterReader& registers, GaugeAccess& access, TimeSource& time, UserMessages& messages,
               ErrorList& errors, const clsSBSCfgRW& tables);

    /// Call it after the tables were loaded anew: forgets all values, takes over the switches and special
    /// rows, and ends a running pass.
    void Reset(const FormState& form);

    [[nodiscard]] int RowCount() const { return static_cast<int>(m_rows.size()); }
    [[nodiscard]] const RowState& Row(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    [[nodiscard]] std::optional<std::int64_t> AgeMs(int row) const; ///< of the last good value
    [[nodiscard]] const ValueHistory& History() const { return m_history; }
    [[nodiscard]] const clsSBSCfgRW& Tables() const { return m_tables; }
    void ResetStatistics(); ///< minimum, maximum and counts
    /// A minimum or maximum in the row's display format; empty without one.
    [[nodiscard]] QString StatisticText(int row, std::optional<double> value) const;

    // Switches. A row without a log caption cannot be logged, so that log captions and columns always match.
    [[nodiscard]] bool ScanOn(int row) const { return m_form.Scan[static_cast<std::size_t>(row)]; }
    [[nodiscard]] bool CanLog(int row) const;
    [[nodiscard]] bool LogOn(int row) const
    {
        return m_form.Log[static_cast<std::size_t>(row)] && CanLog(row);
    }
    void SetScan(int row, bool on) { m_form.Scan[static_cast<std::size_t>(row)] = on; }
    void SetLog(int row, bool on) { m_form.Log[static_cast<std::size_t>(row)] = on; }
    void SetCheckScan(bool on);
    void SetCheckLog(bool on);
    [[nodiscard]] FormState& Form() { return m_form; }
    [[nodiscard]] const FormState& Form() const { return m_form; }

    /// One pass over the rows whose scan switch is on, then conversion of every value and one step of the
    /// history. A call while a pass is running does nothing.
    PassReport ReadValues();
    void RequestStop() { m_stop = true; } ///< ends a running pass after the row in hand
    [[nodiscard]] bool Running() const { return m_running; }

    /// Writes what a person typed into a row: only writeable rows, by the WriteFactor, with the write of the
    /// row's style, then the adapter's pause. The next pass reads it again.
    WriteReport WriteSBSValueFromGrid(int row, const QString& typed);
    /// Reads one row now, outside any pass, without touching what is shown: to compare after a write.
    ErrorCode ReadBack(int row, RawValue& raw);

    /// For the remaining-capacity bar, rounded; nothing when there is no such row or its last read failed,
    /// and the bar then stays as it is.
    [[nodiscard]] std::optional<std::int16_t> RemainingCapacity() const;
    /// Unit of capacities by bit 15 of the battery mode: "mAh" or "10 mWh"; empty when not known.
    [[nodiscard]] QString CapacityUnit() const;

private:
    /// What a pass has read of one row; all rows are shown together when the pass has ended.
    struct RowRead {
        bool done = false;
        ErrorCode code = ErrorCode::Ok;
        RawValue raw = 0;
        std::int64_t atMs = 0;
    };

    PassReport ReadValues_Config(std::vector<RowRead>& reads);
    void MoveReadsToRows(const std::vector<RowRead>& reads, QStringList& badFormats);
    void Convert(std::size_t row, QStringList& badFormats);
    static void Remember(RowState& state, std::int64_t atMs, const QDateTime& now);
    [[nodiscard]] WriteReport Refused(int row, ErrorCode code, const QString& reason) const;

    RegisterReader& m_registers;
    GaugeAccess& m_access;
    TimeSource& m_time;
    UserMessages& m_messages;
    ErrorList& m_errors;
    const clsSBSCfgRW& m_tables;
    FormState m_form;
    std::vector<RowState> m_rows;
    std::vector<char> m_factorListed; ///< the row's factor stands in the error list already
    ValueHistory m_history;
    std::uint64_t m_generation = 0; ///< of the tables; a pass ends when it changed under it
    bool m_running = false;
    bool m_stop = false;
};
