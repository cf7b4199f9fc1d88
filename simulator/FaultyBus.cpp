#include "simulator/FaultyBus.h"

#include <algorithm>

namespace {

constexpr std::size_t kLogEntries = 10'000;
constexpr double kStretchMicroseconds = 25'000;
constexpr double kTimeoutMicroseconds = 25'000;
constexpr int kTimeoutSpread = 10'001;
constexpr int kLongest = 255;

std::uint16_t AnswerKey(const BusMessage& message)
{
    return static_cast<std::uint16_t>(message.Address << 8 | message.Command);
}

} // namespace

FaultyBus::FaultyBus(SimulatedBus& bus, const FaultSettings& settings, std::uint64_t seed,
                     std::function<void()> resetGauge)
    : m_bus(bus), m_settings(settings), m_random(Random::Mix(seed ^ 0xFA17U)),
      m_resetGauge(std::move(resetGauge))
{
}

Wire FaultyBus::Begin(const BusMessage& message)
{
    if (m_unplugged)
        return Wire::Unplugged;
    ++m_transaction;
    m_message = message;
    m_byte = 0;
    m_at = -1;
    m_flips = {};
    m_replayed.clear();
    m_answer.clear();
    m_fault = m_settings.Any() ? Draw() : Fault::None;
    if (m_fault == Fault::None)
        return Wire::Ok;
    Prepare();
    if (m_fault == Fault::Unplug)
        return Wire::Unplugged;
    return m_fault == Fault::UnknownCode ? Wire::Odd : Wire::Ok;
}

Fault FaultyBus::Draw()
{
    for (const ScheduledFault& scheduled : m_settings.Scheduled) {
        if (scheduled.Transaction != m_transaction)
            continue;
        if (Applies(scheduled.Kind))
            return scheduled.Kind;
        m_fault = scheduled.Kind;
        Note(QStringLiteral("has no place in this transfer, nothing happened"));
    }
    if (m_settings.Kinds.empty() || Below(1'000'000) >= m_settings.RatePpm)
        return Fault::None;
    const Fault fault = m_settings.Kinds[m_random.Below(static_cast<std::uint32_t>(m_settings.Kinds.size()))];
    return Applies(fault) ? fault : Fault::None;
}

bool FaultyBus::Applies(Fault fault) const
{
    const bool twoWire = !m_message.SingleWire;
    switch (fault) {
    case Fault::DataNack:
        return twoWire && m_message.Written > 0;
    case Fault::BadPec:
        return m_message.Pec;
    case Fault::ShortAnswer:
        return twoWire && !m_message.Writes();
    case Fault::ShortBlock:
    case Fault::LongBlock:
    case Fault::ZeroLength:
        return m_message.Block && !m_message.Writes();
    case Fault::LyingWrite:
        return twoWire && m_message.Writes();
    case Fault::PartialWrite:
        return twoWire && m_message.Writes() && m_message.Written > 1;
    case Fault::StaleAnswer:
    case Fault::OtherAnswer:
        return twoWire && !m_message.Writes() && !OldAnswers(fault).empty();
    case Fault::ArbitrationLoss:
    case Fault::ClockStretch:
        return twoWire;
    default:
        return fault != Fault::None;
    }
}

int FaultyBus::WireBytes() const
{
    return 1 + m_message.Written
        + (m_message.Read > 0 ? m_message.Read + (m_message.Written > 0 ? 1 : 0) : 0);
}

/// Earlier answers to this command, or to others of the same device and shape.
std::vector<const Bytes*> FaultyBus::OldAnswers(Fault fault) const
{
    std::vector<const Bytes*> found;
    for (const auto& [key, bytes] : m_answers) {
        const bool same = key == AnswerKey(m_message);
        const bool alike = key >> 8 == m_message.Address
            && (m_message.Block || static_cast<int>(bytes.size()) == m_message.Read);
        if (fault == Fault::StaleAnswer ? same && alike : !same && alike)
            found.push_back(&bytes);
    }
    return found;
}

/// Settles the place and the shape of the fault, and logs it.
void FaultyBus::Prepare()
{
    switch (m_fault) {
    case Fault::DataNack:
        m_at = 1 + Below(m_message.Written);
        break;
    case Fault::ShortAnswer:
        m_at = WireBytes() - 1 - Below(m_message.Read);
        break;
    case Fault::PartialWrite:
        m_at = 2 + Below(m_message.Written - 1);
        break;
    case Fault::Timeout:
    case Fault::ClockStretch:
    case Fault::ArbitrationLoss:
        m_at = Below(WireBytes());
        break;
    case Fault::AddressNack:
    case Fault::LyingWrite:
        m_at = 0;
        break;
    case Fault::BitFlip:
    case Fault::Burst:
        if (!m_message.SingleWire) // there Disturb knows how many bits travel
            DrawFlips(8 * WireBytes());
        return;
    case Fault::StaleAnswer:
    case Fault::OtherAnswer: {
        const std::vector<const Bytes*> old = OldAnswers(m_fault);
        m_replayed = *old[static_cast<std::size_t>(Below(static_cast<int>(old.size())))];
        break;
    }
    case Fault::DeviceReset:
        m_resetGauge();
        break;
    case Fault::Unplug:
        m_unplugged = true;
        break;
    default:
        break;
    }
    Note(m_at < 0 ? QString() : QStringLiteral("at byte %1").arg(m_at));
}

