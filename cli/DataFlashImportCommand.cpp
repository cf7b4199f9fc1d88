#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/DataFlashSource.h"
#include "cli/DataFlashValues.h"
#include "cli/TextTable.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgBackup.h"
#include "dataflash/GgFile.h"
#include "dataflash/UnitRecords.h"
#include "platform/WholeFile.h"

#include <QCryptographicHash>
#include <QJsonArray>

namespace {

QJsonArray Entries(const std::vector<GgImport::Entry>& entries, const DataFlashTree& tree)
{
    QJsonArray list;
    for (const GgImport::Entry& entry : entries) {
        const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(entry.Place.Class)];
        QJsonObject object{{QStringLiteral("class"), dataClass.Name},
                           {QStringLiteral("subclass"),
                            dataClass.SubClasses[static_cast<std::size_t>(entry.Place.SubClass)].Name},
                           {QStringLiteral("item"), ItemAt(tree, entry.Place).Name},
                           {QStringLiteral("old"), entry.Old.isNull() ? QJsonValue() : QJsonValue(entry.Old)},
                           {QStringLiteral("new"), entry.New}};
        if (!entry.Note.isEmpty())
            object[QStringLiteral("why")] = entry.Note;
        list << object;
    }
    return list;
}

/// Only what had a value before can be changed; what a file brings where nothing was known is in "values".
std::vector<GgImport::Entry> WithOld(const std::vector<GgImport::Entry>& entries)
{
    std::vector<GgImport::Entry> known;
    for (const GgImport::Entry& entry : entries)
        if (!entry.Old.isNull())
            known.push_back(entry);
    return known;
}

QString ChangedTable(const std::vector<GgImport::Entry>& entries, const DataFlashTree& tree)
{
    TextTable table({QStringLiteral("Section"), QStringLiteral("Item"), QStringLiteral("Before"),
                     QStringLiteral("After")});
    for (const GgImport::Entry& entry : entries)
        table.AddRow({GgSection(tree, entry.Place), ItemAt(tree, entry.Place).Name, entry.Old, entry.New});
    return entries.empty() ? QString() : table.Text() + QLatin1Char('\n');
}

/// The report in both forms, the tree still as it was before the import.
void Tell(CommandContext& context, const GgImport& import, const DataFlashTree& tree, Outcome& outcome)
{
    const std::vector<GgImport::Entry> changed = WithOld(import.Changed);
    outcome.Json = {{QStringLiteral("device"), import.DeviceName},
                    {QStringLiteral("changed"), Entries(changed, tree)},
                    {QStringLiteral("same"), import.Same},
                    {QStringLiteral("missing"), QJsonArray::fromStringList(import.Missing)},
                    {QStringLiteral("unknown"), QJsonArray::fromStringList(import.Unknown)},
                    {QStringLiteral("out_of_range"), Entries(import.OutOfRange, tree)},
                    {QStringLiteral("refused"), Entries(import.Refused, tree)}};
    outcome.Text = ChangedTable(changed, tree) + GgReport(import, tree).join(QLatin1Char('\n'));
    if (!context.Out.Json())
        return;
    if (!import.Missing.isEmpty()) // one report, a line each
        context.Messages.Show(import.Missing.join(QLatin1Char('\n')));
    for (const QString& warning : import.Warnings)
        context.Messages.Show(warning);
}

QString RefusedText(const GgImport& import, const DataFlashTree& tree)
{
    const GgImport::Entry& first = import.Refused.front();
    return QStringLiteral("%1 values of the file are refused, the first one %2 %3 \"%4\": %5")
        .arg(import.Refused.size())
        .arg(GgSection(tree, first.Place), ItemAt(tree, first.Place).Name, first.New, first.Note);
}

Outcome Fail(Outcome outcome, int status, const QString& error)
{
    outcome.Status = status;
    outcome.Error = error;
    return outcome;
}

Outcome NotAccepted(Outcome outcome, const QString& why)
{
    return Fail(std::move(outcome), ExitStatus::kRefused, why + QStringLiteral("; nothing was changed"));
}

