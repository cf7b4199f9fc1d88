#include "cli/Arguments.h"

#include <QJsonArray>
#include <QJsonValue>

#include <algorithm>
#include <cmath>

namespace {

/// Text of a JSON value as it would have been typed; a null text when it has none.
QString TypedText(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QJsonValue::Double: {
        const double number = value.toDouble();
        if (std::abs(number) < 1e15 && number == std::floor(number))
            return QString::number(static_cast<qlonglong>(number));
        return QString::number(number, 'g', QLocale::FloatingPointShortest);
    }
    default:
        return {};
    }
}

QString CheckNumber(const ArgumentSpec& spec, const QString& text)
{
    std::int64_t number = 0;
    if (ParseNumber(text, number) && number >= spec.Min && number <= spec.Max)
        return {};
    return QStringLiteral("%1 must be a whole number from %2 to %3, decimal or 0x, not \"%4\"")
        .arg(QLatin1String(spec.Name))
        .arg(spec.Min)
        .arg(spec.Max)
        .arg(text);
}

} // namespace

QString Arguments::AddJson(const QJsonObject& line)
{
    for (auto member = line.begin(); member != line.end(); ++member) {
        QStringList& texts = m_texts[member.key()];
        if (member->isNull())
            continue;
        const QJsonArray values = member->isArray() ? member->toArray() : QJsonArray{*member};
        for (const auto& value : values) {
            const QString text = TypedText(value);
            if (text.isNull())
                return QStringLiteral("\"%1\" must be a text, a number, true or false").arg(member.key());
            texts << text;
        }
    }
    return {};
}

QString Arguments::Check(const std::vector<ArgumentSpec>& specs) const
{
    for (auto given = m_texts.begin(); given != m_texts.end(); ++given) {
        const auto spec = std::ranges::find(specs, given.key(), &ArgumentSpec::Key);
        if (spec == specs.end()) {
            QStringList known;
            for (const ArgumentSpec& one : specs)
                known << one.Key();
            return QStringLiteral("\"%1\" is not known here; known are: %2")
                .arg(given.key(), known.join(QLatin1String(", ")));
        }
        if (given->size() > 1 && spec->Kind != ArgumentKind::List)
            return QStringLiteral("%1 takes one value").arg(QLatin1String(spec->Name));
        for (const QString& text : *given) {
            if (spec->Kind == ArgumentKind::Number)
                if (QString wrong = CheckNumber(*spec, text); !wrong.isEmpty())
                    return wrong;
            if (spec->Kind == ArgumentKind::Switch && text != QLatin1String("1")
                && text != QLatin1String("0"))
                return QStringLiteral("\"%1\" must be true or false").arg(given.key());
        }
    }
    for (const ArgumentSpec& spec : specs)
        if (spec.Required && !Has(spec.Key()))
            return QStringLiteral("%1 is missing (%2)")
                .arg(QLatin1String(spec.Name), QString::fromUtf8(spec.Help));
    return {};
}

QString Arguments::Text(const QString& key, const QString& fallback) const
{
    return Has(key) ? m_texts.value(key).first() : fallback;
}

std::int64_t Arguments::Number(const QString& key, std::int64_t fallback) const
{
    std::int64_t number = fallback;
    if (Has(key) && !ParseNumber(m_texts.value(key).first(), number))
        return fallback;
    return number;
}

bool Arguments::On(const QString& key) const { return Text(key) == QLatin1String("1"); }
