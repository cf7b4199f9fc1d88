#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "comm/ErrorCodes.h"
#include "settings/TargetSettings.h"

#include <QJsonArray>

namespace {

Outcome Settings(CommandContext& context, const Arguments& arguments)
{
    Outcome failed;
    const StartupState* startup = context.Startup(failed);
    if (!startup)
        return failed;
    TargetSettings settings;
    if (!LoadTargetSettings(context.Profiles, context.Messages, startup->ProgramFolder,
                            arguments.Text(QStringLiteral("device")), settings))
        return Refused(
            QStringLiteral("Config.ini of %1 holds a value that cannot be used; the message names it")
                .arg(startup->ProgramFolder));
    QJsonObject fields;
    TextTable text({QStringLiteral("Key"), QStringLiteral(">Value")});
    for (const NamedSetting& field : NamedFields(settings)) {
        fields[QLatin1String(field.name)] = field.value;
        text.AddRow({QLatin1String(field.name), QString::number(field.value)});
    }
    Outcome outcome;
    outcome.Json = {{QStringLiteral("fields"), fields},
                    {QStringLiteral("platform_section"), PlatformSection(settings.Platform)}};
    outcome.Text = text.Text() + QStringLiteral("\nPlatform section: ") + PlatformSection(settings.Platform);
    return outcome;
}

Outcome Identity(CommandContext&, const Arguments& arguments)
{
    const QString identity = arguments.Text(QStringLiteral("text"));
    const QString key = GetDeviceKey(identity);
    QString family;
    QString version;
    const bool hasSections = SplitTargetSections(key, family, version);
    Outcome outcome;
    outcome.Json = {{QStringLiteral("device_key"), key},
                    {QStringLiteral("targets_key"), TargetsKey(identity)},
                    {QStringLiteral("family_section"), family},
                    {QStringLiteral("version_section"), version},
                    {QStringLiteral("has_sections"), hasSections}};
    outcome.Text
        = QStringLiteral("Device key       %1\nTargets key      %2\nFamily section   %3\nVersion section  %4")
              .arg(key, TargetsKey(identity), family, version);
    return outcome;
}

Outcome ErrorText(CommandContext&, const Arguments& arguments)
{
    QStringList texts;
    for (const QString& written : arguments.List(QStringLiteral("code"))) {
        std::int64_t code = 0;
        if (!ParseNumber(written, code) || code < std::numeric_limits<std::int16_t>::min()
            || code > std::numeric_limits<std::int16_t>::max())
            return WrongUsage(
                QStringLiteral("CODE must be a whole number from -32768 to 32767, not \"%1\"").arg(written));
        texts << ErrorCodeToText(static_cast<ErrorCode>(code));
    }
    Outcome outcome;
    outcome.Json[QStringLiteral("text")]
        = texts.size() == 1 ? QJsonValue(texts.first()) : QJsonValue(QJsonArray::fromStringList(texts));
    outcome.Text = texts.join(QLatin1Char('\n'));
    return outcome;
}

} // namespace

std::vector<CommandSpec> SettingsCommands()
{
    return {
        {.Path = "settings",
         .Summary = "Show the target settings that Config.ini gives for a device",
         .Arguments = {{"--device", "Device key, such as 800.1.02", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli settings --device 800.1.02"},
         .Run = Settings},
        {.Path = "identity",
         .Summary = "Show the keys and sections that belong to an identity text",
         .Arguments = {{"TEXT", "Identity, such as \"Device:800, Ver:1.02\"", ArgumentKind::Text, true}},
         .Examples = {"tarnlo-cli identity \"Device:800, Ver:1.02\"",
                      "echo '{\"text\": \"Device:800, Ver:1.02\"}' | tarnlo-cli identity --batch -"},
         .Batch = BatchForm::Lines,
         .Run = Identity},
        {.Path = "errtext",
         .Summary = "Show the text of error codes; one code gives a text, several a list",
         .Arguments = {{"CODE", "Error code", ArgumentKind::List, true}},
         .Examples = {"tarnlo-cli errtext 772", "tarnlo-cli errtext 4 -1 230 --json",
                      "echo '{\"code\": 772}' | tarnlo-cli errtext --batch -"},
         .Batch = BatchForm::Lines,
         .Run = ErrorText},
    };
}
