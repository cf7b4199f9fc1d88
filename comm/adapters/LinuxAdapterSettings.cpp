#include "comm/adapters/LinuxAdapterSettings.h"

QString LinuxAdapterSettings::NamedNode() const
{
    return Device.startsWith(kBusPrefix) ? Device.mid(kBusPrefix.size()) : QString();
}

LinuxAdapterSettings ReadLinuxAdapterSettings(ProfileStore& profiles, const QString& file)
{
    const auto value = [&](QStringView key) { return profiles.String(file, u"Adapter", key).trimmed(); };
    return {.Device = value(u"Device"),
            .PowerLine = value(u"PowerLine"),
            .ChgLine = value(u"ChgLine"),
            .LoadLine = value(u"LoadLine"),
            .OneWireMaster = value(u"OneWireMaster")};
}
