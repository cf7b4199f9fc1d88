#pragma once

#include "comm/frmUSB.h"
#include "platform/Bytes.h"

#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <optional>

/// What a pack says of itself with the standard commands: enough to know it again. A part that could not be
/// read is empty.
struct PackIdentity {
    std::optional<Bytes> Manufacturer; ///< ManufacturerName, without its length
    std::optional<Bytes> Device; ///< DeviceName
    std::optional<std::uint16_t> Serial;
    std::optional<std::uint16_t> Date; ///< packed, as the register holds it

    [[nodiscard]] bool Known() const { return Manufacturer || Device || Serial || Date; }
    [[nodiscard]] QString Text() const; ///< for people: "SIM4S44 of Tarnlo, serial number 1, 2025-03-14"
    [[nodiscard]] QJsonObject ToJson() const;
    /// Members that are missing or wrong stay empty.
    [[nodiscard]] static PackIdentity FromJson(const QJsonObject& object);
    bool operator==(const PackIdentity&) const = default;
};

/// Four reads; the caller holds the bus.
[[nodiscard]] PackIdentity ReadPackIdentity(frmUSB& usb, std::int16_t address);
