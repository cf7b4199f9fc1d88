#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/DataFlashSource.h"
#include "cli/DataFlashValues.h"
#include "cli/PendingWriteReport.h"
#include "cli/TextTable.h"
#include "dataflash/DataFlashDiff.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemText.h"
#include "dataflash/ValueEncoding.h"
#include "platform/Interrupt.h"

#include <QJsonArray>

#include <algorithm>

namespace {

constexpr int kWatchMs = 50;

const ArgumentSpec kConfig{"--config", "Data flash configuration, in place of the target's"};

bool Same(const QString& name, const QString& written)
{
    return name.compare(written.trimmed(), Qt::CaseInsensitive) == 0;
}

/// The items that the arguments class, subclass (name or number) and item name; what is left out is all.
std::vector<ItemPlace> Chosen(const DataFlashTree& tree, const Arguments& arguments)
{
    const auto named = [&](const char* key, std::initializer_list<QString> names) {
        const QString written = arguments.Text(QLatin1String(key));
        return !arguments.Has(QLatin1String(key))
            || std::ranges::any_of(names, [&](const QString& name) { return Same(name, written); });
    };
    std::vector<ItemPlace> places;
    ForEachItem(
        tree,
        [&](const ItemPlace& at, const DataClass& dataClass, const SubClass& subClass, const DataItem& item) {
            if (named("class", {dataClass.Name})
                && named("subclass", {subClass.Name, QString::number(subClass.Id)})
                && named("item", {item.Name, item.FullName}))
                places.push_back(at);
        });
    return places;
}

/// Names the first part of the place that the configuration does not have, and what it has there.
Outcome NoSuchPlace(const DataFlashTree& tree, const Arguments& arguments)
{
    const auto refused = [](const QString& what, const QStringList& names) {
        return Refused(QStringLiteral("%1; there are: %2. \"tarnlo-cli df info\" lists everything")
                           .arg(what, names.join(QStringLiteral(", "))));
    };
    const QString className = arguments.Text(QStringLiteral("class"));
    const QString subClassName = arguments.Text(QStringLiteral("subclass"));
    QStringList names;
    for (const DataClass& dataClass : tree.Classes) {
        names << dataClass.Name;
        if (!Same(dataClass.Name, className))
            continue;
        QStringList subNames;
        for (const SubClass& subClass : dataClass.SubClasses) {
            subNames << QStringLiteral("%1 (%2)").arg(subClass.Name).arg(subClass.Id);
            if (!Same(subClass.Name, subClassName) && !Same(QString::number(subClass.Id), subClassName))
                continue;
            QStringList items;
            for (const DataItem& item : subClass.Items)
                items << item.Name;
            return refused(QStringLiteral("subclass %1 has no item \"%2\"")
                               .arg(subNames.back(), arguments.Text(QStringLiteral("item"))),
                           items);
        }
        return refused(QStringLiteral("class %1 has no subclass \"%2\"").arg(dataClass.Name, subClassName),
                       subNames);
    }
    return refused(QStringLiteral("the configuration has no class \"%1\"").arg(className), names);
}

const SubClass& SubClassAt(const DataFlashTree& tree, const ItemPlace& at)
{
    return tree.Classes[static_cast<std::size_t>(at.Class)].SubClasses[static_cast<std::size_t>(at.SubClass)];
}

QJsonObject Named(const DataFlashTree& tree, const ItemPlace& at)
{
    return {{QStringLiteral("class"), tree.Classes[static_cast<std::size_t>(at.Class)].Name},
            {QStringLiteral("subclass"), SubClassAt(tree, at).Name},
            {QStringLiteral("id"), SubClassAt(tree, at).Id},
            {QStringLiteral("item"), ItemAt(tree, at).Name}};
}

QString Shown(const DataItem& item)
{
    return ConvertDisplayNative(item, item.Value, TextDirection::NativeToShown).Text;
}

/// What did not take: items that hold a byte which is not the one that was sent.
QJsonArray NotTaken(const TransferReport& report, const DataFlashTree& wanted, const DataFlashTree& holds)
{
    QJsonArray list;
    for (const TransferReport::Entry& entry : report.Entries) {
        ItemPlace at{entry.Class, entry.SubClass, 0};
        for (const DataItem& item : SubClassAt(holds, at).Items) {
            const int end = item.Offset + WidthOf(item.DataType).value_or(0);
            if (std::ranges::any_of(entry.Offsets,
                                    [&](int byte) { return byte >= item.Offset && byte < end; })) {
                QJsonObject object = Named(holds, at);
                object[QStringLiteral("wanted")] = ItemAt(wanted, at).Value;
                object[QStringLiteral("holds")] = item.Value;
                list << object;
            }
            ++at.Item;
        }
    }
    return list;
}

/// Of a write: what was written, what did not take, and how it ended.
Outcome WriteOutcome(const TransferReport& report, const DataFlashTree& wanted, const DataFlashTree& holds)
{
    Outcome outcome;
    if (report.Result != DataFlashResult::kOk || report.Cancelled)
        outcome = TransferFailed(report);
    QJsonArray written;
    QJsonArray open;
    for (const TransferReport::Entry& entry : report.Entries) {
        QJsonObject object = Named(holds, {entry.Class, entry.SubClass, 0});
        object.remove(QStringLiteral("item"));
        if (entry.What == TransferReport::Fate::Done) {
            written << object;
        } else {
            if (entry.Code != 0)
                object[QStringLiteral("code")] = entry.Code;
            open << object;
        }
    }
    outcome.Json[QStringLiteral("written")] = written;
    outcome.Json[QStringLiteral("not_written")] = open;
    outcome.Json[QStringLiteral("not_taken")] = NotTaken(report, wanted, holds);
    outcome.Json[QStringLiteral("verified")] = report.Verified;
    if (outcome.Status == ExitStatus::kDone)
        outcome.Text = report.Text
            + (report.Verified ? QStringLiteral(" Verified.") : QStringLiteral(" Not verified."));
    return outcome;
}

Outcome Read(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const auto source = DataFlashSource::Open(context, arguments.Text(QStringLiteral("config")), outcome);
    if (!source)
        return outcome;
    DataFlash& flash = source->Flash();
    const std::vector<ItemPlace> places = Chosen(flash.Tree(), arguments);
    if (places.empty())
        return NoSuchPlace(flash.Tree(), arguments);
    std::vector<SubClassPlace> subClasses;
    for (const ItemPlace& at : places)
        if (subClasses.empty() || subClasses.back() != SubClassPlace{at.Class, at.SubClass})
            subClasses.push_back({at.Class, at.SubClass});
    const TransferReport report = flash.ReadSome(subClasses);
    if (report.Result != DataFlashResult::kOk || report.Cancelled)
        outcome = TransferFailed(report);

    QJsonArray items;
    QJsonObject values;
    QStringList lines;
    TextTable table({QStringLiteral("Class"), QStringLiteral("Subclass"), QStringLiteral("Item"),
                     QStringLiteral(">Value"), QStringLiteral("Unit")});
    for (const ItemPlace& at : places) {
        const DataItem& item = ItemAt(flash.Tree(), at);
        const bool read = !item.ReadValue.isNull();
        QJsonObject object = Named(flash.Tree(), at);
        object[QStringLiteral("value")] = read ? QJsonValue(Shown(item)) : QJsonValue();
        object[QStringLiteral("native")] = read ? QJsonValue(item.Value) : QJsonValue();
        object[QStringLiteral("units")] = item.Units;
        items << object;
        if (!read)
            continue;
        const QString className = object[QStringLiteral("class")].toString();
        QJsonObject ofClass = values[className].toObject();
        QJsonObject ofSubClass = ofClass[SubClassAt(flash.Tree(), at).Name].toObject();
        ofSubClass[item.Name] = item.Value;
        ofClass[SubClassAt(flash.Tree(), at).Name] = ofSubClass;
        values[className] = ofClass;
        table.AddRow({className, SubClassAt(flash.Tree(), at).Name, item.Name, Shown(item), item.Units});
    }
    outcome.Json[QStringLiteral("items")] = items;
    outcome.Json[QStringLiteral("values")] = values;
    outcome.Text = table.Text();
    return outcome;
}

/// A question of a write that passes a limit; without an answer it is not written.
bool Accepted(CommandContext& context, const QString& why)
{
    return context.Messages.Ask(why + QStringLiteral(". Write it anyway?"), Answer::Yes | Answer::No)
        == Answer::Yes;
}

Outcome Set(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const auto source = DataFlashSource::Open(context, arguments.Text(QStringLiteral("config")), outcome);
    if (!source)
        return outcome;
    DataFlash& flash = source->Flash();
    const std::vector<ItemPlace> places = Chosen(flash.Tree(), arguments);
    if (places.empty())
        return NoSuchPlace(flash.Tree(), arguments);
    if (places.size() > 1)
        return Refused(
            QStringLiteral("%1 items have this name; name the subclass by its number").arg(places.size()));
    const ItemPlace at = places.front();
    DataItem& item = ItemAt(flash.Tree(), at);
    const QString typed = arguments.Text(QStringLiteral("value"));
    const ItemText native = arguments.On(QStringLiteral("native"))
        ? NormalNative(item, typed)
        : ConvertDisplayNative(item, typed, TextDirection::ShownToNative);
    QString wrong = native.Error;
    if (wrong.isEmpty())
        wrong = ValidateDataFormat(item, native.Text);
    if (!wrong.isEmpty())
        return Refused(QStringLiteral("%1: \"%2\" is not taken: %3").arg(item.Name, typed, wrong));
    if (const QString range = CheckRange(item, native.Text);
        !range.isEmpty() && !Accepted(context, QStringLiteral("%1: %2").arg(item.Name, range)))
        return Refused(QStringLiteral("%1: %2; --yes writes it anyway").arg(item.Name, range));

    if (const TransferReport report = flash.ReadSome({{at.Class, at.SubClass}});
        report.Result != DataFlashResult::kOk)
        return TransferFailed(report);
    const QString before = item.Value;
    item.Value = native.Text;
    const DataFlashTree wanted = flash.Tree();
    const TransferReport report = flash.WriteChanged(true);
    outcome = WriteOutcome(report, wanted, flash.Tree());
    outcome.Json[QStringLiteral("old")] = before;
    outcome.Json[QStringLiteral("new")] = native.Text;
    if (outcome.Status == ExitStatus::kDone)
        outcome.Text = before == native.Text
            ? QStringLiteral("%1 is %2 already").arg(item.Name, Shown(item))
            : QStringLiteral("%1 set to %2 %3").arg(item.Name, Shown(item), item.Units).trimmed();
    return outcome;
}

/// Items that stand beyond their limits and were not so in the gauge, one line each.
QStringList BeyondLimits(const DataFlashTree& tree)
{
    QStringList lines;
    ForEachItem(tree, [&](const ItemPlace& at, const DataClass&, const SubClass&, const DataItem& item) {
        if (const QString range = item.Edited() ? CheckRange(item, item.Value) : QString(); !range.isEmpty())
            lines << QStringLiteral("%1 %2: %3").arg(GgSection(tree, at), item.Name, range);
    });
    return lines;
}

Outcome Write(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const bool changed = arguments.On(QStringLiteral("changed"));
    const bool preserves = arguments.Has(QStringLiteral("preserve"));
    if (changed && preserves)
        return WrongUsage(QStringLiteral("--preserve writes everything else; it does not go with --changed"));
    const auto source = DataFlashSource::Open(context, arguments.Text(QStringLiteral("config")), outcome);
    if (!source || !source->ReadAll(outcome))
        return outcome;
    DataFlash& flash = source->Flash();
    const int set = static_cast<int>(arguments.Number(QStringLiteral("preserve")));
    if (preserves && set > flash.PreserveSets().size())
        return Refused(
            QStringLiteral("the target's file has %1 preserve sets, sections [DFWrPreserve1] and on")
                .arg(flash.PreserveSets().size()));
    if (arguments.On(QStringLiteral("defaults"))) {
        const DataFlashTree defaults = WithDefaults(flash.Tree());
        ForEachItem(flash.Tree(),
                    [&](const ItemPlace& at, const DataClass&, const SubClass&, DataItem& item) {
                        item.Value = ItemAt(defaults, at).Value;
                    });
    }
    if (arguments.Has(QStringLiteral("values")))
        if (const QString problem = PutValuesFile(flash.Tree(), arguments.Text(QStringLiteral("values")));
            !problem.isEmpty())
            return Refused(problem);
    if (const QStringList beyond = BeyondLimits(flash.Tree());
        !beyond.isEmpty() && !Accepted(context, beyond.join(QLatin1Char('\n'))))
        return Refused(
            QStringLiteral("%1 values are beyond their limits, the first one: %2; --yes writes them anyway")
                .arg(beyond.size())
                .arg(beyond.front()));
    const bool verify = arguments.On(QStringLiteral("verify"));
    const DataFlashTree wanted = flash.Tree();
    const TransferReport report = preserves ? flash.WritePreserve(set, verify)
        : changed                           ? flash.WriteChanged(verify)
                                            : flash.WriteAll(verify);
    return WriteOutcome(report, wanted, flash.Tree());
}

Outcome Recover(CommandContext& context, const Arguments& arguments)
{
    const bool finish = arguments.On(QStringLiteral("finish"));
    const bool rollBack = arguments.On(QStringLiteral("roll_back"));
    const bool forget = arguments.On(QStringLiteral("forget"));
    if (int{finish} + int{rollBack} + int{forget} > 1)
        return WrongUsage(QStringLiteral("--finish, --roll-back and --forget: only one of them"));
    Outcome outcome;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    DataFlash flash({gauge->Usb(), gauge->Access(), gauge->Time(), context.Messages, context.Profiles,
                     *context.Startup(outcome)});
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&flash] {
        if (Interrupt::Asked())
            flash.Cancel();
    });
    watch.start(kWatchMs);
    QString unclear;
    const std::optional<PendingWrite> pending = flash.FindPendingWrite(&unclear);
    outcome.Json = {{QStringLiteral("pending"), pending ? QJsonValue(PendingJson(*pending)) : QJsonValue()}};
    if (!pending && !unclear.isEmpty()) {
        const std::optional<PackIdentity> pack = flash.ReadPack();
        outcome.Status = pack && pack->Known() ? ExitStatus::kRefused : ExitStatus::kNoAnswer;
        outcome.Error
            = QStringLiteral("it cannot be told whether a write to this pack is unfinished: ") + unclear;
        return outcome;
    }
    if (!pending) {
        outcome.Text = QStringLiteral("There is no unfinished write to the pack on the bus.");
        return outcome;
    }
    outcome.Text = PendingText(*pending);
    if (forget) {
        if (!flash.ForgetPendingWrite())
            outcome.Status = ExitStatus::kRefused;
        outcome.Text = outcome.Status == ExitStatus::kDone
            ? QStringLiteral("Forgotten; the gauge was left as it is.")
            : QStringLiteral("Not forgotten.");
    } else if (finish || rollBack) {
        const TransferReport report = finish ? flash.FinishPendingWrite() : flash.RollBackPendingWrite();
        if (report.Result != DataFlashResult::kOk) {
            const QJsonObject told = outcome.Json;
            outcome = TransferFailed(report);
            outcome.Json[QStringLiteral("pending")] = told[QStringLiteral("pending")];
        } else {
            outcome.Text = report.Text;
        }
        outcome.Json[QStringLiteral("verified")] = report.Verified;
    } else {
        outcome.Status = ExitStatus::kRefused; // something is left to do
    }
    return outcome;
}

} // namespace

