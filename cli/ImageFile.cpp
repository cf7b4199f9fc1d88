#include "cli/ImageFile.h"

#include "cli/CommandContext.h"
#include "platform/Interrupt.h"

ReadImage ReadImageFile(CommandContext& context, const QString& path, std::uint64_t maxFill)
{
    CliMessages said(true, CliMessages::Questions::Unanswered);
    clsSrecRW reader(said);
    reader.SetMaxFill(maxFill);
    reader.SetProgress([](std::int64_t /*done*/, std::int64_t /*of*/) { return !Interrupt::Asked(); });
    ReadImage read;
    if (reader.ReadSrec(path, read.Image))
        return read;
    read.Problems = reader.Problems();
    read.BadLines = reader.BadLines();
    read.OfTheFile = read.Problems.front().Line == 0;
    if (read.OfTheFile) { // its message is the error
        read.Error = read.Problems.front().Text;
        return read;
    }
    for (const QString& message : said.Take())
        context.Messages.Show(message);
    read.Error = read.BadLines == 1 ? QStringLiteral("%1 has a bad line").arg(path)
                                    : QStringLiteral("%1 has %2 bad lines").arg(path).arg(read.BadLines);
    return read;
}
