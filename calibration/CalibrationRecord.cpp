#include "calibration/CalibrationRecord.h"

#include "dataflash/UnitRecords.h"
#include "platform/Bytes.h"
#include "platform/WholeFile.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString SerialText(const PackIdentity& pack)
{
    return pack.Serial ? QString::number(*pack.Serial) : QString();
}

QString KindText(CalibrationResult::Kind kind)
{
    switch (kind) {
    case CalibrationResult::Kind::Ok:
        return QStringLiteral("done");
    case CalibrationResult::Kind::Refused:
        return QStringLiteral("not plausible");
    case CalibrationResult::Kind::Failed:
        return QStringLiteral("failed");
    case CalibrationResult::Kind::Cancelled:
        return QStringLiteral("cancelled");
    case CalibrationResult::Kind::Busy:
        return QStringLiteral("bus busy");
    }
    return {};
}

QJsonObject StatisticsJson(const ReadingStatistics& readings)
{
    return {{QStringLiteral("count"), readings.Count},
            {QStringLiteral("mean"), readings.Mean},
            {QStringLiteral("deviation"), readings.Deviation},
            {QStringLiteral("least"), readings.Least},
            {QStringLiteral("most"), readings.Most}};
}

} // namespace

QJsonObject CalibrationJson(const CalibrationResult& result)
{
    const StepFacts& facts = FactsOf(result.Request.Step);
    QJsonObject json{{QStringLiteral("step"), facts.Name},
                     {QStringLiteral("unit"), facts.Unit},
                     {QStringLiteral("result"), KindText(result.Ended)},
                     {QStringLiteral("code"), static_cast<int>(result.Code)},
                     {QStringLiteral("stored"), result.Stored},
                     {QStringLiteral("constants_before"), HexText(result.Old.Block())},
                     {QStringLiteral("constants_after"), HexText(result.New.Block())}};
    if (facts.NeedsReference)
        json[QStringLiteral("reference")] = result.Request.Reference;
    if (result.Request.Step == CalibrationStep::Temperature)
        json[QStringLiteral("sensor")] = SensorName(result.Request.Sensor);
    if (result.Before.Count > 0)
        json[QStringLiteral("before")] = StatisticsJson(result.Before);
    if (result.After.Count > 0)
        json[QStringLiteral("after")] = StatisticsJson(result.After);
    if (!result.Problem.isEmpty())
        json[QStringLiteral("problem")] = result.Problem;
    return json;
}

QString AppendCalibrationRecord(const QString& folder, const QDateTime& time, const PackIdentity& pack,
                                const CalibrationResult& result, bool restored, QString& file)
{
    QJsonObject line = CalibrationJson(result);
    if (restored)
        line[QStringLiteral("step")] = QStringLiteral("Restore");
    line[QStringLiteral("time")] = time.toString(Qt::ISODate);
    line[QStringLiteral("pack")] = pack.ToJson();
    QString path;
    QString problem = AppendRecordLine(folder, SerialText(pack), line, path);
    if (problem.isEmpty())
        file = path;
    return problem;
}

std::optional<CalibrationConstants> ConstantsBefore(const QString& folder, const PackIdentity& pack,
                                                    QString& problem)
{
    const QString serial = SerialText(pack);
    const QString path
        = QStringLiteral("%1/%2.jsonl").arg(folder, serial.isEmpty() ? QStringLiteral("unknown") : serial);
    const FileBytes file = ReadWhole(path);
    problem = file.error;
    std::optional<CalibrationConstants> before;
    for (const QByteArray& text : file.bytes.split('\n')) {
        const QJsonObject line = QJsonDocument::fromJson(text).object(); // a line that was cut is none
        if (!line[QStringLiteral("stored")].toBool()
            || PackIdentity::FromJson(line[QStringLiteral("pack")].toObject()) != pack)
            continue;
        const auto bytes = ParseHex(line[QStringLiteral("constants_before")].toString());
        if (const auto constants = bytes ? CalibrationConstants::From(*bytes) : std::nullopt)
            before = constants;
    }
    if (!before && problem.isEmpty())
        problem = QStringLiteral("%1 holds no calibration of this pack that was stored.").arg(path);
    return before;
}
