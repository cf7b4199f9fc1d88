#include "cli/CommandContext.h"

#include "platform/ProgramFolder.h"
#include "plugins/HostAdapter.h"
#include "settings/ProgramSettings.h"

#include <QFileInfo>

namespace {

CliMessages::Questions QuestionsOf(const GlobalOptions& globals)
{
    return globals.Yes ? CliMessages::Questions::Yes
        : globals.No   ? CliMessages::Questions::No
                       : CliMessages::Questions::Unanswered;
}

} // namespace

CommandContext::CommandContext(const GlobalOptions& globals, Output& output, bool keepMessages)
    : Globals(globals), Out(output), Messages(keepMessages, QuestionsOf(globals))
{
}

const StartupState* CommandContext::Startup(Outcome& failed)
{
    if (m_prepared)
        return &m_startup;
    QString problem;
    m_startup = InitialState(ProgramFolder(Globals.Home, &problem));
    if (!problem.isEmpty())
        Messages.Show(problem);
    ReadTargetAddress(Profiles, Messages, m_startup.ProgramSettingsFile, m_startup);
    if (!Globals.Target.isEmpty()) {
        m_startup.TargetConfigPath = ResolvePath(m_startup.ProgramFolder, Globals.Target);
        if (!QFileInfo(m_startup.TargetConfigPath).isFile()) {
            failed = Refused(
                QStringLiteral("there is no target file %1; \"tarnlo-cli targets list\" shows the targets "
                               "of this program folder")
                    .arg(m_startup.TargetConfigPath));
            return nullptr;
        }
        ReadTargetAddress(Profiles, Messages, m_startup.TargetConfigPath, m_startup);
    }
    if (Globals.Address)
        m_startup.TargetAddress = *Globals.Address;
    m_prepared = true;
    return &m_startup;
}

GaugeSession* CommandContext::Gauge(Outcome& failed)
{
    if (m_gauge)
        return m_gauge.get();
    const StartupState* startup = Startup(failed);
    if (!startup)
        return nullptr;
    AdapterSettings adapter = ResolveAdapter(Profiles, *startup, Globals.Adapter, Globals.Trace);
    if (EnvironmentNamesHost() && Globals.Adapter.isEmpty()) {
        // started by a plug-in: the adapter is the running program's
        adapter.Kind = AdapterKind::Host;
        adapter.Error.clear();
    }
    if (!adapter.Error.isEmpty()) {
        failed = Globals.Adapter.isEmpty() ? Refused(adapter.Error) : WrongUsage(adapter.Error);
        return nullptr;
    }
    auto gauge = std::make_unique<GaugeSession>(adapter, Profiles, Messages, *startup);
    if (!gauge->Open()) {
        failed = NoAnswer(ErrorCode::NoUsb, gauge->Problem());
        return nullptr;
    }
    m_gauge = std::move(gauge);
    return m_gauge.get();
}
