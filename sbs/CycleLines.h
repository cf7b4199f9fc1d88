#pragma once

#include "comm/ErrorCodes.h"
#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "sbs/CycleController.h"

#include <QString>
#include <QStringList>

/// How a line operation ended.
struct LineResult {
    ErrorCode Code = ErrorCode::Ok;
    QStringList MissingKeys; ///< keys of [Adapter] that would name the lines this adapter lacks
    [[nodiscard]] bool Ok() const { return Code == ErrorCode::Ok; }
};

/// The adapter's output lines that switch charger and load. The wiring is that of the settings: with two
/// lines GPIO 0 is the charger and GPIO 1 the load; with one, the power line charges at 1 and discharges at
/// 0.
class CycleLines {
public:
    virtual ~CycleLines() = default;
    /// A bus sequence further down the stack holds the adapter: a line operation now would wait for itself.
    [[nodiscard]] virtual bool Busy() const = 0;
    /// The other side is switched off first; when that fails nothing is switched on.
    virtual LineResult Switch(Direction direction, const AutoCycleSettings& wiring) = 0;
    /// One line cannot be off by its level, since both levels switch something on: it is released instead.
    /// Two lines get their off levels, both even when the first fails, and are released when that did not
    /// work.
    virtual LineResult BothOff(const AutoCycleSettings& wiring) = 0;
};

class AdapterLines final : public CycleLines {
public:
    AdapterLines(frmUSB& usb, GaugeAccess& access) : m_usb(usb), m_access(access) { }
    [[nodiscard]] bool Busy() const override { return ExclusiveAccess::HeldBelow(); }
    LineResult Switch(Direction direction, const AutoCycleSettings& wiring) override;
    LineResult BothOff(const AutoCycleSettings& wiring) override;

private:
    void WritePowerLine(Direction direction, const AutoCycleSettings& wiring, LineResult& result);
    void WriteLine(std::int16_t line, bool on, const AutoCycleSettings& wiring, LineResult& result);
    void Release(LineResult& result);
    frmUSB& m_usb;
    GaugeAccess& m_access;
};