void FaultyBus::DrawFlips(int bits)
{
    const int first = Below(bits);
    m_flips = {first};
    if (m_fault == Fault::BitFlip && Below(2) == 1) {
        m_flips.push_back((first + 1 + Below(bits - 1)) % bits);
    } else if (m_fault == Fault::Burst) {
        const int last = std::min(first + 1 + Below(7), bits - 1);
        for (int bit = first + 1; bit < last; ++bit)
            if (Below(2) == 1)
                m_flips.push_back(bit);
        if (last > first)
            m_flips.push_back(last);
    }
    QString detail = QStringLiteral("bits");
    for (const int bit : m_flips)
        detail += QStringLiteral(" %1").arg(bit);
    Note(detail);
}

Wire FaultyBus::NextByte()
{
    ++m_bytes;
    if (m_byte++ != m_at)
        return Wire::Ok;
    switch (m_fault) {
    case Fault::AddressNack:
    case Fault::DataNack:
        return Wire::Nack;
    case Fault::Timeout:
        m_bus.Hold(kTimeoutMicroseconds + Below(kTimeoutSpread));
        return Wire::TimedOut;
    case Fault::ClockStretch:
        m_bus.Hold(kStretchMicroseconds);
        return Wire::Ok;
    case Fault::ArbitrationLoss:
        return Wire::ArbitrationLost;
    case Fault::ShortAnswer:
        return Wire::Ended;
    case Fault::LyingWrite:
    case Fault::PartialWrite:
        m_bus.Mute();
        return Wire::Ok;
    default:
        return Wire::Ok;
    }
}

std::uint8_t FaultyBus::OnTheWire(std::uint8_t byte, bool last)
{
    for (const int bit : m_flips)
        if (bit / 8 == m_byte - 1)
            byte ^= static_cast<std::uint8_t>(0x80 >> bit % 8);
    if (m_fault == Fault::BadPec && last)
        byte ^= static_cast<std::uint8_t>(1 + Below(255));
    return byte;
}

Wire FaultyBus::Start(std::uint8_t addressByte)
{
    const Wire fault = NextByte();
    return fault == Wire::Ok ? m_bus.Start(OnTheWire(addressByte, false)) : fault;
}

Wire FaultyBus::Write(std::uint8_t byte)
{
    const Wire fault = NextByte();
    const bool last = m_message.Writes() && m_byte == WireBytes();
    return fault == Wire::Ok ? m_bus.Write(OnTheWire(byte, last)) : fault;
}

Wire FaultyBus::Read(std::uint8_t& byte, bool last)
{
    if (const Wire fault = NextByte(); fault != Wire::Ok)
        return fault;
    const Wire result = m_bus.Read(byte);
    if (m_answer.size() < m_replayed.size())
        byte = m_replayed[m_answer.size()];
    if (m_message.Block && m_answer.empty())
        SpoilLength(byte);
    byte = OnTheWire(byte, last);
    m_answer.push_back(byte);
    if (last && m_fault == Fault::None && m_settings.Any())
        m_answers[AnswerKey(m_message)] = m_answer;
    return result;
}

void FaultyBus::SpoilLength(std::uint8_t& length)
{
    if (m_fault == Fault::ShortBlock)
        length = static_cast<std::uint8_t>(length > 1 ? 1 + Below(length - 1) : 0);
    else if (m_fault == Fault::LongBlock && length < kLongest)
        length = static_cast<std::uint8_t>(length + 1 + Below(kLongest - length));
    else if (m_fault == Fault::ZeroLength)
        length = 0;
}

void FaultyBus::Stop() { m_bus.Stop(); }

Wire FaultyBus::Disturb(std::int32_t& value, int bits)
{
    switch (m_fault) {
    case Fault::AddressNack:
        return Wire::Nack;
    case Fault::Timeout:
        m_bus.Hold(kTimeoutMicroseconds + Below(kTimeoutSpread));
        return Wire::TimedOut;
    case Fault::BitFlip:
    case Fault::Burst:
        DrawFlips(bits);
        for (const int bit : m_flips)
            value ^= 1 << bit;
        return Wire::Ok;
    default:
        return Wire::Ok;
    }
}

void FaultyBus::Note(const QString& detail)
{
    m_log.push_back({m_fault, m_transaction, detail});
    if (m_log.size() > kLogEntries)
        m_log.pop_front();
}
