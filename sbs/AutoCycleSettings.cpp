#include "sbs/AutoCycleSettings.h"

#include <array>
#include <vector>

namespace {

struct Key {
    const char* name;
    std::int32_t AutoCycleSettings::*field;
};

constexpr std::array kKeys{
    Key{"BattVoltRow", &AutoCycleSettings::BattVoltRow},
    Key{"BattStatRow", &AutoCycleSettings::BattStatRow},
    Key{"ChgRemCapVal", &AutoCycleSettings::ChgRemCapVal},
    Key{"ChgBattvoltVal", &AutoCycleSettings::ChgBattvoltVal},
    Key{"ChgTrigType", &AutoCycleSettings::ChgTrigType},
    Key{"ChgVal", &AutoCycleSettings::ChgVal},
    Key{"ChgRelax", &AutoCycleSettings::ChgRelax},
    Key{"DChgRemCapVal", &AutoCycleSettings::DChgRemCapVal},
    Key{"DChgBattvoltVal", &AutoCycleSettings::DChgBattvoltVal},
    Key{"DChgTrigType", &AutoCycleSettings::DChgTrigType},
    Key{"DChgVal", &AutoCycleSettings::DChgVal},
    Key{"DChgRelax", &AutoCycleSettings::DChgRelax},
    Key{"ChgAny", &AutoCycleSettings::ChgAny},
    Key{"DChgAny", &AutoCycleSettings::DChgAny},
    Key{"ChgPin", &AutoCycleSettings::ChgPin},
    Key{"PinHi", &AutoCycleSettings::PinHi},
    Key{"ChgHi", &AutoCycleSettings::ChgHi},
    Key{"LoadHi", &AutoCycleSettings::LoadHi},
    Key{"ChgLongest", &AutoCycleSettings::ChgLongest},
    Key{"DChgLongest", &AutoCycleSettings::DChgLongest},
};

constexpr QStringView kSection = u"AutoCycle";

} // namespace

AutoCycleSettings LoadAutoCycleSettings(const TableSettings& settings, std::int32_t remCapRowIfUnset)
{
    AutoCycleSettings read;
    read.RemCapRow = settings.Integer(u"FuelGauge", u"RemCapRow", remCapRowIfUnset);
    for (const Key& key : kKeys)
        read.*key.field = settings.Integer(kSection, QString::fromLatin1(key.name), read.*key.field);
    return read;
}

QString SaveAutoCycleSettings(TableSettings& settings, const AutoCycleSettings& before,
                              const AutoCycleSettings& now)
{
    std::vector<ProfileChange> changes;
    for (const Key& key : kKeys)
        if (before.*key.field != now.*key.field)
            changes.push_back(
                {kSection.toString(), QString::fromLatin1(key.name), QString::number(now.*key.field)});
    return settings.Write(changes);
}
