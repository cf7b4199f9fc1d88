#include "sbs/FormState.h"

#include "platform/ProgramFolder.h"

#include <QStringList>

#include <array>

namespace {

struct IntegerKey {
    const char16_t* section;
    const char16_t* key;
    std::int32_t fallback;
    std::int32_t& (*field)(FormState&);
};

constexpr std::array kIntegerKeys{
    IntegerKey{u"FuelGauge", u"RemCapRow", -1, [](FormState& f) -> std::int32_t& { return f.RemCapRow; }},
    IntegerKey{u"CustomMod", u"BattModeRow", -1, [](FormState& f) -> std::int32_t& { return f.BattModeRow; }},
    IntegerKey{u"SBS", u"ScanInterval", 2000,
               [](FormState& f) -> std::int32_t& { return f.Interval.Refresh; }},
    IntegerKey{u"SBS", u"LogInterval", 5000,
               [](FormState& f) -> std::int32_t& { return f.Interval.Logging; }},
    IntegerKey{u"SBSFlags", u"BitsPerRow", 8, [](FormState& f) -> std::int32_t& { return f.BitsPerRow; }},
    IntegerKey{u"SBSGUI", u"CustomSplit", 0, [](FormState& f) -> std::int32_t& { return f.CustomSplit; }},
    IntegerKey{u"SBSGUI", u"SplitterTop", 0, [](FormState& f) -> std::int32_t& { return f.SplitterTop; }},
    IntegerKey{u"SBSGUI", u"ViewButtons", 0, [](FormState& f) -> std::int32_t& { return f.ViewButtons; }},
    IntegerKey{u"SBSGUI", u"Roomy", 0, [](FormState& f) -> std::int32_t& { return f.Roomy; }},
    IntegerKey{u"SBSGUI", u"HiddenColumns", 0, [](FormState& f) -> std::int32_t& { return f.HiddenColumns; }},
    IntegerKey{u"SBS", u"Hide", 0, [](FormState& f) -> std::int32_t& { return f.Hide; }},
    IntegerKey{u"SBSGUI", u"Ocx", 512, [](FormState& f) -> std::int32_t& { return f.Ocx; }},
};

constexpr QStringView kScanSection = u"SBSScan";
constexpr QStringView kLogSection = u"SBSLog";
constexpr QStringView kGuiSection = u"SBSGUI";
constexpr QStringView kScanOffKey = u"ScanOff";

QString ScanKey(std::size_t row) { return QStringLiteral("%1ScanRow").arg(row); }

QString LogKey(std::size_t row) { return QStringLiteral("%1LogRow").arg(row); }

/// Collects what differs from what stands there, so that a file is saved once whatever has changed.
class Saver {
public:
    explicit Saver(const TableSettings& settings) : m_settings(settings) { }

    void Integer(QStringView section, QStringView key, std::int32_t fallback, std::int32_t value)
    {
        if (m_settings.Integer(section, key, fallback) != value)
            Change(section, key, value);
    }
    void Switch(QStringView section, QStringView key, bool fallback, bool on)
    {
        if ((m_settings.Integer(section, key, fallback ? 1 : 0) != 0) != on)
            Change(section, key, on ? 1 : 0);
    }
    [[nodiscard]] const std::vector<ProfileChange>& Changes() const { return m_changes; }

private:
    void Change(QStringView section, QStringView key, std::int32_t value)
    {
        m_changes.push_back({section.toString(), key.toString(), QString::number(value)});
    }

    const TableSettings& m_settings;
    std::vector<ProfileChange> m_changes;
};

} // namespace

FormState LoadFormState(const TableSettings& settings, int rows)
{
    FormState form;
    for (const IntegerKey& key : kIntegerKeys)
        key.field(form) = settings.Integer(key.section, key.key, key.fallback);
    form.Interval = Normalised(form.Interval);
    form.ScanOff = settings.Integer(kGuiSection, kScanOffKey, 0) != 0;
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row) {
        form.Scan.push_back(settings.Integer(kScanSection, ScanKey(row), 1) != 0);
        form.Log.push_back(settings.Integer(kLogSection, LogKey(row), 1) != 0);
    }
    return form;
}

QString SaveFormState(TableSettings& settings, const FormState& form)
{
    Saver saver(settings);
    FormState values = form;
    for (const IntegerKey& key : kIntegerKeys)
        saver.Integer(key.section, key.key, key.fallback, key.field(values));
    saver.Switch(kGuiSection, kScanOffKey, false, form.ScanOff);
    for (std::size_t row = 0; row < form.Scan.size(); ++row)
        saver.Switch(kScanSection, ScanKey(row), true, form.Scan[row]);
    for (std::size_t row = 0; row < form.Log.size(); ++row)
        saver.Switch(kLogSection, LogKey(row), true, form.Log[row]);
    return settings.Write(saver.Changes());
}

QString GetSBSCfgFilename(const TableSettings& settings)
{
    return settings.String(u"SBS", u"ConfigFile", QStringLiteral("default.sbs"));
}

QString GetSBSFlagsCfgFilename(const TableSettings& settings)
{
    return settings.String(u"SBSFlags", u"ConfigFile", QStringLiteral("defaultFlags.sbs"));
}

QString LoadTables(clsSBSCfgRW& tables, const TableSettings& settings, const QString& programFolder)
{
    QString registerProblem;
    QString flagProblem;
    tables.LoadSBSInfo(ResolvePath(programFolder, GetSBSCfgFilename(settings)), &registerProblem);
    tables.LoadFlagsInfo(ResolvePath(programFolder, GetSBSFlagsCfgFilename(settings)), &flagProblem);
    QStringList problems{registerProblem, flagProblem};
    problems.removeAll(QString());
    return problems.join(u'\n');
}
