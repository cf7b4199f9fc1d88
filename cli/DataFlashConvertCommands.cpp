#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "dataflash/AccessStyle.h"
#include "dataflash/ItemText.h"
#include "dataflash/ValueEncoding.h"
#include "dataflash/bCfgReader.h"
#include "platform/Bytes.h"

#include <QJsonArray>

#include <optional>
#include <span>

namespace {

constexpr std::int64_t kMostOffset = 65535;

/// @return nothing after an answer that says why
std::optional<Bytes> HexOf(const Arguments& arguments, const QString& key, Outcome& failed)
{
    std::optional<Bytes> bytes = ParseHex(arguments.Text(key));
    if (!bytes)
        failed = WrongUsage(QStringLiteral("%1 must be pairs of hexadecimal digits, not \"%2\"")
                                .arg(key.toUpper(), arguments.Text(key).left(80)));
    return bytes;
}

Outcome UnknownType(const QString& type)
{
    return Refused(
        QStringLiteral("there is no data type \"%1\": give I1, U1, H1, the same with 2 or 4, F4, or S and "
                       "1 to 256")
            .arg(type.left(80)));
}

Outcome Decode(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const QString type = arguments.Text(QStringLiteral("type"));
    const auto offset = static_cast<int>(arguments.Number(QStringLiteral("offset")));
    const std::optional<Bytes> bytes = HexOf(arguments, QStringLiteral("hex"), outcome);
    if (!bytes)
        return outcome;
    const QString text = ByteToDataType(*bytes, offset, type, context.Messages);
    const std::optional<DataTypeForm> form = ParseDataType(type);
    if (!form)
        return UnknownType(type);
    if (text.isNull())
        return Refused(QStringLiteral("%1 takes %2 bytes at offset %3; %4 bytes were given")
                           .arg(type)
                           .arg(form->Width)
                           .arg(offset)
                           .arg(bytes->size()));
    const std::optional<double> number = NativeNumber(*form, text);
    outcome.Json = {{QStringLiteral("text"), text},
                    {QStringLiteral("value"), number ? QJsonValue(*number) : QJsonValue(text)}};
    outcome.Text = text;
    return outcome;
}

Outcome Encode(CommandContext& context, const Arguments& arguments)
{
    const QString type = arguments.Text(QStringLiteral("type"));
    const auto offset = static_cast<int>(arguments.Number(QStringLiteral("offset")));
    const std::optional<int> width = WidthOf(type);
    Bytes buffer(static_cast<std::size_t>(offset + width.value_or(0)));
    if (arguments.Has(QStringLiteral("into"))) {
        Outcome failed;
        const std::optional<Bytes> given = HexOf(arguments, QStringLiteral("into"), failed);
        if (!given)
            return failed;
        buffer = *given;
    }
    QString why;
    const bool ok = DataTypeToByte(buffer, offset, type, arguments.Text(QStringLiteral("text")),
                                   context.Messages, &why);
    Outcome outcome = ok ? Outcome{} : width ? Refused(why) : UnknownType(type);
    const QString bytes = ok ? HexText(std::span(buffer).subspan(static_cast<std::size_t>(offset),
                                                                 static_cast<std::size_t>(*width)))
                             : QString();
    outcome.Json[QStringLiteral("ok")] = ok;
    outcome.Json[QStringLiteral("bytes")] = bytes;
    outcome.Json[QStringLiteral("buffer")] = HexText(buffer);
    outcome.Text = bytes;
    return outcome;
}

Outcome Style(CommandContext& context, const Arguments& arguments)
{
    QString problem;
    const AccessStyle style = ParseLegacyString(arguments.Text(QStringLiteral("text")), problem);
    if (!problem.isEmpty())
        context.Messages.Show(problem);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("DFAccessStyle"), style.DFAccessStyle},
                    {QStringLiteral("DFBlockSize"), style.DFBlockSize},
                    {QStringLiteral("DFBaseCmd"), style.DFBaseCmd}};
    outcome.Text = QStringLiteral("Style %1, blocks of %2 bytes, base command %3")
                       .arg(style.DFAccessStyle)
                       .arg(style.DFBlockSize)
                       .arg(style.DFBaseCmd);
    return outcome;
}

