#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/DataFlashSource.h"
#include "cli/DataFlashValues.h"
#include "cli/TextTable.h"
#include "dataflash/AutoExport.h"
#include "dataflash/DataFlashDiff.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/SpecialExport.h"
#include "platform/Interrupt.h"
#include "platform/ProgramFolder.h"
#include "platform/SystemTime.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <limits>

namespace {

QString ConfigOf(const Arguments& arguments) { return arguments.Text(QStringLiteral("config")); }

/// What a file is made of: the gauge's values, or with --config those of the configuration and of --values.
struct Exported {
    DataFlashTree Tree;
    QString DeviceName;
    QString IsoTime;
};

bool Gather(CommandContext& context, const Arguments& arguments, Exported& exported, Outcome& failed)
{
    if (!arguments.Has(QStringLiteral("config"))) {
        if (arguments.Has(QStringLiteral("values"))) {
            failed = WrongUsage(QStringLiteral("--values goes with --config: a gauge brings its own"));
            return false;
        }
        const auto source = DataFlashSource::Open(context, {}, failed);
        if (!source || !source->ReadAll(failed))
            return false;
        exported = {source->Flash().Tree(), source->Flash().DeviceName(), source->IsoTime()};
        return true;
    }
    if (!LoadLayout(context, ConfigOf(arguments), exported.Tree, failed))
        return false;
    exported.DeviceName = DeviceNameOf(context, *context.Startup(failed));
    exported.IsoTime = SystemTime().Now().toString(Qt::ISODate);
    exported.Tree = WithDefaults(exported.Tree);
    if (!arguments.Has(QStringLiteral("values")))
        return true;
    const QString problem = PutValuesFile(exported.Tree, arguments.Text(QStringLiteral("values")));
    if (!problem.isEmpty())
        failed = Refused(problem);
    return problem.isEmpty();
}

/// Items whose text no import would take, one line each.
QStringList Unusable(const DataFlashTree& tree)
{
    QStringList lines;
    ForEachItem(tree, [&](const ItemPlace& at, const DataClass&, const SubClass&, const DataItem& item) {
        QString why;
        if (!HasValue(item, item.Value))
            lines << QStringLiteral("%1 %2 has no value").arg(GgSection(tree, at), item.Name);
        else if (!item.Value.isEmpty() && !BytesOf(item, item.Value, &why))
            lines << QStringLiteral("%1 %2 \"%3\" will be refused by an import: %4")
                         .arg(GgSection(tree, at), item.Name, item.Value, why);
    });
    return lines;
}

QJsonObject Named(const DataFlashTree& tree, const ItemPlace& at)
{
    const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(at.Class)];
    return {{QStringLiteral("class"), dataClass.Name},
            {QStringLiteral("subclass"), dataClass.SubClasses[static_cast<std::size_t>(at.SubClass)].Name},
            {QStringLiteral("item"), ItemAt(tree, at).Name}};
}

Outcome Export(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    Exported exported;
    if (!Gather(context, arguments, exported, outcome))
        return outcome;
    QStringList lost;
    const QString file = arguments.Text(QStringLiteral("file"));
    if (const QString problem = ExportDF(exported.Tree, exported.DeviceName, exported.IsoTime, file, lost);
        !problem.isEmpty())
        return Refused(problem);
    const QStringList unusable = Unusable(exported.Tree);
    for (const QString& line : lost + unusable)
        context.Messages.Show(line);

    // what reading the file back would change or miss
    const GgImport again = ReadGg(file, exported.Tree, exported.DeviceName);
    QJsonArray changed;
    for (const GgImport::Entry& entry : again.Changed) {
        QJsonObject object = Named(exported.Tree, entry.Place);
        object[QStringLiteral("old")] = entry.Old;
        object[QStringLiteral("new")] = entry.New;
        changed << object;
    }
    const int items = exported.Tree.ItemCount();
    outcome.Json = {{QStringLiteral("file"), file},
                    {QStringLiteral("items"), items},
                    {QStringLiteral("changed"), changed},
                    {QStringLiteral("missing"), QJsonArray::fromStringList(again.Missing)}};
    outcome.Text = QStringLiteral("%1 items written to %2").arg(items).arg(file);
    return outcome;
}

Outcome Special(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    Exported exported;
    if (!Gather(context, arguments, exported, outcome))
        return outcome;
    QStringList warnings;
    const QString file = arguments.Text(QStringLiteral("file"));
    const bool done
        = SpecialExport(exported.Tree, exported.DeviceName, exported.IsoTime,
                        context.Startup(outcome)->ProgramFolder, file, context.Messages, warnings);
    for (const QString& warning : warnings)
        context.Messages.Show(warning);
    if (!done)
        return Refused(QStringLiteral("%1 was not written").arg(file));
    outcome.Json = {{QStringLiteral("file"), file}};
    outcome.Text = QStringLiteral("written to %1").arg(file);
    return outcome;
}

/// One side of a comparison.
struct Side {
    DataFlashTree Tree;
    QStringList Missing; ///< items that it has no value for, the file named
    QStringList Unknown; ///< entries that the target does not have
};

