#include "cli/BatchRunner.h"

#include "cli/InputLines.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>

namespace {

/// The command that "op" names below this one: "gpio-write", and "one-wire read" or "one-wire-read".
const CommandSpec* FindOp(const std::vector<CommandSpec>& commands, const CommandSpec& group,
                          const QString& op)
{
    const auto plain = [](QString path) { return path.replace(QLatin1Char('-'), QLatin1Char(' ')); };
    const QString path = plain(QLatin1String(group.Path) + QLatin1Char(' ') + op);
    const auto found = std::ranges::find_if(commands, [&](const CommandSpec& command) {
        return path == plain(QString::fromLatin1(command.Path));
    });
    return found == commands.end() || !found->Run ? nullptr : &*found;
}

Outcome RunLine(CommandContext& context, const std::vector<CommandSpec>& commands, const CommandSpec& group,
                const QByteArray& text)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text, &problem);
    if (!document.isObject())
        return Refused(problem.error == QJsonParseError::NoError
                           ? QStringLiteral("the line is no JSON object")
                           : QStringLiteral("the line is no JSON object: %1 at byte %2")
                                 .arg(problem.errorString())
                                 .arg(problem.offset));
    QJsonObject members = document.object();
    const CommandSpec* command = &group;
    if (group.Batch == BatchForm::Ops) {
        const QString op = members.take(QStringLiteral("op")).toString();
        command = FindOp(commands, group, op);
        if (!command)
            return Refused(
                QStringLiteral("there is no \"op\" named \"%1\"; \"tarnlo-cli %2 --help\" lists them")
                    .arg(op, QLatin1String(group.Path)));
    }
    Arguments arguments;
    QString wrong = arguments.AddJson(members);
    if (wrong.isEmpty())
        wrong = arguments.Check(command->Arguments);
    return wrong.isEmpty() ? command->Run(context, arguments) : Refused(wrong);
}

} // namespace

Outcome RunBatch(CommandContext& context, const std::vector<CommandSpec>& commands,
                 const CommandSpec& command, const QString& file)
{
    InputLines input(file);
    if (!input.Problem().isEmpty())
        return Refused(input.Problem());

    int status = ExitStatus::kDone;
    bool anyDone = false;
    QByteArray line;
    while (!context.Out.Broken() && input.Next(line)) {
        const Outcome outcome = RunLine(context, commands, command, line);
        context.Out.Print(outcome, context.Messages.Take(), true);
        status = outcome.Status;
        anyDone = anyDone || status == ExitStatus::kDone;
    }
    Outcome end;
    end.Status = anyDone ? ExitStatus::kDone : status;
    return end;
}
