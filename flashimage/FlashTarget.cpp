#include "flashimage/FlashTarget.h"

#include "comm/adapters/Pc61vRW.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kColumns = 7;
constexpr double kBitsAByte = 9; // with the acknowledge
constexpr double kOverhead = 1.3; // command, address and length of each row

QString Hex(std::uint32_t value)
{
    return QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0')).toUpper();
}

std::size_t RowSize(std::int16_t setting)
{
    return static_cast<std::size_t>(std::max<std::int16_t>(setting, 1));
}

bool Blank(std::span<const std::uint8_t> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0xFF; });
}

/// Collects what is to be said of one image.
class Checker {
public:
    std::vector<FlashFinding> Findings;

    void Refuse(ErrorCode code, const QString& text) { Findings.push_back({code, true, text}); }
    void Say(ErrorCode code, const QString& text) { Findings.push_back({code, false, text}); }

    /// Refused with the first code when the device differs, said with the second when only the version does.
    void Compare(DeviceId one, DeviceId other, bool anyVersion, ErrorCode device, ErrorCode version,
                 const QString& text)
    {
        if (one.Device != other.Device)
            Refuse(device, text);
        else if (!anyVersion && one.Version != other.Version)
            Say(version, text);
    }

    void Place(const clsSrecFlash::Region& region, std::uint32_t start, std::uint32_t size,
               const QString& name, const QString& whose)
    {
        if (region.Empty())
            return;
        const std::uint64_t end = std::uint64_t{region.Start()} + region.Size();
        if (region.Start() >= start && end <= std::uint64_t{start} + size)
            return;
        const QString has = size == 0 ? QStringLiteral("none")
                                      : QStringLiteral("%1 to %2").arg(Hex(start), Hex(start + size - 1));
        Refuse(ErrorCode::IncorrectParam,
               QStringLiteral("%1 has %2; the image's %3 lies at %4 to %5.")
                   .arg(whose, has, name, Hex(region.Start()), Hex(static_cast<std::uint32_t>(end - 1))));
    }
};

} // namespace

std::optional<DeviceId> ReadDeviceId(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("(?:^|Device:|[^0-9A-Za-z_])([0-9A-Fa-f]{1,4})(?:,\\s*Ver:|[._])"
                       "([0-9A-Fa-f]{1,2})[._]([0-9A-Fa-f]{1,2})(?![0-9A-Za-z])"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const auto hex = [&match](int group) { return match.captured(group).toUShort(nullptr, 16); };
    return DeviceId{hex(1), static_cast<std::uint16_t>(hex(2) << 8 | hex(3))};
}

QString DeviceKey(DeviceId id)
{
    return QStringLiteral("%1.%2.%3")
        .arg(id.Device, 0, 16)
        .arg(id.Version >> 8, 0, 16)
        .arg(id.Version & 0xFF, 2, 16, QLatin1Char('0'))
        .toUpper();
}

QString IdentityText(DeviceId id)
{
    const QString key = DeviceKey(id);
    return QStringLiteral("Device:%1, Ver:%2")
        .arg(key.section(QLatin1Char('.'), 0, 0), key.section(QLatin1Char('.'), 1));
}

std::vector<FlashTarget> FlashTargetsOf(const std::vector<QStringList>& rows)
{
    std::vector<FlashTarget> targets;
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const QStringList& cells = rows[i];
        if (cells.size() < kColumns)
            continue;
        const auto number
            = [&cells](int column) { return static_cast<std::uint32_t>(cells[column].toLongLong()); };
        targets.push_back({cells[0], static_cast<std::uint16_t>(number(1)),
                           static_cast<std::uint16_t>(number(2)), number(3), number(4), number(5),
                           number(6)});
    }
    return targets;
}