std::vector<CommandSpec> DataFlashCommands()
{
    const ArgumentSpec className{"CLASS", "Name of a class", ArgumentKind::Text, true};
    const ArgumentSpec subClass{"SUBCLASS", "Name or number of a subclass", ArgumentKind::Text, true};
    const ArgumentSpec item{"ITEM", "Name of an item", ArgumentKind::Text, true};
    const auto optional = [](ArgumentSpec spec) {
        spec.Required = false;
        return spec;
    };
    const ArgumentSpec verify{"--verify", "Read back and compare byte by byte", ArgumentKind::Switch};
    return {
        {.Path = "df read",
         .Summary = "Read the data flash, or a class, a subclass or an item of it",
         .Arguments = {optional(className), optional(subClass), optional(item), kConfig},
         .Examples = {"tarnlo-cli df read --target sim4s/Config.ini",
                      "tarnlo-cli df read Configuration \"Pack Data\" \"Serial Number\" --target "
                      "sim4s/Config.ini --json"},
         .Run = Read},
        {.Path = "df set",
         .Summary = "Set one item in the gauge, verified",
         .Arguments = {className,
                       subClass,
                       item,
                       {"VALUE", "Value in the unit that is shown", ArgumentKind::Text, true},
                       {"--native", "VALUE is what the bytes mean, before any formula", ArgumentKind::Switch},
                       kConfig},
         .Examples
         = {"tarnlo-cli df set Configuration \"Pack Data\" \"Serial Number\" 4711 --target sim4s/Config.ini"},
         .Run = Set},
        {.Path = "df write",
         .Summary = "Write the data flash: what the gauge holds, with the values given put in",
         .Arguments
         = {{"--values", "JSON file: {\"class\": {\"subclass\": {\"item\": \"value\"}}}, as df read prints"},
            {"--defaults", "Start from the default values of the configuration", ArgumentKind::Switch},
            {"--changed", "Only subclasses with a value that differs", ArgumentKind::Switch},
            {"--preserve", "Number of a preserve set of the target's file", ArgumentKind::Number, false, 1,
             9999},
            verify,
            kConfig},
         .Examples = {"tarnlo-cli df write --values mine.json --verify --target sim4s/Config.ini",
                      "tarnlo-cli df write --defaults --preserve 1 --verify --target sim4s/Config.ini"},
         .Run = Write},
        {.Path = "df recover",
         .Summary = "Show, finish or roll back a write that never ended",
         .Arguments = {{"--finish", "Write what is not new yet", ArgumentKind::Switch},
                       {"--roll-back", "Write back what was there before", ArgumentKind::Switch},
                       {"--forget", "Leave the gauge as it is", ArgumentKind::Switch}},
         .Examples = {"tarnlo-cli df recover", "tarnlo-cli df recover --roll-back --json"},
         .Run = Recover},
    };
}
