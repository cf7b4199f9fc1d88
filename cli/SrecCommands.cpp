#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/ImageFile.h"
#include "cli/TextTable.h"
#include "flashimage/ImageDiff.h"
#include "flashimage/clsSrecRW.h"
#include "platform/Interrupt.h"
#include "platform/Sha256.h"

#include <QJsonArray>

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t kShownLines = 20; ///< of a list in the text for people
constexpr std::int64_t kMostFillMiB = 4096; ///< all addresses

const ArgumentSpec kMaxFill{"--max-fill",
                            "FF bytes that one record may add between it and the others, in MiB (default 64)",
                            ArgumentKind::Number,
                            false,
                            0,
                            kMostFillMiB};

std::uint64_t MaxFill(const Arguments& arguments)
{
    return static_cast<std::uint64_t>(arguments.Number(QStringLiteral("max_fill"), clsSrecRW::kMaxFill >> 20))
        << 20;
}

struct NamedRegion {
    QString Key;
    QString Name;
    const clsSrecFlash::Region& Bytes;
};

std::array<NamedRegion, 2> Regions(const clsSrecFlash& image)
{
    return {{{QStringLiteral("df"), QStringLiteral("Data flash"), image.DF},
             {QStringLiteral("pf"), QStringLiteral("Instruction flash"), image.PF}}};
}

QString Address(std::uint64_t address)
{
    return QString::number(address, 16).toUpper().rightJustified(8, QLatin1Char('0'));
}

/// A comment may hold what would steer a terminal.
QString Printable(QString text)
{
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return !c.isPrint(); }, QLatin1Char('.'));
    return text;
}

QJsonArray ErrorsOf(const ReadImage& read)
{
    QJsonArray errors;
    for (const SrecProblem& problem : read.Problems) {
        bool isNumber = false;
        const int number = problem.Status.toInt(&isNumber);
        errors.append(QJsonObject{
            {QStringLiteral("line"), qint64{problem.Line}},
            {QStringLiteral("status"), isNumber ? QJsonValue(number) : QJsonValue(problem.Status)}});
    }
    return errors;
}

QStringList ErrorLines(const ReadImage& read)
{
    QStringList lines;
    for (const SrecProblem& problem : read.Problems) {
        if (lines.size() == kShownLines)
            break;
        lines << QStringLiteral("line %1: %2 (%3)").arg(problem.Line).arg(problem.Text, problem.Status);
    }
    if (const std::int64_t more = read.BadLines - lines.size(); more > 0)
        lines << QStringLiteral("and %1 more").arg(more);
    return lines;
}

/// What an image holds, for both forms of the answer.
Outcome Describe(const ReadImage& read, bool withHashes)
{
    Outcome outcome;
    outcome.Json
        = {{QStringLiteral("comment"), read.Image.S0Comment}, {QStringLiteral("errors"), ErrorsOf(read)}};
    QStringList header{QStringLiteral("Region"), QStringLiteral("Start"), QStringLiteral("Last"),
                       QStringLiteral(">Bytes")};
    if (withHashes)
        header << QStringLiteral("SHA-256");
    TextTable table(header);
    for (const NamedRegion& region : Regions(read.Image)) {
        const bool empty = region.Bytes.Empty();
        QJsonObject json{{QStringLiteral("start"), qint64{region.Bytes.Start()}},
                         {QStringLiteral("size"), static_cast<qint64>(region.Bytes.Size())}};
        QStringList row{region.Name, empty ? QString() : Address(region.Bytes.Start()),
                        empty ? QString() : Address(region.Bytes.End() - 1),
                        QString::number(region.Bytes.Size())};
        if (withHashes) {
            const QString hash = QString::fromLatin1(Sha256(region.Bytes.View()).toHex());
            json[QStringLiteral("sha256")] = hash;
            row << (empty ? QString() : hash);
        }
        outcome.Json[region.Key] = json;
        table.AddRow(row);
    }
    QStringList lines = table.Lines();
    lines << QStringLiteral("Comment: ") + Printable(read.Image.S0Comment) << ErrorLines(read);
    outcome.Text = lines.join(QLatin1Char('\n'));
    return outcome;
}

Outcome Info(CommandContext& context, const Arguments& arguments)
{
    const ReadImage read = ReadImageFile(context, arguments.Text(QStringLiteral("file")), MaxFill(arguments));
    if (read.OfTheFile)
        return Refused(read.Error);
    Outcome outcome = Describe(read, true);
    outcome.Error = read.Error;
    outcome.Status = read.Error.isEmpty() ? ExitStatus::kDone : ExitStatus::kRefused;
    return outcome;
}

