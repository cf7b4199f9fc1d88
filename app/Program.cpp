#include "app/Program.h"

#include "comm/adapters/WatchedAdapter.h"
#include "platform/ProgramFolder.h"
#include "plugins/HostAdapter.h"
#include "settings/ProgramSettings.h"

#include <QFileInfo>

/// One adapter in use, with all that belongs to it.
struct Program::Session {
    Session(Program& program, std::unique_ptr<Pc61vRW> newDriver)
        : driver(std::make_unique<WatchedAdapter>(std::move(newDriver), program.m_time, program.m_watch)),
          usb(*driver, program.m_time, program.m_messages, program.m_state.ProgramFolder),
          link(usb, program.m_access, program.m_profiles, program.m_messages, program.m_state,
               program.m_target),
          context{program.m_profiles, program.m_state,
                  program.m_target,   usb,
                  program.m_access,   link,
                  program.m_time,     program.m_messages,
                  program.m_errors,   &program.m_watch}
    {
    }
    std::unique_ptr<Pc61vRW> driver;
    frmUSB usb;
    GaugeLink link;
    GaugeContext context;
};

Program::Program(TimeSource& time, UserMessages& messages, ErrorList& errors, const QString& programFolder)
    : m_time(time), m_messages(messages), m_errors(errors), m_state(InitialState(programFolder)),
      m_access(time, messages)
{
}

Program::~Program() = default;

void Program::ParseCommandLine(const QString& commandLine)
{
    ::ParseCommandLine(commandLine, m_state);
    if (!m_state.TargetConfigPath.isEmpty())
        TargetChosen();
}

Skin Program::LoadConfiguration()
{
    const Skin skin
        = SkinFile().isEmpty() ? DefaultSkin() : LoadSkinColours(m_profiles, SkinFile(), SkinName());
    ReadTargetAddress(m_state.ProgramSettingsFile);
    // the delays; the rest follows when a gauge says who it is
    LoadTargetSettings(m_profiles, m_messages, m_state.ProgramFolder, {}, m_target);
    return skin;
}

QString Program::UnkeptText() const
{
    return m_folderProblem.isEmpty() ? WhatIsNotKept(m_state.ProgramFolder) : QString();
}

QString Program::SkinName()
{
    return m_profiles.String(m_state.ProgramSettingsFile, u"GUI", u"Skin", QStringLiteral("Default"));
}

QString Program::SkinFile()
{
    const QString name
        = m_profiles.String(m_state.ProgramSettingsFile, u"GUI", u"SkinFile", QStringLiteral("DefSkin.ini"));
    return name.isEmpty() ? QString() : ResolvePath(m_state.ProgramFolder, name);
}

bool Program::OpenAdapterConnection()
{
    CloseAdapter();
    m_adapter = ResolveAdapter(m_profiles, m_state, m_device, {});
    m_adapter.PackOutrunsClock = true;
    const bool lent = EnvironmentNamesHost() && m_device.isEmpty(); // started by a plug-in
    if (lent) {
        m_adapter.Kind = AdapterKind::Host;
        m_adapter.Error.clear();
    }
    if (std::unique_ptr<Pc61vRW> driver = lent ? HostAdapterFromEnvironment(m_time, m_adapter.TraceFile)
                                               : MakeAdapter(m_adapter, m_profiles, m_state, m_time))
        m_session = std::make_unique<Session>(*this, std::move(driver));
    if (lent) {
        m_session->usb.OpenFirstUsedDevice(m_open);
        if (!m_open)
            return false; // after its own message
    } else if (m_session) {
        m_session->usb.OpenFirstFreeDevice(m_open);
    }
    if (!m_open) {
        m_messages.Show(QStringLiteral(
            "The HX5100 connection could not be Initiated! Please close this program and try again."));
        return false;
    }
    if (m_profiles.Integer(m_state.ProgramSettingsFile, u"Options", u"ClearLog", 1) != 0)
        m_session->usb.ClearErrorLog();
    if (m_profiles.Integer(m_state.ProgramSettingsFile, u"Options", u"EnableErrLog", 0) != 0)
        m_session->usb.EnableErrorLog();
    if (const QString problem = m_session->driver->Facts().Problem; !problem.isEmpty())
        m_messages.Show(problem); // open, but not as the settings ask
    m_session->link.Connected();
    return true;
}

bool Program::AutoDetectTarget(const std::function<QString()>& choose)
{
    {
        const ExclusiveAccess access(m_access, QStringLiteral("Detection"));
        if (access) {
            const Detection found = DetectTarget(m_session->usb, m_profiles, m_state);
            if (!found.Target.isEmpty()) {
                SetTargetConfigPath(found.Target);
                return HasTarget();
            }
        }
    }
    const QString chosen = choose();
    if (chosen.isEmpty())
        return false;
    ErrorCode err = ErrorCode::Ok;
    m_session->usb.CheckForError(err);
    SetTargetConfigPath(chosen);
    return HasTarget();
}

void Program::SetTargetConfigPath(const QString& name)
{
    ::SetTargetConfigPath(m_state, name);
    TargetChosen();
}

void Program::TargetChosen()
{
    const QFileInfo file(ResolvePath(m_state.ProgramFolder, m_state.TargetConfigPath));
    m_targetProblem.clear();
    if (!file.isFile()) {
        // "-t" alone names the program folder, which is no target
        m_targetProblem = QStringLiteral("%1 is no target file.").arg(m_state.TargetConfigPath);
    } else if (!file.isReadable()) {
        m_targetProblem = QStringLiteral("%1 cannot be read: no permission.").arg(m_state.TargetConfigPath);
    }
    if (m_session)
        m_session->link.Connected();
}

void Program::ReadTargetAddress(const QString& file)
{
    ::ReadTargetAddress(m_profiles, m_messages, file, m_state);
}

void Program::UseAdapter(const QString& device)
{
    CloseAdapter();
    m_device = device;
}

QString Program::AdapterProblem() const
{
    if (m_open)
        return {};
    if (!m_adapter.Error.isEmpty())
        return m_adapter.Error;
    const QString problem = m_session ? m_session->driver->Facts().Problem : QString();
    return problem.isEmpty() ? QStringLiteral("No adapter was found. Plug one in, then try again.") : problem;
}

void Program::CloseAdapter()
{
    if (m_session && m_open)
        m_session->usb.CloseDevice();
    m_open = false;
    m_session.reset();
}

GaugeContext* Program::Context() { return m_open ? &m_session->context : nullptr; }

frmUSB* Program::Usb() { return m_session ? &m_session->usb : nullptr; }
