#pragma once

#include "platform/Bytes.h"
#include "simulator/Faults.h"
#include "simulator/Random.h"
#include "simulator/SimulatedBus.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <vector>

/// One message on the two-wire bus or one transfer on the single wire, as the adapter is about to send it.
struct BusMessage {
    std::uint8_t Address = 0;
    std::uint8_t Command = 0;
    int Written = 0; ///< bytes behind the address
    int Read = 0; ///< bytes asked for; of a block at least its length byte
    bool Block = false; ///< the first byte read says how many follow
    bool Pec = false; ///< the last byte, either way, is the packet error check
    bool SingleWire = false;
    [[nodiscard]] bool Writes() const { return Read == 0; }
};

/// Stands between the adapter and the wires and makes transactions fail, seeded, on the bits themselves: what
/// the packet error check can find is found because the bytes are really wrong. Without faults it only passes
/// on.
class FaultyBus {
public:
    /// @param resetGauge  the device loses power for a moment
    FaultyBus(SimulatedBus& bus, const FaultSettings& settings, std::uint64_t seed,
              std::function<void()> resetGauge);

    /// Opens a transaction and settles what goes wrong with it.
    Wire Begin(const BusMessage& message);
    Wire Start(std::uint8_t addressByte);
    Wire Write(std::uint8_t byte);
    /// @param last  nothing is read behind it
    Wire Read(std::uint8_t& byte, bool last);
    void Stop();
    /// What becomes of a value on the single wire: before it is sent, or after it came.
    /// @param bits  how many of its low bits travel
    Wire Disturb(std::int32_t& value, int bits);

    void PlugIn() { m_unplugged = false; }
    [[nodiscard]] bool Unplugged() const { return m_unplugged; }
    [[nodiscard]] std::int64_t Transactions() const { return m_transaction; }
    [[nodiscard]] std::int64_t BytesMoved() const { return m_bytes; } ///< on the two-wire bus so far
    [[nodiscard]] const std::deque<FaultRecord>& Log() const { return m_log; } ///< the newest 10,000

private:
    [[nodiscard]] int Below(int count)
    {
        return static_cast<int>(m_random.Below(static_cast<std::uint32_t>(count)));
    }
    [[nodiscard]] Fault Draw();
    [[nodiscard]] bool Applies(Fault fault) const;
    [[nodiscard]] std::vector<const Bytes*> OldAnswers(Fault fault) const;
    void Prepare();
    void DrawFlips(int bits);
    [[nodiscard]] int WireBytes() const; ///< with address bytes
    Wire NextByte(); ///< counts it; anything but Ok happens instead of it
    [[nodiscard]] std::uint8_t OnTheWire(std::uint8_t byte,
                                         bool last); ///< with its wrong bits, if it has any
    void SpoilLength(std::uint8_t& length);
    void Note(const QString& detail);

    SimulatedBus& m_bus;
    const FaultSettings m_settings;
    Random m_random;
    std::function<void()> m_resetGauge;

    BusMessage m_message;
    Fault m_fault = Fault::None;
    int m_byte = 0; ///< on the wire, counted from the address
    int m_at = -1; ///< the byte that it happens at
    std::vector<int> m_flips; ///< bits of the message that arrive wrong, counted from its first
    Bytes m_replayed; ///< an answer of another time, in place of this one
    Bytes m_answer; ///< what came so far
    bool m_unplugged = false;
    std::int64_t m_transaction = 0;
    std::int64_t m_bytes = 0;
    std::map<std::uint16_t, Bytes> m_answers; ///< last good ones by address and command
    std::deque<FaultRecord> m_log;
};
