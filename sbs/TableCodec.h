#pragma once

#include "platform/WholeFile.h"
#include "platform/Windows1252.h"
#include "sbs/TableFields.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

// Table files and grids of any record type, by its TableFields. docs/tables.md describes the form.
namespace TableCodec {

inline constexpr std::size_t kFirstCapacity = 21;
inline constexpr std::size_t kGrowth = 10;
inline constexpr std::size_t kMostRows = 32767; ///< row numbers are signed 16-bit
inline constexpr qint64 kMostBytes = 64LL * 1024 * 1024;
inline constexpr int kMostTextBytes = 65535;

/// Takes records off the front of a file's bytes.
class Reader {
public:
    explicit Reader(QByteArrayView bytes) : m_rest(bytes) { }
    [[nodiscard]] bool AtEnd() const { return m_rest.isEmpty(); }

    /// @return false when the record is cut short
    template <class Record>
    bool Take(Record& record)
    {
        bool whole = true;
        ForEachTableField<Record>([&](const auto& field) { whole = whole && TakeField(field.get(record)); });
        return whole;
    }

private:
    template <class Number>
    bool TakeField(Number& number)
    {
        if (m_rest.size() < static_cast<qsizetype>(sizeof(Number)))
            return false;
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i)
            bits |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(m_rest[static_cast<qsizetype>(i)]))
                << 8 * i;
        number = static_cast<Number>(bits);
        m_rest = m_rest.sliced(sizeof(Number));
        return true;
    }
    bool TakeField(QString& text)
    {
        std::uint16_t length = 0;
        if (!TakeField(length) || m_rest.size() < length)
            return false;
        text = DecodeWindows1252(m_rest.first(length));
        m_rest = m_rest.sliced(length);
        return true;
    }

    QByteArrayView m_rest;
};

/// Takes a whole table; a cut last record is dropped.
/// @param records  as long as its capacity: room for 21, and 10 more whenever the next one would not fit
/// @return empty, or why it was refused; records and count are then untouched
template <class Record>
[[nodiscard]] QString Decode(QByteArrayView bytes, std::vector<Record>& records, std::int16_t& count)
{
    std::vector<Record> decoded(kFirstCapacity);
    std::size_t n = 0;
    for (Reader reader(bytes); !reader.AtEnd(); ++n) {
        if (n == kMostRows)
            return QStringLiteral("more than %1 records; is it a table of this kind?").arg(kMostRows);
        if (n == decoded.size())
            decoded.resize(n + kGrowth);
        Record record;
        if (!reader.Take(record))
            break;
        decoded[n] = std::move(record);
    }
    records = std::move(decoded);
    count = static_cast<std::int16_t>(n);
    return {};
}

/// @return empty, or what went wrong in plain words with the file's name
template <class Record>
[[nodiscard]] QString Load(const QString& fileName, std::vector<Record>& records, std::int16_t& count)
{
    const FileBytes file = ReadWhole(fileName, kMostBytes);
    if (!file.error.isEmpty())
        return file.error;
    const QString problem = Decode(file.bytes, records, count);
    return problem.isEmpty() ? QString() : QStringLiteral("%1: %2").arg(fileName, problem);
}

inline QString CellText(const QString& text, CellForm) { return text; }

template <class Number>
QString CellText(Number number, CellForm form)
{
    if (form == CellForm::Hex)
        return QString::number(static_cast<std::make_unsigned_t<Number>>(number), 16).toUpper();
    return QString::number(number);
}

/// One grid row a record under a header of the field names.
template <class Record>
void Populate(TextGrid& grid, const std::vector<Record>& records, std::int16_t count)
{
    grid.cells.clear();
    grid.cells.reserve(static_cast<std::size_t>(count) + 1);
    QStringList header;
    ForEachTableField<Record>([&](const auto& field) { header << QString::fromLatin1(field.name); });
    grid.cells.push_back(header);
    for (std::int16_t i = 0; i < count; ++i) {
        QStringList row;
        ForEachTableField<Record>([&](const auto& field) {
            row << CellText(field.get(records[static_cast<std::size_t>(i)]), field.form);
        });
        grid.cells.push_back(row);
    }
}

/// @return empty, or what is wrong with the cell
inline QString Append(QByteArray& bytes, const QString& cell, const QString&, CellForm)
{
    const Windows1252Text text = EncodeWindows1252(cell);
    if (!text.misfit.isEmpty())
        return QStringLiteral("%1 is not in the character set of tables (Windows-1252)").arg(text.misfit);
    if (text.bytes.size() > kMostTextBytes)
        return QStringLiteral("longer than %1 characters").arg(kMostTextBytes);
    bytes += static_cast<char>(text.bytes.size() & 0xFF);
    bytes += static_cast<char>(text.bytes.size() >> 8);
    bytes += text.bytes;
    return {};
}

template <class Number>
QString Append(QByteArray& bytes, const QString& cell, Number, CellForm form)
{
    using Limits = std::numeric_limits<Number>;
    const bool hex = form == CellForm::Hex;
    const qint64 lowest = hex ? 0 : Limits::min();
    const qint64 highest = hex ? std::numeric_limits<std::make_unsigned_t<Number>>::max() : Limits::max();
    bool ok = false;
    const qint64 number = cell.trimmed().toLongLong(&ok, hex ? 16 : 10);
    if (!ok || number < lowest || number > highest)
        return hex ? QStringLiteral("not a hexadecimal number from 0 to %1")
                         .arg(QString::number(highest, 16).toUpper())
                   : QStringLiteral("not a whole number from %1 to %2").arg(lowest).arg(highest);
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        bytes += static_cast<char>(number >> 8 * i & 0xFF);
    return {};
}

/// Converts every cell below the header.
/// @return empty, or the first cell that does not convert: row, column, text and reason
template <class Record>
[[nodiscard]] QString Encode(const TextGrid& grid, QByteArray& bytes)
{
    if (grid.cells.size() > kMostRows + 1)
        return QStringLiteral("%1 rows are more than the %2 that a table holds")
            .arg(grid.cells.size() - 1)
            .arg(kMostRows);
    QString problem;
    const Record types{};
    for (std::size_t row = 1; row < grid.cells.size() && problem.isEmpty(); ++row) {
        qsizetype column = 0;
        ForEachTableField<Record>([&](const auto& field) {
            if (!problem.isEmpty())
                return;
            const QString cell = grid.cells[row].value(column);
            const QString reason = Append(bytes, cell, field.get(types), field.form);
            if (!reason.isEmpty())
                problem = QStringLiteral("row %1, column %2 (%3), \"%4\": %5")
                              .arg(row - 1)
                              .arg(column)
                              .arg(QString::fromLatin1(field.name), cell.left(60), reason);
            ++column;
        });
    }
    return problem;
}

template <class Record>
[[nodiscard]] QString Save(const TextGrid& grid, const QString& fileName)
{
    QByteArray bytes;
    const QString problem = Encode<Record>(grid, bytes);
    if (!problem.isEmpty())
        return QStringLiteral("%1 was not written: %2").arg(fileName, problem);
    return SaveWhole(fileName, bytes);
}

} // namespace TableCodec
