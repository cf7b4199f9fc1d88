#pragma once

#include "comm/BusPlace.h"
#include "comm/ErrorCodes.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

/// What happened at one register, by one operation.
struct BusCounts {
    std::int64_t Calls = 0;
    std::int64_t Nack = 0; ///< 772
    std::int64_t Pec = 0; ///< 3
    std::int64_t Timeouts = 0; ///< 8 and 92
    std::int64_t Other = 0; ///< every other code but 0
    std::int64_t SumUs = 0; ///< of all calls, failed ones included
    std::int64_t LongestUs = 0;

    [[nodiscard]] std::int64_t Failures() const { return Nack + Pec + Timeouts + Other; }
    [[nodiscard]] double MeanUs() const
    {
        return Calls > 0 ? static_cast<double>(SumUs) / static_cast<double>(Calls) : 0;
    }
    BusCounts& operator+=(const BusCounts& other);
};

/// Counts every transfer of a run by register and operation. Always on, so it costs a hash lookup and a few
/// additions a call. Registers beyond the limit share one row without address and command.
class BusHealth {
public:
    static constexpr std::size_t kMostRows = 4096;

    struct Row {
        BusPlace Place;
        BusCounts Counts;
    };

    /// @param tookUs  what the caller waited, less what other calls took that events made meanwhile
    void Note(const BusPlace& place, ErrorCode code, std::int64_t tookUs);
    /// A failure that only the poll behind a call brought to light; the call counted as done before.
    void NoteLate(const BusPlace& place, ErrorCode code);
    void Reset();

    [[nodiscard]] const std::vector<Row>& Rows() const
    {
        return m_rows;
    } ///< in the order they were first met
    [[nodiscard]] BusCounts Total() const;
    [[nodiscard]] std::uint64_t Revision() const { return m_revision; } ///< another one after every change

private:
    BusCounts& At(const BusPlace& place);

    std::vector<Row> m_rows;
    std::unordered_map<std::uint64_t, std::size_t> m_index;
    std::uint64_t m_revision = 0;
};

/// One line a register: numbers with "." whatever the locale, commas between, a line of captions first.
[[nodiscard]] QString HealthCsv(const BusHealth& health);