QJsonObject ItemJson(const DataItem& item)
{
    const auto shown = [&](const QString& native) {
        return ConvertDisplayNative(item, native, TextDirection::NativeToShown).Text;
    };
    return {
        {QStringLiteral("name"), item.Name},          {QStringLiteral("full_name"), item.FullName},
        {QStringLiteral("type"), item.DataType},      {QStringLiteral("offset"), item.Offset},
        {QStringLiteral("default"), item.DefValue},   {QStringLiteral("default_shown"), shown(item.DefValue)},
        {QStringLiteral("min"), item.MinVal},         {QStringLiteral("min_shown"), shown(item.MinVal)},
        {QStringLiteral("max"), item.MaxVal},         {QStringLiteral("max_shown"), shown(item.MaxVal)},
        {QStringLiteral("units"), item.Units},        {QStringLiteral("read"), item.ReadFormula},
        {QStringLiteral("write"), item.WriteFormula}, {QStringLiteral("format"), item.DisplayFmt},
        {QStringLiteral("help"), item.HelpText},      {QStringLiteral("private"), item.Private}};
}

QJsonArray TreeJson(const DataFlashTree& tree)
{
    QJsonArray classes;
    for (const DataClass& one : tree.Classes) {
        QJsonArray subClasses;
        for (const SubClass& subClass : one.SubClasses) {
            QJsonArray items;
            for (const DataItem& item : subClass.Items)
                items << ItemJson(item);
            subClasses << QJsonObject{{QStringLiteral("name"), subClass.Name},
                                      {QStringLiteral("id"), subClass.Id},
                                      {QStringLiteral("length"), subClass.Length()},
                                      {QStringLiteral("items"), items}};
        }
        classes << QJsonObject{{QStringLiteral("name"), one.Name},
                               {QStringLiteral("subclasses"), subClasses}};
    }
    return classes;
}

QString TreeText(const DataFlashTree& tree)
{
    TextTable table({QStringLiteral(">Offset"), QStringLiteral("Type"), QStringLiteral("Item"),
                     QStringLiteral(">Default"), QStringLiteral(">Min"), QStringLiteral(">Max"),
                     QStringLiteral("Unit"), QStringLiteral("Full name")});
    // one table, so that columns stand below each other; its headings are put between afterwards
    for (const DataClass& one : tree.Classes)
        for (const SubClass& subClass : one.SubClasses)
            for (const DataItem& item : subClass.Items) {
                const auto shown = [&](const QString& native) {
                    return ConvertDisplayNative(item, native, TextDirection::NativeToShown).Text;
                };
                table.AddRow({QString::number(item.Offset), item.DataType, item.Name, shown(item.DefValue),
                              shown(item.MinVal), shown(item.MaxVal), item.Units,
                              item.FullName + (item.Private ? QStringLiteral(" (private)") : QString())});
            }
    const QStringList rows = table.Lines();
    QStringList lines{rows.value(0)};
    qsizetype next = 1;
    for (const DataClass& one : tree.Classes)
        for (const SubClass& subClass : one.SubClasses) {
            lines << QString()
                  << QStringLiteral("%1 / %2, id %3, %4 bytes")
                         .arg(one.Name, subClass.Name)
                         .arg(subClass.Id)
                         .arg(subClass.Length());
            lines += rows.mid(next, static_cast<qsizetype>(subClass.Items.size()));
            next += static_cast<qsizetype>(subClass.Items.size());
        }
    return lines.join(QLatin1Char('\n'));
}

/// The configuration given, or the one that the target names.
QString ConfigPath(CommandContext& context, const Arguments& arguments, Outcome& failed)
{
    if (arguments.Has(QStringLiteral("config")))
        return arguments.Text(QStringLiteral("config"));
    const StartupState* state = context.Startup(failed);
    if (state == nullptr)
        return {};
    QString path = DataFlashConfigPath(context.Profiles, *state);
    if (path.isEmpty())
        failed = Refused(
            QStringLiteral("no data flash configuration is named: give one, or a --target whose section "
                           "[DataFlash] has the key ConfigFile"));
    return path;
}

