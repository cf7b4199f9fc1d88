#include "simulator/GaugeTarget.h"

namespace {

constexpr std::size_t kLongestBlock = 255;

bool IsBlock(CommandShape shape)
{
    return shape == CommandShape::ReadBlock || shape == CommandShape::ReadWriteBlock;
}

bool TakesData(CommandShape shape)
{
    return shape == CommandShape::ReadWriteWord || shape == CommandShape::ReadWriteBlock;
}

} // namespace

bool GaugeTarget::Start(std::uint8_t addressByte)
{
    if (m_gauge.Busy() || !m_gauge.Running()) {
        m_dropped = true;
        return false;
    }
    if ((addressByte & 1U) == 0) {
        m_check = 0;
        See(addressByte);
        m_commandCame = m_checked = m_dropped = false;
        m_data.clear();
        m_answer.clear();
        m_answered = 0;
        return true;
    }
    if (!m_commandCame || m_dropped)
        return false;
    See(addressByte);
    m_data.clear(); // a read takes no word: what came before the turn has no effect
    m_answer = m_gauge.Read(m_command);
    if (IsBlock(m_gauge.ShapeOf(m_command)))
        m_answer.insert(m_answer.begin(), static_cast<std::uint8_t>(m_answer.size()));
    if (m_gauge.Pec()) {
        for (const std::uint8_t byte : m_answer)
            See(byte);
        m_answer.push_back(m_check);
    }
    m_gauge.SetError(
        GaugeError::Ok); // after the answer: a read of BatteryStatus tells of the access before it
    return true;
}

bool GaugeTarget::Write(std::uint8_t byte)
{
    if (m_dropped)
        return false;
    if (m_commandCame)
        return TakeData(byte);
    if (m_gauge.ShapeOf(byte) == CommandShape::None)
        return Refuse(GaugeError::ReservedCommand);
    m_command = byte;
    m_commandCame = true;
    See(byte);
    return true;
}

bool GaugeTarget::TakeData(std::uint8_t byte)
{
    const CommandShape shape = m_gauge.ShapeOf(m_command);
    if (m_gauge.Pec() && m_data.empty() && byte == m_check && !TakesData(shape)) {
        m_checked = true; // a command alone with its check
        return true;
    }
    if (!TakesData(shape))
        return Refuse(GaugeError::AccessDenied);
    const std::size_t whole = shape == CommandShape::ReadWriteWord ? 2
        : m_data.empty()                                           ? 1 + kLongestBlock
                                                                   : std::size_t{m_data[0]} + 1;
    if (m_checked || m_data.size() > whole || (m_data.size() == whole && !m_gauge.Pec()))
        return Refuse(GaugeError::BadSize);
    if (m_data.size() == whole) {
        m_checked = byte == m_check;
        return m_checked || Refuse(GaugeError::Unknown);
    }
    See(byte);
    m_data.push_back(byte);
    return true;
}

bool GaugeTarget::Refuse(GaugeError error)
{
    m_gauge.SetError(error);
    m_dropped = true;
    return false;
}

std::uint8_t GaugeTarget::Read() { return m_answered < m_answer.size() ? m_answer[m_answered++] : 0xFF; }

void GaugeTarget::Stop()
{
    if (m_commandCame && !m_dropped && m_answer.empty())
        TakeEffect();
    m_commandCame = false;
    m_dropped = false;
}

void GaugeTarget::TakeEffect()
{
    m_gauge.SetError(GaugeError::Ok);
    if (m_data.empty())
        return;
    if (m_data.size() == 1 && m_check == 0)
        return; // the byte was the check of a command sent alone
    bool taken = false;
    if (m_gauge.ShapeOf(m_command) == CommandShape::ReadWriteWord) {
        taken = m_data.size() == 2;
        if (taken)
            m_gauge.WriteWord(m_command, static_cast<std::uint16_t>(m_data[0] | m_data[1] << 8));
    } else if (m_data.size() == std::size_t{m_data[0]} + 1 || !m_gauge.Pec()) {
        taken = m_gauge.WriteBlock(m_command, std::span(m_data).subspan(1));
    }
    if (!taken)
        m_gauge.SetError(GaugeError::BadSize);
}

void GaugeTarget::See(std::uint8_t byte)
{
    m_check ^= byte;
    for (int bit = 0; bit < 8; ++bit)
        m_check = static_cast<std::uint8_t>((m_check & 0x80) != 0 ? m_check << 1 ^ 0x07 : m_check << 1);
}
