#pragma once

#include "cli/CommandContext.h"
#include "dataflash/DataFlash.h"
#include "dataflash/DataFlashModel.h"

#include <QTimer>

#include <memory>

/// Key Name of section Device of the chosen target's file, or "Unknown".
[[nodiscard]] QString DeviceNameOf(CommandContext& context, const StartupState& startup);

/// The layout without a gauge: a given configuration file, else that of the chosen target.
/// @return false when it cannot be had; failed then says why
[[nodiscard]] bool LoadLayout(CommandContext& context, const QString& config, DataFlashTree& tree,
                              Outcome& failed);

/// The data flash of the gauge on the bus. A transfer ends when the user interrupts.
class DataFlashSource {
public:
    /// @param config  a configuration file in place of the target's; may be empty
    /// @return nothing when it cannot be had; failed then says why
    [[nodiscard]] static std::unique_ptr<DataFlashSource> Open(CommandContext& context, const QString& config,
                                                               Outcome& failed);

    DataFlash& Flash() { return m_flash; }
    GaugeSession& Gauge() { return m_gauge; }
    [[nodiscard]] const StartupState& Startup() const { return m_startup; }
    [[nodiscard]] QString IsoTime() { return m_gauge.Time().Now().toString(Qt::ISODate); }
    /// @return false when not everything was read; failed then says why
    [[nodiscard]] bool ReadAll(Outcome& failed);

private:
    DataFlashSource(CommandContext& context, GaugeSession& gauge, const StartupState& startup);
    GaugeSession& m_gauge;
    const StartupState& m_startup;
    DataFlash m_flash;
    QTimer m_watch; ///< a transfer lets events run between its pages
};

/// A transfer that did not come to its end.
[[nodiscard]] Outcome TransferFailed(const TransferReport& report);
