#include "simulator/SimulatorSettings.h"

#include "platform/ProfileFile.h"

#include <algorithm>

namespace {

const QString kSection = QStringLiteral("Simulator");

Fault FaultOf(QStringView name)
{
    for (const FaultName& fault : kFaultNames)
        if (name.trimmed().compare(QLatin1String(fault.Name), Qt::CaseInsensitive) == 0)
            return fault.Kind;
    return Fault::None;
}

class Reader {
public:
    Reader(const ProfileFile& profile, const QString& file, SimulatorSettings& settings)
        : m_profile(profile), m_file(file), m_settings(settings)
    {
    }

    QString Text(QLatin1String key) { return m_profile.String(kSection, QString(key)).trimmed(); }

    template <class Number>
    void Take(QLatin1String key, Number& value, double least, double most)
    {
        const QString text = Text(key);
        if (text.isEmpty())
            return;
        bool ok = false;
        const double number = text.toDouble(&ok); // always with a decimal point, whatever the locale
        if (ok && number >= least && number <= most)
            value = static_cast<Number>(number);
        else
            Refuse(key,
                   QStringLiteral("\"%1\" is not a number from %2 to %3").arg(text).arg(least).arg(most));
    }

    void Refuse(QLatin1String key, const QString& why)
    {
        m_settings.Problems << QStringLiteral("%1, section [%2], key %3: %4. The default is used.")
                                   .arg(m_file, kSection, key, why);
    }

    void TakeFaults()
    {
        FaultSettings& faults = m_settings.Faults;
        Take(QLatin1String("FaultRate"), faults.RatePpm, 0, 1'000'000);
        Take(QLatin1String("Reentry"), faults.Reentry, 0, 1);
        const QString names = Text(QLatin1String("Faults"));
        if (names.compare(QLatin1String("all"), Qt::CaseInsensitive) == 0) {
            for (const FaultName& fault : kFaultNames)
                if (fault.Kind != Fault::Unplug) // it would end the run at its first turn
                    faults.Kinds.push_back(fault.Kind);
        } else {
            for (const QString& name : names.split(QLatin1Char(','), Qt::SkipEmptyParts))
                if (const Fault kind = FaultOf(name); kind != Fault::None)
                    faults.Kinds.push_back(kind);
                else
                    Refuse(QLatin1String("Faults"),
                           QStringLiteral("no fault is called \"%1\"").arg(name.trimmed()));
        }
        for (const QString& entry :
             Text(QLatin1String("FaultAt")).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            bool ok = false;
            const std::int64_t transaction = entry.section(QLatin1Char(':'), 0, 0).trimmed().toLongLong(&ok);
            const Fault kind = FaultOf(entry.section(QLatin1Char(':'), 1));
            if (ok && transaction >= 1 && kind != Fault::None)
                faults.Scheduled.push_back({transaction, kind});
            else
                Refuse(QLatin1String("FaultAt"),
                       QStringLiteral("\"%1\" is not a transaction number, \":\" and the name of a fault")
                           .arg(entry.trimmed()));
        }
    }

private:
    const ProfileFile& m_profile;
    const QString& m_file;
    SimulatorSettings& m_settings;
};

} // namespace

SimulatorSettings ReadSimulatorSettings(ProfileStore& profiles, const QString& file)
{
    SimulatorSettings settings;
    Reader reader(profiles.File(file), file, settings);
    reader.Take(QLatin1String("Seed"), settings.Seed, 0, 9e15);
    reader.Take(QLatin1String("Speed"), settings.Speed, 0, 100'000);
    reader.Take(QLatin1String("Charge"), settings.Charge, 0, 100);
    reader.Take(QLatin1String("LoadCurrent"), settings.LoadCurrent, 0, 10'000);
    reader.Take(QLatin1String("ChargeCurrent"), settings.ChargeCurrent, 0, 10'000);
    reader.Take(QLatin1String("Ambient"), settings.Ambient, -40, 85);
    reader.Take(QLatin1String("Pec"), settings.Pec, 0, 1);
    reader.Take(QLatin1String("Uncalibrated"), settings.Uncalibrated, 0, 1);
    reader.Take(QLatin1String("BusClock"), settings.BusClock, 10'000, 1'000'000);
    reader.Take(QLatin1String("DataFlashStyle"), settings.DataFlashStyle, 0, 6);
    reader.Take(QLatin1String("FlashRowTime"), settings.FlashRowTime, 0, 1000);
    settings.FlashFile = reader.Text(QLatin1String("FlashFile"));
    reader.TakeFaults();
    return settings;
}
