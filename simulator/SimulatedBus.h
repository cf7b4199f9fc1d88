#pragma once

#include "simulator/BusTarget.h"
#include "simulator/GaugeRegisterFile.h"
#include "simulator/OneWireChip.h"

#include <cstdint>
#include <utility>
#include <vector>

/// How a step on the wire ended.
enum class Wire : std::uint8_t {
    Ok,
    Nack,
    TimedOut,
    ArbitrationLost,
    Ended, ///< the answer broke off
    Unplugged,
    Odd, ///< the adapter said something that nobody knows
};

/// The wires: a two-wire bus with its targets, and the single wire with memory and gauge. Sums up how long
/// the transfers would have taken: SCL cycles times period, with hold, set-up, stop and bus-free times of the
/// speed class.
class SimulatedBus {
public:
    SimulatedBus(int hertz, OneWireChip& chip, GaugeRegisterFile& registers);
    void Attach(std::uint8_t address, BusTarget& target) { m_targets.emplace_back(address, &target); }

    Wire Start(std::uint8_t addressByte); ///< repeated when no stop came since the last one
    Wire Write(std::uint8_t byte);
    Wire Read(std::uint8_t& byte);
    void Stop();
    /// From here to the stop no target hears anything and everything is acknowledged.
    void Mute() { m_muted = true; }

    bool OneWireReset();
    void OneWireWrite(std::uint8_t byte);
    std::uint8_t OneWireRead();
    std::uint8_t SingleWireRead(std::uint8_t index);
    void SingleWireWrite(std::uint8_t index, std::uint8_t byte);

    void Hold(double microseconds) { m_microseconds += microseconds; } ///< somebody keeps the bus
    [[nodiscard]] double Microseconds() const { return m_microseconds; }
    [[nodiscard]] int Hertz() const { return m_hertz; }

private:
    struct Times {
        double Hold, SetUp, Stop, Free;
    };
    [[nodiscard]] static Times TimesAt(int hertz);
    void CountByte() { m_microseconds += 9 * 1e6 / m_hertz; } // eight bits and the acknowledge

    int m_hertz;
    Times m_times;
    OneWireChip& m_chip;
    GaugeRegisterFile& m_registers;
    std::vector<std::pair<std::uint8_t, BusTarget*>> m_targets;
    BusTarget* m_target = nullptr; ///< who answered the last start
    bool m_reading = false;
    bool m_busy = false;
    bool m_muted = false;
    double m_microseconds = 0;
};
