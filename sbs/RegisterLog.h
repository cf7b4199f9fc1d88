#pragma once

#include "platform/TimeSource.h"
#include "platform/UserMessages.h"

#include <QDateTime>
#include <QFile>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// The lines above the captions; docs/register-log.md describes the file.
struct LogHead {
    QString GaugeName;
    QStringList VersionParts; ///< joined by "."
    QString DeviceName;
    bool Simulated
        = false; ///< marked in the device name, so that no log of a simulation passes for a real one
    std::vector<std::pair<QString, QString>> StaticData; ///< captions and values
};

/// A register row that goes into a log.
struct LogColumn {
    int Row = 0;
    QString Caption;
};

struct LogSwitch {
    QString LogDesc;
    bool Logged = false;
};
/// The rows that are logged: their switch is on and their trimmed caption is not empty.
[[nodiscard]] std::vector<LogColumn> LogColumns(const std::vector<LogSwitch>& rows);

/// A logging run: one file, one tab-separated line a record, opened, flushed to the disk and closed for each.
/// Reads no gauge: it writes the texts that the register view shows.
class RegisterLog {
public:
    /// @param mayAsk  false while a bus sequence further down the stack holds the adapter, since no question
    ///   opens then; a record that could not be written is then lost without one. Empty: always.
    RegisterLog(TimeSource& time, UserMessages& messages, std::function<bool()> mayAsk = {});

    /// Replaces the file by a head and the captions. The columns hold for the whole run, whatever becomes of
    /// the switches meanwhile. A run that is on is ended by this, if the new file could be written.
    /// @return empty, or why there is no run, with the file's name
    [[nodiscard]] QString Start(const QString& path, const LogHead& head, std::vector<LogColumn> columns);
    void Stop();

    /// @param text  what the view shows for a row; empty after a failed read
    /// @param errorFlag  a transfer failed since the last record
    /// @return whether the record stands in the file. When it does not, the sample number is used again.
    bool Record(const std::function<QString(int row)>& text, bool errorFlag);

    [[nodiscard]] bool IsLogging() const { return m_logging; }
    [[nodiscard]] std::int32_t Sample() const { return m_sample; } ///< number of the next record
    [[nodiscard]] const QString& FileName() const { return m_path; }
    [[nodiscard]] const QString& LastProblem() const
    {
        return m_problem;
    } ///< empty since a record was written
    [[nodiscard]] const std::vector<LogColumn>& Columns() const { return m_columns; }

private:
    /// Asks when the file cannot be opened. Retry tries again; Ignore loses this record; Abort ends the run
    /// too.
    /// @return nothing when the attempt was given up
    [[nodiscard]] std::unique_ptr<QFile> OpenFileAppendRetry();
    [[nodiscard]] bool Append(QFile& file, const QByteArray& line);

    TimeSource& m_time;
    UserMessages& m_messages;
    std::function<bool()> m_mayAsk;
    std::vector<LogColumn> m_columns;
    QString m_path;
    QString m_problem;
    QDateTime m_start; ///< of the first record; not valid before it
    std::int32_t m_sample = 1;
    int m_run = 0; ///< tells a run from the next one after events ran
    bool m_logging = false;
    bool m_recording
        = false; ///< a record, perhaps with its question open, is under way further down the stack
};
