#include "flashimage/FlashDesk.h"

#include "comm/GaugeIdentity.h"
#include "platform/ProgramFolder.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

const QString kTargetsFile = QStringLiteral("/Srec.tgt");
const QString kMemoryFile = QStringLiteral("/Srec.ini");
constexpr auto kProgram = u"Program";
constexpr auto kFiles = u"Files";

} // namespace

FlashDesk::FlashDesk(ProfileStore& profiles, const StartupState& state, UserMessages& messages, frmUSB& usb,
                     GaugeAccess& access, TimeSource& time, LoadTargets loadTargets)
    : m_profiles(profiles), m_state(state), m_messages(messages), m_usb(usb), m_access(access),
      m_loadTargets(std::move(loadTargets)), m_programmer(usb, access, time)
{
}

const FlashTarget* FlashDesk::Target() const
{
    return m_chosen >= 0 && m_chosen < static_cast<int>(m_targets.size())
        ? &m_targets[static_cast<std::size_t>(m_chosen)]
        : nullptr;
}

GaugeMode FlashDesk::LookAtMode()
{
    m_mode = m_programmer.AskMode(m_modeError);
    return m_mode;
}

void FlashDesk::ReadAccepted()
{
    m_subject.Accepted.clear();
    m_subject.TargetName = QFileInfo(m_state.TargetConfigPath).dir().dirName() + QLatin1Char('/')
        + QFileInfo(m_state.TargetConfigPath).fileName();
    if (m_state.TargetConfigPath.isEmpty())
        return;
    const QFileInfo chosen(ResolvePath({}, m_state.TargetConfigPath));
    for (const QString& line : m_profiles.File(m_state.ProgramSettingsFile).SectionLines(u"Targets")) {
        const QString file = line.section(QLatin1Char('='), 1).trimmed();
        const std::optional<DeviceId> id = ReadDeviceId(line.section(QLatin1Char('='), 0, 0).trimmed());
        if (id && QFileInfo(ResolvePath(m_state.ProgramFolder, file)) == chosen)
            m_subject.Accepted.push_back(*id);
    }
}

void FlashDesk::Look()
{
    const QString path = m_state.ProgramFolder + kTargetsFile;
    std::vector<FlashTarget> targets;
    m_targetsProblem = m_loadTargets(path, targets);
    m_targets = std::move(targets);
    ReadAccepted();
    m_subject.Gauge.reset();
    if (!m_subject.Accepted.empty() && !(m_byHand && Target())) {
        m_chosen = FindFlashTarget(m_targets, m_subject.Accepted.front());
        LoadSettings(); // of what the gauge ought to be: they say where it answers
    }
    const std::int16_t addr = m_settings.GGComm != 0 ? m_settings.GGComm : m_state.TargetAddress;
    const IdentityRequest request = ReadIdentityRequest(m_profiles, m_state);
    if (LookAtMode() == GaugeMode::Firmware && request.Allowed) {
        const ExclusiveAccess access(m_access, QStringLiteral("Flash"));
        QString identity;
        if (access && !Failed(ReadGaugeIdentity(m_usb, request, addr, identity)))
            m_subject.Gauge = ReadDeviceId(identity);
    }
    const bool byHand = m_byHand && Target();
    if (!byHand && m_subject.Gauge) {
        m_chosen = FindFlashTarget(m_targets, *m_subject.Gauge);
    } else if (!byHand
               && m_subject.Accepted
                      .empty()) { // a gauge that cannot say what it is, where there is one choice
        m_chosen = m_targets.size() == 1 ? 0 : -1;
    }
    LoadSettings();
}

void FlashDesk::Choose(int target)
{
    m_byHand = target >= 0;
    m_chosen = target;
    LoadSettings();
}

/// Those of the gauge; where it cannot say what it is, those of what it ought to be.
void FlashDesk::LoadSettings()
{
    const FlashTarget* target = Target();
    if (!target)
        return;
    DeviceId id{target->Device, target->Version};
    const auto sameDevice = [&id](const DeviceId& other) { return other.Device == id.Device; };
    const auto accepted = std::find_if(m_subject.Accepted.begin(), m_subject.Accepted.end(), sameDevice);
    if (m_subject.Gauge && sameDevice(*m_subject.Gauge))
        id = *m_subject.Gauge;
    else if (id.Version == 0 && accepted != m_subject.Accepted.end())
        id = *accepted;
    m_settings = {};
    LoadTargetSettings(m_profiles, m_messages, m_state.ProgramFolder, DeviceKey(id), m_settings);
}

FlashProgrammer& FlashDesk::Programmer()
{
    if (const FlashTarget* target = Target())
        m_programmer.Use(*target, m_settings, m_state.TargetAddress);
    return m_programmer;
}

FlashOutcome FlashDesk::Read(clsSrecFlash& image)
{
    image.Clear();
    FlashOutcome outcome = Programmer().Read(image);
    if (outcome.Bytes > 0 && m_subject.Gauge)
        image.S0Comment = IdentityText(*m_subject.Gauge);
    return outcome;
}

std::vector<FlashFinding> FlashDesk::Check(const clsSrecFlash& image, const FlashOptions& options) const
{
    std::vector<FlashFinding> findings = CheckFlashFit(image, Target(), m_settings, m_subject, options);
    if (!m_targetsProblem.isEmpty())
        findings.push_back({ErrorCode::ConfigOpenFail, true, m_targetsProblem});
    return findings;
}

FlashPlan FlashDesk::Plan(const clsSrecFlash& image, const FlashOptions& options) const
{
    return MakeFlashPlan(image, m_settings, options, m_usb.Facts().BusHertz);
}

FlashMemory ReadFlashMemory(ProfileStore& profiles, const StartupState& state)
{
    const QString file = state.ProgramFolder + kMemoryFile;
    return {.Verify = profiles.Integer(file, kProgram, u"Verify", 1) != 0,
            .Folder = profiles.String(file, kFiles, u"Folder")};
}

QString WriteFlashMemory(ProfileStore& profiles, const StartupState& state, const FlashMemory& memory)
{
    const QString file = state.ProgramFolder + kMemoryFile;
    const ProfileChange changes[]{
        {QString::fromUtf16(kProgram), QStringLiteral("Verify"), QString::number(memory.Verify ? 1 : 0)},
        {QString::fromUtf16(kFiles), QStringLiteral("Folder"), memory.Folder}};
    return profiles.Write(file, changes);
}
