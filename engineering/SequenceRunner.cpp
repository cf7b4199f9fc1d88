#include "engineering/SequenceRunner.h"

#include "comm/BusSequence.h"

#include <algorithm>

namespace {

constexpr std::int64_t kSliceMs = 50; // how soon a cancel is heard
constexpr std::int64_t kPollMs = 100; // between two reads of a wait

} // namespace

SequenceEnd SequenceRunner::Run(const Sequence& sequence, const Options& options,
                                const std::function<void(const StepReport&)>& onStep,
                                const std::function<bool()>& cancelled)
{
    using Kind = SequenceStep::Kind;
    SequenceEnd end;
    const BusSequence bus(m_access, options.Owner);
    if (!bus) {
        end.Ended = SequenceEnd::How::BusBusy;
        end.Code = ErrorCode::BusBusy;
        end.Text = QStringLiteral(
            "Nothing was sent: another sequence holds the bus. Try again when it has ended.");
        return end;
    }
    m_lines.clear();
    m_cancelled = cancelled;
    std::vector<std::int64_t> left; // turns of the open loops
    for (std::size_t at = 0; at < sequence.Steps.size(); ++at) {
        const SequenceStep& step = sequence.Steps[at];
        if (cancelled()) {
            end.Ended = SequenceEnd::How::Cancelled;
            end.Line = step.Line;
            end.Text = QStringLiteral("Cancelled before line %1; what was written until then stays written.")
                           .arg(end.Line);
            break;
        }
        if (step.Does == Kind::Loop) {
            left.push_back(step.Count);
            continue;
        }
        if (step.Does == Kind::End) {
            m_time.ProcessEvents(0); // an empty loop must not keep the window from being cancelled
            if (--left.back() > 0)
                at = step.Partner;
            else
                left.pop_back();
            continue;
        }
        StepReport report = Take(step);
        report.Number = ++end.Steps;
        onStep(report);
        if (report.Result.Code == ErrorCode::UserCancelled) {
            end.Ended = SequenceEnd::How::Cancelled;
            end.Line = step.Line;
            end.Text = QStringLiteral("Cancelled in line %1; what was written until then stays written.")
                           .arg(end.Line);
            break;
        }
        if (!Failed(report.Result.Code))
            continue;
        ++end.Failures;
        if (end.Failures == 1) {
            end.Ended = SequenceEnd::How::Failed;
            end.Code = report.Result.Code;
            end.Line = step.Line;
            end.Text
                = QStringLiteral("Line %1, %2: %3")
                      .arg(step.Line)
                      .arg(step.Text,
                           report.Remark.isEmpty() ? ErrorCodeToText(report.Result.Code) : report.Remark);
        }
        if (options.StopAtFailure)
            break;
    }
    GiveLinesBack(end);
    m_cancelled = {};
    return end;
}

StepReport SequenceRunner::Take(const SequenceStep& step)
{
    StepReport report;
    report.Step = &step;
    report.Result.At = m_time.Now();
    const std::int64_t start = m_time.MonotonicMs();
    switch (step.Does) {
    case SequenceStep::Kind::Send:
        Send(step, report);
        return report;
    case SequenceStep::Kind::Delay:
        if (!Pass(step.Ms))
            report.Result.Code = ErrorCode::UserCancelled;
        break;
    case SequenceStep::Kind::Wait: {
        const QDateTime at = report.Result.At;
        for (;;) {
            report.Remark.clear();
            Send(step, report);
            const std::int64_t leftMs = step.Ms - (m_time.MonotonicMs() - start);
            // a gauge that is busy does not acknowledge: a wait goes on over failed reads too
            if (!Failed(report.Result.Code))
                break;
            if (leftMs <= 0) {
                report.Remark
                    = QStringLiteral("%1 ms have passed; last: %2")
                          .arg(step.Ms)
                          .arg(report.Remark.isEmpty() ? ErrorCodeToText(report.Result.Code) : report.Remark);
                break;
            }
            if (!Pass(std::min(leftMs, kPollMs))) {
                report.Result.Code = ErrorCode::UserCancelled;
                break;
            }
        }
        report.Result.At = at;
        break;
    }
    default:
        m_time.ProcessEvents(0);
        break;
    }
    report.Result.TookMs = m_time.MonotonicMs() - start;
    return report;
}

void SequenceRunner::Send(const SequenceStep& step, StepReport& report)
{
    KeepLine(step.Sent);
    report.Result = m_sender.Send(step.Sent);
    if (Failed(report.Result.Code)) {
        report.Remark = m_sender.Explain(step.Sent, report.Result.Code);
    } else if (step.Expected && !step.Expected->Met(report.Result.Data)) {
        report.Remark = QStringLiteral("answered %1, %2")
                            .arg(AnswerText(step.Sent.Kind, report.Result).simplified(),
                                 ExpectationText(step.Sent.Kind, *step.Expected));
        report.Result.Code = ErrorCode::CompareDifferent;
    }
}

void SequenceRunner::KeepLine(const Transaction& transaction)
{
    const auto line = static_cast<std::int16_t>(transaction.Place);
    if (transaction.Kind != TransactionKind::GpioWrite || m_lines.contains(line))
        return;
    ErrorCode err = ErrorCode::Ok;
    std::int16_t level = 0;
    m_usb.GPIORead(line, level, err);
    m_lines[line] = Failed(err) ? std::int16_t{0} : level;
}

void SequenceRunner::GiveLinesBack(SequenceEnd& end)
{
    for (const auto& [line, level] : m_lines) {
        ErrorCode err = ErrorCode::Ok;
        m_usb.GPIOWrite(line, level, err);
        if (!Failed(err))
            continue;
        if (end.Ended == SequenceEnd::How::Done) {
            end.Ended = SequenceEnd::How::Failed;
            end.Code = err;
        }
        end.Text += (end.Text.isEmpty() ? QString() : QStringLiteral("\n"))
            + QStringLiteral(
                  "Line %1 of the adapter could not be set back to %2 (%3) and may still be as the "
                  "sequence set it.")
                  .arg(line)
                  .arg(level)
                  .arg(ErrorCodeToText(err));
    }
    m_lines.clear();
}

bool SequenceRunner::Pass(std::int64_t milliseconds)
{
    const std::int64_t end = m_time.MonotonicMs() + milliseconds;
    m_time.ProcessEvents(0);
    for (std::int64_t left = milliseconds; left > 0 && !m_cancelled(); left = end - m_time.MonotonicMs())
        m_time.ProcessEvents(static_cast<int>(std::min(left, kSliceMs)));
    return !m_cancelled();
}
