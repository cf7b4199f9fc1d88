#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "engineering/ProSettings.h"
#include "engineering/SequenceRunner.h"
#include "platform/Interrupt.h"
#include "platform/WholeFile.h"

#include <QJsonArray>

namespace {

const ArgumentSpec kFile{"FILE", "Sequence file; docs/sequencer.md describes its form", ArgumentKind::Text,
                         true};

/// @return false when the file cannot be used; failed then says why
bool Load(const QString& path, Sequence& sequence, Outcome& failed)
{
    const FileBytes file = ReadWhole(path, kMostSequenceBytes);
    if (!file.error.isEmpty()) {
        failed = Refused(file.error);
        return false;
    }
    sequence = ParseSequence(QString::fromUtf8(file.bytes));
    if (sequence.Problems.empty())
        return true;
    failed = Refused(ProblemsText(sequence, path));
    QJsonArray problems;
    for (const SequenceProblem& problem : sequence.Problems)
        problems << QJsonObject{{QStringLiteral("line"), problem.Line},
                                {QStringLiteral("error"), problem.Text}};
    failed.Json[QStringLiteral("problems")] = problems;
    return false;
}

void Print(CommandContext& context, const StepReport& report, std::int64_t elapsedMs)
{
    const SequenceStep& step = *report.Step;
    const TransactionResult& result = report.Result;
    const bool sends = step.Does == SequenceStep::Kind::Send || step.Does == SequenceStep::Kind::Wait;
    if (context.Out.Json()) {
        QJsonObject object{{QStringLiteral("step"), static_cast<double>(report.Number)},
                           {QStringLiteral("line"), step.Line},
                           {QStringLiteral("do"), step.Text},
                           {QStringLiteral("code"), Number(result.Code)},
                           {QStringLiteral("text"), ErrorCodeToText(result.Code)},
                           {QStringLiteral("elapsed_ms"), static_cast<double>(elapsedMs)}};
        const TransactionForm& form = FormOf(step.Sent.Kind);
        const bool came = !result.Data.empty();
        if (sends && form.AnswersWord)
            object[QStringLiteral("word")]
                = came ? QJsonValue(result.Data[0] | result.Data.back() << 8) : QJsonValue();
        if (sends && form.AnswersBytes)
            object[QStringLiteral("bytes")] = came ? QJsonValue(HexText(result.Data)) : QJsonValue();
        if (!report.Remark.isEmpty())
            object[QStringLiteral("remark")] = report.Remark;
        context.Out.PrintJson(object);
        return;
    }
    QString came;
    if (sends) {
        TransactionResult shown = result;
        shown.Code = ErrorCode::Ok; // also an answer that was not the expected one
        came = AnswerText(step.Sent.Kind, shown);
        if (Failed(result.Code))
            came += QStringLiteral("  ! %1").arg(report.Remark.isEmpty() ? ErrorCodeToText(result.Code)
                                                                         : report.Remark);
    }
    QString line = QStringLiteral("%1  line %2  %3").arg(report.Number, 5).arg(step.Line, 4).arg(step.Text);
    if (!came.isEmpty())
        line = line.leftJustified(54) + QStringLiteral("  ") + came.trimmed();
    context.Out.PrintText(line);
}

Outcome Ended(const SequenceEnd& end, bool json)
{
    switch (end.Ended) {
    case SequenceEnd::How::Done: {
        Outcome outcome;
        if (!json)
            outcome.Text = QStringLiteral("%1 steps, all as expected").arg(end.Steps);
        return outcome;
    }
    case SequenceEnd::How::Cancelled:
        return Refused(end.Text);
    case SequenceEnd::How::BusBusy:
        return NoAnswer(end.Code, end.Text);
    case SequenceEnd::How::Failed:
        break;
    }
    const QString text = end.Failures > 1 ? QStringLiteral("%1 of %2 steps failed; the first: %3")
                                                .arg(end.Failures)
                                                .arg(end.Steps)
                                                .arg(end.Text)
                                          : end.Text;
    // an answer that came, but not the expected one, is a failed check and no silent gauge
    return end.Code == ErrorCode::CompareDifferent ? Refused(text) : NoAnswer(end.Code, text);
}

Outcome RunSequence(CommandContext& context, const Arguments& arguments)
{
    Outcome failed;
    Sequence sequence;
    if (!Load(arguments.Text(QStringLiteral("file")), sequence, failed))
        return failed;
    GaugeSession* gauge = context.Gauge(failed);
    if (!gauge)
        return failed;
    const StartupState& startup = *context.Startup(failed);
    const ProSettings settings = ReadProSettings(context.Profiles, startup);
    if (!settings.Problem.isEmpty())
        context.Messages.Show(settings.Problem);
    TransactionSender sender(gauge->Usb(), gauge->Time(), startup.TargetAddress, settings.Memory);
    SequenceRunner runner(sender, gauge->Usb(), gauge->Access(), gauge->Time());
    const std::int64_t start = gauge->Time().MonotonicMs();
    const SequenceEnd end = runner.Run(
        sequence, {!arguments.On(QStringLiteral("go_on")), QStringLiteral("tarnlo-cli sequence")},
        [&](const StepReport& report) { Print(context, report, gauge->Time().MonotonicMs() - start); },
        [&] { return Interrupt::Asked() || context.Out.Broken(); });
    return Ended(end, context.Out.Json());
}

Outcome CheckSequence(CommandContext&, const Arguments& arguments)
{
    Outcome outcome;
    Sequence sequence;
    if (!Load(arguments.Text(QStringLiteral("file")), sequence, outcome))
        return outcome;
    outcome.Json = {{QStringLiteral("steps"), static_cast<double>(sequence.Turns())},
                    {QStringLiteral("writes"), QJsonArray::fromStringList(sequence.Writes())}};
    outcome.Text
        = QStringLiteral("%1 steps, %2 lines that write").arg(sequence.Turns()).arg(sequence.Writes().size());
    return outcome;
}

} // namespace

std::vector<CommandSpec> SequenceCommands()
{
    return {
        {.Path = "sequence", .Summary = "Sequences of transactions from a text file"},
        {.Path = "sequence run",
         .Summary = "Send a sequence and check the answers; the bus is held until it ends",
         .Arguments = {kFile, {"--go-on", "Go on after a failure", ArgumentKind::Switch}},
         .Examples = {"tarnlo-cli sequence run check.seq --target sim4s/Config.ini",
                      "tarnlo-cli --json sequence run soak.seq --go-on"},
         .Run = RunSequence},
        {.Path = "sequence check",
         .Summary = "Look for mistakes in a sequence without sending anything",
         .Arguments = {kFile},
         .Examples = {"tarnlo-cli sequence check check.seq"},
         .Run = CheckSequence},
    };
}
