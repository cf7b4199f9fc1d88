#include "cli/Command.h"

Outcome Refused(const QString& error)
{
    return {.Status = ExitStatus::kRefused, .Json = {}, .Text = {}, .Error = error};
}

Outcome WrongUsage(const QString& error)
{
    return {.Status = ExitStatus::kWrongUsage, .Json = {}, .Text = {}, .Error = error};
}

Outcome NoAnswer(ErrorCode code, const QString& error)
{
    return {.Status = ExitStatus::kNoAnswer,
            .Json = {{QStringLiteral("code"), Number(code)}},
            .Text = {},
            .Error = error.isEmpty() ? ErrorCodeToText(code) : error};
}

QString ArgumentSpec::Key() const
{
    QString key = QString::fromLatin1(Name).toLower();
    while (key.startsWith(QLatin1Char('-')))
        key.remove(0, 1);
    return key.replace(QLatin1Char('-'), QLatin1Char('_'));
}

bool ParseNumber(const QString& text, std::int64_t& number)
{
    const QString trimmed = text.trimmed();
    const bool negative = trimmed.startsWith(QLatin1Char('-'));
    const QString digits = negative || trimmed.startsWith(QLatin1Char('+')) ? trimmed.mid(1) : trimmed;
    const bool hexadecimal = digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    // a digit first: toLongLong would take a second sign and blanks
    if (digits.isEmpty() || digits.at(0) < QLatin1Char('0') || digits.at(0) > QLatin1Char('9'))
        return false;
    bool ok = false;
    const qlonglong magnitude = hexadecimal ? digits.mid(2).toLongLong(&ok, 16) : digits.toLongLong(&ok, 10);
    if (!ok || magnitude < 0)
        return false;
    number = negative ? -magnitude : magnitude;
    return true;
}
