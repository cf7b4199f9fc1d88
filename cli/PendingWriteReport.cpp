#include "cli/PendingWriteReport.h"

#include <QJsonArray>

#include <algorithm>

namespace {

QString StateText(PendingWrite::Now now)
{
    switch (now) {
    case PendingWrite::Now::Old:
        return QStringLiteral("old");
    case PendingWrite::Now::New:
        return QStringLiteral("new");
    case PendingWrite::Now::Torn:
        return QStringLiteral("torn");
    case PendingWrite::Now::Unreadable:
        break;
    }
    return QStringLiteral("unreadable");
}

QString Head(const PendingWrite& pending)
{
    return QStringLiteral("A data-flash write to %1, begun %2, never ended").arg(pending.Pack, pending.Begun);
}

} // namespace

QJsonObject PendingJson(const PendingWrite& pending)
{
    QJsonArray subClasses;
    for (const PendingWrite::Entry& entry : pending.Entries)
        subClasses << QJsonObject{{QStringLiteral("id"), entry.Id},
                                  {QStringLiteral("name"), entry.Name},
                                  {QStringLiteral("state"), StateText(entry.What)},
                                  {QStringLiteral("sent"), entry.Sent}};
    return {{QStringLiteral("pack"), pending.Pack},
            {QStringLiteral("begun"), pending.Begun},
            {QStringLiteral("subclasses"), subClasses}};
}

QString PendingText(const PendingWrite& pending)
{
    QString text = Head(pending) + QLatin1Char(':');
    for (const PendingWrite::Entry& entry : pending.Entries)
        text += QStringLiteral("\n  %1  subclass %2, %3")
                    .arg(StateText(entry.What), -10)
                    .arg(entry.Id)
                    .arg(entry.Name);
    return text
        + QStringLiteral("\n\"df recover --finish\" writes the rest, \"--roll-back\" brings back what was "
                         "there before, \"--forget\" leaves the gauge as it is.");
}

void ReportPendingWrite(CommandContext& context, DataFlash& flash)
{
    const std::optional<PendingWrite> pending = flash.FindPendingWrite();
    if (!pending)
        return;
    const auto count = [&](PendingWrite::Now now) {
        return std::ranges::count(pending->Entries, now, &PendingWrite::Entry::What);
    };
    QString text = QStringLiteral("%1: %2 subclasses are old, %3 new, %4 torn, %5 could not be read.")
                       .arg(Head(*pending))
                       .arg(count(PendingWrite::Now::Old))
                       .arg(count(PendingWrite::Now::New))
                       .arg(count(PendingWrite::Now::Torn))
                       .arg(count(PendingWrite::Now::Unreadable));
    for (const PendingWrite::Entry& entry : pending->Entries)
        if (entry.What == PendingWrite::Now::Torn)
            text += QStringLiteral(" Torn: subclass %1, %2.").arg(entry.Id).arg(entry.Name);
    context.Messages.Show(text + QStringLiteral(" See \"tarnlo-cli df recover\"."));
}
