#pragma once

#include "cli/CliMessages.h"
#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "cli/GaugeSession.h"
#include "cli/Output.h"
#include "platform/ProfileFile.h"
#include "settings/StartupState.h"

#include <memory>

/// All that a command works with. The program folder and the gauge are looked up on first use: a command that
/// needs neither works, and leaves no trace, on any machine.
class CommandContext {
public:
    /// @param keepMessages  for "messages" of the answers; else they go to standard error
    CommandContext(const GlobalOptions& globals, Output& output, bool keepMessages);

    const GlobalOptions& Globals;
    Output& Out;
    CliMessages Messages;
    ProfileStore Profiles;

    /// Program folder, target and address as the options and the settings say.
    /// @return nothing when they cannot be had; failed then says why
    const StartupState* Startup(Outcome& failed);
    /// The adapter, opened once for the life of the command.
    /// @return nothing when it cannot be opened; failed then says why
    GaugeSession* Gauge(Outcome& failed);

private:
    StartupState m_startup;
    bool m_prepared = false;
    std::unique_ptr<GaugeSession> m_gauge;
};
