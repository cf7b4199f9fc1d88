#include "cli/DataFlashSource.h"

#include "cli/PendingWriteReport.h"
#include "dataflash/bCfgReader.h"
#include "platform/Interrupt.h"
#include "platform/ProgramFolder.h"

#include <QFileInfo>

namespace {

constexpr int kWatchMs = 50; // how long a transfer goes on after Ctrl+C, beside the page in hand

/// As written on the command line, else in the program folder.
QString ConfigPath(const StartupState& startup, const QString& written)
{
    return QFileInfo::exists(written) ? written : ResolvePath(startup.ProgramFolder, written);
}

} // namespace

QString DeviceNameOf(CommandContext& context, const StartupState& startup)
{
    return startup.TargetConfigPath.isEmpty()
        ? QStringLiteral("Unknown")
        : context.Profiles.String(startup.TargetConfigPath, u"Device", u"Name", QStringLiteral("Unknown"));
}

bool LoadLayout(CommandContext& context, const QString& config, DataFlashTree& tree, Outcome& failed)
{
    const StartupState* startup = context.Startup(failed);
    if (!startup)
        return false;
    const QString path
        = config.isEmpty() ? DataFlashConfigPath(context.Profiles, *startup) : ConfigPath(*startup, config);
    if (path.isEmpty()) {
        failed
            = Refused(QStringLiteral("no data flash configuration is known: choose a target whose file has "
                                     "[DataFlash] ConfigFile with --target, or name one with --config"));
        return false;
    }
    bCfgReader reader;
    if (InitStructFromCfgFile(reader, path, context.Messages, tree))
        return true;
    failed = Refused(
        QStringLiteral("%1 was not loaded; \"tarnlo-cli df info %1\" lists what is wrong with it").arg(path));
    return false;
}

DataFlashSource::DataFlashSource(CommandContext& context, GaugeSession& gauge, const StartupState& startup)
    : m_gauge(gauge), m_startup(startup),
      m_flash({gauge.Usb(), gauge.Access(), gauge.Time(), context.Messages, context.Profiles, startup})
{
    QObject::connect(&m_watch, &QTimer::timeout, [this] {
        if (Interrupt::Asked())
            m_flash.Cancel();
    });
    m_watch.start(kWatchMs);
}

std::unique_ptr<DataFlashSource> DataFlashSource::Open(CommandContext& context, const QString& config,
                                                       Outcome& failed)
{
    DataFlashTree checked; // before the adapter opens: without a layout there is nothing to ask a gauge for
    if (!LoadLayout(context, config, checked, failed))
        return nullptr;
    GaugeSession* gauge = context.Gauge(failed);
    if (!gauge)
        return nullptr;
    const StartupState& startup = *context.Startup(failed);
    std::unique_ptr<DataFlashSource> source(new DataFlashSource(context, *gauge, startup));
    const bool loaded
        = config.isEmpty() ? source->m_flash.Load() : source->m_flash.LoadFile(ConfigPath(startup, config));
    if (loaded) {
        ReportPendingWrite(context, source->m_flash);
        return source;
    }
    failed = Refused(QStringLiteral("the data flash configuration was not loaded"));
    return nullptr;
}

bool DataFlashSource::ReadAll(Outcome& failed)
{
    const TransferReport report = m_flash.ReadAllDF();
    if (report.Result == DataFlashResult::kOk && !report.Cancelled && m_flash.LastReadAllOK())
        return true;
    failed = TransferFailed(report);
    return false;
}

Outcome TransferFailed(const TransferReport& report)
{
    const QString text = report.Text.isEmpty() ? QStringLiteral("the data flash was not read") : report.Text;
    const auto code = static_cast<ErrorCode>(report.Result);
    const bool own = report.Result == DataFlashResult::kOk || report.Result >= DataFlashResult::kNotRead
        || code == ErrorCode::UserCancelled || code == ErrorCode::CompareDifferent;
    return own ? Refused(text) : NoAnswer(code, text);
}
