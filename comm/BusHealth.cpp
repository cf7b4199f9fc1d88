#include "comm/BusHealth.h"

#include <algorithm>

namespace {

std::int64_t BusCounts::*CounterOf(ErrorCode code)
{
    switch (code) {
    case ErrorCode::NoAcknowledge:
        return &BusCounts::Nack;
    case ErrorCode::BadPec:
        return &BusCounts::Pec;
    case ErrorCode::Timeout:
    case ErrorCode::T2hTimeout:
        return &BusCounts::Timeouts;
    default:
        return &BusCounts::Other;
    }
}

std::uint64_t KeyOf(const BusPlace& place)
{
    const auto word
        = [](std::int16_t value) { return static_cast<std::uint64_t>(static_cast<std::uint16_t>(value)); };
    return word(static_cast<std::int16_t>(place.Call)) << 32 | word(place.Address) << 16
        | word(place.Command);
}

QString Hex(std::int16_t value)
{
    return value < 0 ? QString()
                     : QStringLiteral("0x%1").arg(QString::number(value, 16).toUpper(), 2, QLatin1Char('0'));
}

} // namespace

BusCounts& BusCounts::operator+=(const BusCounts& other)
{
    Calls += other.Calls;
    Nack += other.Nack;
    Pec += other.Pec;
    Timeouts += other.Timeouts;
    Other += other.Other;
    SumUs += other.SumUs;
    LongestUs = std::max(LongestUs, other.LongestUs);
    return *this;
}

BusCounts& BusHealth::At(const BusPlace& place)
{
    ++m_revision;
    const auto [found, fresh] = m_index.try_emplace(KeyOf(place), m_rows.size());
    if (fresh && m_rows.size() >= kMostRows) {
        m_index.erase(found);
        return m_rows.back().Counts; // the row of all that came too late for one of their own
    }
    if (fresh)
        m_rows.push_back({m_rows.size() + 1 < kMostRows ? place : BusPlace{}, {}});
    return m_rows[found->second].Counts;
}

void BusHealth::Note(const BusPlace& place, ErrorCode code, std::int64_t tookUs)
{
    BusCounts& counts = At(place);
    ++counts.Calls;
    counts.SumUs += tookUs;
    counts.LongestUs = std::max(counts.LongestUs, tookUs);
    if (Failed(code))
        ++(counts.*CounterOf(code));
}

void BusHealth::NoteLate(const BusPlace& place, ErrorCode code)
{
    if (Failed(code))
        ++(At(place).*CounterOf(code));
}

void BusHealth::Reset()
{
    m_rows.clear();
    m_index.clear();
    ++m_revision;
}

BusCounts BusHealth::Total() const
{
    BusCounts total;
    for (const Row& row : m_rows)
        total += row.Counts;
    return total;
}

QString HealthCsv(const BusHealth& health)
{
    QString text = QStringLiteral(
        "Address,Command,Operation,Calls,NACK,PEC errors,Time-outs,Other,Mean us,Longest us\n");
    for (const BusHealth::Row& row : health.Rows()) {
        const BusCounts& counts = row.Counts;
        QStringList cells{Hex(row.Place.Address), Hex(row.Place.Command),
                          row.Place.Transfers() ? OperationText(row.Place.Call)
                                                : QStringLiteral("All others")};
        cells[2].remove(QLatin1Char(','));
        for (const std::int64_t count :
             {counts.Calls, counts.Nack, counts.Pec, counts.Timeouts, counts.Other})
            cells << QString::number(count);
        cells << QString::number(counts.MeanUs(), 'f', 1) << QString::number(counts.LongestUs);
        text += cells.join(QLatin1Char(',')) + QLatin1Char('\n');
    }
    return text;
}
