#pragma once

#include <cstdint>
#include <span>
#include <string_view>

/// One subclass of the simulated gauge's data flash as it leaves the factory.
struct FactorySubClass {
    std::uint16_t Id;
    std::uint16_t Start; ///< of the subclass within the data flash: always the beginning of a 32-byte row
    std::uint16_t Length; ///< bytes; what is left of its last row belongs to nobody and is erased
    std::string_view Hex; ///< its bytes, two digits each
};

/// All of them in the order in which they lie in the flash; 64 rows.
[[nodiscard]] std::span<const FactorySubClass> FactoryDataFlash();