/// Questions before anything is changed. @return empty, or why it is not
QString AskBefore(CommandContext& context, const GgImport& import, const DataFlashTree& tree, bool write)
{
    if (!AcceptDevice(import, context.Messages))
        return QStringLiteral("the file was made for the device \"%1\" (--yes takes it all the same)")
            .arg(import.DeviceName);
    const auto agreed = [&](const QString& question) {
        return context.Messages.Ask(question, Answer::Yes | Answer::No) == Answer::Yes;
    };
    if (write && import.LooksCut // and what it still holds may be half of a value
        && !agreed(
            QStringLiteral("The last line of the file has no end: it may be cut. Write it all the same?")))
        return QStringLiteral(
            "the last line of the file has no end, so it may be cut (--yes writes it; a line "
            "end behind it says that it is whole)");
    if (write && !import.Refused.empty()
        && !agreed(QStringLiteral("%1. Write the others?").arg(RefusedText(import, tree))))
        return RefusedText(import, tree);
    if (write && !import.OutOfRange.empty()
        && !agreed(QStringLiteral("%1 values are outside their limits. Write them anyway?")
                       .arg(import.OutOfRange.size())))
        return QStringLiteral(
                   "%1 values are outside their limits, the first one %2 %3: %4 (--yes writes them)")
            .arg(import.OutOfRange.size())
            .arg(GgSection(tree, import.OutOfRange.front().Place),
                 ItemAt(tree, import.OutOfRange.front().Place).Name, import.OutOfRange.front().Note);
    return {};
}

/// Against a configuration alone, or with the values that --values names.
Outcome ImportOffline(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    DataFlashTree tree;
    if (!LoadLayout(context, arguments.Text(QStringLiteral("config")), tree, outcome))
        return outcome;
    if (arguments.Has(QStringLiteral("values")))
        if (const QString problem = PutValuesFile(tree, arguments.Text(QStringLiteral("values")));
            !problem.isEmpty())
            return Refused(problem);
    const QString device = DeviceNameOf(context, *context.Startup(outcome));
    const GgImport import = ReadGg(arguments.Text(QStringLiteral("file")), tree, device);
    if (!import.Ok())
        return Refused(import.Error);
    Tell(context, import, tree, outcome);
    const QString refusal = AskBefore(context, import, tree, false);
    if (refusal.isEmpty())
        ApplyGg(import, tree);
    outcome.Json[QStringLiteral("values")] = ValuesJson(tree);
    if (!refusal.isEmpty())
        return NotAccepted(std::move(outcome), refusal);
    return import.Refused.empty() ? outcome : Fail(outcome, ExitStatus::kRefused, RefusedText(import, tree));
}

/// Subclasses that a write did not reach, or where it did not take.
QStringList Failures(const TransferReport& report, const DataFlashTree& tree)
{
    QStringList names;
    for (const TransferReport::Entry& entry : report.Entries)
        if (entry.What != TransferReport::Fate::Done)
            names << GgSection(tree, {entry.Class, entry.SubClass, 0});
    return names;
}

/// One unit: the file against the gauge and, with --write, into it.
class UnitImport {
public:
    UnitImport(CommandContext& context, const Arguments& arguments, DataFlashSource& source)
        : m_context(context), m_arguments(arguments), m_source(source),
          m_write(arguments.On(QStringLiteral("write")))
    {
    }

    Outcome Run()
    {
        const QString folder
            = m_arguments.Text(QStringLiteral("records"), RecordFolder(m_source.Startup().ProgramFolder));
        if (m_write) // a unit without its record does not count, so none is touched
            if (const QString problem = MakeRecordFolder(folder); !problem.isEmpty())
                return Refused(problem);
        Identify();
        Outcome outcome = Import();
        if (!m_write)
            return outcome;
        m_record.Passed = outcome.Status == ExitStatus::kDone;
        m_record.Error = outcome.Error;
        const QString problem = AppendRecord(folder, m_record);
        outcome.Json[QStringLiteral("serial")] = m_record.Serial;
        outcome.Json[QStringLiteral("verified")] = m_record.Verified;
        outcome.Json[QStringLiteral("backup")] = m_record.Backup;
        if (!problem.isEmpty()) {
            if (outcome.Error.isEmpty())
                return Fail(outcome, ExitStatus::kRefused,
                            QStringLiteral("the unit was written, but ") + problem);
            m_context.Messages.Show(problem);
        }
        return outcome;
    }

private:
    DataFlashTree& Tree() { return m_source.Flash().Tree(); }

    void Identify()
    {
        m_record.Time = m_source.Gauge().Time().Now();
        m_record.DeviceName = m_source.Flash().DeviceName();
        m_record.File = m_arguments.Text(QStringLiteral("file"));
        const std::optional<PackIdentity> pack = m_source.Flash().ReadPack();
        m_record.Serial = pack && pack->Serial ? QString::number(*pack->Serial) : QString();
        m_record.Unit = pack && pack->Known() ? pack->Text() : QString();
    }

