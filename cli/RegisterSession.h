#pragma once

#include "cli/CommandContext.h"
#include "cli/GaugeSession.h"
#include "comm/GaugeLink.h"
#include "platform/ErrorList.h"
#include "sbs/RegisterReader.h"
#include "sbs/ScanEngine.h"
#include "sbs/clsSBSCfgRW.h"
#include "settings/TableSettings.h"
#include "settings/TargetSettings.h"

#include <QTimer>

/// The register rows of the chosen target on an open gauge, as the register view has them. A pass that is
/// under way when the user interrupts ends after the row in hand.
class RegisterSession {
public:
    RegisterSession(CommandContext& context, GaugeSession& gauge, const StartupState& startup);

    /// Loads both tables, the switches, and what belongs to the gauge's identity where the target allows to
    /// ask.
    /// @return empty, or what went wrong in plain words
    [[nodiscard]] QString Load();

    ScanEngine& Scan() { return m_scan; }
    [[nodiscard]] const ErrorList& Errors() const { return m_errors; }
    [[nodiscard]] const QString& Identity() const
    {
        return m_link.Identity();
    } ///< empty: not asked, or no answer
    /// Takes over a refresh interval typed by a person, by the register view's rules and with its messages.
    void SetRefresh(const QString& typed);

private:
    void Identify();
    CommandContext& m_context;
    const StartupState& m_startup;
    clsSBSCfgRW m_tables;
    TargetSettings m_target;
    GaugeLink m_link;
    ErrorList m_errors;
    RegisterReader m_registers;
    ScanEngine m_scan;
    QTimer m_watch; ///< a pass lets events run between its rows
};