bool TakeSide(CommandContext& context, const Arguments& arguments, const DataFlashTree& layout,
              const QString& written, Side& side, Outcome& failed)
{
    if (written == QLatin1String("gauge")) {
        const auto source = DataFlashSource::Open(context, ConfigOf(arguments), failed);
        if (!source || !source->ReadAll(failed))
            return false;
        side.Tree = source->Flash().Tree();
        return true;
    }
    const QString device = DeviceNameOf(context, *context.Startup(failed));
    side.Tree = layout;
    if (written == QLatin1String("defaults")) {
        if (const QString file = DefaultsPath(context.Profiles, *context.Startup(failed)); !file.isEmpty())
            if (const GgImport defaults = UseDefaultsFile(file, side.Tree, device); !defaults.Ok()) {
                failed = Refused(defaults.Error);
                return false;
            }
        side.Tree = WithDefaults(side.Tree);
        return true;
    }
    const GgImport import = ReadGg(written, side.Tree, device);
    if (!import.Ok()) {
        failed = Refused(import.Error);
        return false;
    }
    ApplyGg(import, side.Tree);
    if (import.OtherDevice)
        context.Messages.Show(
            QStringLiteral("%1 was made for the device \"%2\"").arg(written, import.DeviceName));
    for (const QString& warning : import.Warnings)
        context.Messages.Show(written + QStringLiteral(", ") + warning);
    for (const QString& missing : import.Missing)
        side.Missing << QStringLiteral("%1 (%2)").arg(missing, written);
    for (const GgImport::Entry& refused : import.Refused)
        side.Missing << QStringLiteral("Refused value: %1 %2 \"%3\": %4 (%5)")
                            .arg(GgSection(side.Tree, refused.Place), ItemAt(side.Tree, refused.Place).Name,
                                 refused.New, refused.Note, written);
    for (const QString& unknown : import.Unknown)
        side.Unknown << QStringLiteral("%1 (%2)").arg(unknown, written);
    return true;
}

Outcome Diff(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    DataFlashTree layout;
    Side a;
    Side b;
    if (!LoadLayout(context, ConfigOf(arguments), layout, outcome)
        || !TakeSide(context, arguments, layout, arguments.Text(QStringLiteral("a")), a, outcome)
        || !TakeSide(context, arguments, layout, arguments.Text(QStringLiteral("b")), b, outcome))
        return outcome;
    const DataFlashDiff diff = Compare(a.Tree, b.Tree);
    QJsonArray changed;
    QStringList missing = a.Missing + b.Missing;
    TextTable table(
        {QStringLiteral("Section"), QStringLiteral("Item"), QStringLiteral("A"), QStringLiteral("B")});
    for (const DataFlashDiff::Entry& entry : diff.Entries) {
        const DataItem& item = ItemAt(layout, entry.Place);
        const QString section = GgSection(layout, entry.Place);
        if (!HasValue(item, entry.A) || !HasValue(item, entry.B)) {
            const QString line = QStringLiteral("Missing value: %1 %2").arg(section, item.Name);
            const auto said = [&](const QString& other) { return other.contains(line.mid(15)); };
            if (std::ranges::none_of(missing, said))
                missing << line;
            continue;
        }
        QJsonObject object = Named(layout, entry.Place);
        object[QStringLiteral("a")] = entry.A;
        object[QStringLiteral("b")] = entry.B;
        changed << object;
        table.AddRow({section, item.Name, entry.A, entry.B});
    }
    const QStringList unknown = a.Unknown + b.Unknown;
    outcome.Json = {{QStringLiteral("changed"), changed},
                    {QStringLiteral("missing"), QJsonArray::fromStringList(missing)},
                    {QStringLiteral("unknown"), QJsonArray::fromStringList(unknown)},
                    {QStringLiteral("same"), diff.Same}};
    QStringList lines = changed.isEmpty() ? QStringList() : table.Lines();
    lines << missing;
    for (const QString& entry : unknown)
        lines << QStringLiteral("Unknown: ") + entry;
    lines << QStringLiteral("%1 differ, %2 same, %3 missing, %4 unknown")
                 .arg(changed.size())
                 .arg(diff.Same)
                 .arg(missing.size())
                 .arg(unknown.size());
    outcome.Text = lines.join(QLatin1Char('\n'));
    // nothing is called equal that was not compared
    if (!diff.Equal() || !missing.isEmpty() || !unknown.isEmpty())
        outcome.Status = ExitStatus::kRefused;
    return outcome;
}

