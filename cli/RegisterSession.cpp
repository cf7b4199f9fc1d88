#include "cli/RegisterSession.h"

#include "platform/Interrupt.h"

namespace {
constexpr int kWatchMs = 50; // how long a pass over a silent bus goes on after Ctrl+C, beside the row in hand
} // namespace

RegisterSession::RegisterSession(CommandContext& context, GaugeSession& gauge, const StartupState& startup)
    : m_context(context), m_startup(startup),
      m_link(gauge.Usb(), gauge.Access(), context.Profiles, context.Messages, startup, m_target),
      m_errors(gauge.Time()), m_registers(gauge.Usb(), startup, m_target),
      m_scan(m_registers, gauge.Access(), gauge.Time(), context.Messages, m_errors, m_tables)
{
    QObject::connect(&m_watch, &QTimer::timeout, [this] {
        if (Interrupt::Asked())
            m_scan.RequestStop();
    });
    m_watch.start(kWatchMs);
}

QString RegisterSession::Load()
{
    const TableSettings settings(m_context.Profiles, m_startup);
    if (QString problem = LoadTables(m_tables, settings, m_startup.ProgramFolder); !problem.isEmpty())
        return problem;
    if (m_tables.GetNumSBSRows() == 0)
        return QStringLiteral("the register table holds no rows");
    m_scan.Reset(LoadFormState(settings, m_tables.GetNumSBSRows()));
    Identify();
    return {};
}

void RegisterSession::SetRefresh(const QString& typed)
{
    // the logging interval plays no part where nothing is logged
    const IntervalChange change
        = SetRefreshInterval({.Refresh = m_scan.Form().Interval.Refresh, .Logging = kMaxIntervalMs}, typed);
    m_scan.Form().Interval.Refresh = change.intervals.Refresh;
    for (const QString& message : change.messages)
        m_context.Messages.Show(message);
}

/// Nothing is asked of a gauge whose target was not chosen: it may be any pack.
void RegisterSession::Identify()
{
    LoadTargetSettings(m_context.Profiles, m_context.Messages, m_startup.ProgramFolder, {}, m_target);
    if (!m_startup.TargetConfigPath.isEmpty())
        m_link.Tick();
}
