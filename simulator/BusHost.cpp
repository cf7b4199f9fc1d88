#include "simulator/BusHost.h"

#include "platform/Pec.h"

namespace {

constexpr std::uint8_t kSpecificationInfo = 0x1A;
constexpr int kPecVersion = 3;
constexpr ErrorCode kUnlistedCode{119}; // in no table: what a newer driver may answer

} // namespace

/// One message on the wire as the host drives it: nothing more is sent after the first step that failed, and
/// the stop comes in any case.
class BusHost::Transfer {
public:
    Transfer(FaultyBus& bus, const BusMessage& message)
        : m_bus(bus), m_state(bus.Begin(message)), m_began(m_state == Wire::Ok)
    {
    }
    ~Transfer() { End(); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    void Start(std::uint8_t addressByte)
    {
        if (m_state != Wire::Ok)
            return;
        See(addressByte);
        m_state = m_bus.Start(addressByte);
    }
    void Send(std::uint8_t byte)
    {
        if (m_state != Wire::Ok)
            return;
        See(byte);
        m_state = m_bus.Write(byte);
    }
    std::uint8_t Receive(bool last)
    {
        std::uint8_t byte = 0;
        if (m_state == Wire::Ok)
            m_state = m_bus.Read(byte, last);
        See(byte);
        return byte;
    }
    void SendCheck() { Send(m_crc); }
    [[nodiscard]] bool Checked() const
    {
        return m_crc == 0;
    } ///< the last byte was the check of those before it
    [[nodiscard]] bool Going() const { return m_state == Wire::Ok; }
    ErrorCode End()
    {
        if (m_began)
            m_bus.Stop();
        m_began = false;
        return Code(m_state);
    }

private:
    void See(std::uint8_t byte) { m_crc = PecOf({&byte, 1}, m_crc); }

    FaultyBus& m_bus;
    Wire m_state;
    bool m_began;
    std::uint8_t m_crc = 0;
};

ErrorCode BusHost::Code(Wire wire)
{
    switch (wire) {
    case Wire::Ok:
        return ErrorCode::Ok;
    case Wire::Nack:
        return ErrorCode::NoAcknowledge;
    case Wire::TimedOut:
        return ErrorCode::T2hTimeout;
    case Wire::ArbitrationLost:
        return ErrorCode::BusBusy;
    case Wire::Ended:
        return ErrorCode::WrongNumBytes;
    case Wire::Unplugged:
        return ErrorCode::NoUsb;
    case Wire::Odd:
        break;
    }
    return kUnlistedCode;
}

/// @param checked  the byte behind the word was its packet error check; the read itself does not judge
ErrorCode BusHost::ReadWordOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, std::uint16_t& word,
                                bool& checked)
{
    Transfer transfer(m_bus,
                      {.Address = addr, .Command = cmd, .Written = 1, .Read = pec ? 3 : 2, .Pec = pec});
    transfer.Start(addr);
    transfer.Send(cmd);
    transfer.Start(addr | 1U);
    const std::uint8_t low = transfer.Receive(false);
    const std::uint8_t high = transfer.Receive(!pec);
    const std::uint8_t check = pec ? transfer.Receive(true) : 0;
    word = static_cast<std::uint16_t>(high << 8 | low);
    // A line that stayed high all along is no answer, although FF FF FF passes the check of command 0x01.
    checked = transfer.Checked() && (word != 0xFFFF || check != 0xFF);
    return transfer.End();
}

