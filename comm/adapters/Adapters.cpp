#include "comm/adapters/Adapters.h"

#include "comm/adapters/LinuxAdapter.h"
#include "comm/adapters/RecordedAdapter.h"
#include "comm/adapters/ReplayAdapter.h"
#include "comm/adapters/SimulatedAdapter.h"
#include "platform/ProgramFolder.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr auto kSection = u"Adapter";
constexpr auto kReplay = QLatin1String("replay:");
constexpr auto kBus = QLatin1String("i2c:");

/// One row a back end.
struct BackEnd {
    AdapterKind Kind;
    std::unique_ptr<Pc61vRW> (*Make)(const AdapterSettings& adapter, ProfileStore& profiles,
                                     const StartupState& state, TimeSource& time);
    /// What is plugged in, usable or not, known without opening anything; nothing: there is always just the
    /// one.
    std::vector<AdapterFacts> (*List)(const AdapterSettings& adapter, ProfileStore& profiles,
                                      const StartupState& state);
};

std::unique_ptr<Pc61vRW> MakeReplay(const AdapterSettings& adapter, ProfileStore& /*profiles*/,
                                    const StartupState& /*state*/, TimeSource& time)
{
    return std::make_unique<ReplayAdapter>(time, adapter.ReplayFile);
}

std::unique_ptr<Pc61vRW> MakeSimulated(const AdapterSettings& adapter, ProfileStore& profiles,
                                       const StartupState& state, TimeSource& time)
{
    SimulatorSettings settings = ReadSimulatorSettings(profiles, state.ProgramSettingsFile);
    if (!settings.FlashFile.isEmpty())
        settings.FlashFile = ResolvePath(state.ProgramFolder, settings.FlashFile);
    if (adapter.PackOutrunsClock && settings.Speed > 0)
        settings.TimeFactor = settings.Speed;
    return std::make_unique<SimulatedAdapter>(time, settings);
}

LinuxAdapterSettings RealSettings(const AdapterSettings& adapter, ProfileStore& profiles,
                                  const StartupState& state)
{
    LinuxAdapterSettings settings = ReadLinuxAdapterSettings(profiles, state.ProgramSettingsFile);
    settings.Device = adapter.Device; // an option may have said otherwise
    return settings;
}

std::unique_ptr<Pc61vRW> MakeReal(const AdapterSettings& adapter, ProfileStore& profiles,
                                  const StartupState& state, TimeSource& time)
{
    return std::make_unique<LinuxAdapter>(time, RealSettings(adapter, profiles, state));
}

std::vector<AdapterFacts> ListReal(const AdapterSettings& adapter, ProfileStore& profiles,
                                   const StartupState& state)
{
    return LinuxAdapter::List(RealSettings(adapter, profiles, state));
}

constexpr std::array kBackEnds{
    BackEnd{AdapterKind::Linux, MakeReal, ListReal},
    BackEnd{AdapterKind::Simulated, MakeSimulated, nullptr},
    BackEnd{AdapterKind::Replay, MakeReplay, nullptr},
};

const BackEnd* Find(AdapterKind kind)
{
    const auto found = std::ranges::find(kBackEnds, kind, &BackEnd::Kind);
    return found == kBackEnds.end() ? nullptr : &*found;
}

/// The choice and, for paths in it, where it was written.
struct Choice {
    QString Text;
    bool InSettingsFile = false;
};

Choice Chosen(ProfileStore& profiles, const StartupState& state, const QString& option)
{
    if (!option.isEmpty())
        return {option};
    if (const QString variable = qEnvironmentVariable("TARNLO_ADAPTER"); !variable.isEmpty())
        return {variable};
    return {profiles.String(state.ProgramSettingsFile, kSection, u"Device", QStringLiteral("auto")), true};
}

} // namespace

AdapterSettings ResolveAdapter(ProfileStore& profiles, const StartupState& state, const QString& option,
                               const QString& traceOption)
{
    const Choice choice = Chosen(profiles, state, option);
    AdapterSettings adapter;
    adapter.Device = choice.Text;
    adapter.TraceFile = traceOption;
    if (traceOption.isEmpty()) {
        const QString written = profiles.String(state.ProgramSettingsFile, kSection, u"Trace");
        adapter.TraceFile = written.isEmpty() ? QString() : ResolvePath(state.ProgramFolder, written);
    }
    if (choice.Text == QLatin1String("real") || (choice.Text.startsWith(kBus) && choice.Text != kBus)) {
        adapter.Kind = AdapterKind::Linux;
    } else if (choice.Text == QLatin1String("sim")) {
        adapter.Kind = AdapterKind::Simulated;
    } else if (choice.Text.startsWith(kReplay) && choice.Text != kReplay) {
        adapter.Kind = AdapterKind::Replay;
        const QString written = choice.Text.mid(kReplay.size());
        adapter.ReplayFile = choice.InSettingsFile ? ResolvePath(state.ProgramFolder, written) : written;
        if (!adapter.TraceFile.isEmpty() && QFileInfo(adapter.TraceFile) == QFileInfo(adapter.ReplayFile))
            adapter.Error
                = QStringLiteral("The trace %1 cannot be replayed and written at once; name another file to "
                                 "write.")
                      .arg(adapter.TraceFile);
    } else if (choice.Text == QLatin1String("auto")) {
        // Plugged in is enough: one that cannot be opened gives its reason and never the simulation.
        const BackEnd* const usb = Find(AdapterKind::Linux);
        const bool pluggedIn = usb && !usb->List(adapter, profiles, state).empty();
        adapter.Kind = pluggedIn ? AdapterKind::Linux : AdapterKind::Simulated;
    } else {
        adapter.Error
            = QStringLiteral("The adapter \"%1\" is not known; use auto, real, sim, i2c:/dev/i2c-N or "
                             "replay:FILE.")
                  .arg(choice.Text);
    }
    if (adapter.Error.isEmpty() && !Find(adapter.Kind))
        adapter.Error = QStringLiteral("This program was built without the adapter \"%1\".").arg(choice.Text);
    return adapter;
}

std::unique_ptr<Pc61vRW> MakeAdapter(const AdapterSettings& adapter, ProfileStore& profiles,
                                     const StartupState& state, TimeSource& time)
{
    if (!adapter.Error.isEmpty())
        return nullptr;
    std::unique_ptr<Pc61vRW> made = Find(adapter.Kind)->Make(adapter, profiles, state, time);
    if (!adapter.TraceFile.isEmpty())
        made = std::make_unique<RecordedAdapter>(std::move(made), time, adapter.TraceFile);
    return made;
}

std::vector<AdapterFacts> ListAdapters(const AdapterSettings& adapter, ProfileStore& profiles,
                                       const StartupState& state, TimeSource& time)
{
    if (!adapter.Error.isEmpty())
        return {};
    const BackEnd& backEnd = *Find(adapter.Kind);
    if (backEnd.List)
        return backEnd.List(adapter, profiles, state);
    return {backEnd.Make(adapter, profiles, state, time)->Facts()};
}
