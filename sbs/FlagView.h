#pragma once

#include "sbs/ScanEngine.h"
#include "sbs/clsSBSCfgRW.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

struct FlagBit {
    QString Name; ///< empty: reserved
    int Bit = 0; ///< 0 is the lowest
    std::optional<bool> Value; ///< nothing: not read, read failed, or beyond the register's 16 bits
};

/// One line of the flags display.
struct FlagLine {
    QString Caption;
    int Row = 0; ///< register row
    bool Scanned = false; ///< the register row exists and its scan switch is on
    std::vector<FlagBit> Bits; ///< highest first
};

/// Names for narrow places: the first letters of the words, "OCA" for "OVER_CHARGED_ALARM"; a single word is
/// cut to four letters, and where two names would be alike the first word gives three.
[[nodiscard]] QStringList ShortBitNames(const FlagLine& line);

inline constexpr int kMostFlagBits = 32;

/// Bits of one line; a width outside 0..kMostFlagBits is brought into that range.
/// @param raw  nothing: no bit has a value
[[nodiscard]] std::vector<FlagBit> MakeFlagBits(const QString& bitDesc, int bitWidth,
                                                std::optional<RawValue> raw);

/// @param flag  0 up to the number of flags
[[nodiscard]] FlagLine ReadFlagLine(const ScanEngine& scan, int flag);
