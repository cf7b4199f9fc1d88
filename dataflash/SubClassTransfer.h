#pragma once

#include "comm/frmUSB.h"
#include "dataflash/AccessStyle.h"
#include "platform/Bytes.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>

/// Moves one subclass between a buffer and the gauge, in the gauge's access style; docs/dataflash-transfer.md
/// has the sequences. Knows bytes only. The caller holds the bus, so failures are kept as texts for later.
///
/// Results: 0; the adapter's code; 5 when the gauge answers fewer bytes than a block must have; 7 for a style
/// or a place that does not exist; 34 when Cancelled said so. Nothing is sent after the step that failed, but
/// for the one that leaves a transfer mode.
class SubClassTransfer {
public:
    struct Setup {
        AccessStyle Style;
        std::int16_t Address = 0;
        std::int32_t RowDelay = 0; ///< ms, waited after each block write
    };
    /// @param cancelled  asked between two blocks of a read. A write is never left in the middle of a
    /// subclass.
    SubClassTransfer(frmUSB& usb, const Setup& setup, std::function<bool()> cancelled = {});

    /// @param buffer  at least length bytes; bytes that the gauge sends past the subclass's end fill what
    /// lies
    ///                behind them. Partly filled after a failure.
    std::int32_t ReadSubClass_Style(std::uint16_t id, int length, Bytes& buffer);
    /// @param buffer  Padded(length) bytes; what lacks is sent as FF
    std::int32_t WriteSubClass_Style(std::uint16_t id, int length, const Bytes& buffer);

    /// How long the buffer of a subclass is: whole pages or blocks where the style knows no shorter ones.
    [[nodiscard]] int Padded(int length) const;
    [[nodiscard]] int SentBytes(std::uint16_t id, int length) const;
    /// Microseconds on an ideal bus with packet error check, row delays included for a write.
    [[nodiscard]] double ReadMicroseconds(std::uint16_t id, int length, double hertz) const;
    [[nodiscard]] double WriteMicroseconds(std::uint16_t id, int length, double hertz) const;
    [[nodiscard]] QStringList TakeErrors(); ///< what was to be shown since the last call

private:
    /// Moves one piece: command of the block, bytes, place in the buffer.
    using Mover = std::function<ErrorCode(int command, int count, std::size_t at)>;
    enum class Way : std::uint8_t { Read, Write };

    ErrorCode ReadSubClassPaged(std::uint16_t id, int length, Bytes& buffer);
    ErrorCode WriteSubClassPaged(std::uint16_t id, int length, const Bytes& buffer);
    ErrorCode ReadSubClassLegacy(std::uint16_t id, int firstCommand, int length, int blockSize,
                                 Bytes& buffer);
    ErrorCode WriteSubClassLegacy(int firstCommand, int length, int blockSize, const Bytes& buffer);
    ErrorCode ReadRows(std::uint16_t id, int length, Bytes& buffer);
    ErrorCode WriteRows(std::uint16_t id, int length, const Bytes& buffer);
    ErrorCode MoveByModeByte(Way way, std::uint16_t id, int length, const Mover& move);
    ErrorCode MoveInChunks(Way way, std::uint16_t id, int length, const Mover& move);

    ErrorCode WriteWord(int command, int word);
    /// @param wanted  fewer bytes are a failure
    /// @param most    more are not kept
    ErrorCode ReadBlock(int command, int wanted, int most, std::size_t at, Bytes& buffer);
    ErrorCode WriteBlock(int command, int count, std::size_t at, const Bytes& buffer);
    ErrorCode SendBlock(int command, const Bytes& block);
    void NotePiece(Way way, std::uint16_t id, int piece, ErrorCode err);
    ErrorCode RefuseStyle();
    [[nodiscard]] bool Cancelled() const { return m_cancelled && m_cancelled(); }

    frmUSB& m_usb;
    Setup m_setup;
    std::function<bool()> m_cancelled;
    QStringList m_errors;
};
