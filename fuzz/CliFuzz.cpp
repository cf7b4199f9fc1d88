#include "cli/CommandLine.h"

#include <QJsonDocument>

#include <cstddef>
#include <cstdint>

// Words of a command line, one a line of the input, and the same lines as calls of a batch.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::vector<CommandSpec> commands{
        {.Path = "group", .Summary = "", .Batch = BatchForm::Ops},
        {.Path = "group one", .Summary = "", .Arguments = {{"N", "", ArgumentKind::Number, true, 0, 255}}},
        {.Path = "many",
         .Summary = "",
         .Arguments = {{"CODE", "", ArgumentKind::List, true}},
         .Batch = BatchForm::Lines},
        {.Path = "text",
         .Summary = "",
         .Arguments
         = {{"FILE", "", ArgumentKind::Text, true}, {"--value", ""}, {"--flag", "", ArgumentKind::Switch}}},
    };
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QStringList words;
    for (const QByteArray& line : input.split('\n')) {
        words << QString::fromUtf8(line);
        Arguments arguments;
        if (arguments.AddJson(QJsonDocument::fromJson(line).object()).isEmpty())
            for (const CommandSpec& command : commands)
                if (arguments.Check(command.Arguments).isEmpty())
                    (void)arguments.Number(QStringLiteral("n"));
    }
    (void)ParseWords(commands, words);
    return 0;
}
