#pragma once

#include "comm/ErrorCodes.h"
#include "platform/Bytes.h"

#include <QByteArray>
#include <QByteArrayView>

#include <vector>

/// S-records as the simulated adapter reads and writes them. It shares nothing with the program's own reader,
/// so that one checks the other.
namespace SrecLines {

struct Record {
    std::uint32_t Address = 0;
    Bytes Data;
};
struct File {
    std::vector<Record> Records; ///< of types 1 to 3, in the file's order
    QByteArray Comment; ///< of the S0 record
    ErrorCode Code = ErrorCode::Ok; ///< 222 to 225
    std::int32_t Line = 0; ///< that it was found in, from 1
};
[[nodiscard]] File Parse(QByteArrayView text);

/// A record with its line end; type 0 has a 16-bit address, 3 and 7 have 32 bits.
[[nodiscard]] QByteArray Line(int type, std::uint32_t address, std::span<const std::uint8_t> data);

} // namespace SrecLines
