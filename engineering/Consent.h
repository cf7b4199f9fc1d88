#pragma once

#include <cstdint>
#include <set>

/// What a person is asked about before it is done.
enum class Danger : std::uint8_t {
    Write, ///< a transaction that changes something
    Sequence, ///< a sequence that does
    Load, ///< an EEPROM
    Scan, ///< addresses where a read alone may do harm
};

/// What a person no longer wants to be asked about until the program ends.
class Consent {
public:
    [[nodiscard]] static Consent& OfThisRun();

    [[nodiscard]] bool Given(Danger danger) const { return m_given.contains(danger); }
    void Give(Danger danger) { m_given.insert(danger); }
    void WithdrawAll() { m_given.clear(); }

private:
    std::set<Danger> m_given;
};
