#include "comm/adapters/LinuxSmbus.h"

#include "comm/adapters/LinuxErrors.h"
#include "platform/Pec.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/i2c.h>

namespace {

using Clock = std::chrono::steady_clock;

/// No bus transfer lasts that long, a USB request that nobody answered does (2 s): i2c-tiny-usb reports both
/// as EIO.
constexpr std::chrono::seconds kUnanswered{1};
/// SpecificationInfo is not asked for again once that much time is gone: the operation has its limit.
constexpr std::chrono::milliseconds kSettleTime{90};

// At 100 kHz: nine clocks a byte; start, stop and free time; a repeated start.
constexpr double kByteMicroseconds = 90;
constexpr double kFrameMicroseconds = 12.7;
constexpr double kRepeatedStartMicroseconds = 8.7;

constexpr std::uint8_t kUndriven = 0xFF;

/// Of an answer to cmd, its check byte last.
bool CheckIsGood(std::uint8_t addr, std::uint8_t cmd, std::span<const std::uint8_t> frame)
{
    const std::array head{addr, cmd, static_cast<std::uint8_t>(addr | 1U)};
    // A line that stayed high all along is no answer, although its bytes pass the check of one command.
    return PecOf(frame, PecOf(head)) == 0
        && std::ranges::any_of(frame, [](auto byte) { return byte != kUndriven; });
}

bool IsBlockLength(std::size_t length) { return length >= 1 && length <= I2C_SMBUS_BLOCK_MAX; }

} // namespace

ErrorCode LinuxSmbus::Result(int error, std::size_t written, std::size_t read, Clock::time_point began)
{
    m_errno = error;
    if (error == 0) {
        m_microseconds += kFrameMicroseconds
            + kByteMicroseconds
                * static_cast<double>(written + read + (written > 0 ? 1U : 0U) + (read > 0 ? 1U : 0U))
            + (written > 0 && read > 0 ? kRepeatedStartMicroseconds : 0);
        return ErrorCode::Ok;
    }
    if (!m_bus->IsThere())
        return ErrorCode::NoUsb;
    if (error == EIO && Clock::now() - began >= kUnanswered)
        return ErrorCode::T2hTimeout;
    return LinuxErrorToCode(error);
}

/// One plain message out, one back; what the frame holds says how many bytes are wanted.
ErrorCode LinuxSmbus::Read(std::uint8_t addr, std::uint8_t cmd, Bytes& frame)
{
    const auto began = Clock::now();
    return Result(m_bus->Transfer(addr, std::array{cmd}, frame), 1, frame.size(), began);
}

ErrorCode LinuxSmbus::ReadWordOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& word)
{
    Bytes frame(2);
    if (m_bus->CanTransfer()) {
        frame.resize(pec ? 3 : 2);
        if (const ErrorCode err = Read(addr, cmd, frame); Failed(err))
            return err;
        if (pec && !CheckIsGood(addr, cmd, frame))
            return ErrorCode::BadPec;
        frame.resize(2);
    } else {
        const auto began = Clock::now();
        const int error = m_bus->Smbus(addr, true, cmd, I2C_SMBUS_WORD_DATA, pec, frame);
        if (const ErrorCode err = Result(error, 1, 2, began); Failed(err))
            return err;
        if constexpr (std::endian::native == std::endian::big)
            std::ranges::reverse(frame); // the kernel hands the word over as a number
    }
    word = std::move(frame);
    return ErrorCode::Ok;
}

ErrorCode LinuxSmbus::ReadBlockOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& block)
{
    Bytes frame(1 + I2C_SMBUS_BLOCK_MAX);
    if (m_bus->CanTransfer()) {
        // The longest block there is, whatever this one's length: bytes behind its end read as undriven.
        frame.resize(frame.size() + (pec ? 1 : 0));
        if (const ErrorCode err = Read(addr, cmd, frame); Failed(err))
            return err;
    } else {
        const auto began = Clock::now();
        const int error = m_bus->Smbus(addr, true, cmd, I2C_SMBUS_BLOCK_DATA, pec, frame);
        if (const ErrorCode err = Result(error, 1, frame.size(), began); Failed(err))
            return err;
        pec = false; // checked on the way
    }
    const std::size_t length = frame[0];
    if (!IsBlockLength(length))
        return ErrorCode::WrongNumBytes;
    frame.resize(1 + length + (pec ? 1 : 0));
    if (pec && !CheckIsGood(addr, cmd, frame))
        return ErrorCode::BadPec;
    block.assign(frame.begin() + 1, frame.begin() + 1 + static_cast<std::ptrdiff_t>(length));
    return ErrorCode::Ok;
}

/// @param payload  what follows the command, a block's length byte included
ErrorCode LinuxSmbus::WriteOnce(std::uint8_t addr, std::uint8_t cmd, bool pec, Bytes& payload)
{
    const auto began = Clock::now();
    if (m_bus->CanTransfer()) {
        Bytes frame(2 + payload.size(), addr);
        frame[1] = cmd;
        std::ranges::copy(payload, frame.begin() + 2);
        if (pec)
            frame.push_back(PecOf(frame));
        return Result(m_bus->Transfer(addr, std::span(frame).subspan(1), {}), frame.size() - 1, 0, began);
    }
    // A block of one byte looks like a word on the wire, and may go as one.
    int kind = I2C_SMBUS_BLOCK_DATA;
    if (payload.empty())
        kind = I2C_SMBUS_BYTE;
    else if (payload.size() == 2)
        kind = I2C_SMBUS_WORD_DATA;
    Bytes data = payload;
    if (std::endian::native == std::endian::big && data.size() == 2)
        std::ranges::reverse(data);
    return Result(m_bus->Smbus(addr, false, cmd, kind, pec, data), payload.size() + 1, 0, began);
}

