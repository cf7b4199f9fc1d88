#pragma once

#include "platform/Bytes.h"
#include "platform/UserMessages.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

/// Bytes of a data type ("I1" ... "F4", "S21"; letter case plays no part); nothing for an unknown type.
[[nodiscard]] std::optional<int> WidthOf(const QString& dataType);

/// Native text of the bytes at an offset. Integers are big-endian; "F4" is the Xemics float with at most 6
/// decimals, never "-0"; "H" types show upper-case digits, two a byte; "S" is a counted string, a byte a
/// character. An unknown type gives a message and an empty text; bytes past the buffer's end give an empty
/// text.
[[nodiscard]] QString ByteToDataType(const Bytes& buffer, int offset, const QString& dataType,
                                     UserMessages& messages);

/// Puts a native text's bytes into the buffer.
/// @param why  in plain words when it is refused: empty text, no number, a fraction for an integer, out of
/// the
///             type's range, too long; may be null
/// @return false when refused; the buffer is then as it was
bool DataTypeToByte(Bytes& buffer, int offset, const QString& dataType, const QString& text,
                    UserMessages& messages, QString* why = nullptr);

/// Four bytes in data-flash order: exponent biased by 128, sign and mantissa.
using XemicsBytes = std::array<std::uint8_t, 4>;
[[nodiscard]] double XemicsToIEEE(const XemicsBytes& bytes);
[[nodiscard]] XemicsBytes IEEEToXemics(double value);
