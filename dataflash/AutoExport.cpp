#include "dataflash/AutoExport.h"

#include "dataflash/DataFlash.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"

#include <QDir>
#include <QFileInfo>
#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>

namespace {

/// 0 when there is none, or when the highest one is the last before the count starts again.
int NumberAfterHighest(const QString& base)
{
    const QFileInfo info(base);
    const QString head = info.fileName() + QLatin1Char('_');
    const QString tail = QStringLiteral(".gg");
    int highest = -1;
    for (const QString& name : info.absoluteDir().entryList(QDir::Files)) {
        const QString digits = name.mid(head.size(), name.size() - head.size() - tail.size());
        bool ok = false;
        const int number = digits.toInt(&ok);
        if (ok && number <= AutoExport::kHighestNumber
            && name == AutoExport::FileName(info.fileName(), number))
            highest = std::max(highest, number);
    }
    return (highest + 1) % (AutoExport::kHighestNumber + 1);
}

} // namespace

AutoExport::AutoExport(TimeSource& time, Export exportTo) : m_time(time), m_export(std::move(exportTo)) { }

QStringList AutoExport::SetInterval(const QString& typed)
{
    bool ok = false;
    const double seconds = typed.trimmed().toDouble(&ok);
    const QString retained = QStringLiteral("The original value has been retained.");
    if (!ok || !(seconds >= kLowestSeconds))
        return {QStringLiteral("The AutoExport interval must be at least 15 seconds."), retained};
    if (seconds > kHighestSeconds) // the limit itself is taken; people know the words as they are
        return {QStringLiteral("The entered value must be less than %1").arg(kHighestSeconds), retained};
    m_intervalMs = std::llround(seconds * 1000);
    return {};
}

void AutoExport::Start(const QString& base)
{
    m_base = base;
    m_number = NumberAfterHighest(base);
    m_last = m_time.MonotonicMs();
}

int AutoExport::SetAutoExportTimer() const
{
    return static_cast<int>(std::min<std::int64_t>(m_intervalMs, kLongestTimerMs));
}

bool AutoExport::TimeToProcess() const
{
    return m_intervalMs < kLongestTimerMs || (m_time.MonotonicMs() - m_last) / 1000 >= m_intervalMs / 1000;
}

std::optional<AutoExport::Result> AutoExport::Tick()
{
    if (m_running || !TimeToProcess())
        return std::nullopt;
    const QScopedValueRollback<bool> running(m_running, true);
    m_last = m_time.MonotonicMs();
    Result result;
    result.File = FileName(m_base, m_number);
    result.Replaced = QFileInfo::exists(result.File);
    result.Problem = m_export(result.File, result.Warnings);
    if (result.Problem.isEmpty())
        m_number = m_number == kHighestNumber ? 0 : m_number + 1;
    else
        result.Replaced = false;
    return result;
}

QString AutoExport::FileName(const QString& base, int number)
{
    return QStringLiteral("%1_%2.gg").arg(base).arg(number, 5, 10, QLatin1Char('0'));
}

QString ReadAndExport(DataFlash& dataFlash, TimeSource& time, const QString& path, QStringList& warnings,
                      TransferReport* read)
{
    bool edited = false;
    ForEachItem(dataFlash.Tree(),
                [&edited](const ItemPlace&, const DataClass&, const SubClass&, const DataItem& item) {
                    edited = edited || item.Edited();
                });
    if (edited)
        return QStringLiteral("%1 was not written: there are edits that reading the gauge would take away")
            .arg(path);
    const TransferReport report = dataFlash.ReadAllDF();
    if (read)
        *read = report;
    if (!dataFlash.LastReadAllOK())
        return QStringLiteral("%1 was not written: %2")
            .arg(path, report.Cancelled ? QStringLiteral("reading the gauge was cancelled") : report.Text);
    return ExportDF(dataFlash.Tree(), dataFlash.DeviceName(), time.Now().toString(Qt::ISODate), path,
                    warnings);
}
