#include "settings/TargetSettings.h"

#include "settings/Width.h"

#include <algorithm>
#include <array>
#include <limits>
#include <variant>

namespace {

enum class SectionKind {
    Delay,
    Gauge, ///< the version section over the family section
    Platform,
};

using Member = std::variant<std::int32_t TargetSettings::*, std::int16_t TargetSettings::*>;

struct Field {
    const char* name;
    SectionKind kind;
    Member member;
    std::int32_t fallback = 0;
    /// Takes the place of fallback where the default follows from fields read before.
    std::int64_t (*computed)(const TargetSettings&) = nullptr;
};

/// Six tries of erasing and programming the rows of one erase block; the factor is wanted.
std::int64_t DataFlashDelay(const TargetSettings& settings)
{
    const std::int64_t rows = settings.DF_ERASEROW_SZ / settings.DF_PROGROW_SZ;
    const std::int64_t row = std::int64_t{settings.DF_PROGROW} + settings.DF_ERASEROW;
    return 6 * (row * rows + settings.DF_ERASEROW);
}

/// Half of the above, which is always even: no rounding is needed.
std::int64_t WriteDelay(const TargetSettings& settings) { return DataFlashDelay(settings) / 2; }

using S = TargetSettings;
using enum SectionKind;

/// In the order in which they are read: a computed default and the platform section use what stands above.
const std::array kFields{
    Field{"CB_V_SETTLE", Delay, &S::CB_V_SETTLE, 1000},
    Field{"CB_I_SETTLE", Delay, &S::CB_I_SETTLE, 1000},
    Field{"LOAD_VI_SETTLE", Delay, &S::LOAD_VI_SETTLE, 200},
    Field{"USB_RESP_TIME", Delay, &S::USB_RESP_TIME, 1},
    Field{"VxMAC", Gauge, &S::VxMAC},
    Field{"TgtAddr", Gauge, &S::TgtAddr},
    Field{"GG_FWEXEC", Gauge, &S::GG_FWEXEC},
    Field{"CalWr", Gauge, &S::CalWr},
    Field{"CalWrSig", Gauge, &S::CalWrSig},
    Field{"DF_IMAGE_SZ", Gauge, &S::DF_IMAGE_SZ},
    Field{"RetROMCmd", Gauge, &S::RetROMCmd},
    Field{"RetROMWd", Gauge, &S::RetROMWd},
    Field{"GGComm", Gauge, &S::GGComm},
    Field{"ROMComm", Gauge, &S::ROMComm},
    Field{"DateClsID", Gauge, &S::DateClsID},
    Field{"DateOffset", Gauge, &S::DateOffset},
    Field{"MfDataClsID", Gauge, &S::MfDataClsID},
    Field{"PkLotOffset", Gauge, &S::PkLotOffset},
    Field{"PkLotValid", Gauge, &S::PkLotValid},
    Field{"SrNoClsID", Gauge, &S::SrNoClsID},
    Field{"SrNoOffset", Gauge, &S::SrNoOffset},
    Field{"Platform", Gauge, &S::Platform},
    Field{"DF_ERASEROW", Platform, &S::DF_ERASEROW, 10},
    Field{"DF_MASSERASE", Platform, &S::DF_MASSERASE, 200},
    Field{"DF_PROGROW", Platform, &S::DF_PROGROW, 2},
    Field{"DF_BASE_ADDR", Platform, &S::DF_BASE_ADDR, 16384},
    Field{"DF_MAX_SZ", Platform, &S::DF_MAX_SZ, 2048},
    Field{"DF_PROGROW_SZ", Platform, &S::DF_PROGROW_SZ, 32},
    Field{"DF_ERASEROW_SZ", Platform, &S::DF_ERASEROW_SZ, 32},
    Field{"DF_CHKSUM_SZ", Platform, &S::DF_CHKSUM_SZ, 2016},
    Field{"GGModeDFDelay", Gauge, &S::GGModeDFDelay, 0, DataFlashDelay},
    Field{"SBSWrDelay", Gauge, &S::SBSWrDelay, 0, WriteDelay},
    Field{"ITOff_DFOff", Gauge, &S::ITOff_DFOff},
    Field{"ET1Off_DFOff", Gauge, &S::ET1Off_DFOff},
    Field{"ET2Off_DFOff", Gauge, &S::ET2Off_DFOff},
};

/// One load: reads field after field into a draft.
class Loader {
public:
    Loader(ProfileStore& profiles, const QString& file, const TargetSettings& previous)
        : draft(previous), m_profiles(profiles), m_file(file)
    {
    }

