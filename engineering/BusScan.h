#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "platform/TimeSource.h"

#include <QString>

#include <functional>
#include <vector>

/// How an address of the scan fared.
struct ScannedAddress {
    enum class State : std::uint8_t { Unknown, LeftOut, Silent, Present, Failed };
    std::int16_t Address = 0; ///< 8-bit form
    State Found = State::Unknown;
    ErrorCode Code = ErrorCode::Ok; ///< of Failed: why it is not known whether somebody is there
};

/// What people usually find at an address, empty for the many that have no habit.
[[nodiscard]] QString UsualPart(std::int16_t address);
/// A read alone can lock these parts up or protect a memory for good: clock generators, and the protection
/// commands of memory modules.
[[nodiscard]] bool RiskyAddress(std::int16_t address);

/// Looks who is on the bus. Nothing is written: each address is asked for one byte without a command; the
/// places of the Smart Battery standard, which do not answer that, for a word that has no side effect.
class BusScan {
public:
    static constexpr std::int16_t kFirst = 0x10; ///< below and above are addresses with meanings of their own
    static constexpr std::int16_t kLast = 0xEE;

    struct Result {
        std::vector<ScannedAddress> Addresses; ///< ascending, all of them
        bool Cancelled = false;
        QString Problem; ///< plain words when the scan could not go on
    };

    BusScan(frmUSB& usb, GaugeAccess& access, std::int16_t gaugeAddress)
        : m_usb(usb), m_access(access), m_gauge(gaugeAddress)
    {
    }
    /// Holds the bus until it ends.
    /// @param risky  asks the addresses at risk, too
    /// @param onProgress  after each address; false ends the scan
    [[nodiscard]] Result Run(bool risky, const QString& owner,
                             const std::function<bool(const ScannedAddress&, int done, int of)>& onProgress);

private:
    [[nodiscard]] ErrorCode Ask(std::int16_t address);

    frmUSB& m_usb;
    GaugeAccess& m_access;
    std::int16_t m_gauge;
};