Outcome Automatic(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    std::unique_ptr<DataFlashSource> source;
    const auto exportTo = [&source](const QString& path, QStringList& warnings) {
        return ReadAndExport(source->Flash(), source->Gauge().Time(), path, warnings);
    };
    SystemTime unused; // the interval is looked at before an adapter opens and brings its own time
    AutoExport check(unused, exportTo);
    const QString every = arguments.Text(QStringLiteral("every"));
    if (const QStringList refusal = check.SetInterval(every); !refusal.isEmpty())
        return WrongUsage(refusal.front());
    source = DataFlashSource::Open(context, ConfigOf(arguments), outcome);
    if (!source)
        return outcome;
    GaugeSession& gauge = source->Gauge();
    AutoExport automatic(gauge.Time(), exportTo);
    (void)automatic.SetInterval(every);
    automatic.Start(arguments.Text(QStringLiteral("base")));
    const std::int64_t count
        = arguments.Number(QStringLiteral("count"), std::numeric_limits<std::int64_t>::max());
    const std::int64_t begun = gauge.Time().MonotonicMs();
    std::int64_t due = begun + automatic.IntervalMs();
    std::int64_t done = 0;
    QString problem;
    for (std::int64_t tried = 0; tried < count && !Interrupt::Asked() && !context.Out.Broken();) {
        gauge.Wait(due - gauge.Time().MonotonicMs());
        if (Interrupt::Asked())
            break;
        const QDateTime time = gauge.Time().Now();
        const std::int64_t elapsedMs = gauge.Time().MonotonicMs() - begun;
        const int number = automatic.NextNumber();
        const std::optional<AutoExport::Result> result = automatic.Tick();
        while (due <= gauge.Time().MonotonicMs()) // missed ones are left out
            due += automatic.IntervalMs();
        if (!result)
            continue;
        ++tried;
        done += result->Problem.isEmpty() ? 1 : 0;
        problem = result->Problem;
        for (const QString& warning : result->Warnings)
            context.Messages.Show(warning);
        if (context.Out.Json()) {
            QJsonObject line{{QStringLiteral("file"), result->File},
                             {QStringLiteral("number"), number},
                             {QStringLiteral("time"), time.toString(Qt::ISODateWithMs)},
                             {QStringLiteral("elapsed_ms"), qint64{elapsedMs}},
                             {QStringLiteral("replaced"), result->Replaced}};
            if (!result->Problem.isEmpty())
                line[QStringLiteral("error")] = result->Problem;
            if (const QStringList messages = context.Messages.Take(); !messages.isEmpty())
                line[QStringLiteral("messages")] = QJsonArray::fromStringList(messages);
            context.Out.PrintJson(line);
        } else {
            context.Out.PrintText(result->Problem.isEmpty() ? result->File : result->Problem);
        }
    }
    if (done == 0 && !problem.isEmpty()) {
        outcome.Status = source->Flash().LastReadAllOK() ? ExitStatus::kRefused : ExitStatus::kNoAnswer;
        outcome.Error = QStringLiteral("no file was written: ") + problem;
    } else if (!problem.isEmpty()) {
        outcome.Status = ExitStatus::kRefused;
        outcome.Error = problem;
    }
    return outcome;
}

} // namespace

std::vector<CommandSpec> DataFlashFileCommands()
{
    const ArgumentSpec config{"--config", "Data flash configuration, in place of the target's"};
    const ArgumentSpec values{"--values", "JSON file: {\"class\": {\"subclass\": {\"item\": \"value\"}}}"};
    return {
        {.Path = "df export",
         .Summary = "Save the gauge's data flash, or with --config a configuration's values, as a .gg file",
         .Arguments = {{"FILE", ".gg file; one that is there is replaced", ArgumentKind::Text, true},
                       {"--config", "Data flash configuration: its default values, and no gauge"},
                       values},
         .Examples
         = {"tarnlo-cli df export pack.gg --target sim4s/Config.ini",
            "tarnlo-cli df export --config sim4s/sim4s-dataflash.toml --values mine.json golden.gg"},
         .Run = Export},
        {.Path = "df diff",
         .Summary = "Compare two sets of values; ends with 1 when they differ",
         .Arguments = {{"A", "A .gg file, gauge or defaults", ArgumentKind::Text, true},
                       {"B", "A .gg file, gauge or defaults", ArgumentKind::Text, true},
                       config},
         .Examples = {"tarnlo-cli df diff golden.gg gauge --target sim4s/Config.ini",
                      "tarnlo-cli df diff monday.gg tuesday.gg --target sim4s/Config.ini --json"},
         .Run = Diff},
        {.Path = "df autoexport",
         .Summary = "Save the gauge's data flash to numbered .gg files at an interval",
         .Arguments
         = {{"--base", "Name that _00000.gg is put to", ArgumentKind::Text, true},
            {"--every", "Seconds from one file to the next, 15 to 86400", ArgumentKind::Text, true},
            {"--count", "How many files (default: until Ctrl+C)", ArgumentKind::Number, false, 1,
             std::numeric_limits<std::int64_t>::max()},
            config},
         .Examples = {"tarnlo-cli df autoexport --base night/pack --every 600 --target sim4s/Config.ini"},
         .Run = Automatic},
        {.Path = "df special-export",
         .Summary = "Save the data flash in the form of the template that SpecialExport.ini names",
         .Arguments = {{"FILE", "File to write; one that is there is replaced", ArgumentKind::Text, true},
                       {"--config", "Data flash configuration: its default values, and no gauge"},
                       values},
         .Examples = {"tarnlo-cli df special-export pack.csv --target sim4s/Config.ini"},
         .Run = Special},
    };
}
