#pragma once

#include "comm/ErrorCodes.h"
#include "comm/adapters/Pc61vRW.h"
#include "comm/frmUSB.h"
#include "platform/Bytes.h"
#include "platform/TimeSource.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

enum class TransactionKind : std::uint8_t {
    ReadWord,
    WriteWord,
    ReadBlock,
    WriteBlock,
    Command,
    Peek,
    Poke,
    I2CRead,
    I2CWrite,
    GpioRead,
    GpioWrite,
};

/// One thing to send. Which members count follows from the kind.
struct Transaction {
    TransactionKind Kind = TransactionKind::ReadWord;
    /// 8-bit form. SMBus kinds, peek and poke: nothing means the gauge's. I2C kinds always have one.
    std::optional<std::int16_t> Address;
    std::int32_t Place = 0; ///< command, memory address, register or line
    std::uint16_t Word = 0; ///< of a word write; level of a line
    std::int32_t Length = 0; ///< bytes to read, of peek and I2C reads
    Bytes Data; ///< of block writes, pokes and I2C writes

    bool operator==(const Transaction&) const = default;
};

struct TransactionResult {
    ErrorCode Code = ErrorCode::Ok;
    Bytes Data; ///< what came; a word low byte first
    QDateTime At;
    std::int64_t TookMs = 0;
};

/// How a kind is written, and what it needs.
struct TransactionForm {
    TransactionKind Kind;
    const char* Word; ///< "read-word"
    const char* Caption; ///< "Read word"
    /// What follows the word, a letter each: c command, w word, h bytes, m memory address, n length, a bus
    /// address, r register, l line, v level.
    const char* Arguments;
    const char* Function; ///< of AdapterFacts::Functions, that the adapter must offer
    bool Writes; ///< changes something at the other end
    bool AnswersWord;
    bool AnswersBytes;
};
[[nodiscard]] std::span<const TransactionForm> TransactionForms(); ///< in the order of the kinds
[[nodiscard]] const TransactionForm& FormOf(TransactionKind kind);

/// "write-word 0x04 0xFA24", with " at 0x18" behind it for another address than the gauge's: the form of
/// sequence files and access commands, docs/sequencer.md.
[[nodiscard]] QString TransactionText(const Transaction& transaction);
/// Reads a transaction from the front of the words and takes off what belongs to it.
/// @param problem  plain words when the words begin no transaction; they may then be half taken off
[[nodiscard]] std::optional<Transaction> TakeTransaction(QStringList& words, QString& problem);

/// A whole number within the limits, decimal or with 0x. Plain digits count as hexadecimal when asked.
/// @param problem  plain words, with what it is for
[[nodiscard]] std::optional<std::int64_t> ParseWhole(const QString& text, const QString& what,
                                                     std::int64_t min, std::int64_t max, QString& problem,
                                                     bool hexadecimal = false);
/// "0x09"; digits is how many at least.
[[nodiscard]] QString HexNumber(std::int64_t value, int digits = 2);

/// What came, for people: "0x41A0  16800" or "54 61 72"; empty when nothing did.
[[nodiscard]] QString AnswerText(TransactionKind kind, const TransactionResult& result);

/// Peek and poke go through two commands of the gauge: the address is written as a word to the first, then a
/// block of at most BlockSize bytes is read from or written to the second.
struct MemoryCommands {
    std::uint8_t Address = 0;
    std::uint8_t Data = 0;
    int BlockSize = 32;
};

/// Sends transactions. The caller holds the bus.
class TransactionSender {
public:
    /// @param memory  nothing: the target names no memory commands, peek and poke answer 7
    TransactionSender(frmUSB& usb, TimeSource& time, std::int16_t gaugeAddress,
                      std::optional<MemoryCommands> memory)
        : m_usb(usb), m_time(time), m_gauge(gaugeAddress), m_memory(memory)
    {
    }
    [[nodiscard]] TransactionResult Send(const Transaction& transaction);
    /// Why a transaction failed and what to do, where the code's own text is not enough; else empty.
    [[nodiscard]] QString Explain(const Transaction& transaction, ErrorCode code) const;
    [[nodiscard]] std::int16_t GaugeAddress() const { return m_gauge; }

private:
    ErrorCode Transfer(const Transaction& transaction, Bytes& data);
    ErrorCode Peek(const Transaction& transaction, std::int16_t addr, Bytes& data);
    ErrorCode Poke(const Transaction& transaction, std::int16_t addr);

    frmUSB& m_usb;
    TimeSource& m_time;
    std::int16_t m_gauge;
    std::optional<MemoryCommands> m_memory;
};
