#include "plugins/ScriptPlugin.h"

#include "plugins/PluginHost.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcessEnvironment>

#include <algorithm>
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kWatchMs = 1000;
constexpr int kStartMs = 20'000; // a script imports a lot, perhaps from a cold disk

} // namespace

ScriptPlugin::ScriptPlugin(QString file, QString className, PluginHost& host, QObject* parent)
    : PluginObject(parent), m_file(std::move(file)), m_className(std::move(className)), m_host(host),
      m_server(host), m_process(new QProcess(this))
{
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_process->setWorkingDirectory(QFileInfo(m_file).path());
    m_process->setChildProcessModifier([] {
        ::setpgid(0, 0); // what it starts is ended with it
        ::prctl(PR_SET_PDEATHSIG, SIGTERM); // it does not outlive a crash of ours
    });
    connect(m_process, &QProcess::started, this,
            [this] { m_group = static_cast<pid_t>(m_process->processId()); });
    connect(m_process, &QProcess::readyRead, this, &ScriptPlugin::Print);
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Finish(tr("%1 could not be started: %2.").arg(m_process->program(), m_process->errorString()));
    });
    connect(m_process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        Print();
        if (status == QProcess::CrashExit)
            Finish(tr("It ended by signal %1.").arg(code));
        else
            Finish(code == 0 ? QString() : tr("It ended with status %1.").arg(code));
    });
    connect(&m_server, &PluginServer::Joined, this, [this] {
        m_unanswered.invalidate();
        emit Ready();
    });
    connect(&m_server, &PluginServer::PluginLeft, this, [this](const QString& why) {
        // one that goes by itself is given the time to end, so that its status can be told
        if (!why.isEmpty())
            Finish(tr("Tarnlo ended it: %1.").arg(why));
        else
            QTimer::singleShot(kTermMs, this, [this] { Finish(tr("It left the socket but did not end.")); });
    });
    connect(&m_server, &PluginServer::Refused, this, [this](const QString& why) {
        if (Plugin())
            emit Trouble(tr("A connection to the socket of %1 was refused: %2.").arg(m_className, why));
        else
            Finish(tr("Tarnlo ended it: %1.").arg(why));
    });
    m_watch.setInterval(kWatchMs);
    connect(&m_watch, &QTimer::timeout, this, &ScriptPlugin::Watch);
}

ScriptPlugin::~ScriptPlugin()
{
    m_finished = true;
    StopProcess();
}

void ScriptPlugin::Start()
{
    if (const QString problem = m_server.Listen(); !problem.isEmpty()) {
        Finish(problem);
        return;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(PluginProtocol::kSocketVariable), m_server.SocketPath());
    environment.insert(QLatin1String(PluginProtocol::kTokenVariable), m_server.Token());
    environment.insert(QStringLiteral("PYTHONUNBUFFERED"), QStringLiteral("1"));
    environment.insert(QStringLiteral("PYTHONDONTWRITEBYTECODE"), QStringLiteral("1"));
    m_process->setProcessEnvironment(environment);
    if (m_file.endsWith(QLatin1String(".py"))) {
        m_process->setProgram(QStringLiteral("/usr/bin/python3"));
        m_process->setArguments({m_file});
    } else {
        m_process->setProgram(m_file);
    }
    m_printing.start();
    m_unanswered.start();
    m_watch.start();
    m_process->start(QIODevice::ReadOnly);
}

void ScriptPlugin::Get(const QString& property, const Then& then)
{
    if (!Plugin())
        return;
    Plugin()->Get(property, [this, property, then](const PluginProtocol::Message& answer) {
        NoteAnswer(property, answer);
        then(answer.Value);
    });
}

void ScriptPlugin::Set(const QString& property, const QVariant& value)
{
    if (Plugin())
        Plugin()->Set(property, value, [this, property](const PluginProtocol::Message& answer) {
            NoteAnswer(property, answer);
        });
}

void ScriptPlugin::ShowForm(int argument)
{
    if (Plugin())
        Plugin()->Call(QStringLiteral("ShowForm"), {{QStringLiteral("argument"), argument}},
                       [this](const PluginProtocol::Message& answer) {
                           NoteAnswer(QStringLiteral("ShowForm"), answer);
                       });
}

void ScriptPlugin::NoteAnswer(const QString& asked, const PluginProtocol::Message& answer)
{
    m_unanswered.invalidate();
    if (!std::exchange(m_answering, true))
        emit Answering(true);
    if (answer.What == PluginProtocol::Message::Kind::Error)
        emit Trouble(tr("%1 failed in %2: %3").arg(m_className, asked, answer.Text.left(500)));
}

void ScriptPlugin::Watch()
{
    m_outputAllowed = std::min(m_outputAllowed + kOutputASecond, kOutputBurst);
    if (!Plugin()) {
        if (m_unanswered.isValid() && m_unanswered.hasExpired(kStartMs))
            Finish(tr("It did not connect within %1 s.").arg(kStartMs / 1000));
        return;
    }
    if (!Plugin()->Expected()) {
        m_unanswered.invalidate();
        if (!Plugin()->Busy())
            Plugin()->Call(QStringLiteral("ping"), {}, [this](const PluginProtocol::Message&) {
                m_unanswered.invalidate();
                if (!std::exchange(m_answering, true))
                    emit Answering(true);
            });
        return;
    }
    if (!m_unanswered.isValid())
        m_unanswered.start();
    else if (m_answering && m_unanswered.hasExpired(kAnswerMs)) {
        m_answering = false;
        m_host.GiveBack();
        emit Answering(false);
    }
}

void ScriptPlugin::Print()
{
    const QByteArray bytes = m_process->readAll();
    m_outputAllowed -= bytes.size();
    m_output = (m_output + QString::fromUtf8(bytes)).right(kMostOutput);
    emit Printed();
    if (m_outputAllowed < 0)
        Finish(tr("Tarnlo ended it: it printed more than %1 KiB a second.").arg(kOutputASecond / 1024));
}

void ScriptPlugin::Finish(const QString& reason)
{
    if (std::exchange(m_finished, true))
        return;
    m_watch.stop();
    m_host.GiveBack();
    StopProcess();
    emit Ended(reason);
}

void ScriptPlugin::StopProcess()
{
    if (!m_process)
        return;
    QProcess* process = std::exchange(m_process, nullptr);
    process->disconnect();
    if (m_group > 0)
        ::kill(-m_group, SIGTERM); // also what a script that ended has left behind
    if (process->state() == QProcess::NotRunning) {
        process->deleteLater();
        return;
    }
    // on its own from here: asked to end, then killed, at the end of the program by the destructor of
    // QProcess
    process->setParent(QCoreApplication::instance());
    process->closeReadChannel(QProcess::StandardOutput);
    QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
    QTimer::singleShot(kTermMs, process, [group = m_group] {
        if (group > 0)
            ::kill(-group, SIGKILL);
    });
}
