// Any bytes as the journal of a write: the reader ends, and hands out images only when the sum over them is
// right. Who has the right sum reads back what was written.

#include "dataflash/WriteJournal.h"

#include <QCryptographicHash>

#include <cstdlib>

namespace {

void Check(const QByteArray& bytes)
{
    QString error;
    const JournalContent content = ParseJournal(bytes, error);
    if (!error.isEmpty()) {
        if (!content.Entries.empty())
            std::abort();
        return;
    }
    for (const JournalContent::Entry& entry : content.Entries)
        if (entry.Old.size() != entry.New.size())
            std::abort();
    QString again;
    const JournalContent copy = ParseJournal(JournalText(content), again);
    if (!again.isEmpty() || copy.Entries.size() != content.Entries.size() || copy.Pack != content.Pack)
        std::abort();
    if (!content.Belongs(content.Pack))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    Check(bytes);
    // with the right sum behind them: what is inside must stand on its own
    QByteArray whole = bytes.endsWith('\n') ? bytes : bytes + '\n';
    whole += "{\"sha256\":\"" + QCryptographicHash::hash(whole, QCryptographicHash::Sha256).toHex() + "\"}\n";
    Check(whole);
    return 0;
}
