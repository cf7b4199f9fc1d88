#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"

#include <QString>

#include <cstdint>
#include <vector>

/// One line of the static data block.
struct StaticItem {
    QString Caption;
    QString Text; ///< empty when it could not be read
    QString Error; ///< why, in plain words
};

/// Reads what does not change while a pack is connected: names, chemistry, date, serial number, design
/// figures and the Smart Battery version, always all of them and in this order. Takes the bus once an item.
/// Design figures are in mAh or mWh and mV, the pack's scales applied.
[[nodiscard]] std::vector<StaticItem> ReadStaticData(frmUSB& usb, GaugeAccess& access, std::int16_t addr);
