// Any bytes as a trace: the reader ends, names a place, and never hands out more bytes than it read. A replay
// of them may then be asked for the calls that it expects.

#include "comm/adapters/ReplayAdapter.h"

#include <cstdlib>

namespace {

class NoTime final : public TimeSource {
public:
    double SecondsOfDay() override { return static_cast<double>(m_ms % 86'400'000) / 1000; }
    QDateTime Now() override { return {}; }
    std::int64_t MonotonicMs() override { return m_ms; }
    void ProcessEvents(int atMostMs) override { m_ms += atMostMs; }

private:
    std::int64_t m_ms = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    TraceReader reader(bytes);
    NoTime time;
    ReplayAdapter replay(time, QStringLiteral("fuzz"), FileBytes{bytes, {}});
    while (const std::optional<TraceEntry> entry = reader.Next()) {
        std::int16_t addr = 22;
        std::int16_t length = 0;
        Bytes block;
        QString name;
        const auto cmd = static_cast<std::int16_t>(entry->In.at(0).toInt());
        switch (static_cast<AdapterCall>(entry->Number)) {
        case AdapterCall::OpenDevice:
            name = entry->In.at(0).toString();
            replay.AdpOpenDevice(name);
            break;
        case AdapterCall::ReadSMBusWord:
            (void)replay.AdpReadSMBusWord(cmd, length, addr);
            break;
        case AdapterCall::ReadSMBusBlock:
            if (!Failed(replay.AdpReadSMBusBlock(cmd, block, length, addr))
                && (length < 0 || static_cast<std::size_t>(length) > block.size()))
                std::abort();
            break;
        default:
            replay.AdpDelay(cmd);
        }
    }
    if (reader.Problem().isEmpty())
        std::abort();
    return 0;
}
