#pragma once

#include "simulator/GaugeFlash.h"
#include "simulator/SimulatorSettings.h"

#include <QString>

#include <cstdint>

/// The flash as it is at power-up: as it was left, when a file keeps it, else as it leaves the factory, with
/// the serial number of the seed. Writes it back whole after changes.
class FlashKeeper {
public:
    FlashKeeper(GaugeFlash& flash, const SimulatorSettings& settings);
    void Keep();
    [[nodiscard]] const QString& Problem() const { return m_problem; }

private:
    GaugeFlash& m_flash;
    QString m_file; ///< empty: nothing is kept
    std::uint64_t m_kept;
    QString m_problem;
};
