#include "cli/RegisterSession.h"

#include "comm/GaugeIdentity.h"
#include "platform/ProgramFolder.h"

RegisterSession::RegisterSession(CommandContext& context, GaugeSession& gauge, const StartupState& startup)
    : m_context(context), m_gauge(gauge), m_startup(startup), m_errors(gauge.Time()),
      m_registers(gauge.Usb(), startup, m_target),
      m_scan(m_registers, gauge.Access(), gauge.Time(), context.Messages, m_errors, m_tables)
{
}

QString RegisterSession::Load()
{
    const TableSettings settings(m_context.Profiles, m_startup);
    if (QString problem = LoadTables(m_tables, settings, m_startup.ProgramFolder); !problem.isEmpty())
        return problem;
    m_scan.Reset(LoadFormState(settings, m_tables.GetNumSBSRows()));
    Identify();
    return {};
}

/// Nothing is asked of a gauge whose target was not chosen: it may be any pack.
void RegisterSession::Identify()
{
    QString identity;
    const IdentityRequest request = ReadIdentityRequest(m_context.Profiles, m_startup);
    if (!request.Problem.isEmpty())
        m_context.Messages.Show(request.Problem);
    if (!m_startup.TargetConfigPath.isEmpty() && request.Allowed) {
        const ExclusiveAccess access(m_gauge.Access(), QStringLiteral("tarnlo-cli"));
        if (access)
            ReadGaugeIdentity(m_gauge.Usb(), request, m_startup.TargetAddress, identity);
    }
    LoadTargetSettings(m_context.Profiles, m_context.Messages, m_startup.ProgramFolder,
                       GetDeviceKey(identity), m_target);
    if (identity.isEmpty())
        return;
    const QString accepted
        = m_context.Profiles.String(m_startup.ProgramSettingsFile, u"Targets", TargetsKey(identity));
    if (accepted.isEmpty() || ResolvePath(m_startup.ProgramFolder, accepted) != m_startup.TargetConfigPath)
        m_context.Messages.Show(
            QStringLiteral("The detected device is not compatible with this application!\n"
                           "Proceed at your own risk."));
}