Outcome Write(CommandContext& context, const Arguments& arguments)
{
    const ReadImage read = ReadImageFile(context, arguments.Text(QStringLiteral("in")), MaxFill(arguments));
    if (read.OfTheFile)
        return Refused(read.Error);
    Outcome outcome = Describe(read, false);
    if (!read.Error.isEmpty() && !arguments.On(QStringLiteral("force"))) {
        outcome.Status = ExitStatus::kRefused;
        outcome.Error = read.Error
            + QStringLiteral("; nothing was written. With --force what the good lines hold is written.");
        return outcome;
    }
    clsSrecRW writer(context.Messages);
    writer.SetProgress([](std::int64_t /*done*/, std::int64_t /*of*/) { return !Interrupt::Asked(); });
    if (const QString problem = writer.WriteSrec(arguments.Text(QStringLiteral("out")), read.Image);
        !problem.isEmpty())
        return Refused(problem);
    return outcome;
}

struct KindNames {
    const char* Json;
    const char* Text;
};
KindNames NamesOf(DiffRange::Kind kind)
{
    switch (kind) {
    case DiffRange::Kind::OnlyA:
        return {"only_a", "only in A"};
    case DiffRange::Kind::OnlyB:
        return {"only_b", "only in B"};
    case DiffRange::Kind::Differs:
        break;
    }
    return {"differs", "differs"};
}

Outcome Diff(CommandContext& context, const Arguments& arguments)
{
    const ReadImage a = ReadImageFile(context, arguments.Text(QStringLiteral("a")), MaxFill(arguments));
    const ReadImage b = ReadImageFile(context, arguments.Text(QStringLiteral("b")), MaxFill(arguments));
    for (const ReadImage* read : {&a, &b})
        if (read->OfTheFile)
            return Refused(read->Error);

    QJsonArray ranges;
    TextTable table({QStringLiteral("Region"), QStringLiteral("Start"), QStringLiteral("Last"),
                     QStringLiteral(">Bytes"), QStringLiteral("Difference")});
    std::uint64_t rangeCount = 0;
    std::uint64_t byteCount = 0;
    const auto regionsA = Regions(a.Image);
    const auto regionsB = Regions(b.Image);
    for (std::size_t index = 0; index < regionsA.size(); ++index) {
        const RegionDiff diff = CompareRegions(regionsA[index].Bytes, regionsB[index].Bytes);
        rangeCount += diff.RangeCount;
        byteCount += diff.ByteCount;
        for (const DiffRange& range : diff.Ranges) {
            const KindNames names = NamesOf(range.What);
            ranges.append(QJsonObject{{QStringLiteral("region"), regionsA[index].Key},
                                      {QStringLiteral("start"), qint64{range.Start}},
                                      {QStringLiteral("size"), static_cast<qint64>(range.Size)},
                                      {QStringLiteral("kind"), QLatin1String(names.Json)}});
            if (static_cast<std::size_t>(ranges.size()) <= kShownLines)
                table.AddRow({regionsA[index].Name, Address(range.Start),
                              Address(range.Start + range.Size - 1), QString::number(range.Size),
                              QLatin1String(names.Text)});
        }
    }
    Outcome outcome;
    outcome.Json = {{QStringLiteral("ranges"), ranges},
                    {QStringLiteral("range_count"), static_cast<qint64>(rangeCount)},
                    {QStringLiteral("byte_count"), static_cast<qint64>(byteCount)}};
    QStringList lines;
    if (rangeCount == 0)
        lines << QStringLiteral("Both hold the same bytes.");
    else
        lines = table.Lines();
    if (rangeCount > kShownLines)
        lines << QStringLiteral("and %1 ranges more, %2 bytes in all (--json lists them)")
                     .arg(rangeCount - kShownLines)
                     .arg(byteCount);
    outcome.Text = lines.join(QLatin1Char('\n'));
    QStringList errors;
    for (const ReadImage* read : {&a, &b})
        if (!read->Error.isEmpty())
            errors << read->Error;
    outcome.Error = errors.join(QStringLiteral("; "));
    outcome.Status = rangeCount == 0 && errors.isEmpty() ? ExitStatus::kDone : ExitStatus::kRefused;
    return outcome;
}

} // namespace

std::vector<CommandSpec> SrecCommands()
{
    return {
        {.Path = "srec", .Summary = "Look at, rewrite and compare flash images (S-records)"},
        {.Path = "srec info",
         .Summary = "Show comment, regions and bad lines of an image",
         .Arguments = {{"FILE", "Flash image", ArgumentKind::Text, true}, kMaxFill},
         .Examples = {"tarnlo-cli srec info gauge.srec --json"},
         .Run = Info},
        {.Path = "srec write",
         .Summary = "Read an image of any S-record form and write it in the program's own",
         .Arguments
         = {{"IN", "Flash image", ArgumentKind::Text, true},
            {"OUT", "File that is replaced", ArgumentKind::Text, true},
            {"--force", "Write what the good lines hold when others are bad", ArgumentKind::Switch},
            kMaxFill},
         .Examples = {"tarnlo-cli srec write vendor.s19 gauge.srec"},
         .Run = Write},
        {.Path = "srec diff",
         .Summary = "List the ranges in which two images differ; exit status 1 when they do",
         .Arguments = {{"A", "Flash image", ArgumentKind::Text, true},
                       {"B", "The other one", ArgumentKind::Text, true},
                       kMaxFill},
         .Examples = {"tarnlo-cli srec diff before.srec after.srec"},
         .Run = Diff},
    };
}
