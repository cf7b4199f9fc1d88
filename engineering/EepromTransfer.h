#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "platform/TimeSource.h"

#include <QString>

#include <functional>

/// A memory with one address byte. Parts above 256 bytes answer at one bus address for every 256.
struct EepromPart {
    std::int16_t Address = 0xA0; ///< 8-bit form, of the first 256 bytes
    int Size = 256;
    int Page = 8; ///< bytes that one write may hold
    int WriteMs = 5; ///< how long a page takes to become permanent
};
inline constexpr int kMostEepromBytes = 2048;

struct EepromResult {
    ErrorCode Code = ErrorCode::Ok; ///< 11 when the verify found a difference, 34 when it was cancelled
    Bytes Data; ///< what was read
    int Written = 0; ///< bytes that were sent and acknowledged, from the first on
    int FirstWrong = -1; ///< offset
    int Wrong = 0; ///< bytes that differ
    QString Text; ///< what was done and what it means for the part, in plain words
};

/// Reads and writes EEPROMs. Holds the bus for a whole read or write; a transfer that a disturbed bus broke
/// is tried three times.
class EepromTransfer {
public:
    /// @return false ends the work after the present step
    using Progress = std::function<bool(int done, int of)>;

    EepromTransfer(frmUSB& usb, GaugeAccess& access, TimeSource& time)
        : m_usb(usb), m_access(access), m_time(time)
    {
    }
    [[nodiscard]] EepromResult Read(const EepromPart& part, const QString& owner, const Progress& progress);
    /// Writes from the first byte on, then reads everything back and compares.
    /// @param bytes  at most as many as the part has; the rest of the part stays
    [[nodiscard]] EepromResult Load(const EepromPart& part, const Bytes& bytes, const QString& owner,
                                    const Progress& progress);
    [[nodiscard]] EepromResult Verify(const EepromPart& part, const Bytes& bytes, const QString& owner,
                                      const Progress& progress);

private:
    [[nodiscard]] EepromResult Hold(const EepromPart& part, const Bytes* bytes, bool write,
                                    const QString& owner, const Progress& progress);
    [[nodiscard]] ErrorCode ReadPiece(const EepromPart& part, int offset, int count, Bytes& piece);
    [[nodiscard]] ErrorCode WritePage(const EepromPart& part, int offset, const Bytes& page);
    [[nodiscard]] QString Explain(const EepromPart& part, int offset, ErrorCode code) const;

    frmUSB& m_usb;
    GaugeAccess& m_access;
    TimeSource& m_time;
};

/// Sixteen bytes a line: place, bytes, characters.
/// @param first  the place of the first byte
[[nodiscard]] QString HexDump(const Bytes& bytes, std::size_t first = 0);
