#pragma once

#include "simulator/BusTarget.h"
#include "simulator/GaugeModel.h"

/// The gauge at its Smart Battery address: takes command bytes apart, puts answers together and checks
/// packets.
///
/// A reserved command is not acknowledged; nor is data for a command that only reads, data that is too long,
/// or a packet error check that does not match. A word takes effect at the stop, if both its bytes came; a
/// block, if all that its length announced came. A gauge that checks no packets also programs a block that
/// broke off, as far as it heard it. While it programs its flash the gauge hears nobody.
class GaugeTarget final : public BusTarget {
public:
    static constexpr std::uint8_t kAddress = 0x16;

    explicit GaugeTarget(GaugeModel& gauge) : m_gauge(gauge) { }
    bool Start(std::uint8_t addressByte) override;
    bool Write(std::uint8_t byte) override;
    std::uint8_t Read() override;
    void Stop() override;

private:
    bool TakeData(std::uint8_t byte);
    void TakeEffect();
    bool Refuse(GaugeError error);
    void See(std::uint8_t byte); ///< into the packet error check

    GaugeModel& m_gauge;
    std::uint8_t m_check = 0;
    std::uint8_t m_command = 0;
    Bytes m_data;
    Bytes m_answer;
    std::size_t m_answered = 0;
    bool m_commandCame = false;
    bool m_checked = false; ///< the byte behind the data was the packet error check
    bool m_dropped = false; ///< something was refused: nothing takes effect
};
