#pragma once

#include <cstdint>

/// A part on the two-wire bus as the wire sees it: bytes in, bytes out, one acknowledge each.
class BusTarget {
public:
    virtual ~BusTarget() = default;
    /// A start or repeated start with this part's address.
    /// @param addressByte  with the read bit
    /// @return acknowledged
    virtual bool Start(std::uint8_t addressByte) = 0;
    virtual bool Write(std::uint8_t byte) = 0; ///< @return acknowledged
    virtual std::uint8_t Read() = 0; ///< 0xFF, the idle line, when the part has nothing to say
    virtual void Stop() = 0; ///< also after a transfer that broke off
};
