#include "cli/Output.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>
#include <unistd.h>

Output::Output(bool json)
    : m_json(json), m_terminal(isatty(STDOUT_FILENO) == 1),
      m_colours(m_terminal && qEnvironmentVariableIsEmpty("NO_COLOR")
                && qgetenv("TERM") != QByteArrayLiteral("dumb"))
{
}

void Output::Write(const QByteArray& bytes)
{
    const bool written = std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout)
        == static_cast<std::size_t>(bytes.size());
    if (std::fflush(stdout) != 0 || !written)
        m_broken = true;
}

void Output::PrintJson(const QJsonObject& object)
{
    Write(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
}

void Output::PrintText(const QString& text) { Write(text.toUtf8() + '\n'); }

void Output::PrintError(const QString& text)
{
    std::fprintf(stderr, "tarnlo-cli: %s\n", text.toUtf8().constData());
}

void Output::Print(const Outcome& outcome, const QStringList& messages, bool alwaysJson)
{
    if (m_json || alwaysJson) {
        QJsonObject object = outcome.Json;
        if (!outcome.Error.isEmpty())
            object[QStringLiteral("error")] = outcome.Error;
        if (!messages.isEmpty())
            object[QStringLiteral("messages")] = QJsonArray::fromStringList(messages);
        if (!object.isEmpty()) // a stream has printed its lines already
            PrintJson(object);
        return;
    }
    for (const QString& message : messages)
        PrintError(message);
    if (!outcome.Text.isEmpty())
        PrintText(outcome.Text);
    if (!outcome.Error.isEmpty())
        PrintError(outcome.Error);
}