    /// @return empty, or the message
    [[nodiscard]] QString Read(const Field& field)
    {
        const QString key = QLatin1String(field.name);
        const std::int64_t fallback = field.computed ? field.computed(draft) : field.fallback;
        const bool tooLong = fallback < std::numeric_limits<std::int32_t>::min()
            || fallback > std::numeric_limits<std::int32_t>::max();
        if (tooLong)
            return SettingProblem(
                m_file, PlatformSection(draft.Platform), key,
                QStringLiteral("its default of %1 ms, computed from DF_ERASEROW and DF_PROGROW, is "
                               "outside 32 bits")
                    .arg(fallback));
        const std::int32_t value = Value(field.kind, key, static_cast<std::int32_t>(fallback));
        if (const auto* wide = std::get_if<std::int32_t TargetSettings::*>(&field.member)) {
            draft.*(*wide) = value;
            return {};
        }
        const auto member = std::get<std::int16_t TargetSettings::*>(field.member);
        if (!FitsWord(value))
            return WidthProblem(m_file, SectionThatHolds(field.kind, key), key, value);
        if (member == &TargetSettings::DF_PROGROW_SZ && value == 0)
            return SettingProblem(m_file, SectionThatHolds(field.kind, key), key,
                                  QStringLiteral("a row of 0 bytes cannot be programmed"));
        draft.*member = static_cast<std::int16_t>(value);
        return {};
    }

    TargetSettings draft;
    QString familySection;
    QString versionSection;

private:
    std::int32_t Value(SectionKind kind, const QString& key, std::int32_t fallback)
    {
        if (kind == Gauge)
            return ReadTwoSectionInt(m_profiles, familySection, versionSection, key, fallback, m_file);
        return m_profiles.Integer(m_file, SectionThatHolds(kind, key), key, fallback);
    }

    QString SectionThatHolds(SectionKind kind, const QString& key)
    {
        if (kind == Delay)
            return QStringLiteral("Delay");
        if (kind == Platform)
            return PlatformSection(draft.Platform);
        return m_profiles.String(m_file, versionSection, key).isEmpty() ? familySection : versionSection;
    }

    ProfileStore& m_profiles;
    const QString& m_file;
};

} // namespace

bool SplitTargetSections(const QString& deviceKey, QString& familySection, QString& versionSection)
{
    const qsizetype dot = deviceKey.indexOf(QLatin1Char('.'));
    if (dot < 0)
        return false;
    familySection = QLatin1Char('D') + deviceKey.left(dot);
    versionSection = QString(deviceKey).replace(QLatin1Char('.'), QLatin1Char('_'));
    return true;
}

QString PlatformSection(std::int32_t platform)
{
    return QLatin1Char('P') + QString::number(platform).rightJustified(4, QLatin1Char('0'));
}

QString GetDeviceKey(const QString& identity)
{
    return QString(identity)
        .remove(QLatin1String("Device:"))
        .remove(QLatin1String("Ver:"))
        .replace(QLatin1Char(','), QLatin1Char('.'))
        .remove(QLatin1Char(' '));
}

QString TargetsKey(const QString& identity)
{
    return QString(identity)
        .remove(QLatin1String("Device:"))
        .replace(QLatin1String(", Ver:"), QLatin1String("_"))
        .replace(QLatin1Char('.'), QLatin1Char('_'));
}

std::int32_t ReadTwoSectionInt(ProfileStore& profiles, const QString& familySection,
                               const QString& versionSection, const QString& key, std::int32_t fallback,
                               const QString& file)
{
    const std::int32_t family = profiles.Integer(file, familySection, key, fallback);
    return profiles.Integer(file, versionSection, key, family);
}

bool LoadTargetSettings(ProfileStore& profiles, UserMessages& messages, const QString& programFolder,
                        const QString& deviceKey, TargetSettings& settings)
{
    const QString file = programFolder + QStringLiteral("/Config.ini");
    Loader loader(profiles, file, settings);
    const bool delaysAlone = !SplitTargetSections(deviceKey, loader.familySection, loader.versionSection);
    for (const Field& field : kFields) {
        if (delaysAlone && field.kind != Delay)
            continue;
        if (const QString problem = loader.Read(field); !problem.isEmpty()) {
            messages.Show(problem);
            return false;
        }
    }
    settings = loader.draft;
    return true;
}

std::vector<NamedSetting> NamedFields(const TargetSettings& settings)
{
    std::vector<NamedSetting> fields;
    fields.reserve(kFields.size());
    for (const Field& field : kFields)
        fields.push_back(
            {field.name,
             std::visit([&](auto member) { return std::int32_t{settings.*member}; }, field.member)});
    return fields;
}