/// Decides from SpecificationInfo. A good check together with version 3 is proof; that a part has none is
/// believed only when two reads agree, for a single flipped bit can look like it.
ErrorCode BusHost::DecidePec(std::uint8_t addr, bool& pec)
{
    PecState& state = m_pec[addr / 2];
    std::uint16_t first = 0;
    for (int turn = 0; turn < 2 && state == PecState::Undecided; ++turn) {
        std::uint16_t info = 0;
        bool checked = false;
        if (const ErrorCode err = ReadWordOnce(addr, kSpecificationInfo, true, info, checked); Failed(err))
            return err;
        const bool version = (info >> 4 & 0xF) == kPecVersion;
        if (checked && version)
            state = PecState::On;
        else if (turn == 1 && info == first && !version)
            state = PecState::Off;
        first = info;
    }
    pec = state == PecState::On;
    return state == PecState::Undecided ? ErrorCode::BadPec : ErrorCode::Ok;
}

ErrorCode BusHost::ReadWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t& word)
{
    bool pec = false;
    if (const ErrorCode err = DecidePec(addr, pec); Failed(err))
        return err;
    std::uint16_t came = 0;
    bool checked = false;
    if (const ErrorCode err = ReadWordOnce(addr, cmd, pec, came, checked); Failed(err))
        return err;
    if (pec && !checked)
        return ErrorCode::BadPec;
    word = came;
    return ErrorCode::Ok;
}

ErrorCode BusHost::ReadBlock(std::uint8_t addr, std::uint8_t cmd, Bytes& block)
{
    bool pec = false;
    if (const ErrorCode err = DecidePec(addr, pec); Failed(err))
        return err;
    Transfer transfer(m_bus,
                      {.Address = addr, .Command = cmd, .Written = 1, .Read = 1, .Block = true, .Pec = pec});
    transfer.Start(addr);
    transfer.Send(cmd);
    transfer.Start(addr | 1U);
    Bytes came(transfer.Receive(false));
    for (std::size_t i = 0; i < came.size() && transfer.Going(); ++i)
        came[i] = transfer.Receive(!pec && i + 1 == came.size());
    if (pec)
        transfer.Receive(true);
    if (const ErrorCode err = transfer.End(); Failed(err))
        return err;
    if (pec && !transfer.Checked())
        return ErrorCode::BadPec;
    if (came.empty())
        return ErrorCode::WrongNumBytes; // a block of no bytes is none
    block = std::move(came);
    return ErrorCode::Ok;
}

ErrorCode BusHost::Write(std::uint8_t addr, std::uint8_t cmd, std::span<const std::uint8_t> payload)
{
    bool pec = false;
    if (const ErrorCode err = DecidePec(addr, pec); Failed(err))
        return err;
    return Send(addr, cmd, payload, pec);
}

ErrorCode BusHost::WriteI2C(std::uint8_t addr, std::uint8_t reg, std::span<const std::uint8_t> payload)
{
    return Send(addr, reg, payload, false);
}

ErrorCode BusHost::Send(std::uint8_t addr, std::uint8_t first, std::span<const std::uint8_t> payload,
                        bool pec)
{
    const int written = 1 + static_cast<int>(payload.size()) + (pec ? 1 : 0);
    Transfer transfer(m_bus, {.Address = addr, .Command = first, .Written = written, .Pec = pec});
    transfer.Start(addr);
    transfer.Send(first);
    for (const std::uint8_t byte : payload)
        transfer.Send(byte);
    if (pec)
        transfer.SendCheck();
    return transfer.End();
}

ErrorCode BusHost::ReadI2C(std::uint8_t addr, std::span<const std::uint8_t> written, int count, Bytes& bytes)
{
    const std::uint8_t reg = written.empty() ? std::uint8_t{0} : written.front();
    Transfer transfer(
        m_bus, {.Address = addr, .Command = reg, .Written = static_cast<int>(written.size()), .Read = count});
    if (!written.empty())
        transfer.Start(addr);
    for (const std::uint8_t byte : written)
        transfer.Send(byte);
    transfer.Start(addr | 1U);
    Bytes came;
    for (int i = 1; i <= count && transfer.Going(); ++i)
        came.push_back(transfer.Receive(i == count));
    const ErrorCode err = transfer.End();
    if (!Failed(err))
        bytes = std::move(came);
    return err;
}
