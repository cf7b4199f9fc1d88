#pragma once

#include "cli/CommandContext.h"
#include "cli/GaugeSession.h"
#include "platform/ErrorList.h"
#include "sbs/RegisterReader.h"
#include "sbs/ScanEngine.h"
#include "sbs/clsSBSCfgRW.h"
#include "settings/TableSettings.h"
#include "settings/TargetSettings.h"

/// The register rows of the chosen target on an open gauge, as the register view has them.
class RegisterSession {
public:
    RegisterSession(CommandContext& context, GaugeSession& gauge, const StartupState& startup);

    /// Loads both tables, the switches, and what belongs to the gauge's identity where the target allows to
    /// ask.
    /// @return empty, or what went wrong in plain words
    [[nodiscard]] QString Load();

    ScanEngine& Scan() { return m_scan; }
    [[nodiscard]] const ErrorList& Errors() const { return m_errors; }

private:
    void Identify();
    CommandContext& m_context;
    GaugeSession& m_gauge;
    const StartupState& m_startup;
    clsSBSCfgRW m_tables;
    TargetSettings m_target;
    ErrorList m_errors;
    RegisterReader m_registers;
    ScanEngine m_scan;
};
