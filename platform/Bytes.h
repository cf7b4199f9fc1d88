#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Bytes as they stand on a bus or in a file.
using Bytes = std::vector<std::uint8_t>;

/// Two upper-case hexadecimal digits a byte, nothing between them.
[[nodiscard]] QString HexText(std::span<const std::uint8_t> bytes);

/// Reads pairs of hexadecimal digits in either case, blanks between pairs allowed, an optional "0x" in front.
/// @return nothing when a character is no digit or a digit is left over
[[nodiscard]] std::optional<Bytes> ParseHex(QStringView text);
