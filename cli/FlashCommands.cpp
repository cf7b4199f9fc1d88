#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/ImageFile.h"
#include "flashimage/FlashDesk.h"
#include "flashimage/clsSrecRW.h"
#include "platform/Interrupt.h"
#include "sbs/clsSBSCfgRW.h"

#include <QJsonArray>

#include <algorithm>
#include <optional>

namespace {

const ArgumentSpec kFlashTarget{"--flash-target",
                                "row of Srec.tgt by its name, when it is not the gauge's own"};

QString ModeName(GaugeMode mode)
{
    switch (mode) {
    case GaugeMode::Firmware:
        return QStringLiteral("firmware");
    case GaugeMode::Rom:
        return QStringLiteral("rom");
    case GaugeMode::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

/// The gauge and what is known of its flash.
struct Desk {
    GaugeSession* Gauge = nullptr;
    std::optional<FlashDesk> At;
};

/// @return false when there is no adapter, no such flash target or no answer; failed then says why
bool Prepare(CommandContext& context, const Arguments& arguments, Desk& desk, Outcome& failed)
{
    desk.Gauge = context.Gauge(failed);
    if (!desk.Gauge)
        return false;
    const StartupState& startup = *context.Startup(failed);
    FlashDesk& at = desk.At.emplace(context.Profiles, startup, context.Messages, desk.Gauge->Usb(),
                                    desk.Gauge->Access(), desk.Gauge->Time(),
                                    [](const QString& path, std::vector<FlashTarget>& targets) {
                                        TextGrid grid;
                                        QString problem = clsSBSCfgRW().PopulateSrecTarget(grid, path);
                                        targets = FlashTargetsOf(grid.cells);
                                        return problem;
                                    });
    at.Look();
    if (!at.CanFlash()) {
        failed = NoAnswer(at.ModeError(),
                          QStringLiteral("this adapter cannot read or program flash (%1)")
                              .arg(ErrorCodeToText(at.ModeError())));
        return false;
    }
    if (Failed(at.ModeError())) {
        failed = NoAnswer(at.ModeError());
        return false;
    }
    if (const QString name = arguments.Text(QStringLiteral("flash_target")); !name.isEmpty()) {
        const auto found = std::find_if(at.Targets().begin(), at.Targets().end(),
                                        [&name](const FlashTarget& target) { return target.Name == name; });
        if (found == at.Targets().end()) {
            QStringList names;
            for (const FlashTarget& target : at.Targets())
                names << QStringLiteral("\"%1\"").arg(target.Name);
            failed = Refused(QStringLiteral("Srec.tgt has no flash target \"%1\"; it has %2")
                                 .arg(name, names.join(QStringLiteral(", "))));
            return false;
        }
        at.Choose(static_cast<int>(found - at.Targets().begin()));
    }
    return true;
}

Outcome NoTarget(const FlashDesk& desk)
{
    return Refused(desk.TargetsProblem().isEmpty()
                       ? QStringLiteral("no row of Srec.tgt is for this gauge; --flash-target chooses one")
                       : desk.TargetsProblem());
}

Outcome Ended(const FlashOutcome& ended)
{
    Outcome outcome;
    if (ended.Code == ErrorCode::NoUsb || ended.Code == ErrorCode::NoAcknowledge)
        outcome = NoAnswer(ended.Code, ended.Text);
    else if (!ended.Ok())
        outcome = Refused(ended.Text);
    outcome.Json[QStringLiteral("code")] = Number(ended.Code);
    outcome.Json[QStringLiteral("mode")] = ModeName(ended.Mode);
    outcome.Json[QStringLiteral("bytes")] = static_cast<double>(ended.Bytes);
    outcome.Json[QStringLiteral("text")] = ended.Text;
    outcome.Text = ended.Ok() ? ended.Text : QString();
    return outcome;
}

void StopWhenAsked(FlashProgrammer& programmer)
{
    programmer.OnProgress = [&programmer](const FlashProgress&) {
        if (Interrupt::Asked())
            programmer.Cancel();
    };
}

/// @return false for a file with problems: bytes may be missing in what it gave
bool TakeImage(CommandContext& context, const QString& path, clsSrecFlash& image, Outcome& failed)
{
    ReadImage read = ReadImageFile(context, path);
    image = std::move(read.Image);
    if (!read.Error.isEmpty())
        failed = Refused(read.Error
                         + (read.Error.endsWith(QLatin1Char('.')) ? QStringLiteral(" Nothing was sent.")
                                                                  : QStringLiteral("; nothing was sent")));
    return read.Error.isEmpty();
}

Outcome FlashMode(CommandContext& context, const Arguments& arguments)
{
    Desk desk;
    Outcome outcome;
    if (!Prepare(context, arguments, desk, outcome))
        return outcome;
    const bool runs = desk.At->Mode() == GaugeMode::Firmware;
    const ErrorCode code = runs ? ErrorCode::DevGgMode : ErrorCode::DevRomMode;
    outcome.Json
        = {{QStringLiteral("mode"), ModeName(desk.At->Mode())}, {QStringLiteral("status"), Number(code)}};
    if (const FlashTarget* target = desk.At->Target())
        outcome.Json[QStringLiteral("flash_target")] = target->Name;
    outcome.Text = (runs ? QStringLiteral("The gauge runs its firmware (%1).")
                         : QStringLiteral("The gauge is in its boot ROM (%1)."))
                       .arg(ErrorCodeToText(code));
    return outcome;
}

Outcome FlashRead(CommandContext& context, const Arguments& arguments)
{
    Desk desk;
    Outcome outcome;
    if (!Prepare(context, arguments, desk, outcome))
        return outcome;
    if (!desk.At->Target())
        return NoTarget(*desk.At);
    StopWhenAsked(desk.At->Programmer());
    clsSrecFlash image;
    const FlashOutcome ended = desk.At->Read(image);
    outcome = Ended(ended);
    if (ended.Bytes == 0) // else it was read, whatever the firmware did afterwards
        return outcome;
    clsSrecRW writer(context.Messages);
    const QString problem = writer.WriteSrec(arguments.Text(QStringLiteral("file")), image);
    return problem.isEmpty() ? outcome : Refused(problem);
}

Outcome FlashProgram(CommandContext& context, const Arguments& arguments)
{
    const FlashOptions options{.MassErase = arguments.On(QStringLiteral("mass_erase")),
                               .Verify = !arguments.On(QStringLiteral("no_verify")),
                               .Data = !arguments.On(QStringLiteral("leave_data"))};
    Outcome outcome;
    clsSrecFlash image;
    if (!TakeImage(context, arguments.Text(QStringLiteral("file")), image, outcome))
        return outcome;
    if (arguments.On(QStringLiteral("leave_instruction")))
        image.PFMode = ProgramMode::kLeave;
    Desk desk;
    if (!Prepare(context, arguments, desk, outcome))
        return outcome;
    const std::vector<FlashFinding> findings = desk.At->Check(image, options);
    QStringList refused;
    for (const FlashFinding& finding : findings) {
        const QString text = Failed(finding.Code)
            ? QStringLiteral("%1: %2").arg(ErrorCodeToText(finding.Code), finding.Text)
            : finding.Text;
        if (finding.Refuses)
            refused << text;
        else
            context.Messages.Show(text);
    }
    if (!refused.isEmpty()) {
        outcome = Refused(refused.join(QLatin1Char('\n')) + QStringLiteral("\nNothing was sent."));
        const auto first = std::find_if(findings.begin(), findings.end(),
                                        [](const FlashFinding& finding) { return finding.Refuses; });
        outcome.Json[QStringLiteral("code")] = Number(first->Code);
        return outcome;
    }
    const FlashPlan plan = desk.At->Plan(image, options);
    QStringList parts;
    for (const FlashPart& part : plan.Parts)
        parts << QStringLiteral("%1 rows erased and %2 programmed from %3 on")
                     .arg(part.EraseRows)
                     .arg(part.ProgramRows)
                     .arg(part.Start, 8, 16, QLatin1Char('0'));
    const QString question
        = QStringLiteral("%1%2; %3 bytes, about %4 s. Program the gauge?")
              .arg(plan.MassErase ? QStringLiteral("Mass erase of the whole gauge; ") : QString(),
                   parts.join(QStringLiteral("; ")))
              .arg(plan.Bytes)
              .arg(plan.Seconds);
    if (context.Messages.Ask(question, Answer::Yes | Answer::No) != Answer::Yes)
        return Refused(QStringLiteral("not confirmed; nothing was sent"));
    StopWhenAsked(desk.At->Programmer());
    return Ended(desk.At->Programmer().Program(image, options));
}

Outcome FlashVerify(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    clsSrecFlash image;
    Desk desk;
    if (!TakeImage(context, arguments.Text(QStringLiteral("file")), image, outcome)
        || !Prepare(context, arguments, desk, outcome))
        return outcome;
    if (!desk.At->Target())
        return NoTarget(*desk.At);
    StopWhenAsked(desk.At->Programmer());
    return Ended(desk.At->Programmer().Verify(image));
}

Outcome FlashRecover(CommandContext& context, const Arguments& arguments)
{
    Desk desk;
    Outcome outcome;
    if (!Prepare(context, arguments, desk, outcome))
        return outcome;
    if (!desk.At->Target())
        return NoTarget(*desk.At);
    return Ended(desk.At->Programmer().StartFirmware());
}

} // namespace

std::vector<CommandSpec> FlashCommands()
{
    const ArgumentSpec file{"FILE", "S-record file", ArgumentKind::Text, true};
    return {
        {.Path = "flash", .Summary = "Read, program and recover a gauge's flash"},
        {.Path = "flash mode",
         .Summary = "Say whether the gauge runs its firmware or is in its boot ROM",
         .Examples = {"tarnlo-cli flash mode --json"},
         .Run = FlashMode},
        {.Path = "flash read",
         .Summary = "Read data flash and instruction flash into a file",
         .Arguments = {file, kFlashTarget},
         .Examples = {"tarnlo-cli flash read gauge.srec"},
         .Run = FlashRead},
        {.Path = "flash program",
         .Summary = "Check, erase, program, verify and start",
         .Arguments = {file,
                       {"--mass-erase", "erase both flashes as a whole first", ArgumentKind::Switch},
                       {"--no-verify", "do not read back and compare", ArgumentKind::Switch},
                       {"--leave-data", "leave the data flash alone", ArgumentKind::Switch},
                       {"--leave-instruction", "leave the instruction flash alone", ArgumentKind::Switch},
                       kFlashTarget},
         .Examples = {"tarnlo-cli flash program new.srec --yes",
                      "tarnlo-cli flash program new.srec --mass-erase --yes"},
         .Run = FlashProgram},
        {.Path = "flash verify",
         .Summary = "Compare the gauge's flash with a file",
         .Arguments = {file, kFlashTarget},
         .Examples = {"tarnlo-cli flash verify gauge.srec"},
         .Run = FlashVerify},
        {.Path = "flash recover",
         .Summary = "Start the firmware of a gauge that is in its boot ROM",
         .Arguments = {kFlashTarget},
         .Examples = {"tarnlo-cli flash recover"},
         .Run = FlashRecover},
    };
}
