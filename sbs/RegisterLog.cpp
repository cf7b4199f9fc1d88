#include "sbs/RegisterLog.h"

#include "platform/WholeFile.h"

#include <QFileInfo>
#include <QScopedValueRollback>

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

/// Tabs and line ends would shift columns and records.
QString OneField(QString text)
{
    for (QChar& character : text)
        if (character < u' ')
            character = u' ';
    return text;
}

QByteArray Line(const QString& text) { return text.toUtf8() + "\r\n"; }

QByteArray HeadBytes(const LogHead& head, const QDateTime& now, const std::vector<LogColumn>& columns)
{
    QString device = head.DeviceName.trimmed();
    if (head.Simulated && !device.contains(u"simulated", Qt::CaseInsensitive))
        device = (QStringLiteral("Simulated ") + device).trimmed();
    QByteArray bytes = Line(OneField(
        QStringLiteral("%1 Version: %2 for %3").arg(head.GaugeName, head.VersionParts.join(u'.'), device)));
    bytes += Line(now.date().toString(Qt::ISODate));
    bytes += Line(QString(11, u' '));
    QString data;
    for (const auto& [caption, value] : head.StaticData)
        data += caption + QStringLiteral(": ") + value + u' ';
    bytes += Line(OneField(data));
    QString captions = QStringLiteral("Sample\tStamp\t~Elapsed(s)");
    for (const LogColumn& column : columns)
        captions += u'\t' + OneField(column.Caption);
    return bytes + Line(captions);
}

} // namespace

std::vector<LogColumn> LogColumns(const std::vector<LogSwitch>& rows)
{
    std::vector<LogColumn> columns;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const QString caption = rows[row].LogDesc.trimmed();
        if (rows[row].Logged && !caption.isEmpty())
            columns.push_back({static_cast<int>(row), caption});
    }
    return columns;
}

RegisterLog::RegisterLog(TimeSource& time, UserMessages& messages, std::function<bool()> mayAsk)
    : m_time(time), m_messages(messages), m_mayAsk(std::move(mayAsk))
{
}

QString RegisterLog::Start(const QString& path, const LogHead& head, std::vector<LogColumn> columns)
{
    const QFileInfo there(path);
    if (there.exists() && !there.isFile()) // opening a pipe would wait for its other end
        return QStringLiteral("%1 is no ordinary file. Choose another name for the log.").arg(path);
    QString problem = SaveWhole(path, HeadBytes(head, m_time.Now(), columns));
    if (!problem.isEmpty())
        return problem;
    m_path = path;
    m_columns = std::move(columns);
    m_problem.clear();
    m_start = {};
    m_sample = 1;
    ++m_run;
    m_logging = true;
    return {};
}

void RegisterLog::Stop() { m_logging = false; }

bool RegisterLog::Record(const std::function<QString(int row)>& text, bool errorFlag)
{
    if (!m_logging || m_recording)
        return false;
    const QScopedValueRollback recording(m_recording, true);
    const int run = m_run;

    const QDateTime now = m_time.Now();
    if (!m_start.isValid())
        m_start = now;
    const qint64 elapsed = std::max<qint64>(0, m_start.msecsTo(now)) / 1000;
    QString line = QStringLiteral("%1\t%2\t%3")
                       .arg(m_sample)
                       .arg(now.time().toString(QStringLiteral("HH:mm:ss")))
                       .arg(elapsed);
    for (const LogColumn& column : m_columns)
        line += u'\t' + OneField(text(column.Row));
    if (errorFlag)
        line += QStringLiteral("\tPossible Error-See error log");

    const std::unique_ptr<QFile> file = OpenFileAppendRetry();
    if (!file || run != m_run || !m_logging) // stopped, or begun anew, while the question was open
        return false;
    if (!Append(*file, Line(line)))
        return false;
    m_problem.clear();
    ++m_sample;
    return true;
}

std::unique_ptr<QFile> RegisterLog::OpenFileAppendRetry()
{
    const int run = m_run;
    while (m_logging && run == m_run) {
        auto file = std::make_unique<QFile>(m_path);
        if (file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
            return file;
        m_problem = QStringLiteral("%1 could not be opened for sample %2: %3.")
                        .arg(m_path)
                        .arg(m_sample)
                        .arg(file->errorString());
        if (m_mayAsk && !m_mayAsk())
            return nullptr;
        const Answer answer
            = m_messages.Ask(QStringLiteral("Access Denied: File could not be opened for logging!"),
                             Answer::Abort | Answer::Retry | Answer::Ignore);
        if (answer == Answer::Retry)
            continue;
        m_time.ProcessEvents(0);
        if (answer == Answer::Abort && run == m_run)
            Stop();
        return nullptr;
    }
    return nullptr;
}

bool RegisterLog::Append(QFile& file, const QByteArray& line)
{
    const qint64 before = file.size();
    bool written = file.write(line) == line.size() && file.flush();
    QString reason = file.errorString();
    if (written && ::fsync(file.handle()) != 0
        && errno != EINVAL) { // EINVAL: this file system has nothing to sync
        written = false;
        reason = QString::fromLocal8Bit(std::strerror(errno));
    }
    if (written)
        return true;
    file.resize(before); // half a record would be read as a whole one
    const bool first = m_problem.isEmpty();
    m_problem = QStringLiteral("Sample %1 could not be written to %2: %3. Logging goes on.")
                    .arg(m_sample)
                    .arg(m_path, reason);
    if (first && (!m_mayAsk || m_mayAsk())) // once, not for every record of a night
        m_messages.Show(m_problem);
    return false;
}