int FindFlashTarget(const std::vector<FlashTarget>& targets, DeviceId id)
{
    const auto rank = [id](const FlashTarget& target) {
        if (target.Device != id.Device)
            return 0;
        return target.Version == id.Version ? 3 : target.Version == 0 ? 2 : 1;
    };
    const auto best = std::max_element(
        targets.begin(), targets.end(),
        [&rank](const FlashTarget& one, const FlashTarget& other) { return rank(one) < rank(other); });
    return best == targets.end() || rank(*best) == 0 ? -1 : static_cast<int>(best - targets.begin());
}

std::vector<FlashFinding> CheckFlashFit(const clsSrecFlash& image, const FlashTarget* target,
                                        const TargetSettings& settings, const FlashSubject& subject,
                                        const FlashOptions& options)
{
    Checker checker;
    const bool data = options.Data && !image.DF.Empty();
    const bool program = image.PFMode != ProgramMode::kLeave && !image.PF.Empty();
    if (!data && !program) {
        checker.Refuse(ErrorCode::IncorrectParam, QStringLiteral("There are no bytes to program."));
        return checker.Findings;
    }
    if (!target) {
        checker.Refuse(
            ErrorCode::IncorrectParam,
            QStringLiteral("No flash target is chosen. Srec.tgt in the program folder lists them; the "
                           "table editor adds one."));
        return checker.Findings;
    }
    const DeviceId row{target->Device, target->Version};
    const bool any = target->Version == 0;
    const QString rowName = QStringLiteral("The flash target \"%1\"").arg(target->Name);
    const QString rowFor = any ? IdentityText(row).section(QLatin1Char(','), 0, 0) : IdentityText(row);
    const std::optional<DeviceId> of = ReadDeviceId(image.S0Comment);
    if (subject.Gauge) {
        const QString gauge = QStringLiteral("the gauge is %1").arg(IdentityText(*subject.Gauge));
        if (of && of->Device != subject.Gauge->Device)
            checker.Refuse(ErrorCode::SrecDevMismatch,
                           QStringLiteral("The image is for %1; %2. Take one that was made for it.")
                               .arg(IdentityText(*of), gauge));
        const QString remedy = row.Device == subject.Gauge->Device
            ? QString()
            : QStringLiteral(" Choose the flash target of the gauge.");
        checker.Compare(row, *subject.Gauge, any, ErrorCode::PcfgDevMismatch, ErrorCode::PcfgDevVerMismatch,
                        QStringLiteral("%1 is for %2; %3.").arg(rowName, rowFor, gauge) + remedy);
        const auto accepts = [&](bool version) {
            return std::any_of(subject.Accepted.begin(), subject.Accepted.end(), [&](DeviceId id) {
                return id.Device == subject.Gauge->Device
                    && (!version || id.Version == subject.Gauge->Version);
            });
        };
        if (!subject.Accepted.empty() && !accepts(true)) {
            QStringList devices;
            for (const DeviceId& id : subject.Accepted)
                devices << IdentityText(id);
            const QString text = QStringLiteral("The chosen target %1 is for %2; %3.")
                                     .arg(subject.TargetName, devices.join(QStringLiteral(" and ")), gauge);
            if (accepts(false))
                checker.Say(ErrorCode::BcfgDevVerMismatch, text);
            else
                checker.Refuse(ErrorCode::BcfgDevMismatch,
                               text + QStringLiteral(" Choose the target of the gauge."));
        }
    } else {
        checker.Say(
            ErrorCode::Ok,
            QStringLiteral("The gauge cannot say what it is. Make sure that it is a %1.").arg(target->Name));
    }
    if (of)
        checker.Compare(
            row, *of, any, ErrorCode::PcfgSrecDevMismatch, ErrorCode::PcfgSrecDevVerMismatch,
            QStringLiteral("%1 is for %2; the image is for %3.").arg(rowName, rowFor, IdentityText(*of)));
    else
        checker.Say(ErrorCode::Ok,
                    QStringLiteral("The image does not say which gauge it is for: its S0 record has no "
                                   "\"Device:..., Ver:...\"."));

    checker.Place(image.DF, target->DataStart, target->DataSize, QStringLiteral("data flash"), rowName);
    checker.Place(image.PF, target->ProgramStart, target->ProgramSize, QStringLiteral("instruction flash"),
                  rowName);
    const auto base = static_cast<std::uint16_t>(settings.DF_BASE_ADDR);
    const auto most = static_cast<std::uint16_t>(settings.DF_MAX_SZ);
    if (target->DataSize > 0 && (base != target->DataStart || most != target->DataSize))
        checker.Place(image.DF, base, most, QStringLiteral("data flash"),
                      QStringLiteral("Config.ini (%1)").arg(PlatformSection(settings.Platform)));
    if (options.MassErase && !program)
        checker.Say(
            ErrorCode::DevRomMode,
            QStringLiteral("A mass erase takes the firmware away, and none is programmed: the gauge stays in "
                           "its boot ROM."));
    if (options.MassErase && !data)
        checker.Say(
            ErrorCode::Ok,
            QStringLiteral("A mass erase takes the data flash away, calibration included, and none is "
                           "programmed."));
    if (settings.DF_IMAGE_SZ > 0 && !image.DF.Empty()
        && image.DFSize() != static_cast<std::size_t>(settings.DF_IMAGE_SZ))
        checker.Say(
            ErrorCode::Ok,
            QStringLiteral("A whole data flash image has %1 bytes, this one %2; the others stay as they "
                           "are, unless the gauge is mass-erased.")
                .arg(settings.DF_IMAGE_SZ)
                .arg(image.DFSize()));
    return checker.Findings;
}

