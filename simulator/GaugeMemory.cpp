#include "simulator/GaugeMemory.h"

#include <algorithm>

namespace {

constexpr std::uint16_t kSeal = 0x0001;
constexpr std::uint16_t kOpenFirst = 0x4F50;
constexpr std::uint16_t kOpenSecond = 0x454E;
constexpr std::uint16_t kReset = 0x5253;
constexpr std::size_t kMostBytes = 32; // of an SMBus block

} // namespace

bool GaugeMemory::Start(std::uint8_t addressByte)
{
    if ((addressByte & 1U) == 0) {
        m_command.reset();
        m_first = true;
        m_refused = m_checked = false;
        m_payload.clear();
        m_answer.clear();
        m_answered = 0;
        m_check = 0;
        See(addressByte);
        return m_inner.Start(addressByte);
    }
    if (!m_command)
        return m_inner.Start(addressByte);
    if (m_refused || *m_command == kAddress)
        return Refuse(GaugeError::AccessDenied);
    See(addressByte);
    m_answer = Answer();
    if (m_answer.empty())
        return Refuse(GaugeError::AccessDenied);
    if (m_gauge.Pec()) {
        for (const std::uint8_t byte : m_answer)
            See(byte);
        m_answer.push_back(m_check);
    }
    m_gauge.SetError(GaugeError::Ok);
    return true;
}

bool GaugeMemory::Write(std::uint8_t byte)
{
    if (m_command)
        return Take(byte);
    const bool ours = m_first && byte >= kAccess && byte <= kData;
    m_first = false;
    if (!ours)
        return m_inner.Write(byte);
    m_inner.Stop(); // it has heard its address alone: nothing happens there
    m_command = byte;
    See(byte);
    return !m_sealed || byte == kAccess || Refuse(GaugeError::AccessDenied);
}

std::uint8_t GaugeMemory::Read()
{
    if (!m_command)
        return m_inner.Read();
    return m_answered < m_answer.size() ? m_answer[m_answered++] : 0xFF;
}

void GaugeMemory::Stop()
{
    if (!m_command) {
        m_inner.Stop();
        return;
    }
    if (!m_refused && m_answer.empty() && !m_payload.empty() && m_payload.size() == WholeSize()) {
        m_gauge.SetError(GaugeError::Ok);
        if (*m_command == kData)
            std::copy(m_payload.begin() + 1, m_payload.end(), m_ram.begin() + (m_pointer - kRamStart));
        else if (*m_command == kAddress)
            m_pointer = static_cast<std::uint16_t>(m_payload[0] | m_payload[1] << 8);
        else
            Obey(static_cast<std::uint16_t>(m_payload[0] | m_payload[1] << 8));
    }
    m_command.reset();
}

void GaugeMemory::Reset()
{
    m_ram.fill(0);
    m_pointer = m_lastWord = 0;
    m_sealed = false;
}

bool GaugeMemory::Take(std::uint8_t byte)
{
    if (m_refused)
        return false;
    if (!m_payload.empty() && m_payload.size() == WholeSize()) {
        if (!m_gauge.Pec() || m_checked)
            return Refuse(GaugeError::BadSize);
        m_checked = byte == m_check;
        return m_checked || Refuse(GaugeError::Unknown);
    }
    See(byte);
    m_payload.push_back(byte);
    if (*m_command != kData || m_payload.size() > 1)
        return true;
    const bool inRam = m_pointer >= kRamStart && m_pointer + byte <= kRamStart + static_cast<int>(kRamSize);
    if (byte == 0 || byte > kMostBytes)
        return Refuse(GaugeError::BadSize);
    return inRam || Refuse(GaugeError::AccessDenied);
}

bool GaugeMemory::Refuse(GaugeError error)
{
    m_gauge.SetError(error);
    m_refused = true;
    return false;
}

std::optional<std::uint8_t> GaugeMemory::Peek(unsigned address) const
{
    if (address >= kRamStart && address < kRamStart + kRamSize)
        return m_ram[address - kRamStart];
    if (address >= kRegisterBytes)
        return {};
    const std::uint16_t word = m_gauge.Word(static_cast<std::uint8_t>(address / 2));
    return static_cast<std::uint8_t>((address % 2 == 0 ? word : word >> 8) & 0xFF);
}

Bytes GaugeMemory::Answer() const
{
    if (*m_command == kAccess)
        return {static_cast<std::uint8_t>(m_sealed ? 0 : 1), 0};
    Bytes answer{0};
    for (unsigned address = m_pointer; answer.size() <= kMostBytes && Peek(address); ++address)
        answer.push_back(*Peek(address));
    answer[0] = static_cast<std::uint8_t>(answer.size() - 1);
    return answer[0] > 0 ? answer : Bytes{};
}

std::size_t GaugeMemory::WholeSize() const
{
    return *m_command == kData && !m_payload.empty() ? 1 + std::size_t{m_payload[0]} : 2;
}

void GaugeMemory::Obey(std::uint16_t word)
{
    if (word == kSeal)
        m_sealed = true;
    else if (word == kOpenSecond && m_lastWord == kOpenFirst)
        m_sealed = false;
    else if (word == kReset) {
        m_gauge.Reset();
        Reset();
    }
    m_lastWord = word;
}

void GaugeMemory::See(std::uint8_t byte)
{
    m_check ^= byte;
    for (int bit = 0; bit < 8; ++bit)
        m_check = static_cast<std::uint8_t>((m_check & 0x80) != 0 ? m_check << 1 ^ 0x07 : m_check << 1);
}
