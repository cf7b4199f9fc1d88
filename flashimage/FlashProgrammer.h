#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "flashimage/FlashTarget.h"
#include "platform/TimeSource.h"

#include <QString>

#include <functional>

enum class GaugeMode {
    Unknown,
    Firmware, ///< its firmware runs
    Rom, ///< its boot ROM waits: no firmware runs
};

struct FlashProgress {
    std::int64_t Done = 0; ///< bytes
    std::int64_t Of = 0;
    QString What; ///< "Programming", "Verifying", "Reading"
};

/// How a flash run ended, and how it left the gauge.
struct FlashOutcome {
    ErrorCode Code = ErrorCode::Ok; ///< 51, 52: the data or instruction flash differs from the image
    GaugeMode Mode = GaugeMode::Unknown;
    std::int64_t Bytes = 0; ///< programmed or read
    QString Text; ///< what happened, what it means for the gauge, what to do
    [[nodiscard]] bool Ok() const { return Code == ErrorCode::Ok; }
};

/// Programs, verifies, reads back and starts gauges through the adapter's flash operations. Each run holds
/// the bus to its end, lets events run, and leaves the gauge in a state that its outcome names. Nothing is
/// shown while the bus is held.
class FlashProgrammer {
public:
    FlashProgrammer(frmUSB& usb, GaugeAccess& access, TimeSource& time)
        : m_usb(usb), m_access(access), m_time(time)
    {
    }
    /// Geometry, times and start values of the gauge on the bus; kept until the next call.
    /// @param gaugeAddress  used where the settings name no address for a mode
    void Use(const FlashTarget& target, const TargetSettings& settings, std::int16_t gaugeAddress);

    std::function<void(const FlashProgress&)> OnProgress;

    /// Asks without changing anything; takes the bus for a moment.
    GaugeMode AskMode(ErrorCode& err);
    FlashOutcome Program(const clsSrecFlash& image, const FlashOptions& options);
    /// Compares what the image holds.
    FlashOutcome Verify(const clsSrecFlash& image);
    /// Reads both regions whole.
    /// @param image  untouched unless all of it was read
    FlashOutcome Read(clsSrecFlash& image);
    /// Asks a gauge in its boot ROM to run its firmware.
    FlashOutcome StartFirmware();
    /// The run ends after its present step.
    void Cancel() { m_cancelled = true; }
    [[nodiscard]] bool Running() const { return m_running; }

private:
    class Run;
    struct Piece {
        std::int32_t Area;
        std::uint32_t Start;
        Bytes Data;
    };

    ErrorCode EnterRom();
    ErrorCode Leave();
    GaugeMode Mode(ErrorCode& err);
    ErrorCode ReadPiece(Piece& piece, const QString& what, std::int64_t before, std::int64_t of);
    ErrorCode Gather(const clsSrecFlash& image, const FlashOptions& options, std::vector<Piece>& pieces);
    ErrorCode Write(const Piece& piece, bool massErased, std::int64_t of, std::int64_t& done);
    ErrorCode Compare(const clsSrecFlash& image, const FlashOptions& options, QString& difference);
    void Report(std::int64_t done, std::int64_t of, const QString& what) const;
    FlashOutcome End(FlashOutcome outcome);
    [[nodiscard]] Bytes RowSizes() const;

    frmUSB& m_usb;
    GaugeAccess& m_access;
    TimeSource& m_time;
    FlashTarget m_target;
    TargetSettings m_settings;
    std::int16_t m_address = 0;
    bool m_cancelled = false;
    bool m_running = false;
    bool m_massErasePending = false;
};