bool Refused(const std::vector<FlashFinding>& findings)
{
    return std::any_of(findings.begin(), findings.end(), [](const FlashFinding& one) { return one.Refuses; });
}

FlashPlan MakeFlashPlan(const clsSrecFlash& image, const TargetSettings& settings,
                        const FlashOptions& options, double busHertz)
{
    FlashPlan plan;
    plan.MassErase = options.MassErase;
    const std::size_t eraseRow = RowSize(settings.DF_ERASEROW_SZ);
    const std::size_t programRow = RowSize(settings.DF_PROGROW_SZ);
    double ms = options.MassErase ? settings.DF_MASSERASE : 0;
    const auto add = [&](std::int32_t area, const clsSrecFlash::Region& region) {
        if (region.Empty())
            return;
        FlashPart part{.Area = area,
                       .Start = static_cast<std::uint32_t>(region.Start() / eraseRow * eraseRow)};
        const std::uint64_t end = std::uint64_t{region.Start()} + region.Size();
        part.Size = static_cast<std::size_t>((end + eraseRow - 1) / eraseRow * eraseRow - part.Start);
        if (!options.MassErase)
            part.EraseRows = static_cast<int>(part.Size / eraseRow);
        for (std::uint64_t row = region.Start() / programRow * programRow; row < end; row += programRow) {
            const std::size_t from
                = row < region.Start() ? 0 : static_cast<std::size_t>(row - region.Start());
            const auto until = static_cast<std::size_t>(std::min(row + programRow, end) - region.Start());
            if (!Blank(region.View().subspan(from, until - from)))
                ++part.ProgramRows;
        }
        const auto sent = static_cast<std::int64_t>(part.ProgramRows) * static_cast<std::int64_t>(programRow);
        plan.Bytes += static_cast<std::int64_t>(part.Size);
        ms += part.EraseRows * static_cast<double>(settings.DF_ERASEROW)
            + part.ProgramRows * static_cast<double>(settings.DF_PROGROW);
        const double moved
            = static_cast<double>(sent) + (options.Verify ? static_cast<double>(part.Size) : 0);
        ms += moved * kBitsAByte * kOverhead * 1000 / std::max(busHertz, 1.0);
        plan.Parts.push_back(part);
    };
    if (options.Data)
        add(FlashCall::kDataArea, image.DF);
    if (image.PFMode != ProgramMode::kLeave)
        add(FlashCall::kInstructionArea, image.PF);
    plan.Seconds = static_cast<int>(std::ceil(ms / 1000));
    return plan;
}
