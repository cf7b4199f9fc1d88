#include "sbs/LogHeadOf.h"

#include "comm/GaugeIdentity.h"

LogHead LogHeadOf(ProfileStore& profiles, const QString& targetFile, const QString& identity,
                  const frmUSB& usb, const std::vector<StaticItem>& staticData)
{
    LogHead head;
    const QStringList parts = GetDeviceKey(identity).split(QLatin1Char('.'), Qt::SkipEmptyParts);
    head.DeviceName = profiles.String(targetFile, u"Device", u"Name");
    // a target whose identity is never asked is named by its file alone
    head.GaugeName = parts.isEmpty() ? head.DeviceName : parts.first();
    head.VersionParts = parts.mid(1);
    head.Simulated = usb.Facts().Kind == QLatin1String("simulated");
    for (const StaticItem& item : staticData)
        head.StaticData.emplace_back(item.Caption, item.Text);
    return head;
}

std::vector<LogColumn> LogColumnsOf(const ScanEngine& scan)
{
    std::vector<LogSwitch> rows;
    rows.reserve(static_cast<std::size_t>(scan.RowCount()));
    for (int row = 0; row < scan.RowCount(); ++row)
        rows.push_back({scan.Tables().GetSBSLogDesc(static_cast<std::int16_t>(row)), scan.LogOn(row)});
    return LogColumns(rows);
}
