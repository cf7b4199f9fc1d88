#pragma once

#include "plugins/PluginObject.h"
#include "plugins/PluginServer.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <sys/types.h>

class PluginHost;

/// A plug-in in a process of its own, a script as a rule, that speaks over the private socket. It may die,
/// hang, flood or send garbage: it is then ended or marked as not answering, and what it holds goes back.
class ScriptPlugin final : public PluginObject {
    Q_OBJECT
public:
    /// @param file  a script of Python (*.py) or anything that can be executed; absolute path
    ScriptPlugin(QString file, QString className, PluginHost& host, QObject* parent);
    ~ScriptPlugin() override;

    static constexpr int kAnswerMs = 5000; ///< longer without an answer is "does not answer"
    static constexpr int kTermMs = 2000; ///< from asking the process to end to killing it
    static constexpr int kMostOutput = 16 * 1024; ///< characters of its output that are kept
    static constexpr qint64 kOutputBurst = 1024 * 1024; ///< bytes printed at once, and
    static constexpr qint64 kOutputASecond = 64 * 1024; ///< in the long run; more ends it

    void Start() override;
    void Get(const QString& property, const Then& then) override;
    void Set(const QString& property, const QVariant& value) override;
    void ShowForm(int argument) override;
    [[nodiscard]] bool Busy() const override { return m_server.Busy(); }
    [[nodiscard]] QString Output() const override { return m_output; }

private:
    [[nodiscard]] PluginConnection* Plugin() const { return m_server.Plugin(); }
    void NoteAnswer(const QString& asked, const PluginProtocol::Message& answer);
    void Watch();
    void Print();
    void Finish(const QString& reason); ///< reports the end once and stops the process
    void StopProcess();

    QString m_file;
    QString m_className;
    PluginHost& m_host;
    PluginServer m_server;
    QProcess* m_process;
    pid_t m_group = 0; ///< of the process and what it starts
    QTimer m_watch;
    QElapsedTimer m_unanswered; ///< since the plug-in owes an answer
    QElapsedTimer m_printing;
    qint64 m_outputAllowed = kOutputBurst;
    QString m_output;
    bool m_answering = true;
    bool m_finished = false;
};
