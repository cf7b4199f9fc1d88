#include "sbs/AutoCycleReplay.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace {

/// A whole number in the range, or nothing.
std::optional<std::int32_t> Whole(const QJsonValue& value, double lowest, double highest)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number < lowest || number > highest || number != std::floor(number))
        return std::nullopt;
    return static_cast<std::int32_t>(number);
}

CycleReading Reading(const QJsonObject& object, QLatin1String key, QString& error)
{
    const QJsonValue value = object.value(key);
    if (value.isNull() || value.isUndefined())
        return {};
    if (value.isString() && value.toString().isEmpty())
        return CycleReading::Failed();
    const auto raw = Whole(value, -32768, 65535);
    if (!raw) {
        error = QStringLiteral("%1: expected a whole number from -32768 to 65535, null or \"\"").arg(key);
        return {};
    }
    return CycleReading::Of(*raw);
}

} // namespace

ReplayStep ParseReplayStep(const QByteArray& line, QString& error)
{
    ReplayStep step;
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(line, &problem);
    error.clear();
    if (!document.isObject()) {
        error = problem.error == QJsonParseError::NoError ? QStringLiteral("expected an object in braces")
                                                          : problem.errorString();
        return step;
    }
    const QJsonObject object = document.object();
    step.Values.Rem = Reading(object, QLatin1String("rem"), error);
    step.Values.Volt = Reading(object, QLatin1String("volt"), error);
    step.Values.Stat = Reading(object, QLatin1String("stat"), error);
    const QJsonValue state = object.value(QLatin1String("state"));
    if (const auto number = Whole(state, 0, 255))
        step.State = static_cast<std::uint8_t>(*number);
    else if (!state.isNull() && !state.isUndefined())
        error = QStringLiteral("state: expected a whole number from 0 to 255");
    const QJsonValue due = object.value(QLatin1String("due"));
    if (due.isBool())
        step.Due = due.toBool();
    else if (!due.isNull() && !due.isUndefined())
        error = QStringLiteral("due: expected true or false");
    return step;
}

AutoCycleReplay::AutoCycleReplay(const AutoCycleSettings& settings) : m_controller(*this)
{
    m_controller.Settings = settings;
}

CycleStep AutoCycleReplay::Step(const ReplayStep& step)
{
    if (step.State)
        m_controller.State = static_cast<CycleState>(*step.State);
    return m_controller.Step(step.Values, step.Due);
}
