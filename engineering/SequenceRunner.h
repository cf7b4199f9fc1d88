#pragma once

#include "comm/GaugeAccess.h"
#include "engineering/Sequence.h"

#include <functional>
#include <map>

/// What one step of a run brought.
struct StepReport {
    std::int64_t Number = 0; ///< of the steps taken, from 1; loop and end count none
    const SequenceStep* Step = nullptr; ///< of the sequence that runs
    TransactionResult Result; ///< Code is 11 for an answer that was not the expected one
    QString Remark; ///< plain words, where there is more to say than the code does
};

/// How a run ended.
struct SequenceEnd {
    enum class How : std::uint8_t { Done, Failed, Cancelled, BusBusy };
    How Ended = How::Done;
    std::int64_t Steps = 0;
    std::int64_t Failures = 0;
    ErrorCode Code = ErrorCode::Ok; ///< of the first failure
    int Line = 0; ///< of the first failure, or where it was cancelled
    QString Text; ///< plain words; the lines that could not be given back stand in it too
};

/// Runs sequences. The bus is held for the whole of one, delays included: nothing else speaks to the gauge in
/// between, and the register view's timers stand still. Lines of the adapter that the sequence set get back
/// the level that they had before, however it ends.
class SequenceRunner {
public:
    struct Options {
        bool StopAtFailure = true;
        QString Owner; ///< who holds the bus, for the status bar
    };

    SequenceRunner(TransactionSender& sender, frmUSB& usb, GaugeAccess& access, TimeSource& time)
        : m_sender(sender), m_usb(usb), m_access(access), m_time(time)
    {
    }
    /// @param sequence  without problems; stays as it is until the run ends
    /// @param onStep  after each step; the bus is held, so nothing may be asked in it
    /// @param cancelled  asked between the steps and while time passes
    SequenceEnd Run(const Sequence& sequence, const Options& options,
                    const std::function<void(const StepReport&)>& onStep,
                    const std::function<bool()>& cancelled);

private:
    StepReport Take(const SequenceStep& step);
    void Send(const SequenceStep& step, StepReport& report);
    void KeepLine(const Transaction& transaction);
    void GiveLinesBack(SequenceEnd& end);
    bool Pass(std::int64_t milliseconds); ///< @return false when it was cancelled

    TransactionSender& m_sender;
    frmUSB& m_usb;
    GaugeAccess& m_access;
    TimeSource& m_time;
    std::map<std::int16_t, std::int16_t> m_lines; ///< levels before the run
    std::function<bool()> m_cancelled;
};
