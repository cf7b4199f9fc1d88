#include "sbs/RegisterLogReading.h"

#include <QFile>
#include <QFileInfo>

RegisterLogReading::RegisterLogReading(const QString& path)
    : m_path(path), m_size(QFileInfo(path).size()), m_regular(QFileInfo(path).isFile()), m_parser(m_size),
      m_piece(RegisterLogParser::kLongestLine)
{
}

bool RegisterLogReading::Step()
{
    QFile file(m_path);
    if (!m_regular || !m_fault.isEmpty())
        return false;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !file.seek(m_done)) {
        m_fault = file.errorString();
        return false;
    }
    const qint64 count = file.read(m_piece.data(), static_cast<qint64>(m_piece.size()));
    if (count < 0)
        m_fault = file.errorString();
    if (count <= 0)
        return false;
    m_parser.Feed({m_piece.data(), static_cast<std::size_t>(count)});
    m_done += count;
    return true;
}

RegisterLogData RegisterLogReading::Finish()
{
    RegisterLogData data;
    if (!m_regular) {
        data.Report(0, [&] { return QStringLiteral("%1 is no file that can be read.").arg(m_path); });
    } else if (!m_fault.isEmpty() && m_done == 0) {
        data.Report(0, [&] { return QStringLiteral("%1 could not be read: %2.").arg(m_path, m_fault); });
    } else {
        data = m_parser.Finish();
        if (!m_fault.isEmpty())
            data.Report(0, [&] {
                return QStringLiteral("Reading stopped after %1 bytes: %2.").arg(m_done).arg(m_fault);
            });
    }
    return data;
}
