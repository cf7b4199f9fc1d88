#pragma once

#include "comm/adapters/Pc61vRW.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "settings/StartupState.h"

#include <QString>

#include <memory>
#include <vector>

/// Host: the adapter of a running Tarnlo that lends it to its plug-ins; who knows that socket makes the back
/// end.
enum class AdapterKind { Linux, Simulated, Replay, Host };

/// Which adapter a run uses, settled once at start: nothing changes from real to simulated while running.
struct AdapterSettings {
    AdapterKind Kind = AdapterKind::Simulated;
    QString Device; ///< the choice as written: auto, real, sim, i2c:/dev/i2c-N, replay:FILE
    QString ReplayFile; ///< of a replay
    QString TraceFile; ///< records every call when not empty
    /// A simulated pack's time passes [Simulator] Speed times faster than the clock, as in the window;
    /// otherwise the TimeSource is the pack's own time already.
    bool PackOutrunsClock = false;
    QString Error; ///< the choice was not understood, in plain words; no adapter is then made
};

/// The --adapter option, else TARNLO_ADAPTER, else [Adapter] Device of the program settings, else auto.
/// @param option  empty when not given
/// @param traceOption  the --trace option; empty: [Adapter] Trace. Paths of the settings file are relative to
/// the
///                     program folder, those of options and the environment to where the program was started.
[[nodiscard]] AdapterSettings ResolveAdapter(ProfileStore& profiles, const StartupState& state,
                                             const QString& option, const QString& traceOption);

/// The back end, not opened yet; nothing when the settings hold an error. A simulated or replayed one expects
/// time that it may run faster than the clock.
[[nodiscard]] std::unique_ptr<Pc61vRW> MakeAdapter(const AdapterSettings& adapter, ProfileStore& profiles,
                                                   const StartupState& state, TimeSource& time);

/// What could be opened with this choice, free or not.
[[nodiscard]] std::vector<AdapterFacts> ListAdapters(const AdapterSettings& adapter, ProfileStore& profiles,
                                                     const StartupState& state, TimeSource& time);