    Outcome Import()
    {
        Outcome outcome;
        // first against the layout: a file that cannot be read is no reason to keep a unit waiting
        const FileBytes file = ReadWhole(m_record.File);
        m_record.Sha256
            = QString::fromLatin1(QCryptographicHash::hash(file.bytes, QCryptographicHash::Sha256).toHex());
        if (const GgImport alone = ReadGg(m_record.File, Tree(), m_record.DeviceName); !alone.Ok())
            return Refused(alone.Error);
        if (!m_source.ReadAll(outcome)) {
            m_record.Code = static_cast<std::int32_t>(outcome.Json.value(QStringLiteral("code")).toInteger());
            return outcome;
        }
        const GgImport import = ReadGg(m_record.File, Tree(), m_record.DeviceName);
        if (!import.Ok())
            return Refused(import.Error);
        m_record.Changed = static_cast<int>(import.Changed.size());
        m_record.Same = import.Same;
        m_record.Missing = static_cast<int>(import.Missing.size());
        Tell(m_context, import, Tree(), outcome);
        if (const QString refusal = AskBefore(m_context, import, Tree(), m_write); !refusal.isEmpty())
            return NotAccepted(std::move(outcome), refusal);
        if (!m_write)
            return import.Refused.empty() ? outcome
                                          : Fail(outcome, ExitStatus::kRefused, RefusedText(import, Tree()));
        return Write(import, std::move(outcome));
    }

    Outcome Write(const GgImport& import, Outcome outcome)
    {
        const bool verify = m_arguments.On(QStringLiteral("verify"));
        if (import.Changed.empty()) {
            m_record.Verified = verify; // every value was read just now
            outcome.Text += QStringLiteral("\nNothing to write: the gauge holds these values.");
            return outcome;
        }
        const QString pack = m_record.Serial.isEmpty()
            ? m_record.DeviceName
            : m_record.DeviceName + QLatin1Char(' ') + m_record.Serial;
        const GgBackup backup = SaveBackup(Tree(), m_record.DeviceName, pack, m_record.Time,
                                           BackupFolder(m_source.Startup().ProgramFolder));
        if (!backup.Ok())
            return NotAccepted(std::move(outcome), backup.Problem);
        m_record.Backup = backup.File;
        ApplyGg(import, Tree());
        const TransferReport report = m_source.Flash().WriteChanged(verify);
        m_record.Code = report.Result;
        m_record.Verified = report.Verified;
        const QStringList failures = Failures(report, Tree());
        if (report.Result != DataFlashResult::kOk || report.Cancelled || !failures.isEmpty()
            || (verify && !report.Verified)) {
            const Outcome failed = TransferFailed(report);
            outcome.Json[QStringLiteral("code")] = report.Result;
            outcome.Json[QStringLiteral("failed")] = QJsonArray::fromStringList(failures);
            return Fail(outcome, failed.Status, failed.Error);
        }
        outcome.Json[QStringLiteral("written")] = m_record.Changed;
        outcome.Text += QStringLiteral("\n%1 written%2. Backup: %3")
                            .arg(m_record.Changed == 1 ? QStringLiteral("1 item")
                                                       : QStringLiteral("%1 items").arg(m_record.Changed),
                                 verify ? QStringLiteral(" and verified") : QString(), backup.File);
        return outcome;
    }

    CommandContext& m_context;
    const Arguments& m_arguments;
    DataFlashSource& m_source;
    bool m_write;
    UnitRecord m_record;
};

Outcome Import(CommandContext& context, const Arguments& arguments)
{
    const bool write = arguments.On(QStringLiteral("write"));
    if (arguments.On(QStringLiteral("verify")) && !write)
        return WrongUsage(QStringLiteral("--verify goes with --write"));
    if (!write && arguments.Has(QStringLiteral("config")))
        return ImportOffline(context, arguments);
    if (arguments.Has(QStringLiteral("values")))
        return WrongUsage(QStringLiteral("--values goes with --config: a gauge brings its own"));
    Outcome failed;
    const auto source = DataFlashSource::Open(context, arguments.Text(QStringLiteral("config")), failed);
    return source ? UnitImport(context, arguments, *source).Run() : failed;
}

} // namespace

std::vector<CommandSpec> DataFlashImportCommands()
{
    return {
        {.Path = "df import",
         .Summary = "Show what a .gg file would change in the gauge, or write it",
         .Arguments = {{"FILE", ".gg file", ArgumentKind::Text, true},
                       {"--write", "Write the values that differ, after a backup", ArgumentKind::Switch},
                       {"--verify", "Read back what was written", ArgumentKind::Switch},
                       {"--records",
                        "Folder of the records, one file a serial number (default: Records of the program "
                        "folder)"},
                       {"--config", "Data flash configuration; without --write no gauge is asked"},
                       {"--values", "JSON file with the values before, for --config"}},
         .Examples = {"tarnlo-cli df import golden.gg --target sim4s/Config.ini",
                      "tarnlo-cli df import golden.gg --write --verify --target sim4s/Config.ini --json",
                      "tarnlo-cli df import --config sim4s/sim4s-dataflash.toml golden.gg --json"},
         .Run = Import},
    };
}
