// Any bytes as an S-record file: what was read and can be written reads back as it was, without a problem.

#include "flashimage/ImageDiff.h"
#include "flashimage/clsSrecRW.h"
#include "platform/NoMessages.h"

#include <QBuffer>

#include <cstdlib>

namespace {

bool Same(const clsSrecFlash& a, const clsSrecFlash& b)
{
    return CompareRegions(a.DF, b.DF).RangeCount == 0 && CompareRegions(a.PF, b.PF).RangeCount == 0
        && a.S0Comment == b.S0Comment;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NoMessages messages;
    clsSrecRW rw(messages);
    rw.SetMaxFill(4096); // more of it would only cost time
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QBuffer file(&bytes);
    file.open(QIODevice::ReadOnly);
    clsSrecFlash image;
    rw.ReadRecords(file, image);

    QBuffer written;
    written.open(QIODevice::ReadWrite);
    if (!rw.WriteRecords(written, image).isEmpty())
        return 0;
    written.seek(0);
    clsSrecFlash again;
    if (!rw.ReadRecords(written, again) || !Same(image, again))
        std::abort();
    return 0;
}