/// @param refused  no answer that says anything came; the part may have no such register
ErrorCode LinuxSmbus::SettlePec(std::uint8_t addr, bool& refused)
{
    const auto began = Clock::now();
    ErrorCode err = ErrorCode::Ok;
    refused = true;
    for (int turn = 0; turn < PecPolicy::kTurns && m_pec.For(addr) == PecPolicy::Use::Unsettled; ++turn) {
        Bytes word;
        err = ReadWordOnce(addr, PecPolicy::kSpecificationInfo, true, word);
        const bool checked = !Failed(err);
        if (err == ErrorCode::BadPec)
            err = ReadWordOnce(addr, PecPolicy::kSpecificationInfo, false, word);
        if (!Failed(err)) {
            const auto value = static_cast<std::uint16_t>(word[0] | word[1] << 8);
            refused = refused && PecPolicy::IsBlank(value);
            m_pec.Answered(addr, value, checked);
        } else if (err == ErrorCode::NoUsb || err == ErrorCode::BusBusy || err == ErrorCode::IncorrectParam
                   || Clock::now() - began > kSettleTime) {
            return err;
        }
    }
    if (m_pec.For(addr) != PecPolicy::Use::Unsettled || refused)
        return ErrorCode::Ok;
    return Failed(err) ? err : ErrorCode::BadPec; // one that says it checks, and does not
}

ErrorCode LinuxSmbus::Perform(Operation operation, std::uint8_t addr, std::uint8_t cmd, Bytes& data)
{
    bool refused = false;
    if (m_bus->CanPec() && m_pec.For(addr) == PecPolicy::Use::Unsettled) {
        if (const ErrorCode err = SettlePec(addr, refused); Failed(err))
            return err;
    }
    const bool pec = m_pec.For(addr) == PecPolicy::Use::On;
    const ErrorCode err = (this->*operation)(addr, cmd, pec, data);
    if (!refused)
        m_pec.Went(addr, !Failed(err));
    else if (!Failed(err))
        m_pec.AnswersOthersOnly(addr);
    return err;
}

ErrorCode LinuxSmbus::ReadWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t& word)
{
    Bytes bytes;
    const ErrorCode err = Perform(&LinuxSmbus::ReadWordOnce, addr, cmd, bytes);
    if (!Failed(err))
        word = static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
    return err;
}

ErrorCode LinuxSmbus::WriteWord(std::uint8_t addr, std::uint8_t cmd, std::uint16_t word)
{
    Bytes payload{static_cast<std::uint8_t>(word & 0xFFU), static_cast<std::uint8_t>(word >> 8U)};
    return Perform(&LinuxSmbus::WriteOnce, addr, cmd, payload);
}

ErrorCode LinuxSmbus::ReadBlock(std::uint8_t addr, std::uint8_t cmd, Bytes& block)
{
    return Perform(&LinuxSmbus::ReadBlockOnce, addr, cmd, block);
}

ErrorCode LinuxSmbus::WriteBlock(std::uint8_t addr, std::uint8_t cmd, std::span<const std::uint8_t> block)
{
    if (!IsBlockLength(block.size()))
        return ErrorCode::IncorrectParam;
    Bytes payload(1 + block.size(), static_cast<std::uint8_t>(block.size()));
    std::ranges::copy(block, payload.begin() + 1);
    return Perform(&LinuxSmbus::WriteOnce, addr, cmd, payload);
}

ErrorCode LinuxSmbus::Command(std::uint8_t addr, std::uint8_t cmd)
{
    Bytes nothing;
    return Perform(&LinuxSmbus::WriteOnce, addr, cmd, nothing);
}

ErrorCode LinuxSmbus::Exchange(std::uint8_t addr, std::span<const std::uint8_t> write, std::size_t count,
                               Bytes& read)
{
    const auto began = Clock::now();
    Bytes came(count);
    int error = EOPNOTSUPP;
    if (m_bus->CanTransfer()) {
        error = m_bus->Transfer(addr, write, came);
    } else if (write.size() == 1 && count >= 1 && count <= I2C_SMBUS_BLOCK_MAX) {
        Bytes block(1 + count,
                    static_cast<std::uint8_t>(count)); // the kernel takes the length from the front
        error = m_bus->Smbus(addr, true, write[0], I2C_SMBUS_I2C_BLOCK_DATA, false, block);
        if (error == 0 && block[0] != count)
            error = EPROTO;
        came.assign(block.begin() + 1, block.end());
    } else if (count == 0 && write.size() >= 2 && write.size() - 1 <= I2C_SMBUS_BLOCK_MAX) {
        Bytes block(write.size(), static_cast<std::uint8_t>(write.size() - 1));
        std::ranges::copy(write.subspan(1), block.begin() + 1);
        error = m_bus->Smbus(addr, false, write[0], I2C_SMBUS_I2C_BLOCK_DATA, false, block);
    }
    const ErrorCode err = Result(error, write.size(), count, began);
    if (!Failed(err))
        read = std::move(came);
    return err;
}