Outcome Info(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const QString path = ConfigPath(context, arguments, outcome);
    if (path.isEmpty())
        return outcome;
    // The reader once for the problems with their places; the tree then comes the way the editor gets it.
    bCfgReader reader;
    DataFlashTree tree;
    CliMessages silent(true, CliMessages::Questions::Unanswered);
    const bool sound = InitStructFromCfgFile(reader, path, silent, tree);
    QJsonArray problems;
    QStringList words;
    for (const CfgProblem& problem : reader.Problems()) {
        problems << QJsonObject{{QStringLiteral("line"), problem.Line},
                                {QStringLiteral("column"), problem.Column},
                                {QStringLiteral("text"), problem.Text},
                                {QStringLiteral("error"), problem.Error}};
        words << problem.InWords(path);
    }
    if (!sound)
        outcome = Refused(QStringLiteral("%1 is no sound data flash configuration").arg(path));
    outcome.Json[QStringLiteral("config")] = path;
    outcome.Json[QStringLiteral("problems")] = problems;
    outcome.Text = words.join(QLatin1Char('\n'));
    if (!sound)
        return outcome;
    outcome.Json[QStringLiteral("target")] = tree.Target;
    outcome.Json[QStringLiteral("access_style")] = tree.LegacyString;
    outcome.Json[QStringLiteral("subclass_count")] = tree.SubClassCount();
    outcome.Json[QStringLiteral("item_count")] = tree.ItemCount();
    outcome.Json[QStringLiteral("byte_count")] = tree.ByteCount();
    outcome.Json[QStringLiteral("classes")] = TreeJson(tree);
    words << TreeText(tree) << QString()
          << QStringLiteral("%1: %2 classes, %3 subclasses, %4 items, %5 bytes")
                 .arg(tree.Target)
                 .arg(tree.Classes.size())
                 .arg(tree.SubClassCount())
                 .arg(tree.ItemCount())
                 .arg(tree.ByteCount());
    outcome.Text = words.join(QLatin1Char('\n'));
    return outcome;
}

} // namespace

std::vector<CommandSpec> DataFlashConvertCommands()
{
    const ArgumentSpec offset{
        "--offset", "Byte that the value starts at (default 0)", ArgumentKind::Number, false, 0, kMostOffset};
    return {
        {.Path = "df", .Summary = "Data flash: its layout and its values"},
        {.Path = "df decode",
         .Summary = "Show what bytes of the data flash mean",
         .Arguments = {{"TYPE", "Data type, such as I2, H1, F4 or S21", ArgumentKind::Text, true},
                       {"HEX", "Bytes, most significant first", ArgumentKind::Text, true},
                       offset},
         .Examples = {"tarnlo-cli df decode I2 8000", "tarnlo-cli df decode F4 87480000 --json"},
         .Batch = BatchForm::Lines,
         .Run = Decode},
        {.Path = "df encode",
         .Summary = "Turn a value into bytes of the data flash",
         .Arguments = {{"TYPE", "Data type, such as I2, H1, F4 or S21", ArgumentKind::Text, true},
                       {"TEXT", "Value; hexadecimal for H types", ArgumentKind::Text, true},
                       {"--into", "Bytes that the value is put into"},
                       offset},
         .Examples
         = {"tarnlo-cli df encode U2 4400", "tarnlo-cli df encode H1 0x16 --into FFFFFFFF --offset 2",
            "tarnlo-cli df encode F4 -- -0.25"},
         .Batch = BatchForm::Lines,
         .Run = Encode},
        {.Path = "df style",
         .Summary = "Show what an access style text means",
         .Arguments = {{"TEXT", "Such as 1:BlkSz=64:BaseCmd=88", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli df style 1:BlkSz=32"},
         .Batch = BatchForm::Lines,
         .Run = Style},
        {.Path = "df info",
         .Summary = "Check a data flash configuration and show its layout",
         .Arguments = {{"CONFIG", "Configuration file; without it the one that the target names"}},
         .Examples
         = {"tarnlo-cli df info mychip.toml", "tarnlo-cli df info --target sim4s/Config.ini --json"},
         .Run = Info},
    };
}
