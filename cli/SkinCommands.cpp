#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "look/Skin.h"
#include "platform/ProgramFolder.h"

#include <QFileInfo>

namespace {

/// The file as named, from here, else from the program folder, where the window looks.
QString SkinFile(CommandContext& context, const StartupState& startup, const Arguments& arguments)
{
    const QString named = arguments.Text(QStringLiteral("file"));
    if (!named.isEmpty() && QFileInfo(named).isFile())
        return QFileInfo(named).absoluteFilePath();
    const QString fallback = context.Profiles.String(startup.ProgramSettingsFile, u"GUI", u"SkinFile",
                                                     QStringLiteral("DefSkin.ini"));
    return ResolvePath(startup.ProgramFolder, named.isEmpty() ? fallback : named);
}

Outcome ShowSkin(CommandContext& context, const Arguments& arguments)
{
    Outcome outcome;
    const StartupState* startup = context.Startup(outcome);
    if (!startup)
        return outcome;
    const QString name = arguments.Text(QStringLiteral("name"));
    const QString file = SkinFile(context, *startup, arguments);
    const QString unread = context.Profiles.Problem(file);
    if (!unread.isEmpty())
        context.Messages.Show(unread);
    else if (!context.Profiles.File(file).SectionNames().contains(name, Qt::CaseInsensitive))
        context.Messages.Show(
            QStringLiteral("%1 holds no skin \"%2\": these are the built-in values").arg(file, name));
    const Skin skin = LoadSkinColours(context.Profiles, file, name);
    QJsonObject values;
    QJsonObject colours;
    TextTable text({QStringLiteral("Key"), QStringLiteral(">Value"), QStringLiteral("Colour")});
    for (const SkinKey& key : kSkinKeys) {
        const QString keyName = QString::fromLatin1(key.name);
        const QString colour = key.colour ? RgbText(SkinColour(skin, key)) : QString();
        values[keyName] = skin.*key.value;
        if (key.colour)
            colours[keyName] = colour;
        text.AddRow({keyName, QString::number(skin.*key.value), colour});
    }
    outcome.Json = {{QStringLiteral("values"), values}, {QStringLiteral("colours"), colours}};
    outcome.Text = text.Text();
    return outcome;
}

} // namespace

std::vector<CommandSpec> SkinCommands()
{
    return {
        {.Path = "skin",
         .Summary = "Show the numbers and colours of a skin; what its file lacks has its built-in value",
         .Arguments
         = {{"NAME", "Name of the skin, a section of the file", ArgumentKind::Text, true},
            {"--file", "Skin file, from here or from the program folder (default: [GUI] SkinFile)"}},
         .Examples = {"tarnlo-cli skin Dark", "tarnlo-cli skin Mine --file MySkins.ini --json"},
         .Run = ShowSkin},
    };
}
