#include "settings/TargetInfo.h"

QString TargetTitle(ProfileStore& profiles, const QString& targetFile)
{
    return QStringLiteral("Veltrano zm Gas Gauge Evaluation Software - ")
        + profiles.String(targetFile, u"Device", u"Name");
}

std::vector<ViewButton> TargetButtons(ProfileStore& profiles, const QString& targetFile)
{
    std::vector<ViewButton> buttons;
    for (int i = 1; i <= 20; ++i) {
        const QString text = profiles.String(targetFile, u"MDIButtons", QStringLiteral("%1B").arg(i));
        if (text.isEmpty())
            break;
        const qsizetype dot = text.indexOf(QLatin1Char('.'));
        if (dot > 0)
            buttons.push_back({text.left(dot), text.mid(dot + 1)});
        else
            buttons.push_back({text, text});
    }
    if (buttons.empty())
        buttons = {{QStringLiteral("SBS"), QStringLiteral("SBS")},
                   {QStringLiteral("DF"), QStringLiteral("Data Flash")},
                   {QStringLiteral("Cal"), QStringLiteral("Calibrate")},
                   {QStringLiteral("Pro"), QStringLiteral("Pro")}};
    return buttons;
}
