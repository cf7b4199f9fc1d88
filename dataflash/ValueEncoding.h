#pragma once

#include "platform/Bytes.h"
#include "platform/UserMessages.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

/// What a data type text says: "I1", "U1", "H1", the same with 2 and 4, "F4", "S" and a width; letter case
/// plays no part.
struct DataTypeForm {
    enum class Kind : std::uint8_t { Signed, Unsigned, Hex, Float, Text };
    Kind What = Kind::Signed;
    int Width = 0; ///< bytes; of a counted string with its length byte, 1 to 256

    [[nodiscard]] bool IsInteger() const { return What <= Kind::Hex; }
    [[nodiscard]] std::int64_t Least() const; ///< of an integer type
    [[nodiscard]] std::int64_t Most() const;
};
[[nodiscard]] std::optional<DataTypeForm> ParseDataType(const QString& dataType);

/// Bytes of a data type; nothing for an unknown one.
[[nodiscard]] std::optional<int> WidthOf(const QString& dataType);

/// Native text of the bytes at an offset. Integers are big-endian; "F4" is the Xemics float with at most 6
/// decimals and no exponent, never "-0"; "H" types show upper-case digits, two a byte; "S" is a counted
/// string, a byte a character (Latin-1). An unknown type gives a message and an empty text; bytes past the
/// buffer's end give an empty text. A text that comes out empty because there is none is null; that of a
/// counted string of no characters is not.
[[nodiscard]] QString ByteToDataType(const Bytes& buffer, int offset, const QString& dataType,
                                     UserMessages& messages);

/// Puts a native text's bytes into the buffer. Blanks around numbers play no part; "H" types may begin with
/// "0x" or "&H"; a float beyond what the format holds saturates. A shorter string is followed by zero bytes;
/// only "S1" holds the empty text, anywhere else it means that the value is not known.
/// @param why  in plain words when it is refused: empty text, no number, a fraction for an integer, out of
/// the
///             type's range, too long; may be null
/// @return false when refused; the buffer is then as it was
bool DataTypeToByte(Bytes& buffer, int offset, const QString& dataType, const QString& text,
                    UserMessages& messages, QString* why = nullptr);

/// The number that a native text of a number type stands for; "1e400" is infinity.
/// @return nothing for a text that is none
[[nodiscard]] std::optional<double> NativeNumber(const DataTypeForm& type, const QString& text);

/// A number as the native text of a number type, unchecked: hexadecimal digits for "H", else plain.
[[nodiscard]] QString NativeText(const DataTypeForm& type, double number);

/// Four bytes in data-flash order: exponent biased by 128, sign and mantissa.
using XemicsBytes = std::array<std::uint8_t, 4>;
/// Rounded to 6 decimals, ties to even.
[[nodiscard]] double XemicsToIEEE(const XemicsBytes& bytes);
/// Magnitudes of 2^127 and more saturate, those below 2^-129 and NaN are zero.
[[nodiscard]] XemicsBytes IEEEToXemics(double value);
/// From here on the format has no number.
inline constexpr double kXemicsLimit = 0x1p127;
