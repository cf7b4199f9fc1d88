#include "cli/BatchRunner.h"
#include "cli/CommandContext.h"
#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/Output.h"
#include "platform/Interrupt.h"

#include <QCoreApplication>

#include <clocale>
#include <cstring>
#include <langinfo.h>

namespace {

Outcome RunParsed(const std::vector<CommandSpec>& commands, const ParsedLine& line, CommandContext& context)
{
    if (!line.BatchFile.isNull())
        return RunBatch(context, commands, *line.Command, line.BatchFile);
    return line.Command->Run(context, line.Arguments);
}

} // namespace

int main(int argc, char** argv)
{
    // Qt would complain on standard error about the bare "C" locale of scripts and containers
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");

    QStringList words; // taken before Qt removes its own options
    for (int index = 1; index < argc; ++index)
        words << QString::fromUtf8(argv[index]);
    QCoreApplication application(argc, argv);
    Interrupt::Install();

    const std::vector<CommandSpec> commands = AllCommands();
    const ParsedLine line = ParseWords(commands, words);
    Output output(line.Globals.Json);
    if (!line.Text.isEmpty()) {
        output.PrintText(line.Text);
        return ExitStatus::kDone;
    }
    if (!line.Error.isEmpty()) {
        if (output.Json()) // standard error too: a person reads that
            output.PrintError(line.Error);
        output.Print(WrongUsage(line.Error), {});
        return ExitStatus::kWrongUsage;
    }
    CommandContext context(line.Globals, output, output.Json() || !line.BatchFile.isNull());
    const Outcome outcome = RunParsed(commands, line, context);
    output.Print(outcome, context.Messages.Take());
    return outcome.Status;
}
