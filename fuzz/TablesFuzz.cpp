// Any bytes as each of the three tables: what was taken goes through the grid and back to the same bytes, and
// what was left is no whole record.

#include "sbs/TableCodec.h"

#include <cstdlib>

namespace {

template <class Record>
void RoundTrip(QByteArrayView bytes)
{
    std::vector<Record> records;
    std::int16_t count = 0;
    if (!TableCodec::Decode(bytes, records, count).isEmpty())
        return;
    TextGrid grid;
    TableCodec::Populate(grid, records, count);
    QByteArray written;
    if (!TableCodec::Encode<Record>(grid, written).isEmpty() || written != bytes.first(written.size()))
        std::abort();
    Record rest;
    if (TableCodec::Reader(bytes.sliced(written.size())).Take(rest))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    RoundTrip<SBSInfoRec>(bytes);
    RoundTrip<SBSFlagRec>(bytes);
    RoundTrip<SrecTargetRec>(bytes);
    return 0;
}
