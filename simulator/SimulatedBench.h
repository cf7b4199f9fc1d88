#pragma once

#include "simulator/BatteryPack.h"
#include "simulator/FlashKeeper.h"
#include "simulator/GaugeFlash.h"
#include "simulator/GaugeModel.h"
#include "simulator/SimulatorSettings.h"

#include <cstdint>

/// The pack on its bench: gauge, a charger that follows the gauge's requests, a constant-current load, and
/// time.
class SimulatedBench {
public:
    explicit SimulatedBench(const SimulatorSettings& settings);

    /// Lets the pack live up to this time of its own, in steps of one second; a pack at rest takes a minute
    /// at once.
    void AdvanceTo(std::int64_t seconds);
    [[nodiscard]] std::int64_t Seconds() const { return m_seconds; }

    /// Both take effect with the next second.
    void SetCharger(bool on);
    void SetLoad(bool on);

    [[nodiscard]] const BatteryPack& Pack() const { return m_pack; }
    [[nodiscard]] GaugeModel& Gauge() { return m_gauge; }
    [[nodiscard]] GaugeFlash& Flash() { return m_flash; }
    [[nodiscard]] const GaugeFlash& Flash() const { return m_flash; }
    /// Empty, or why the kept flash cannot be read or saved.
    [[nodiscard]] const QString& FlashProblem() const { return m_keeper.Problem(); }
    void KeepFlash() { m_keeper.Keep(); } ///< on the disk when it returns, if it changed

private:
    void Step(std::int64_t atMost);
    [[nodiscard]] double ChargerAmps(double drawn) const;

    BatteryPack m_pack;
    GaugeFlash m_flash;
    FlashKeeper m_keeper;
    GaugeModel m_gauge;
    double m_loadAmps;
    double m_chargerAmps;
    std::int64_t m_seconds = 0;
    int m_restSeconds = 0;
    bool m_charger = false;
    bool m_load = false;
};
