#pragma once

#include <QByteArray>

#include <cstdint>
#include <span>

/// SHA-256 of the bytes, 32 bytes; that of no bytes is e3b0c442...
[[nodiscard]] QByteArray Sha256(std::span<const std::uint8_t> bytes);
