#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <cstdint>
#include <span>
#include <vector>

/// Bit groups on a one-wire line of the kernel (w1), over its netlink interface. Results are errno values, 0
/// for success. Runs on the I/O thread.
///
/// The kernel searches every line for new devices (each 10 s by default), and that resets all of them, in the
/// middle of a sequence as well. Only commands that travel in one message are safe from it. The adapter's
/// operations come byte by byte, so this class keeps what happened since the last reset:
/// - a reset is sent at once, for its presence answer;
/// - written bytes wait until a read, the next reset or Flush, and go together with the reset in one message;
/// - a read takes more bytes than asked for and later ones are answered from them; when they run out, the
/// whole
///   sequence is sent again with a longer read at its end. A memory answers the same again.
class LinuxOneWire {
public:
    /// @param master  "w1_bus_master1" or "1"
    explicit LinuxOneWire(const QString& master);
    ~LinuxOneWire();
    LinuxOneWire(const LinuxOneWire&) = delete;
    LinuxOneWire& operator=(const LinuxOneWire&) = delete;

    /// @param present  a device answered the pulse
    [[nodiscard]] int Reset(bool& present);
    /// @return ENODEV when the line is gone, although the byte would only be sent later; EINVAL before any
    /// reset
    [[nodiscard]] int Write(std::uint8_t byte);
    [[nodiscard]] int Read(std::uint8_t& byte);
    [[nodiscard]] int Flush(); ///< sends bytes that still wait
    [[nodiscard]] bool Waiting() const { return m_waiting; }

private:
    struct Step {
        Bytes Written;
        std::size_t Taken = 0; ///< bytes read behind them
    };
    int Connect();
    /// Reset and all steps in one message, ahead bytes more at the end.
    int SendAll(std::size_t ahead);
    int Exchange(std::span<const std::uint8_t> commands, std::size_t count, Bytes& read, bool& present);

    std::uint32_t m_master = 0; ///< 0: the name was not understood
    int m_socket = -1;
    std::uint32_t m_sequence = 0;
    bool m_began = false; ///< a device answered a reset
    bool m_waiting = false;
    std::vector<Step> m_steps;
    Bytes m_read; ///< what the last step has read, the bytes taken from it first
};

/// Whether the kernel has this line.
[[nodiscard]] bool LinuxOneWireExists(const QString& master);
