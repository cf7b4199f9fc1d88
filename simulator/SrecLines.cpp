#include "simulator/SrecLines.h"

#include <numeric>

namespace {

constexpr int kAddressBytes[] = {2, 2, 3, 4, 0, 2, 3, 4, 3, 2}; // by type; there is no type 4

/// The bytes of a line behind its type: count, address, data and check.
ErrorCode Split(QByteArrayView line, int& type, QByteArray& bytes)
{
    if (line.size() < 2 || (line[0] != 'S' && line[0] != 's'))
        return ErrorCode::SrecBadStartRecord;
    type = line[1] - '0';
    if (type < 0 || type > 9 || type == 4)
        return ErrorCode::SrecUnknownType;
    bytes = QByteArray::fromHex(line.sliced(2).toByteArray());
    const auto sum = std::accumulate(bytes.begin(), bytes.end(), 0U, [](unsigned all, char byte) {
        return all + static_cast<std::uint8_t>(byte);
    });
    const int least = kAddressBytes[type] + 2;
    if (bytes.size() * 2 != line.size() - 2 || bytes.size() < least
        || static_cast<std::uint8_t>(bytes[0]) != bytes.size() - 1 || (sum & 0xFFU) != 0xFF)
        return ErrorCode::SrecBadChecksum;
    return ErrorCode::Ok;
}

} // namespace

SrecLines::File SrecLines::Parse(QByteArrayView text)
{
    File file;
    std::uint32_t records = 0;
    for (const QByteArray& raw : text.toByteArray().split('\n')) {
        ++file.Line;
        const QByteArray line = raw.trimmed();
        if (line.isEmpty())
            continue;
        int type = 0;
        QByteArray bytes;
        file.Code = Split(line, type, bytes);
        if (Failed(file.Code))
            return file;
        std::uint32_t address = 0;
        for (int i = 1; i <= kAddressBytes[type]; ++i)
            address = address << 8U | static_cast<std::uint8_t>(bytes[i]);
        const QByteArray data = bytes.sliced(1 + kAddressBytes[type]).chopped(1);
        if (type == 0) {
            file.Comment = data;
        } else if (type <= 3) {
            ++records;
            file.Records.push_back({address, Bytes(data.begin(), data.end())});
        } else if (type <= 6 && address != records) {
            file.Code = ErrorCode::SrecBadRecordCount;
            return file;
        }
    }
    return file;
}

QByteArray SrecLines::Line(int type, std::uint32_t address, std::span<const std::uint8_t> data)
{
    QByteArray bytes(1, static_cast<char>(kAddressBytes[type] + static_cast<int>(data.size()) + 1));
    for (int i = kAddressBytes[type] - 1; i >= 0; --i)
        bytes += static_cast<char>(address >> 8 * i & 0xFFU);
    bytes.append(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
    const auto sum = std::accumulate(bytes.begin(), bytes.end(), 0U, [](unsigned all, char byte) {
        return all + static_cast<std::uint8_t>(byte);
    });
    bytes += static_cast<char>(~sum & 0xFFU);
    return "S" + QByteArray::number(type) + bytes.toHex().toUpper() + '\n';
}
