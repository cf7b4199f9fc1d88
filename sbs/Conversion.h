#pragma once

#include "platform/NumberFormat.h"
#include "sbs/ReadStyle.h"

#include <QString>

#include <cstdint>

/// A register's raw value: a byte, or a word as a signed bit pattern; -32768..65535.
using RawValue = std::int32_t;

/// A converted number, or why there is none.
struct Converted {
    double value = 0;
    bool isByte = false; ///< an unchanged 8-bit value: format "d" shows it signed
    QString error; ///< empty, or plain words
    [[nodiscard]] bool Ok() const { return error.isEmpty(); }
};

/// Converts a raw value by a register row's ReadFactor. "x", "X" and an empty factor leave it unchanged.
/// @param style  decides whether an unchanged value counts as a byte
[[nodiscard]] Converted ApplyFactor(RawValue raw, ReadStyle style, const QString& factor);

/// Formats by the display format; docs/tables.md has the rules.
[[nodiscard]] Formatted FormatValue(const Converted& converted, const QString& displayFormat);

/// Converts a typed text by a register row's WriteFactor for a write: rounded half to even, refused outside
/// -32768..65535.
struct WriteWord {
    RawValue raw = 0;
    QString error; ///< empty, or plain words
};
[[nodiscard]] WriteWord ConvertForWrite(const QString& typed, const QString& factor);
